#include "ui/creationchoices.h"

#include "devices/devicedictionary.h"
#include "layout/fixturetypes.h"
#include "model/datasupply.h"
#include "model/mapmodel.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QSettings>
#include <QSpinBox>

namespace {

// The fixture property rows: token, label, and the values offered (code, text).
struct RowSpec
{
    const char *token;
    const char *label;
    QList<std::pair<int, const char *>> values;
};

const QList<RowSpec> &rowSpecs()
{
    static const QList<RowSpec> specs = {
        {"DIMMING_CURVE", "Dimming Curve :", {{0, "Linear"}, {1, "Square"}, {2, "S-Curve"}}},
        {"LED_CHEMISTRY", "LED Chemistry :",
         {{1, "RGB"}, {2, "RGBW"}, {3, "RGBAW"}, {4, "RGBA"}, {5, "WW"}, {6, "NW"}, {7, "CW"},
          {8, "WWCW"}, {9, "A"}}},
        {"COLOR_CONTROL_MODE", "Color Control Mode:", {{0, "RGB"}, {1, "HSI"}}},
        {"DMX_PERSONALITY", "DMX Personality:", {{0, "Standard"}, {1, "Extended"}}},
        {"INPUT_RESOLUTION", "Input Resolution :", {{0, "8-bit"}, {1, "16-bit"}}},
        {"TINTLOCK_ENABLE", "Tintlock :", {{0, "Disabled"}, {1, "Enabled"}}},
        {"SPAN_MULTI_CHANNEL", "Span Multi Channel Enabled :", {{0, "Disabled"}, {1, "Enabled"}}},
        {"KX_ENABLE", "Kx Enable :", {{0, "Disabled"}, {1, "Enabled"}}},
        {"KX_INPUT_MODE", "Kx Input Mode :", {{0, "DMX"}, {1, "Kx"}}},
    };
    return specs;
}

QString objectNameFor(const QString &token)
{
    // DIMMING_CURVE -> m_dimmingCurveComboBox
    QString name;
    bool upper = false;
    for (const QChar c : token.toLower()) {
        if (c == QLatin1Char('_')) {
            upper = true;
            continue;
        }
        name += upper ? c.toUpper() : c;
        upper = false;
    }
    return QStringLiteral("m_") + name + QStringLiteral("ComboBox");
}

} // namespace

CreationChoices::CreationChoices(const MapModel &model, const DeviceDictionary &dictionary,
                                 QWidget *owner)
    : QObject(owner), m_model(model), m_dictionary(dictionary)
{
    buildInterfaceGroup(owner);
    buildParametersGroup(owner);
    m_nameGroup = new QGroupBox(QStringLiteral("Choose a Base Name"), owner);
    auto *nameForm = new QFormLayout(m_nameGroup);
    m_baseNameLineEdit = new QLineEdit(QStringLiteral("Light"), m_nameGroup);
    m_baseNameLineEdit->setObjectName(QStringLiteral("m_baseNameLineEdit"));
    nameForm->addRow(QStringLiteral("Base Light Name:"), m_baseNameLineEdit);
    buildFixtureGroup(owner);
    refreshDmxAutoSetValue();
}

