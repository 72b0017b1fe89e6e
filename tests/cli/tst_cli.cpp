// orrery-cli as scripts and installers run it: what each command prints, what it writes, and
// what it refuses (with the status and the reason) before doing any work.
#include "support/netnamespace.h"
#include "support/programrun.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

namespace {

const QString kExample = QStringLiteral(ORRERY_SOURCE_DIR "/examples/riverside-arcade.map");

QString writeFile(const QTemporaryDir &dir, const QString &name, const QByteArray &content)
{
    QFile file(dir.filePath(name));
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size()
               ? file.fileName()
               : QString();
}

} // namespace

class tst_Cli : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void commandLine_data();
    void commandLine();
    void infoJsonCarriesTheWholeModel();
    void devicesAsJson();
    void resaveWritesALoadableMap();
    void refusedFilesSayWhy_data();
    void refusedFilesSayWhy();
    void buildsAnInstallation();
    void creationRefusals_data();
    void creationRefusals();

private:
    QString m_offline; // why commands that send cannot run here; empty when they can
};

void tst_Cli::initTestCase()
{
    // Commands that talk to an installation run only in a namespace of their own.
    m_offline = NetNamespace::enterOwn();
}

// Arguments; exit status; fragments standard output and standard error must hold (an error
// list of one empty string: standard error must be empty).
void tst_Cli::commandLine_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QStringList>("out");
    QTest::addColumn<QStringList>("err");
    using L = QStringList;
    const QString readme = QStringLiteral(ORRERY_SOURCE_DIR "/README.md");
    const QString counts = QStringLiteral("Supplies: 3\nLights: 200\nGroups: 2\n");

    QTest::newRow("map info")
        << L{"map", "info", kExample} << 0
        << L{"Opening map file: ", "Loading a Vistra IP DataSupply.", counts} << L{};
    QTest::newRow("missing map") << L{"map", "info", "/nonexistent.map"} << 1 << L{}
                                 << L{"no such file: /nonexistent.map"};
    QTest::newRow("not a map") << L{"map", "info", readme} << 1 << L{}
                               << L{"Error in line: 1, column: 1"};
    QTest::newRow("no command") << L{} << 2 << L{} << L{"no command given"};
    QTest::newRow("unknown command") << L{"paint"} << 2 << L{} << L{"unknown command: paint"};
    QTest::newRow("unknown map command")
        << L{"map", "draw"} << 2 << L{} << L{"unknown map command: draw"};
    QTest::newRow("missing argument")
        << L{"map", "resave", "a.map"} << 2 << L{} << L{"takes IN and OUT"};
    QTest::newRow("unknown option")
        << L{"map", "info", "--xml", "a.map"} << 2 << L{} << L{"Unknown option 'xml'"};
    QTest::newRow("help") << L{"--help"} << 0 << L{"Usage: orrery-cli"} << L{};
    QTest::newRow("map help") << L{"map", "info", "--help"} << 0 << L{"Usage: orrery-cli"} << L{};
    QTest::newRow("resave into a missing folder")
        << L{"map", "resave", kExample, "/nonexistent/x.map"} << 1 << L{}
        << L{"cannot save /nonexistent/x.map: No such file or directory"};

    // The global --broadcast option is taken out wherever it stands.
    QTest::newRow("broadcast before the command")
        << L{"--broadcast", "192.168.1.255", "map", "info", kExample} << 0 << L{counts} << L{};
    QTest::newRow("broadcast among the command's arguments")
        << L{"map", "info", "--broadcast", "10.0.255.255", kExample} << 0 << L{counts} << L{};
    QTest::newRow("broadcast with =")
        << L{"map", "info", kExample, "--broadcast=255.255.255.255"} << 0 << L{counts} << L{};
    QTest::newRow("broadcast given twice")
        << L{"--broadcast", "10.0.0.255", "map", "info", "--broadcast=10.0.1.255", kExample} << 0
        << L{counts} << L{};
    QTest::newRow("broadcast not an address")
        << L{"--broadcast", "eth0", "map", "info", kExample} << 2 << L{}
        << L{"orrery-cli: --broadcast needs an IPv4 address such as 192.168.1.255, not: eth0"};
    QTest::newRow("broadcast of three parts")
        << L{"map", "info", "--broadcast=10.0.255", kExample} << 2 << L{} << L{"not: 10.0.255"};
    QTest::newRow("broadcast without a value")
        << L{"map", "info", kExample, "--broadcast"} << 2 << L{}
        << L{"orrery-cli: --broadcast needs an ADDRESS"};

    // The device definitions compiled in; loading them logs nothing.
    QTest::newRow("devices")
        << L{"devices"} << 0
        << L{":/DeviceConfigFiles/generic/generic-3ch.json\n"
             "  type:    FIXTURE\n"
             "  name:    Generic 3-Ch\n"
             "  serials: 1F000000-1F00FFFF\n"
             "  tokens:  DIMMING_CURVE, DMX_OFFSET, INPUT_RESOLUTION, LED_CHEMISTRY\n",
             "  product: D.0301-P.0101-F.0102 7A7001000000-7A7001FFFFFF\n",
             " definitions (5 PDS, 1 ETHERNET, "}
        << L{""};
    QTest::newRow("devices of a type")
        << L{"devices", "--type", "keypad"} << 0 << L{"2 definitions (2 KEYPAD)\n"} << L{""};
    QTest::newRow("serial of the example")
        << L{"devices", "--serial", "1011213B"} << 0
        << L{"Serial 1011213B: Vela Graze RGB\n  type:    FIXTURE\n"} << L{};
    QTest::newRow("serial with prefix, lower case")
        << L{"devices", "--serial", "0x1a20011"} << 0 << L{"Serial 01A20011: PDS-480\n"} << L{};
    QTest::newRow("serial at a range start")
        << L{"devices", "--serial", "1F000000"} << 0 << L{"Serial 1F000000: Generic 3-Ch\n"}
        << L{};
    QTest::newRow("unknown serial") << L{"devices", "--serial", "99"} << 1
                                    << L{"Serial 00000099: Unknown Device\n"} << L{};
    QTest::newRow("RDM serial with product codes")
        << L{"devices", "--serial", "7A7001000005"} << 0
        << L{"  product: D.0301-P.0101-F.0102 Vela Graze RDM RGB (RDM_FIXTURE) "
             "7A7001000000-7A7001FFFFFF"}
        << L{};
    QTest::newRow("serial not hex") << L{"devices", "--serial", "xyz"} << 2 << L{} << L{"serial"};
    QTest::newRow("empty serial") << L{"devices", "--serial", ""} << 2 << L{} << L{"serial"};
    QTest::newRow("serial too wide")
        << L{"devices", "--serial", "1FFFFFFFFFFFFFFFF"} << 2 << L{} << L{"serial"};
    QTest::newRow("unknown device type") << L{"devices", "--type", "lamp"} << 2 << L{} << L{"lamp"};
    QTest::newRow("devices, stray argument") << L{"devices", "file.json"} << 2 << L{} << L{"file"};
    QTest::newRow("devices, unknown option")
        << L{"devices", "--frobnicate"} << 2 << L{} << L{"frobnicate"};
    QTest::newRow("devices by type and serial")
        << L{"devices", "--type", "PDS", "--serial", "1011213B"} << 2 << L{}
        << L{"--serial and --type cannot be combined"};

    // Commands that drive or search an installation refuse bad arguments before any work.
    const L highlight{"highlight", "--for", "0"};
    QTest::newRow("highlight an unknown light")
        << highlight + L{kExample, "--light", "DEADBEEF"} << 2 << L{}
        << L{"the map holds no light with uid DEADBEEF"};
    QTest::newRow("highlight, not a uid")
        << highlight + L{kExample, "--group", "zz"} << 2 << L{} << L{"not a hexadecimal uid: zz"};
    QTest::newRow("highlight at 0 fps") << highlight + L{kExample, "--fps", "0"} << 2 << L{}
                                        << L{"--fps takes a whole number from 1 to 100"};
    QTest::newRow("highlight at 101 fps") << highlight + L{kExample, "--fps", "101"} << 2 << L{}
                                          << L{"--fps takes a whole number from 1 to 100"};
    QTest::newRow("highlight for a negative time")
        << highlight + L{kExample, "--for", "-5"} << 2 << L{}
        << L{"--for takes a number of milliseconds"};
    QTest::newRow("highlight in an unknown colour")
        << highlight + L{kExample, "--fg", "ultraviolet"} << 2 << L{} << L{"--fg takes a colour name"};
    QTest::newRow("highlight two maps")
        << highlight + L{kExample, kExample} << 2 << L{} << L{"takes one MAP"};
    QTest::newRow("highlight a missing map")
        << highlight + L{"/nonexistent/x.map"} << 1 << L{} << L{"no such file"};
    QTest::newRow("highlight what is not a map")
        << highlight + L{readme} << 1 << L{} << L{"failed to load map"};
    // Nothing answers in this namespace, and without --broadcast discovery goes to
    // 255.255.255.255, for which it has no route.
    QTest::newRow("discover with no route")
        << L{"discover", "--timeout", "200"} << 1 << L{} << L{"Network is unreachable"};
    QTest::newRow("discover for 0 ms") << L{"discover", "--timeout", "0"} << 2 << L{}
                                       << L{"--timeout takes a whole number of milliseconds"};
    QTest::newRow("scan for a negative time") << L{"scan", "--timeout", "-5"} << 2 << L{}
                                              << L{"--timeout takes a whole number of milliseconds"};
    QTest::newRow("read, stray argument")
        << L{"read", "now"} << 2 << L{} << L{"unexpected argument: now"};
    QTest::newRow("read, saved into a missing folder")
        << L{"read", "--save", "/nonexistent/x.map"} << 1 << L{}
        << L{"cannot save /nonexistent/x.map: No such file or directory"};
    QTest::newRow("read, saved onto a folder")
        << L{"read", "--save", "/tmp"} << 1 << L{} << L{"cannot save /tmp: it is a directory"};
}

