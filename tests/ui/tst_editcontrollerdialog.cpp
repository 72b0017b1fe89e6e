#include "app/testsettings.h"
#include "model/datasupply.h"
#include "ui/editcontrollerdialog.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTableWidget>
#include <QtTest>

#include <memory>

Q_DECLARE_METATYPE(SupplyPort)

namespace {

const QString kGroup = QStringLiteral("/EditController");

std::unique_ptr<DataSupply> exampleSupply(unsigned int type = DataSupply::VistraIp)
{
    auto supply = std::make_unique<DataSupply>(type);
    supply->setUid(0x1A2B3C);
    supply->setName(QStringLiteral("Arcade North"));
    supply->setSerialNumber(0xC0FFEE);
    supply->setIpAddress(QHostAddress(QStringLiteral("10.20.30.40")));
    supply->setUniverse(12);
    supply->setMacAddress(QStringLiteral("00:0A:C5:01:02:03"));
    supply->setPortCount(2);
    supply->setVersion(2);
    supply->setDeviceProperty(QStringLiteral("IPV4_IP_ADDRESS"), QStringLiteral("10.20.30.40"));
    supply->setDeviceProperty(QStringLiteral("DEVICE_VARIABLE_4"), QStringLiteral("9"));
    supply->setDeviceProperty(QStringLiteral("FIRMWARE_VERSION"), QStringLiteral("5"));
    return supply;
}

struct SupplyState
{
    QString name;
    QByteArray ipText;
    QHostAddress ip;
    unsigned int universe;
    quint8 ports;
    quint64 serial;
    int version;
    QMap<QString, QString> properties;

    explicit SupplyState(const DataSupply &s)
        : name(s.name()), ipText(s.ipText()), ip(s.ipAddress()), universe(s.universe()),
          ports(s.portCount()), serial(s.serialNumber()), version(s.version()),
          properties(s.deviceProperties())
    {
    }
    bool operator==(const SupplyState &o) const
    {
        return name == o.name && ipText == o.ipText && ip == o.ip && universe == o.universe &&
               ports == o.ports && serial == o.serial && version == o.version &&
               properties == o.properties;
    }
};

} // namespace

// The Interface Editor: what it shows of a supply, and what accepting writes back.
class tst_EditControllerDialog : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void acceptWritesEveryField_data();
    void acceptWritesEveryField();
    void addressChangeForgetsWhatWasLearntThere_data();
    void addressChangeForgetsWhatWasLearntThere();
    void rejectChangesNothing();
    void supplyGoneBeforeAccept();
    void portOutputs_data();
    void portOutputs();
    void portRowsFollowThePortCount();

private:
    std::unique_ptr<TestSettings> m_settings;
};

void tst_EditControllerDialog::initTestCase()
{
    m_settings = std::make_unique<TestSettings>();
}

void tst_EditControllerDialog::acceptWritesEveryField_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("ip");
    QTest::addColumn<QString>("universe");
    QTest::addColumn<int>("ports");
    QTest::addColumn<QString>("serial");
    QTest::addColumn<int>("versionIndex");
    QTest::addColumn<QString>("storedIp"); // empty: the null address
    QTest::addColumn<uint>("storedUniverse");
    QTest::addColumn<quint64>("storedSerial");
    QTest::addColumn<int>("storedVersion");

    QTest::newRow("all valid") << "Canopy"
                               << "192.168.4.9"
                               << "300" << 4 << "1a00ff" << 2 << "192.168.4.9" << 300u
                               << quint64(0x1A00FF) << 3;
    QTest::newRow("rdm serial") << "Gate"
                                << "10.20.30.40"
                                << "0" << 1 << "4C5400012345" << 0 << "10.20.30.40" << 0u
                                << quint64(0x4C5400012345) << 1;
    QTest::newRow("universe abc") << "X"
                                  << "10.20.30.40"
                                  << "abc" << 2 << "C0FFEE" << 1 << "10.20.30.40" << 0u
                                  << quint64(0xC0FFEE) << 2;
    QTest::newRow("bad address stored null")
        << ""
        << "10.20.300.1"
        << "-5" << 0 << "zz" << 1 << "" << 0u << quint64(0) << 2;
}