void CreationChoices::buildInterfaceGroup(QWidget *owner)
{
    m_interfaceGroup = new QGroupBox(QStringLiteral("Choose an Interface"), owner);
    auto *grid = new QGridLayout(m_interfaceGroup);
    m_existingInterfaceRadioButton =
        new QRadioButton(QStringLiteral("Existing Interface:"), m_interfaceGroup);
    m_existingInterfaceRadioButton->setObjectName(QStringLiteral("m_existingInterfaceRadioButton"));
    m_interfaceComboBox = new QComboBox(m_interfaceGroup);
    m_interfaceComboBox->setObjectName(QStringLiteral("m_interfaceComboBox"));
    QStringList texts;
    for (const DataSupply *supply : m_model.dataSupplies())
        texts.append(LightCreator::interfaceText(*supply));
    texts.sort();
    m_interfaceComboBox->addItems(texts);
    m_newInterfaceRadioButton = new QRadioButton(QStringLiteral("New Interface"), m_interfaceGroup);
    m_newInterfaceRadioButton->setObjectName(QStringLiteral("m_newInterfaceRadioButton"));
    grid->addWidget(m_existingInterfaceRadioButton, 0, 0);
    grid->addWidget(m_interfaceComboBox, 0, 1);
    grid->addWidget(m_newInterfaceRadioButton, 1, 0, 1, 2);
    m_existingInterfaceRadioButton->setChecked(true);
    // Without an interface in the map there is nothing to choose from.
    if (texts.isEmpty()) {
        m_existingInterfaceRadioButton->setEnabled(false);
        m_newInterfaceRadioButton->setChecked(true);
    }
    connect(m_interfaceComboBox, &QComboBox::currentTextChanged, this,
            &CreationChoices::refreshDmxAutoSetValue);
    connect(m_newInterfaceRadioButton, &QRadioButton::toggled, this,
            &CreationChoices::refreshDmxAutoSetValue);
    connect(m_newInterfaceRadioButton, &QRadioButton::toggled, m_interfaceComboBox,
            &QComboBox::setDisabled);
}

void CreationChoices::buildParametersGroup(QWidget *owner)
{
    m_parametersGroup = new QGroupBox(QStringLiteral("Parameters:"), owner);
    auto *grid = new QGridLayout(m_parametersGroup);
    m_portNumSpinBox = new QSpinBox(m_parametersGroup);
    m_portNumSpinBox->setObjectName(QStringLiteral("m_portNumSpinBox"));
    m_portNumSpinBox->setRange(1, CreationRules::kMaxPortNumber);
    m_portNumAutoIncrementCheckBox = new QCheckBox(QStringLiteral("Auto-Increment"), m_parametersGroup);
    m_portNumAutoIncrementCheckBox->setObjectName(QStringLiteral("m_portNumAutoIncrementCheckBox"));
    m_dmxAddressSpinBox = new QSpinBox(m_parametersGroup);
    m_dmxAddressSpinBox->setObjectName(QStringLiteral("m_dmxAddressSpinBox"));
    m_dmxAddressSpinBox->setRange(1, CreationRules::kChannelsPerPort);
    m_dmxAutoSetCheckBox = new QCheckBox(QStringLiteral("Auto-Set:"), m_parametersGroup);
    m_dmxAutoSetCheckBox->setObjectName(QStringLiteral("m_dmxAutoSetCheckBox"));
    m_dmxAutoSetLineEdit = new QLineEdit(m_parametersGroup);
    m_dmxAutoSetLineEdit->setObjectName(QStringLiteral("m_dmxAutoSetLineEdit"));
    m_dmxAutoSetLineEdit->setReadOnly(true);
    m_portsSpinBox = new QSpinBox(m_parametersGroup);
    m_portsSpinBox->setObjectName(QStringLiteral("m_portsSpinBox"));
    m_portsSpinBox->setRange(1, CreationRules::kMaxPortNumber);
    grid->addWidget(new QLabel(QStringLiteral("Port Number:"), m_parametersGroup), 0, 0);
    grid->addWidget(m_portNumSpinBox, 0, 1);
    grid->addWidget(m_portNumAutoIncrementCheckBox, 0, 2);
    grid->addWidget(new QLabel(QStringLiteral("Base DMX Address:"), m_parametersGroup), 1, 0);
    grid->addWidget(m_dmxAddressSpinBox, 1, 1);
    grid->addWidget(m_dmxAutoSetCheckBox, 1, 2);
    grid->addWidget(m_dmxAutoSetLineEdit, 1, 3);
    grid->addWidget(new QLabel(QStringLiteral("# Ports:"), m_parametersGroup), 2, 0);
    grid->addWidget(m_portsSpinBox, 2, 1);
    connect(m_portNumSpinBox, qOverload<int>(&QSpinBox::valueChanged), this,
            &CreationChoices::refreshDmxAutoSetValue);
    connect(m_dmxAutoSetCheckBox, &QCheckBox::toggled, this, &CreationChoices::applyAutoSet);
}