void tst_Cli::commandLine()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(QStringList, out);
    QFETCH(QStringList, err);
    const QStringList sending{"highlight", "discover", "scan", "read"};
    if (!arguments.isEmpty() && sending.contains(arguments.first()) && !m_offline.isEmpty())
        QSKIP(qPrintable(m_offline));
    const ProgramRun run = cli(arguments);
    QVERIFY2(run.status == status, run.err.constData());
    for (const QString &fragment : out)
        QVERIFY2(run.out.contains(fragment.toUtf8()), run.out.constData());
    if (err == QStringList{QString()})
        QCOMPARE(run.err, QByteArray());
    else
        for (const QString &fragment : err)
            QVERIFY2(run.err.contains(fragment.toUtf8()), run.err.constData());
    // A refusal is made before any work: nothing is printed.
    if (status == 2 || arguments.contains(QStringLiteral("--save")))
        QVERIFY2(run.out.isEmpty(), run.out.constData());
}

void tst_Cli::infoJsonCarriesTheWholeModel()
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
    QCOMPARE(supply.value("serialNumber").toDouble(), double(0x01A20011));
    QCOMPARE(supply.value("ip").toString(), QStringLiteral("10.32.1.11"));
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
    QCOMPARE(light.value("properties").toObject().value("DMX_OFFSET").toString(),
             QStringLiteral("0"));

    const QJsonArray groups = map.value("groups").toArray();
    QCOMPARE(groups.at(0).toObject().keys(), QStringList({"children", "lightsPerStep", "name", "o", "type", "uid"}));
    QCOMPARE(groups.at(0).toObject().value("children").toArray().size(), 80);
}