void tst_EditControllerDialog::acceptWritesEveryField()
{
    QFETCH(QString, name);
    QFETCH(QString, ip);
    QFETCH(QString, universe);
    QFETCH(int, ports);
    QFETCH(QString, serial);
    QFETCH(int, versionIndex);
    QFETCH(QString, storedIp);
    QFETCH(uint, storedUniverse);
    QFETCH(quint64, storedSerial);
    QFETCH(int, storedVersion);

    auto supply = exampleSupply();
    EditControllerDialog dialog(kGroup, supply.get());
    QSignalSpy dirty(&dialog, &EditControllerDialog::setDirty);
    dialog.nameLineEdit()->setText(name);
    dialog.ipLineEdit()->setText(ip);
    dialog.universeLineEdit()->setText(universe);
    dialog.numPortsSpinBox()->setValue(ports);
    dialog.serialLineEdit()->setText(serial);
    dialog.versionComboBox()->setCurrentIndex(versionIndex);
    QTest::mouseClick(dialog.okButton(), Qt::LeftButton);

    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(supply->name(), name);
    QCOMPARE(supply->ipAddress().isNull(), storedIp.isEmpty());
    QCOMPARE(supply->ipAddress().toString(), storedIp);
    QCOMPARE(supply->universe(), storedUniverse);
    QCOMPARE(int(supply->portCount()), ports);
    QCOMPARE(supply->ports().size(), ports);
    QCOMPARE(supply->serialNumber(), storedSerial);
    QCOMPARE(supply->version(), storedVersion);
    QVERIFY(dialog.errorLabel()->text().isEmpty());
    QCOMPARE(dirty.count(), 1);
    QCOMPARE(dirty.at(0).at(0).toBool(), true);
}

// What a supply learnt at its address (the address text, DEVICE_VARIABLE_n) goes when the
// address changes, and only then; what the supply is, rather than where, stays.
void tst_EditControllerDialog::addressChangeForgetsWhatWasLearntThere_data()
{
    QTest::addColumn<QString>("address");
    QTest::newRow("unchanged") << "10.20.30.40";
    QTest::newRow("changed") << "10.20.30.41";
}

void tst_EditControllerDialog::addressChangeForgetsWhatWasLearntThere()
{
    QFETCH(QString, address);
    auto supply = exampleSupply();
    const QMap<QString, QString> before = supply->deviceProperties();
    EditControllerDialog dialog(kGroup, supply.get());
    QSignalSpy dropped(supply.get(), &DataSupply::updatedDataSupplyProperty);
    dialog.nameLineEdit()->setText(QStringLiteral("Renamed"));
    dialog.ipLineEdit()->setText(address);
    dialog.okButton()->click();

    const bool changed = QTest::currentDataTag() == QByteArray("changed");
    QCOMPARE(supply->name(), QStringLiteral("Renamed"));
    QCOMPARE(supply->ipText(), address.toLatin1());
    QVERIFY(supply->hasAddress());
    QCOMPARE(supply->deviceProperties().contains(QStringLiteral("IPV4_IP_ADDRESS")), !changed);
    QCOMPARE(supply->deviceProperties().contains(QStringLiteral("DEVICE_VARIABLE_4")), !changed);
    QCOMPARE(supply->deviceProperty(QStringLiteral("FIRMWARE_VERSION")), QStringLiteral("5"));
    // The fields it showed and the user left alone come back as they were.
    QCOMPARE(supply->version(), 2);
    QCOMPARE(supply->universe(), 12u);
    QCOMPARE(supply->serialNumber(), quint64(0xC0FFEE));
    QCOMPARE(supply->portCount(), quint8(2));
    if (!changed) {
        QCOMPARE(supply->deviceProperties(), before);
        QCOMPARE(dropped.count(), 0);
    }
}

void tst_EditControllerDialog::rejectChangesNothing()
{
    auto supply = exampleSupply();
    const SupplyState before(*supply);
    EditControllerDialog dialog(kGroup, supply.get());
    QSignalSpy dirty(&dialog, &EditControllerDialog::setDirty);
    QSignalSpy updated(supply.get(), &DataSupply::updatedDataSupply);
    dialog.nameLineEdit()->setText(QStringLiteral("Other"));
    dialog.ipLineEdit()->setText(QStringLiteral("1.2.3.4"));
    dialog.universeLineEdit()->setText(QStringLiteral("99"));
    dialog.numPortsSpinBox()->setValue(8);
    dialog.serialLineEdit()->setText(QStringLiteral("1234"));
    dialog.versionComboBox()->setCurrentIndex(2);
    dialog.cancelButton()->click();

    QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QVERIFY(SupplyState(*supply) == before);
    QCOMPARE(updated.count(), 0);
    QCOMPARE(dirty.count(), 0);
}