void CreationChoices::buildFixtureGroup(QWidget *owner)
{
    m_fixtureGroup = new QGroupBox(QStringLiteral("Fixture Properties"), owner);
    m_fixtureLayout = new QGridLayout(m_fixtureGroup);
    m_fixtureTypeComboBox = new QComboBox(m_fixtureGroup);
    m_fixtureTypeComboBox->setObjectName(QStringLiteral("m_fixtureTypeComboBox"));
    m_fixtureTypeComboBox->addItems(FixtureTypes::names(m_dictionary));
    m_fixtureLayout->addWidget(new QLabel(QStringLiteral("Fixture Type :"), m_fixtureGroup), 0, 0);
    m_fixtureLayout->addWidget(m_fixtureTypeComboBox, 0, 1);
    int row = 1;
    for (const RowSpec &spec : rowSpecs()) {
        PropertyRow property;
        property.label = new QLabel(QString::fromLatin1(spec.label), m_fixtureGroup);
        property.combo = new QComboBox(m_fixtureGroup);
        property.combo->setObjectName(objectNameFor(QLatin1String(spec.token)));
        for (const auto &[code, text] : spec.values)
            property.combo->addItem(QString::fromLatin1(text), code);
        m_fixtureLayout->addWidget(property.label, row, 0);
        m_fixtureLayout->addWidget(property.combo, row, 1);
        m_propertyRows.insert(QLatin1String(spec.token), property);
        ++row;
    }
    connect(m_fixtureTypeComboBox, &QComboBox::currentTextChanged, this,
            &CreationChoices::handleFixtureTypeChanged);
    connect(m_propertyRows.value(QStringLiteral("SPAN_MULTI_CHANNEL")).combo,
            &QComboBox::currentTextChanged, this, &CreationChoices::handleSpanModeChanged);
    connect(m_propertyRows.value(QStringLiteral("LED_CHEMISTRY")).combo,
            &QComboBox::currentTextChanged, this, &CreationChoices::handleLedChemistryChanged);
    handleFixtureTypeChanged(m_fixtureTypeComboBox->currentText());
}

void CreationChoices::handleFixtureTypeChanged(const QString &name)
{
    const QStringList tokens = FixtureTypes::tokens(m_dictionary, name);
    const QMap<QString, QString> defaults = FixtureTypes::defaultProperties(m_dictionary, name);
    for (auto it = m_propertyRows.begin(); it != m_propertyRows.end(); ++it) {
        const bool shown = tokens.contains(it.key());
        it->label->setVisible(shown);
        it->combo->setVisible(shown);
        const int index = it->combo->findData(defaults.value(it.key()).toInt());
        if (index >= 0)
            it->combo->setCurrentIndex(index);
    }
}

void CreationChoices::handleSpanModeChanged(const QString &)
{
    // Spanning ties a fixture's segments to one channel block: the segments row then has no
    // meaning of its own, which is all this setting changes in what we create.
}

void CreationChoices::handleLedChemistryChanged(const QString &)
{
    // The chemistry decides the channels per light and so the auto-set address of the next
    // run after this one; the current run starts where the user says.
    refreshDmxAutoSetValue();
}

void CreationChoices::refreshDmxAutoSetValue()
{
    int value = 1;
    if (!m_newInterfaceRadioButton->isChecked() && m_model.dataSupplyCount() > 0) {
        const QString serialText = m_interfaceComboBox->currentText().section(QLatin1Char(' '), 0, 0);
        bool ok = false;
        const quint64 serial = serialText.toULongLong(&ok, 16);
        for (const DataSupply *supply : m_model.dataSupplies()) {
            if (ok && supply->serialNumber() == serial) {
                value = CreationRules::autoSetDmxAddress(LightCreator::lastUsedChannel(
                    m_model, *supply, m_portNumSpinBox->value() - 1));
                break;
            }
        }
    }
    m_dmxAutoSetLineEdit->setText(QString::number(value));
    applyAutoSet();
}

