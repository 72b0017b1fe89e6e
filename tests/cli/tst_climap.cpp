#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

#include "support/programrun.h"

#include <sys/stat.h>

namespace {

const QString kExample = QStringLiteral(ORRERY_SOURCE_DIR "/examples/riverside-arcade.map");

} // namespace

class tst_CliMap : public QObject
{
    Q_OBJECT

private slots:
    void infoPrintsCountsAndMessages();
    void infoJsonCarriesTheWholeModel();
    void resaveWritesALoadableMap();
    void failuresAndUsage_data();
    void failuresAndUsage();
    void refusalsSayWhy_data();
    void refusalsSayWhy();
};

void tst_CliMap::infoPrintsCountsAndMessages()
{
    const ProgramRun run = cli({"map", "info", kExample});
    QCOMPARE(run.status, 0);
    QVERIFY(run.out.contains("Opening map file: "));
    QVERIFY(run.out.contains("Loading a Vistra IP DataSupply."));
    QVERIFY(run.out.contains("Supplies: 3\nLights: 200\nGroups: 2\n"));
}

void tst_CliMap::infoJsonCarriesTheWholeModel()
{
    const ProgramRun run = cli({"map", "info", "--json", kExample});
    QCOMPARE(run.status, 0);
    QJsonParseError error;
    const QJsonObject map = QJsonDocument::fromJson(run.out, &error).object();
    QCOMPARE(error.error, QJsonParseError::NoError);
    QCOMPARE(map.keys(), QStringList({"groups", "imageFile", "lights", "supplies"}));

    const QJsonArray supplies = map.value("supplies").toArray();
    QCOMPARE(supplies.size(), 3);
    const QJsonObject supply = supplies.at(0).toObject();
    QCOMPARE(supply.keys(),
             QStringList({"dmxBufferSize", "family", "ip", "lights", "mac", "missing", "name",
                          "ports", "properties", "serialNumber", "type", "uid", "universe",
                          "version", "versionString"}));
    QCOMPARE(supply.value("name").toString(), QStringLiteral("Arcade North PDS"));
    QCOMPARE(supply.value("serialNumber").toDouble(), double(0x01A20011));
    QCOMPARE(supply.value("ip").toString(), QStringLiteral("10.32.1.11"));
    QCOMPARE(supply.value("ports").toArray().size(), 2);
    QCOMPARE(supply.value("ports").toArray().at(1).toObject().value("number").toInt(), 2);
    QCOMPARE(supply.value("lights").toArray().size(), 80);

    const QJsonArray lights = map.value("lights").toArray();
    QCOMPARE(lights.size(), 200);
    const QJsonObject light = lights.at(0).toObject();
    QCOMPARE(light.keys(),
             QStringList({"channel", "dataSupply", "fixture", "fixtureCode", "lightNumber", "name",
                          "portIndex", "properties", "q0", "q1", "q2", "q3", "serialNumber",
                          "tintlockIoMode", "tintlockProfileId", "uid", "x", "y", "z"}));
    QCOMPARE(light.value("dataSupply").toDouble(), supply.value("uid").toDouble());
    QCOMPARE(light.value("properties").toObject().value("DMX_OFFSET").toString(), QStringLiteral("0"));

    const QJsonArray groups = map.value("groups").toArray();
    QCOMPARE(groups.size(), 2);
    QCOMPARE(groups.at(0).toObject().keys(), QStringList({"children", "lightsPerStep", "name", "o", "type", "uid"}));
    QCOMPARE(groups.at(0).toObject().value("children").toArray().size(), 80);
}

void tst_CliMap::resaveWritesALoadableMap()
{
    QTemporaryDir dir;
    const QString hand = dir.filePath("hand.map");
    QFile f(hand);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write("<map><DataSupply><type>2</type><self>A</self><name>Hand</name></DataSupply>"
            "<light><self>B</self><DataSupply>A</DataSupply></light></map>");
    f.close();

    const QString out = dir.filePath("clean.map");
    const ProgramRun run = cli({"map", "resave", hand, out});
    QCOMPARE(run.status, 0);
    QFile written(out);
    QVERIFY(written.open(QIODevice::ReadOnly));
    const QByteArray xml = written.readAll();
    QVERIFY(xml.contains("<c>\n  <t>2</t>\n  <s>A</s>\n  <n>Hand</n>"));
    QCOMPARE(cli({"map", "info", out}).status, 0);
}

void tst_CliMap::failuresAndUsage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("stderrText");
    QTest::newRow("missing file") << QStringList{"map", "info", "/nonexistent.map"} << 1
                                  << "no such file: /nonexistent.map";
    QTest::newRow("not a map") << QStringList{"map", "info", ORRERY_SOURCE_DIR "/README.md"} << 1
                               << "Error in line: 1, column: 1";
    QTest::newRow("no command") << QStringList{} << 2 << "no command given";
    QTest::newRow("unknown command") << QStringList{"paint"} << 2 << "unknown command: paint";
    QTest::newRow("unknown map command") << QStringList{"map", "draw"} << 2 << "unknown map command: draw";
    QTest::newRow("missing argument") << QStringList{"map", "resave", "a.map"} << 2 << "takes IN and OUT";
    QTest::newRow("unknown option") << QStringList{"map", "info", "--xml", "a.map"} << 2 << "Unknown option 'xml'";
    QTest::newRow("help") << QStringList{"--help"} << 0 << "";
    QTest::newRow("map help") << QStringList{"map", "info", "--help"} << 0 << "";
}

void tst_CliMap::failuresAndUsage()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(QString, stderrText);
    const ProgramRun run = cli(arguments);
    QCOMPARE(run.status, status);
    if (stderrText.isEmpty())
        QVERIFY(run.out.contains("Usage: orrery-cli"));
    else
        QVERIFY2(run.err.contains(stderrText.toUtf8()), run.err.constData());
}

// A file the loader refuses, or a target it will not save over, ends the command with
// status 1 and the reason; never with a crash.
void tst_CliMap::refusalsSayWhy_data()
{
    QTest::addColumn<QByteArray>("map");
    QTest::addColumn<bool>("resaveOverAPipe");
    QTest::addColumn<QString>("stderrText");
    QTest::newRow("nested 120,000 deep")
        << "<map><l><n>" + QByteArray("<b>").repeated(120000) + "</n></l></map>" << false
        << "Elements are nested deeper than 32 levels.";
    QTest::newRow("garbage") << QByteArray("garbage") << false
                             << "Error in line: 1, column: 1: Start tag expected.";
    QTest::newRow("resave over a pipe")
        << QByteArray("<map/>") << true << "exists and is not a regular file";
}

void tst_CliMap::refusalsSayWhy()
{
    QFETCH(QByteArray, map);
    QFETCH(bool, resaveOverAPipe);
    QFETCH(QString, stderrText);
    QTemporaryDir dir;
    const QString in = dir.filePath("in.map");
    QFile f(in);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write(map);
    f.close();
    const QString pipe = dir.filePath("pipe.map");
    QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);

    const ProgramRun run =
        resaveOverAPipe ? cli({"map", "resave", in, pipe}) : cli({"map", "info", in});
    QCOMPARE(run.status, 1);
    QVERIFY2(run.err.contains(stderrText.toUtf8()), run.err.constData());
    QVERIFY(!QFileInfo(pipe).isFile());
}

QTEST_GUILESS_MAIN(tst_CliMap)
#include "tst_climap.moc"
