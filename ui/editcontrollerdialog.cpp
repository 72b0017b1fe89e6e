#include "ui/editcontrollerdialog.h"

#include "devices/devicepresentation.h"
#include "model/datasupply.h"
#include "net/artnetpacket.h"
#include "net/sacnpacket.h"

#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QHostAddress>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QSpinBox>
#include <QTableWidget>
#include <QVBoxLayout>

#include <limits>

namespace {

// Wide enough for a name of 32 characters or a 12-digit RDM serial.
constexpr int kFieldMinimumWidth = 240;

const QString kSizeKey = QStringLiteral("/size");

// What a port carries, in the order of the output combo's items.
enum PortOutput { VistraOutput, SacnOutput, ArtNetOutput };

// Port kinds in the map file ("pt") that stream instead of speaking the supply's protocol.
constexpr int kSacnPortType = DataSupply::kSacnPort;
constexpr int kArtNetPortType = DataSupply::kArtNetPort;

// Rows the port table shows before it scrolls.
constexpr int kVisiblePortRows = 4;

QStringList outputTexts()
{
    return {QStringLiteral("Vistra"), QStringLiteral("sACN"), QStringLiteral("Art-Net")};
}

PortOutput outputOf(const SupplyPort &port)
{
    if (port.type == kSacnPortType)
        return SacnOutput;
    if (port.type == kArtNetPortType)
        return ArtNetOutput;
    return VistraOutput;
}

// sACN universes are 1..63999, Art-Net port addresses 15 bits; a port's own number is one
// byte on the wire. A value outside the new range is pulled into it.
void setNumberRange(QSpinBox *number, int output)
{
    switch (output) {
    case SacnOutput:
        number->setRange(SacnPacket::kMinUniverse, SacnPacket::kMaxUniverse);
        break;
    case ArtNetOutput:
        number->setRange(0, ArtNetPacket::kMaxPortAddress);
        break;
    default:
        number->setRange(0, std::numeric_limits<quint8>::max());
        break;
    }
}

} // namespace

EditControllerDialog::EditControllerDialog(const QString &group, DataSupply *dataSupply,
                                           QWidget *parent)
    : QDialog(parent), m_group(group), m_dataSupply(dataSupply)
{
    setObjectName(QStringLiteral("EditControllerDialog"));
    setWindowTitle(QStringLiteral("Interface Editor"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    buildWidgets();
    connect(m_numPortsSpinBox, qOverload<int>(&QSpinBox::valueChanged), this,
            &EditControllerDialog::handlePortCountChanged);
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

QComboBox *EditControllerDialog::portOutputComboBox(int port) const
{
    return qobject_cast<QComboBox *>(m_portTable->cellWidget(port, PortOutputColumn));
}

QSpinBox *EditControllerDialog::portNumberSpinBox(int port) const
{
    return qobject_cast<QSpinBox *>(m_portTable->cellWidget(port, PortNumberColumn));
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
    layout->addWidget(buildPortTable(), 1);
    layout->addWidget(m_errorLabel);
    layout->addLayout(buttons);
}

QWidget *EditControllerDialog::buildPortTable()
{
    auto *box = new QGroupBox(QStringLiteral("Port Outputs"), this);
    m_portTable = new QTableWidget(0, 3, box);
    m_portTable->setObjectName(QStringLiteral("m_portTable"));
    m_portTable->setHorizontalHeaderLabels(
        {QStringLiteral("Port"), QStringLiteral("Output"), QStringLiteral("Universe / Number")});
    m_portTable->verticalHeader()->hide();
    m_portTable->setSelectionMode(QAbstractItemView::NoSelection);
    m_portTable->setFocusPolicy(Qt::NoFocus);
    m_portTable->setAlternatingRowColors(true);
    QHeaderView *header = m_portTable->horizontalHeader();
    header->setSectionResizeMode(PortNameColumn, QHeaderView::ResizeToContents);
    // Wide enough for the longest choice: cell widgets do not size their column.
    QComboBox sample;
    sample.addItems(outputTexts());
    header->setSectionResizeMode(PortOutputColumn, QHeaderView::Fixed);
    header->resizeSection(PortOutputColumn, sample.sizeHint().width());
    header->setSectionResizeMode(PortNumberColumn, QHeaderView::Stretch);
    m_portTable->setMinimumHeight(header->sizeHint().height() +
                                  kVisiblePortRows *
                                      m_portTable->verticalHeader()->defaultSectionSize() +
                                  2 * m_portTable->frameWidth());
    auto *layout = new QVBoxLayout(box);
    layout->addWidget(m_portTable);
    return box;
}

void EditControllerDialog::handlePortCountChanged(int count)
{
    while (m_portTable->rowCount() > count)
        m_portTable->removeRow(m_portTable->rowCount() - 1);
    // A port that comes back shows what the supply stores for it.
    while (m_portTable->rowCount() < count)
        addPortRow(m_dataSupply ? m_dataSupply->port(m_portTable->rowCount()) : SupplyPort{});
}

void EditControllerDialog::addPortRow(const SupplyPort &port)
{
    const int row = m_portTable->rowCount();
    m_portTable->insertRow(row);
    auto *name = new QTableWidgetItem(QString::number(row + 1));
    name->setFlags(Qt::ItemIsEnabled);
    name->setTextAlignment(Qt::AlignCenter);
    m_portTable->setItem(row, PortNameColumn, name);

    auto *output = new QComboBox;
    output->setObjectName(QStringLiteral("m_portOutputComboBox%1").arg(row + 1));
    output->addItems(outputTexts());
    output->setFrame(false);
    output->setCurrentIndex(outputOf(port));
    auto *number = new QSpinBox;
    number->setObjectName(QStringLiteral("m_portNumberSpinBox%1").arg(row + 1));
    number->setFrame(false);
    setNumberRange(number, output->currentIndex());
    number->setValue(port.number);
    connect(output, qOverload<int>(&QComboBox::currentIndexChanged), number,
            [number](int index) { setNumberRange(number, index); });
    m_portTable->setCellWidget(row, PortOutputColumn, output);
    m_portTable->setCellWidget(row, PortNumberColumn, number);
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
    for (int i = 0; i < supply.ports().size() && i < m_portTable->rowCount(); ++i) {
        SupplyPort port = supply.port(i);
        switch (portOutputComboBox(i)->currentIndex()) {
        case SacnOutput:
            port.type = kSacnPortType;
            break;
        case ArtNetOutput:
            port.type = kArtNetPortType;
            break;
        default:
            // Back from streaming the port's own kind is unknown until discovery reads it.
            if (outputOf(port) != VistraOutput)
                port.type = 0;
            break;
        }
        port.number = portNumberSpinBox(i)->value();
        supply.setPort(i, port);
    }
    const quint64 serial = DevicePresentation::serialFromText(m_serialLineEdit->text());
    supply.setVersion(
        DevicePresentation::protocolVersionFromText(m_versionComboBox->currentText()));
    supply.setSerialNumber(serial);
}

void EditControllerDialog::saveSize()
{
    QSettings().setValue(m_group + kSizeKey, size());
}