void CreationChoices::applyAutoSet()
{
    if (m_dmxAutoSetCheckBox->isChecked())
        m_dmxAddressSpinBox->setValue(
            std::min(m_dmxAutoSetLineEdit->text().toInt(), CreationRules::kChannelsPerPort));
    m_dmxAddressSpinBox->setEnabled(!m_dmxAutoSetCheckBox->isChecked());
}

QString CreationChoices::autoSetValue() const
{
    return m_dmxAutoSetLineEdit->text();
}

void CreationChoices::load(const QSettings &settings)
{
    const QString stored = settings.value(QStringLiteral("/interface")).toString();
    const int index = m_interfaceComboBox->findText(stored);
    if (index >= 0)
        m_interfaceComboBox->setCurrentIndex(index);
    m_dmxAddressSpinBox->setValue(settings.value(QStringLiteral("/basedmxaddr"), 1).toInt());
    const int port = settings.value(QStringLiteral("/portnum"), 1).toInt();
    const bool increment = settings.value(QStringLiteral("/portnumautoincrement"), false).toBool();
    m_portNumAutoIncrementCheckBox->setChecked(increment);
    m_portNumSpinBox->setValue(increment ? port + 1 : port);
    m_baseNameLineEdit->setText(
        settings.value(QStringLiteral("/basename"), QStringLiteral("Light")).toString());
    if (settings.value(QStringLiteral("/newinterface"), false).toBool()
        || !m_existingInterfaceRadioButton->isEnabled())
        m_newInterfaceRadioButton->setChecked(true);
    else
        m_existingInterfaceRadioButton->setChecked(true);
    m_interfaceComboBox->setDisabled(m_newInterfaceRadioButton->isChecked());
    m_dmxAutoSetCheckBox->setChecked(settings.value(QStringLiteral("/dmxautoset"), false).toBool());
    refreshDmxAutoSetValue();
}

void CreationChoices::save(QSettings &settings) const
{
    settings.setValue(QStringLiteral("/interface"), m_interfaceComboBox->currentText());
    settings.setValue(QStringLiteral("/basedmxaddr"), m_dmxAddressSpinBox->value());
    settings.setValue(QStringLiteral("/portnum"), m_portNumSpinBox->value());
    settings.setValue(QStringLiteral("/basename"), m_baseNameLineEdit->text());
    settings.setValue(QStringLiteral("/newinterface"), m_newInterfaceRadioButton->isChecked());
    settings.setValue(QStringLiteral("/dmxautoset"), m_dmxAutoSetCheckBox->isChecked());
    settings.setValue(QStringLiteral("/portnumautoincrement"),
                      m_portNumAutoIncrementCheckBox->isChecked());
}

CreationRequest CreationChoices::request() const
{
    CreationRequest r;
    r.interfaceChoice = m_newInterfaceRadioButton->isChecked()
        ? CreationRequest::InterfaceChoice::New
        : CreationRequest::InterfaceChoice::Existing;
    r.interfaceText = m_interfaceComboBox->currentText();
    r.port = m_portNumSpinBox->value();
    r.baseDmxAddress = m_dmxAddressSpinBox->value();
    r.ports = m_portsSpinBox->value();
    r.baseName = m_baseNameLineEdit->text();
    r.properties =
        FixtureTypes::defaultProperties(m_dictionary, m_fixtureTypeComboBox->currentText());
    for (auto it = m_propertyRows.cbegin(); it != m_propertyRows.cend(); ++it)
        if (!it->combo->isHidden())
            r.properties.insert(it.key(), it->combo->currentData().toString());
    return r;
}

void CreationChoices::setWhiteOnly(bool on)
{
    if (!on)
        return;
    for (int i = m_fixtureTypeComboBox->count() - 1; i >= 0; --i) {
        const auto properties =
            FixtureTypes::defaultProperties(m_dictionary, m_fixtureTypeComboBox->itemText(i));
        if (LightCreator::channelsFor(properties) != 1)
            m_fixtureTypeComboBox->removeItem(i);
    }
}

void CreationChoices::setFixtureType(const QString &name)
{
    const int index = m_fixtureTypeComboBox->findText(name);
    if (index >= 0)
        m_fixtureTypeComboBox->setCurrentIndex(index);
}