void tst_EditControllerDialog::supplyGoneBeforeAccept()
{
    auto supply = exampleSupply();
    EditControllerDialog dialog(kGroup, supply.get());
    QSignalSpy dirty(&dialog, &EditControllerDialog::setDirty);
    supply.reset();
    QVERIFY(!dialog.dataSupply());
    dialog.okButton()->click();
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(dirty.count(), 0);
}

void tst_EditControllerDialog::portOutputs_data()
{
    QTest::addColumn<int>("port"); // one-based, as the table shows it
    QTest::addColumn<QString>("output");
    QTest::addColumn<int>("number");
    QTest::addColumn<SupplyPort>("stored");

    // Port 1 was discovered as kind 1 with flags 0x4, port 2 carries sACN universe 2.
    QTest::newRow("sACN universe 7 on port 2") << 2 << "sACN" << 7 << SupplyPort{7, 6, 0};
    QTest::newRow("Art-Net 300 on port 1, flags kept")
        << 1 << "Art-Net" << 300 << SupplyPort{300, 7, 0x4};
    QTest::newRow("Vistra keeps the discovered kind")
        << 1 << "Vistra" << 3 << SupplyPort{3, 1, 0x4};
    QTest::newRow("Vistra after sACN: kind unknown") << 2 << "Vistra" << 5 << SupplyPort{5, 0, 0};
    QTest::newRow("sACN universe 0 becomes 1") << 1 << "sACN" << 0 << SupplyPort{1, 6, 0x4};
    QTest::newRow("Art-Net 32768 becomes 32767")
        << 1 << "Art-Net" << 32768 << SupplyPort{32767, 7, 0x4};
}

void tst_EditControllerDialog::portOutputs()
{
    QFETCH(int, port);
    QFETCH(QString, output);
    QFETCH(int, number);
    QFETCH(SupplyPort, stored);

    auto supply = exampleSupply();
    supply->setPort(0, {1, 1, 0x4});
    supply->setPort(1, {2, 6, 0});
    const QVector<SupplyPort> before = supply->ports();
    EditControllerDialog dialog(kGroup, supply.get());
    QCOMPARE(dialog.portTable()->rowCount(), 2);
    QCOMPARE(dialog.portOutputComboBox(0)->currentText(), QStringLiteral("Vistra"));
    QCOMPARE(dialog.portNumberSpinBox(0)->value(), 1);
    QCOMPARE(dialog.portOutputComboBox(1)->currentText(), QStringLiteral("sACN"));
    QCOMPARE(dialog.portNumberSpinBox(1)->value(), 2);

    dialog.portOutputComboBox(port - 1)->setCurrentText(output);
    dialog.portNumberSpinBox(port - 1)->setValue(number);
    dialog.okButton()->click();

    QCOMPARE(supply->port(port - 1), stored);
    QCOMPARE(supply->port(2 - port), before.at(2 - port));
}

// Rows come and go with "Num Ports:"; a port that comes back shows what the supply stores.
void tst_EditControllerDialog::portRowsFollowThePortCount()
{
    auto supply = exampleSupply();
    supply->setPort(1, {9, 6, 0});
    EditControllerDialog dialog(kGroup, supply.get());
    dialog.portNumberSpinBox(1)->setValue(12);
    dialog.numPortsSpinBox()->setValue(1);
    QCOMPARE(dialog.portTable()->rowCount(), 1);
    dialog.numPortsSpinBox()->setValue(4);
    QCOMPARE(dialog.portTable()->rowCount(), 4);
    QCOMPARE(dialog.portTable()->item(3, 0)->text(), QStringLiteral("4"));
    QCOMPARE(dialog.portNumberSpinBox(1)->value(), 9);
    QCOMPARE(dialog.portOutputComboBox(3)->currentText(), QStringLiteral("Vistra"));
    dialog.portOutputComboBox(3)->setCurrentText(QStringLiteral("Art-Net"));
    dialog.portNumberSpinBox(3)->setValue(32767);
    dialog.okButton()->click();

    QCOMPARE(supply->ports(),
             (QVector<SupplyPort>{{0, 0, 0}, {9, 6, 0}, {0, 0, 0}, {32767, 7, 0}}));
}

QTEST_MAIN(tst_EditControllerDialog)
#include "tst_editcontrollerdialog.moc"
