#include "ui/lightpropertyeditor.h"

#include "devices/propertymapper.h"
#include "layout/fixturetypes.h"
#include "model/light.h"
#include "model/mapmodel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>
#include <climits>

const QString LightPropertyEditor::kNoChange = QStringLiteral("No Change");

namespace {

const QString kNameField = QStringLiteral("Name");
const QString kDmxField = QStringLiteral("DMX Address");
const QString kPortField = QStringLiteral("Port");
const QString kTypeField = QStringLiteral("Fixture Type");

// A spin box whose lowest value reads "No Change".
QSpinBox *noChangeSpinBox(int lowest, int highest, QWidget *parent)
{
    auto *spin = new QSpinBox(parent);
    spin->setRange(lowest - 1, highest);
    spin->setSpecialValueText(LightPropertyEditor::kNoChange);
    spin->setValue(spin->minimum());
    return spin;
}

int clampToInt(qint64 value)
{
    return int(std::clamp<qint64>(value, INT_MIN + 1, INT_MAX));
}

} // namespace

LightPropertyEditor::LightPropertyEditor(const MapModel &model, QList<quint64> lightUids,
                                         const DeviceDictionary &dictionary,
                                         const PropertyMapper &mapper, Applier applier,
                                         QWidget *parent)
    : QDialog(parent), m_model(model), m_uids(std::move(lightUids)), m_dictionary(dictionary),
      m_mapper(mapper), m_applier(std::move(applier))
{
    setObjectName(QStringLiteral("LightPropertyEditor"));
    m_summary = LightEdit::summarise(m_model, m_uids, m_dictionary, m_mapper);
    setWindowTitle(m_summary.lightCount == 1 ? QStringLiteral("Edit Light")
                                             : QStringLiteral("Edit Lights"));
    build();
    refresh();
}

void LightPropertyEditor::build()
{
    auto *outer = new QVBoxLayout(this);
    m_headerLabel = new QLabel(this);
    m_headerLabel->setObjectName(QStringLiteral("m_headerLabel"));
    m_headerLabel->setTextFormat(Qt::PlainText);
    outer->addWidget(m_headerLabel);

    m_area = new QScrollArea(this);
    m_area->setWidgetResizable(true);
    m_area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_area->setFrameShape(QFrame::NoFrame);
    buildRows();
    outer->addWidget(m_area, 1);

    auto *note = new QLabel(
        QStringLiteral("Changes are made in the map only. The lighting protocol has no request "
                       "that writes a device's memory, so the lights on site keep what they "
                       "store until they are set up there."),
        this);
    note->setObjectName(QStringLiteral("m_mapOnlyNote"));
    note->setWordWrap(true);
    note->setFrameShape(QFrame::StyledPanel);
    note->setMargin(6);
    outer->addWidget(note);

    m_problemLabel = new QLabel(this);
    m_problemLabel->setObjectName(QStringLiteral("m_problemLabel"));
    m_problemLabel->setWordWrap(true);
    m_problemLabel->setStyleSheet(QStringLiteral("color: #b00020;"));
    m_problemLabel->hide();
    outer->addWidget(m_problemLabel);

    m_buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Apply |
                                         QDialogButtonBox::Reset | QDialogButtonBox::Cancel,
                                     this);
    connect(m_buttons, &QDialogButtonBox::accepted, this, &LightPropertyEditor::accept);
    connect(m_buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_buttons->button(QDialogButtonBox::Apply), &QPushButton::clicked, this,
            &LightPropertyEditor::apply);
    connect(m_buttons->button(QDialogButtonBox::Reset), &QPushButton::clicked, this,
            &LightPropertyEditor::reset);
    outer->addWidget(m_buttons);
    resize(680, std::min(680, 260 + 34 * m_row));
}

