#include "app/testsettings.h"
#include "model/datasupply.h"
#include "ui/editcontrollerdialog.h"

#include <QComboBox>
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

// Learnt at its address: the address text and DEVICE_VARIABLE_n; the firmware is the unit's own.
std::unique_ptr<DataSupply> exampleSupply()
{
    auto supply = std::make_unique<DataSupply>(DataSupply::VistraIp);
    supply->setUid(0x1A2B3C);
    supply->setName(QStringLiteral("Arcade North"));
    supply->setSerialNumber(0xC0FFEE);
    supply->setIpAddress(QHostAddress(QStringLiteral("10.20.30.40")));
    supply->setUniverse(12);
    supply->setPortCount(2);
    supply->setVersion(2);
    supply->setDeviceProperty(QStringLiteral("IPV4_IP_ADDRESS"), QStringLiteral("10.20.30.40"));
    supply->setDeviceProperty(QStringLiteral("DEVICE_VARIABLE_4"), QStringLiteral("9"));
    supply->setDeviceProperty(QStringLiteral("FIRMWARE_VERSION"), QStringLiteral("5"));
    return supply;
}

// One line of the fields the editor may change on a supply.
QString describe(const DataSupply &s)
{
    return QStringLiteral("%1 %2 \"%3\" u%4 p%5/%6 s%7 v%8")
        .arg(s.name(), s.ipAddress().toString(), QString::fromLatin1(s.ipText()))
        .arg(s.universe())
        .arg(s.portCount())
        .arg(s.ports().size())
        .arg(QString::number(s.serialNumber(), 16))
        .arg(s.version());
}

} // namespace

// The Interface Editor: what it shows of a supply, and what accepting writes back.
class tst_EditControllerDialog : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_settings = std::make_unique<TestSettings>(); }
    void acceptWritesEveryField_data();
    void acceptWritesEveryField();
    void rejectOrAGoneSupplyChangesNothing();
    void portOutputs_data();
    void portOutputs();
    void portRowsFollowThePortCount();

private:
    std::unique_ptr<TestSettings> m_settings;
};

// What is typed as "name|address|universe|ports|serial|version index" ("-": left as the editor
// showed it), and the supply after OK. What a supply learnt at its address goes when the
// address changes, and only then; the firmware is the unit's own.
void tst_EditControllerDialog::acceptWritesEveryField_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<bool>("keepsLearnt");
    QTest::newRow("all valid") << "Canopy|192.168.4.9|300|4|1a00ff|2"
                               << "Canopy 192.168.4.9 \"192.168.4.9\" u300 p4/4 s1a00ff v3"
                               << false;
    QTest::newRow("rdm serial") << "Gate|10.20.30.40|0|1|4C5400012345|0"
                                << "Gate 10.20.30.40 \"10.20.30.40\" u0 p1/1 s4c5400012345 v1"
                                << true;
    QTest::newRow("universe abc") << "X|10.20.30.40|abc|2|C0FFEE|1"
                                  << "X 10.20.30.40 \"10.20.30.40\" u0 p2/2 sc0ffee v2" << true;
    QTest::newRow("bad address stored null") << "|10.20.300.1|-5|0|zz|1"
                                             << "  \"\" u0 p0/0 s0 v2" << false;
    QTest::newRow("only the name: the rest comes back as shown")
        << "Renamed|-|-|-|-|-"
        << "Renamed 10.20.30.40 \"10.20.30.40\" u12 p2/2 sc0ffee v2" << true;
    QTest::newRow("a new address forgets what was learnt at the old")
        << "Renamed|10.20.30.41|-|-|-|-"
        << "Renamed 10.20.30.41 \"10.20.30.41\" u12 p2/2 sc0ffee v2" << false;
}

void tst_EditControllerDialog::acceptWritesEveryField()
{
    QFETCH(QString, typed);
    QFETCH(QString, stored);
    QFETCH(bool, keepsLearnt);
    const QStringList field = typed.split(QLatin1Char('|'));
    const auto given = [&field](int i) { return field.at(i) != QLatin1String("-"); };
    auto supply = exampleSupply();
    EditControllerDialog dialog(kGroup, supply.get());
    QSignalSpy dirty(&dialog, &EditControllerDialog::setDirty);
    dialog.nameLineEdit()->setText(field.at(0));
    if (given(1))
        dialog.ipLineEdit()->setText(field.at(1));
    if (given(2))
        dialog.universeLineEdit()->setText(field.at(2));
    if (given(3))
        dialog.numPortsSpinBox()->setValue(field.at(3).toInt());
    if (given(4))
        dialog.serialLineEdit()->setText(field.at(4));
    if (given(5))
        dialog.versionComboBox()->setCurrentIndex(field.at(5).toInt());
    QTest::mouseClick(dialog.okButton(), Qt::LeftButton);

    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(describe(*supply), stored);
    const QStringList learnt{"DEVICE_VARIABLE_4", "FIRMWARE_VERSION", "IPV4_IP_ADDRESS"};
    QCOMPARE(supply->deviceProperties().keys(),
             keepsLearnt ? learnt : QStringList{"FIRMWARE_VERSION"});
    QVERIFY(dialog.errorLabel()->text().isEmpty());
    QCOMPARE(dirty.count(), 1);
    QCOMPARE(dirty.at(0).at(0).toBool(), true);
}

void tst_EditControllerDialog::rejectOrAGoneSupplyChangesNothing()
{
    auto supply = exampleSupply();
    const QString before = describe(*supply);
    EditControllerDialog dialog(kGroup, supply.get());
    QSignalSpy dirty(&dialog, &EditControllerDialog::setDirty);
    QSignalSpy updated(supply.get(), &DataSupply::updatedDataSupply);
    dialog.nameLineEdit()->setText(QStringLiteral("Other"));
    dialog.ipLineEdit()->setText(QStringLiteral("1.2.3.4"));
    dialog.numPortsSpinBox()->setValue(8);
    dialog.versionComboBox()->setCurrentIndex(2);
    dialog.cancelButton()->click();
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QCOMPARE(describe(*supply), before);
    QCOMPARE(updated.count(), 0);

    // The supply deleted while the editor is open: OK writes nowhere.
    EditControllerDialog orphan(kGroup, supply.get());
    QSignalSpy orphanDirty(&orphan, &EditControllerDialog::setDirty);
    supply.reset();
    QVERIFY(!orphan.dataSupply());
    orphan.okButton()->click();
    QCOMPARE(orphan.result(), int(QDialog::Accepted));
    QCOMPARE(dirty.count() + orphanDirty.count(), 0);
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
    QCOMPARE(dialog.portOutputComboBox(0)->currentText() +
                 dialog.portOutputComboBox(1)->currentText(),
             QStringLiteral("VistrasACN"));
    QCOMPARE(dialog.portNumberSpinBox(0)->value() * 10 + dialog.portNumberSpinBox(1)->value(), 12);

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
