#include "ui/createlights.h"

#include "ui/creationchoices.h"

#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QPushButton>
#include <QRadioButton>
#include <QSettings>
#include <QSpinBox>
#include <QVBoxLayout>

const QString CreateLights::kSettingsGroup = QStringLiteral("/CreateLights");

CreateLights::CreateLights(const MapModel &model, const DeviceDictionary &dictionary,
                           QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("CreateLights"));
    setWindowTitle(QStringLiteral("Create Keystone Series Lights"));
    m_choices = new CreationChoices(model, dictionary, this);

    auto *countGroup = new QGroupBox(QStringLiteral("Choose how many Lights to add"), this);
    auto *countForm = new QFormLayout(countGroup);
    m_countSpinBox = new QSpinBox(countGroup);
    m_countSpinBox->setObjectName(QStringLiteral("m_countSpinBox"));
    m_countSpinBox->setRange(0, CreationRules::kMaxLights);
    m_countSpinBox->setValue(1);
    countForm->addRow(QStringLiteral("Count:"), m_countSpinBox);

    auto *layoutGroup = new QGroupBox(QStringLiteral("Layout"), this);
    auto *layoutBox = new QHBoxLayout(layoutGroup);
    m_verticalRadioButton = new QRadioButton(QStringLiteral("Vertically"), layoutGroup);
    m_verticalRadioButton->setObjectName(QStringLiteral("m_verticalRadioButton"));
    m_horizontalRadioButton = new QRadioButton(QStringLiteral("Horizontally"), layoutGroup);
    m_horizontalRadioButton->setObjectName(QStringLiteral("m_horizontalRadioButton"));
    layoutBox->addWidget(m_verticalRadioButton);
    layoutBox->addWidget(m_horizontalRadioButton);

    auto *okButton = new QPushButton(QStringLiteral("&OK"), this);
    okButton->setObjectName(QStringLiteral("okButton"));
    okButton->setDefault(true);
    auto *cancelButton = new QPushButton(QStringLiteral("&Cancel"), this);
    cancelButton->setObjectName(QStringLiteral("cancelButton"));
    connect(okButton, &QPushButton::clicked, this, &CreateLights::accept);
    connect(cancelButton, &QPushButton::clicked, this, &CreateLights::reject);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(okButton);
    buttons->addWidget(cancelButton);

    auto *left = new QVBoxLayout;
    left->addWidget(countGroup);
    left->addWidget(layoutGroup);
    left->addWidget(m_choices->interfaceGroup());
    left->addWidget(m_choices->parametersGroup());
    left->addWidget(m_choices->nameGroup());
    left->addStretch();
    auto *columns = new QHBoxLayout;
    columns->addLayout(left);
    columns->addWidget(m_choices->fixtureGroup(), 0, Qt::AlignTop);
    auto *main = new QVBoxLayout(this);
    main->addLayout(columns);
    main->addLayout(buttons);
    loadSettings();
}

int CreateLights::count() const
{
    return m_countSpinBox->value();
}

void CreateLights::setModule(const QString &fixtureType)
{
    m_countSpinBox->setValue(1);
    m_countSpinBox->setEnabled(false);
    m_choices->setFixtureType(fixtureType);
    m_choices->fixtureGroup()->findChild<QWidget *>(QStringLiteral("m_fixtureTypeComboBox"))
        ->setEnabled(false);
}

CreationRules::RunDirection CreateLights::direction() const
{
    return m_verticalRadioButton->isChecked() ? CreationRules::RunDirection::Vertical
                                              : CreationRules::RunDirection::Horizontal;
}

CreationRequest CreateLights::request() const
{
    return m_choices->request();
}

void CreateLights::refreshDmxAutoSetValue()
{
    m_choices->refreshDmxAutoSetValue();
}

void CreateLights::accept()
{
    saveSettings();
    QDialog::accept();
}

void CreateLights::loadSettings()
{
    QSettings settings;
    settings.beginGroup(kSettingsGroup);
    const int count = settings.value(QStringLiteral("/count"), -1).toInt();
    if (count >= 0)
        m_countSpinBox->setValue(count);
    m_verticalRadioButton->setChecked(
        settings.value(QStringLiteral("/layoutvertically"), false).toBool());
    m_horizontalRadioButton->setChecked(
        settings.value(QStringLiteral("/layouthorizontally"), false).toBool());
    m_choices->load(settings);
}

void CreateLights::saveSettings() const
{
    QSettings settings;
    settings.beginGroup(kSettingsGroup);
    settings.setValue(QStringLiteral("/count"), m_countSpinBox->value());
    settings.setValue(QStringLiteral("/layoutvertically"), m_verticalRadioButton->isChecked());
    settings.setValue(QStringLiteral("/layouthorizontally"), m_horizontalRadioButton->isChecked());
    m_choices->save(settings);
}