void tst_Cli::devicesAsJson()
{
    const ProgramRun run = cli({"devices", "--json"});
    QCOMPARE(run.status, 0);
    const QJsonArray list = QJsonDocument::fromJson(run.out).array();
    const auto pds = std::find_if(list.begin(), list.end(), [](const QJsonValue &v) {
        return v.toObject().value("name") == QLatin1String("PDS-480");
    });
    QVERIFY(pds != list.end());
    const QJsonObject entry = pds->toObject();
    QCOMPARE(entry.value("type").toString(), QStringLiteral("PDS"));
    QCOMPARE(entry.value("file").toString(),
             QStringLiteral(":/DeviceConfigFiles/supplies/pds-480.json"));
    QCOMPARE(entry.value("serialRanges").toArray().at(0).toObject().value("start").toString(),
             QStringLiteral("01A20000"));
    QVERIFY(entry.value("tokens").toArray().contains(QStringLiteral("IPV4_IP_ADDRESS")));

    const ProgramRun serial = cli({"devices", "--serial", "7A7001000005", "--json"});
    QCOMPARE(serial.status, 0);
    const QJsonObject result = QJsonDocument::fromJson(serial.out).object();
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

void tst_Cli::resaveWritesALoadableMap()
{
    QTemporaryDir dir;
    const QString hand = writeFile(
        dir, "hand.map",
        "<map><DataSupply><type>2</type><self>A</self><name>Hand</name></DataSupply>"
        "<light><self>B</self><DataSupply>A</DataSupply></light></map>");
    const QString out = dir.filePath("clean.map");
    QCOMPARE(cli({"map", "resave", hand, out}).status, 0);
    QFile written(out);
    QVERIFY(written.open(QIODevice::ReadOnly));
    QVERIFY(written.readAll().contains("<c>\n  <t>2</t>\n  <s>A</s>\n  <n>Hand</n>"));
    QCOMPARE(cli({"map", "info", out}).status, 0);
}

// A file the loader refuses, or a target it will not save over, ends the command with
// status 1 and the reason; never with a crash.
void tst_Cli::refusedFilesSayWhy_data()
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

void tst_Cli::refusedFilesSayWhy()
{
    QFETCH(QByteArray, map);
    QFETCH(bool, resaveOverAPipe);
    QFETCH(QString, stderrText);
    QTemporaryDir dir;
    const QString in = writeFile(dir, "in.map", map);
    const QString pipe = dir.filePath("pipe.map");
    QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    const ProgramRun run =
        resaveOverAPipe ? cli({"map", "resave", in, pipe}) : cli({"map", "info", in});
    QCOMPARE(run.status, 1);
    QVERIFY2(run.err.contains(stderrText.toUtf8()), run.err.constData());
    QVERIFY(!QFileInfo(pipe).isFile());
}

// map new, add-lights and add-string build an installation as the window's dialogs do.
void tst_Cli::buildsAnInstallation()
{
    QTemporaryDir dir;
    const QString empty = dir.filePath("empty.map");
    const QString row = dir.filePath("row.map");
    const QString tile = dir.filePath("tile.map");
    QCOMPARE(cli({"map", "new", empty}).status, 0);
    QCOMPARE(cli({"map", "add-lights", empty, row, "--count", "2", "--base-dmx", "511", "--ports",
                  "2", "--base-name", "Bay"})
                 .status,
             0);
    QCOMPARE(cli({"map", "add-string", row, tile, "--shape", "tile", "--rows", "2", "--columns",
                  "2", "--order", "raster-bottom-right", "--interface", "FFFFFFFF", "--port", "3",
                  "--grid", "10"})
                 .status,
             0);
    const ProgramRun info = cli({"map", "info", "--json", tile});
    QMap<QString, QStringList> byName; // name -> DMX_OFFSET, x, y
    for (const QJsonValue &v : QJsonDocument::fromJson(info.out).object().value("lights").toArray()) {
        const QJsonObject light = v.toObject();
        byName.insert(light.value("name").toString(),
                      {light.value("properties").toObject().value("DMX_OFFSET").toString(),
                       QString::number(light.value("x").toDouble()),
                       QString::number(light.value("y").toDouble())});
    }
    // DMX 511 holds no three-channel light: the row starts port 2.
    QCOMPARE(byName.value("Bay  02-001"), QStringList({"0", "12", "24"}));
    QCOMPARE(byName.value("Bay  02-002"), QStringList({"3", "24", "24"}));
    // Numbered from the bottom right, each row from the right; placed below the row.
    QCOMPARE(byName.value("Light  03-001"), QStringList({"0", "20", "54"}));
    QCOMPARE(byName.value("Light  03-004"), QStringList({"9", "10", "44"}));
    QCOMPARE(byName.size(), 6);
}

void tst_Cli::creationRefusals_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("message");
    QTest::newRow("serial does not parse")
        << QStringList{"add-lights", "--count", "1", "--interface", "XYZ"} << 1
        << "Unable to parse serial number of selected controller";
    QTest::newRow("serial not in the map")
        << QStringList{"add-lights", "--count", "1", "--interface", "1A2B"} << 1
        << "Unable to find specified controller in map";
    QTest::newRow("more ports than allowed")
        << QStringList{"add-string", "--shape", "horizontal", "--columns", "1000", "--ports", "5"}
        << 1 << "need 6 ports";
    QTest::newRow("no count") << QStringList{"add-lights"} << 2 << "--count";
    QTest::newRow("count past the maximum")
        << QStringList{"add-lights", "--count", "15001"} << 2 << "--count";
    QTest::newRow("unknown shape")
        << QStringList{"add-string", "--shape", "circle"} << 2 << "--shape";
    QTest::newRow("unknown fixture")
        << QStringList{"add-lights", "--count", "1", "--fixture", "Lamp"} << 2
        << "unknown fixture type";
    QTest::newRow("base DMX past 512")
        << QStringList{"add-lights", "--count", "1", "--base-dmx", "513"} << 2 << "--base-dmx";
}

void tst_Cli::creationRefusals()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(QString, message);
    QTemporaryDir dir;
    const QString empty = dir.filePath("empty.map");
    const QString out = dir.filePath("out.map");
    QCOMPARE(cli({"map", "new", empty}).status, 0);
    const ProgramRun run = cli(QStringList{"map", arguments.takeFirst(), empty, out} + arguments);
    QCOMPARE(run.status, status);
    QVERIFY2(run.err.contains(message.toUtf8()), run.err.constData());
    QVERIFY(!QFile::exists(out));
}

QTEST_GUILESS_MAIN(tst_Cli)
#include "tst_cli.moc"
