#include "ui/editcontrollerdialog.h"

#include "devices/devicepresentation.h"
#include "model/datasupply.h"

#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHostAddress>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QSpinBox>
#include <QVBoxLayout>

#include <limits>

namespace {

// Wide enough for a name of 32 characters or a 12-digit RDM serial.
constexpr int kFieldMinimumWidth = 240;

const QString kSizeKey = QStringLiteral("/size");

} // namespace

EditControllerDialog::EditControllerDialog(const QString &group, DataSupply *dataSupply,
                                           QWidget *parent)
    : QDialog(parent), m_group(group), m_dataSupply(dataSupply)
{
    setObjectName(QStringLiteral("EditControllerDialog"));
    setWindowTitle(QStringLiteral("Interface Editor"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    buildWidgets();
    fillFromSupply();
    connect(m_okButton, &QPushButton::clicked, this, &EditControllerDialog::handleAccept);
    connect(m_cancelButton, &QPushButton::clicked, this, &EditControllerDialog::handleReject);
    connect(this, &QDialog::finished, this, &EditControllerDialog::saveSize);

    const QSize size = QSettings().value(m_group + kSizeKey).toSize();
    if (size.isValid())
        resize(size.expandedTo(minimumSizeHint()));
}

EditControllerDialog::~EditControllerDialog() = default;

DataSupply *EditControllerDialog::dataSupply() const
{
    return m_dataSupply;
}

void EditControllerDialog::buildWidgets()
{
    auto lineEdit = [this](const char *name) {
        auto *edit = new QLineEdit(this);
        edit->setObjectName(QLatin1String(name));
        edit->setMinimumWidth(kFieldMinimumWidth);
        return edit;
    };
    auto label = [this](const char *name) {
        auto *shown = new QLabel(this);
        shown->setObjectName(QLatin1String(name));
        shown->setTextInteractionFlags(Qt::TextSelectableByMouse);
        return shown;
    };
    m_nameLineEdit = lineEdit("m_nameLineEdit");
    m_typeLabel = label("m_typeLabel");
    m_uidLabel = label("m_uidLabel");
    m_serialLineEdit = lineEdit("m_serialLineEdit");
    m_ipLineEdit = lineEdit("m_ipLineEdit");
    m_universeLineEdit = lineEdit("m_universeLineEdit");
    m_macLabel = label("m_macLabel");
    m_numPortsSpinBox = new QSpinBox(this);
    m_numPortsSpinBox->setObjectName(QStringLiteral("m_numPortsSpinBox"));
    // The port count is one byte on the wire and in the model.
    m_numPortsSpinBox->setRange(0, std::numeric_limits<quint8>::max());
    m_versionComboBox = new QComboBox(this);
    m_versionComboBox->setObjectName(QStringLiteral("m_versionComboBox"));
    m_versionComboBox->addItems(DevicePresentation::protocolVersionTexts());

    m_form = new QFormLayout;
    m_form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    m_form->addRow(QStringLiteral("Interface Name:"), m_nameLineEdit);
    m_form->addRow(QStringLiteral("Interface Type:"), m_typeLabel);
    m_form->addRow(QStringLiteral("Interface UID:"), m_uidLabel);
    m_form->addRow(QStringLiteral("Interface Serial: "), m_serialLineEdit);
    m_form->addRow(QStringLiteral("IP:"), m_ipLineEdit);
    m_form->addRow(QStringLiteral("Universe:"), m_universeLineEdit);
    m_form->addRow(QStringLiteral("MAC:"), m_macLabel);
    m_form->addRow(QStringLiteral("Num Ports:"), m_numPortsSpinBox);
    m_form->addRow(QStringLiteral("Version:"), m_versionComboBox);

    m_errorLabel = new QLabel(this);
    m_errorLabel->setObjectName(QStringLiteral("m_errorLabel"));
    m_okButton = new QPushButton(QStringLiteral("&OK"), this);
    m_okButton->setObjectName(QStringLiteral("m_okButton"));
    m_okButton->setDefault(true);
    m_cancelButton = new QPushButton(QStringLiteral("&Cancel"), this);
    m_cancelButton->setObjectName(QStringLiteral("m_cancelButton"));

    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_okButton);
    buttons->addWidget(m_cancelButton);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(m_form);
    layout->addWidget(m_errorLabel);
    layout->addLayout(buttons);
}

void EditControllerDialog::fillFromSupply()
{
    if (!m_dataSupply)
        return;
    const DataSupply &supply = *m_dataSupply;
    m_nameLineEdit->setText(supply.name());
    m_typeLabel->setText(DevicePresentation::interfaceTypeText(supply.type()));
    m_uidLabel->setText(QString::number(supply.uid(), 16).toUpper());
    m_serialLineEdit->setText(DevicePresentation::serialText(supply.serialNumber()));
    m_ipLineEdit->setText(QString::fromLatin1(supply.ipText()));
    m_universeLineEdit->setText(QString::number(supply.universe()));
    m_macLabel->setText(supply.macAddress());
    m_numPortsSpinBox->setValue(supply.portCount());
    m_versionComboBox->setCurrentIndex(DevicePresentation::protocolVersionIndex(supply.version()));
}

void EditControllerDialog::handleAccept()
{
    if (m_dataSupply) {
        writeToSupply();
        emit setDirty(true);
    }
    accept();
}

void EditControllerDialog::handleReject()
{
    reject();
}

void EditControllerDialog::writeToSupply()
{
    DataSupply &supply = *m_dataSupply;
    supply.setName(m_nameLineEdit->text());
    const QString ip = m_ipLineEdit->text();
    // What was read from the supply at its old address no longer describes it; an unchanged
    // text keeps all of it.
    if (ip != QString::fromLatin1(supply.ipText())) {
        supply.forgetAddressData();
        supply.setIpAddress(QHostAddress(ip));
    }
    supply.setUniverse(DevicePresentation::decimalFromText(m_universeLineEdit->text()));
    supply.setPortCount(
        quint8(DevicePresentation::decimalFromText(m_numPortsSpinBox->cleanText())));
    const quint64 serial = DevicePresentation::serialFromText(m_serialLineEdit->text());
    supply.setVersion(
        DevicePresentation::protocolVersionFromText(m_versionComboBox->currentText()));
    supply.setSerialNumber(serial);
}

void EditControllerDialog::saveSize()
{
    QSettings().setValue(m_group + kSizeKey, size());
}
