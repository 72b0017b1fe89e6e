#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include "support/programrun.h"

namespace {

} // namespace

class tst_CliDevices : public QObject
{
    Q_OBJECT

private slots:
    void listsEveryDefinition();
    void listsAsJson();
    void serialLookup_data();
    void serialLookup();
    void serialLookupAsJson();
    void badArguments_data();
    void badArguments();
};

void tst_CliDevices::listsEveryDefinition()
{
    const ProgramRun run = cli({"devices"});
    QCOMPARE(run.status, 0);
    QVERIFY(run.out.contains(
        ":/DeviceConfigFiles/generic/generic-3ch.json\n"
        "  type:    FIXTURE\n"
        "  name:    Generic 3-Ch\n"
        "  serials: 1F000000-1F00FFFF\n"
        "  tokens:  DIMMING_CURVE, DMX_OFFSET, INPUT_RESOLUTION, LED_CHEMISTRY\n"));
    QVERIFY(run.out.contains("  product: D.0301-P.0101-F.0102 7A7001000000-7A7001FFFFFF\n"));
    QVERIFY(run.out.contains(" definitions (5 PDS, 1 ETHERNET, "));
    // Loading the shipped files logs nothing.
    QCOMPARE(run.err, QByteArray());

    const ProgramRun keypads = cli({"devices", "--type", "keypad"});
    QCOMPARE(keypads.status, 0);
    QVERIFY(keypads.out.endsWith("2 definitions (2 KEYPAD)\n"));
}

void tst_CliDevices::listsAsJson()
{
    const ProgramRun run = cli({"devices", "--json"});
    QCOMPARE(run.status, 0);
    const QJsonArray list = QJsonDocument::fromJson(run.out).array();
    QVERIFY(list.size() >= 30);
    bool found = false;
    for (const QJsonValue &value : list) {
        const QJsonObject entry = value.toObject();
        if (entry.value("name") != QLatin1String("PDS-480"))
            continue;
        found = true;
        QCOMPARE(entry.value("type").toString(), QStringLiteral("PDS"));
        QCOMPARE(entry.value("file").toString(),
                 QStringLiteral(":/DeviceConfigFiles/supplies/pds-480.json"));
        QCOMPARE(entry.value("serialRanges").toArray().at(0).toObject().value("start").toString(),
                 QStringLiteral("01A20000"));
        QVERIFY(entry.value("tokens").toArray().contains(QStringLiteral("IPV4_IP_ADDRESS")));
    }
    QVERIFY(found);
}

void tst_CliDevices::serialLookup_data()
{
    QTest::addColumn<QString>("serial");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("light of the example") << "1011213B" << 0
                                          << QByteArray("Serial 1011213B: Vela Graze RGB\n"
                                                        "  type:    FIXTURE\n");
    QTest::newRow("prefix and lower case")
        << "0x1a20011" << 0 << QByteArray("Serial 01A20011: PDS-480\n");
    QTest::newRow("range start") << "1F000000" << 0
                                 << QByteArray("Serial 1F000000: Generic 3-Ch\n");
    QTest::newRow("unknown") << "99" << 1 << QByteArray("Serial 00000099: Unknown Device\n");
    QTest::newRow("RDM with product codes")
        << "7A7001000005" << 0
        << QByteArray("  product: D.0301-P.0101-F.0102 Vela Graze RDM RGB (RDM_FIXTURE) "
                      "7A7001000000-7A7001FFFFFF");
}

void tst_CliDevices::serialLookup()
{
    QFETCH(QString, serial);
    QFETCH(int, status);
    QFETCH(QByteArray, expected);
    const ProgramRun run = cli({"devices", "--serial", serial});
    QCOMPARE(run.status, status);
    QVERIFY2(run.out.contains(expected), run.out.constData());
}

void tst_CliDevices::serialLookupAsJson()
{
    const ProgramRun run = cli({"devices", "--serial", "7A7001000005", "--json"});
    QCOMPARE(run.status, 0);
    const QJsonObject result = QJsonDocument::fromJson(run.out).object();
    QCOMPARE(result.value("serial").toString(), QStringLiteral("7A7001000005"));
    QCOMPARE(result.value("deviceName").toString(), QStringLiteral("Generic RDM Fixture"));
    const QJsonArray coded = result.value("productCodeDefinitions").toArray();
    QCOMPARE(coded.size(), 2);
    QCOMPARE(coded.at(1).toObject().value("productCode").toString(),
             QStringLiteral("D.0301-P.0101-F.0200"));

    const ProgramRun unknown = cli({"devices", "--serial", "5", "--json"});
    QCOMPARE(unknown.status, 1);
    const QJsonObject none = QJsonDocument::fromJson(unknown.out).object();
    QVERIFY(none.value("definition").isNull());
    QCOMPARE(none.value("deviceName").toString(), QStringLiteral("Unknown Device"));
}

void tst_CliDevices::badArguments_data()
{
    QTest::addColumn<QStringList>("arguments");

    QTest::newRow("not hex") << QStringList{"devices", "--serial", "xyz"};
    QTest::newRow("empty serial") << QStringList{"devices", "--serial", ""};
    QTest::newRow("too wide") << QStringList{"devices", "--serial", "1FFFFFFFFFFFFFFFF"};
    QTest::newRow("unknown type") << QStringList{"devices", "--type", "lamp"};
    QTest::newRow("stray argument") << QStringList{"devices", "file.json"};
    QTest::newRow("unknown option") << QStringList{"devices", "--frobnicate"};
}

void tst_CliDevices::badArguments()
{
    QFETCH(QStringList, arguments);
    const ProgramRun run = cli(arguments);
    QCOMPARE(run.status, 2);
    QVERIFY(!run.err.isEmpty());
}

QTEST_GUILESS_MAIN(tst_CliDevices)
#include "tst_clidevices.moc"