void LightPropertyEditor::buildRows()
{
    auto *inner = new QWidget(m_area);
    m_currentLabels.clear();
    m_propertyEditors.clear();
    m_grid = new QGridLayout(inner);
    m_grid->setColumnStretch(2, 1);
    for (const auto &[column, text] :
         {std::pair{0, "Property"}, std::pair{1, "Current"}, std::pair{2, "New"}}) {
        auto *heading = new QLabel(QStringLiteral("<b>%1</b>").arg(QLatin1String(text)), inner);
        m_grid->addWidget(heading, 0, column);
    }
    m_row = 1;
    const bool many = m_summary.lightCount > 1;

    m_nameLineEdit = new QLineEdit(inner);
    m_nameLineEdit->setObjectName(QStringLiteral("m_nameLineEdit"));
    m_nameLineEdit->setPlaceholderText(kNoChange);
    addRow(kNameField,
           many ? QStringLiteral("Several lights get this name followed by a number, in the "
                                 "order they were selected.")
                : QString(),
           kNameField, m_nameLineEdit);

    auto *dmxBox = new QWidget(inner);
    auto *dmxLayout = new QHBoxLayout(dmxBox);
    dmxLayout->setContentsMargins(0, 0, 0, 0);
    m_dmxAddressSpinBox = noChangeSpinBox(1, 512, dmxBox);
    m_dmxAddressSpinBox->setObjectName(QStringLiteral("m_dmxAddressSpinBox"));
    m_dmxAddressSpinBox->setMinimumWidth(
        m_dmxAddressSpinBox->fontMetrics().horizontalAdvance(kNoChange) + 48);
    dmxLayout->addWidget(m_dmxAddressSpinBox);
    m_consecutiveCheckBox = new QCheckBox(QStringLiteral("Consecutive"), dmxBox);
    m_consecutiveCheckBox->setObjectName(QStringLiteral("m_consecutiveCheckBox"));
    m_consecutiveCheckBox->setToolTip(
        QStringLiteral("Number consecutively from this address: each light starts after the "
                       "channels of the light before it, in the order they were selected. "
                       "Unticked, every light gets this address."));
    m_consecutiveCheckBox->setChecked(true);
    m_consecutiveCheckBox->setVisible(many);
    dmxLayout->addWidget(m_consecutiveCheckBox);
    dmxLayout->addStretch();
    addRow(kDmxField, QString(), kDmxField, dmxBox);

    m_portSpinBox = noChangeSpinBox(1, std::max(1, m_summary.highestPort), inner);
    m_portSpinBox->setObjectName(QStringLiteral("m_portSpinBox"));
    addRow(kPortField, QStringLiteral("The interface's output port, counted from 1."), kPortField,
           m_portSpinBox);

    m_fixtureTypeComboBox = new QComboBox(inner);
    m_fixtureTypeComboBox->setObjectName(QStringLiteral("m_fixtureTypeComboBox"));
    m_fixtureTypeComboBox->addItem(kNoChange);
    m_fixtureTypeComboBox->addItems(FixtureTypes::names(m_dictionary));
    if (m_summary.fixtureTypeFixed) {
        m_fixtureTypeComboBox->setEnabled(false);
        m_fixtureTypeComboBox->setToolTip(
            QStringLiteral("A discovered light's serial number fixes its fixture type."));
    }
    addRow(kTypeField, QString(), kTypeField, m_fixtureTypeComboBox);

    if (!m_summary.rows.isEmpty()) {
        auto *line = new QFrame(inner);
        line->setFrameShape(QFrame::HLine);
        line->setFrameShadow(QFrame::Sunken);
        m_grid->addWidget(line, m_row++, 0, 1, 3);
    }
    for (const LightEdit::PropertyRow &row : qAsConst(m_summary.rows)) {
        PropertyEditor editor;
        editor.token = row.token;
        QWidget *widget = nullptr;
        if (!row.editable) {
            auto *label = new QLabel(QStringLiteral("<i>read only</i>"), inner);
            label->setEnabled(false);
            widget = label;
        } else if (row.values.hasOptions()) {
            editor.combo = new QComboBox(inner);
            editor.combo->addItem(kNoChange);
            for (const auto &option : row.values.options) {
                editor.combo->addItem(option.first);
                editor.optionValues.append(option.second);
            }
            widget = editor.combo;
        } else {
            editor.spin =
                noChangeSpinBox(row.values.hasMin ? clampToInt(row.values.min) : 0,
                                row.values.hasMax ? clampToInt(row.values.max) : 65535, inner);
            widget = editor.spin;
        }
        widget->setObjectName(QStringLiteral("m_property_") + row.token);
        addRow(row.displayName,
               row.description == QLatin1String("--") ? QString() : row.description, row.token,
               widget);
        if (row.editable)
            m_propertyEditors.append(editor);
    }
    m_grid->setRowStretch(m_row, 1);
    // The rows follow the lights: a new fixture type brings other settings.
    m_area->setWidget(inner);
}

void LightPropertyEditor::addRow(const QString &label, const QString &tip, const QString &key,
                                 QWidget *editor)
{
    auto *name = new QLabel(label, editor->parentWidget());
    name->setToolTip(tip);
    m_grid->addWidget(name, m_row, 0);
    m_grid->addWidget(makeCurrentLabel(key), m_row, 1);
    m_grid->addWidget(editor, m_row, 2);
    if (!tip.isEmpty() && editor->toolTip().isEmpty())
        editor->setToolTip(tip);
    ++m_row;
}

QLabel *LightPropertyEditor::makeCurrentLabel(const QString &key)
{
    auto *label = new QLabel(m_grid->parentWidget());
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setMinimumWidth(160);
    label->setWordWrap(true);
    m_currentLabels.insert(key, label);
    return label;
}

void LightPropertyEditor::refresh()
{
    if (m_summary.lightCount == 1)
        m_headerLabel->setText(QStringLiteral("Light \"%1\"").arg(m_summary.name.value));
    else
        m_headerLabel->setText(QStringLiteral("%1 lights").arg(m_summary.lightCount));
    const auto show = [this](const QString &key, const LightEdit::FieldSummary &field) {
        if (QLabel *label = m_currentLabels.value(key)) {
            // An empty value is one the lights do not hold (not read from the device yet).
            const bool unknown = !field.various && field.value.isEmpty();
            label->setText(unknown ? QStringLiteral("—") : field.text());
            label->setToolTip(unknown ? QStringLiteral("Not in the map") : QString());
            label->setEnabled(!field.various && !unknown);
        }
    };
    show(kNameField, m_summary.name);
    show(kDmxField, m_summary.dmxAddress);
    show(kPortField, m_summary.port);
    show(kTypeField, m_summary.fixtureType);
    for (const LightEdit::PropertyRow &row : qAsConst(m_summary.rows))
        show(row.token, row.current);
}

QString LightPropertyEditor::currentText(const QString &field) const
{
    const QLabel *label = m_currentLabels.value(field);
    return label ? label->text() : QString();
}

LightEdit::Request LightPropertyEditor::request() const
{
    LightEdit::Request r;
    if (!m_nameLineEdit->text().trimmed().isEmpty())
        r.name = m_nameLineEdit->text().trimmed();
    if (m_dmxAddressSpinBox->value() != m_dmxAddressSpinBox->minimum()) {
        r.dmxAddress = m_dmxAddressSpinBox->value();
        r.dmxMode = m_summary.lightCount > 1 && m_consecutiveCheckBox->isChecked()
                        ? LightEdit::Request::DmxMode::Consecutive
                        : LightEdit::Request::DmxMode::Same;
    }
    if (m_portSpinBox->value() != m_portSpinBox->minimum())
        r.port = m_portSpinBox->value();
    if (m_fixtureTypeComboBox->currentIndex() > 0)
        r.fixtureType = m_fixtureTypeComboBox->currentText();
    for (const PropertyEditor &editor : m_propertyEditors) {
        if (editor.combo && editor.combo->currentIndex() > 0)
            r.properties.insert(editor.token, QString::number(editor.optionValues.at(
                                                  editor.combo->currentIndex() - 1)));
        else if (editor.spin && editor.spin->value() != editor.spin->minimum())
            r.properties.insert(editor.token, QString::number(editor.spin->value()));
    }
    return r;
}

bool LightPropertyEditor::apply()
{
    const LightEdit::Request r = request();
    if (r.isEmpty())
        return true;
    const std::optional<QString> problem = m_applier ? m_applier(r) : std::nullopt;
    m_lastProblem = problem.value_or(QString());
    m_problemLabel->setText(m_lastProblem);
    m_problemLabel->setVisible(problem.has_value());
    if (problem)
        return false;
    m_summary = LightEdit::summarise(m_model, m_uids, m_dictionary, m_mapper);
    buildRows();
    refresh();
    return true;
}

void LightPropertyEditor::reset()
{
    m_nameLineEdit->clear();
    m_dmxAddressSpinBox->setValue(m_dmxAddressSpinBox->minimum());
    m_consecutiveCheckBox->setChecked(true);
    m_portSpinBox->setValue(m_portSpinBox->minimum());
    m_fixtureTypeComboBox->setCurrentIndex(0);
    for (const PropertyEditor &editor : qAsConst(m_propertyEditors)) {
        if (editor.combo)
            editor.combo->setCurrentIndex(0);
        if (editor.spin)
            editor.spin->setValue(editor.spin->minimum());
    }
}

void LightPropertyEditor::accept()
{
    if (apply())
        QDialog::accept();
}
