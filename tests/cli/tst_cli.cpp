// orrery-cli as scripts and installers run it: what each command prints and writes, and what it
// refuses (with the status and the reason) before doing any work. Commands that send run in a
// network namespace of the test's own; `read` against a simulated installation: tst_clidiscover.
#include "sim/simoutput.h"
#include "sim/simulator.h"
#include "support/netnamespace.h"
#include "support/programrun.h"
#include "support/simmap.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString kCli = QStringLiteral(ORRERY_BINARY_DIR "/tools/cli/orrery-cli");
const QString kExample = QStringLiteral(ORRERY_SOURCE_DIR "/examples/riverside-arcade.map");

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Without a display, as on a server: commands that paint pick a platform that needs none.
ProgramRun run(const QStringList &arguments)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *name : {"QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY"})
        environment.remove(QLatin1String(name));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(kCli, arguments);
    const bool finished = process.waitForFinished(60000);
    return {finished && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            process.readAllStandardOutput(), process.readAllStandardError()};
}

} // namespace

class tst_Cli : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void commandLine_data();
    void commandLine();
    void patchCsvIsTheHandCheckedList();
    void infoJsonCarriesTheWholeModel();
    void devicesAsJson();
    void buildsAnInstallation();
    void highlightLightsTheChosenSupply();

private:
    QString m_offline; // why commands that send cannot run here; empty when they can
    QTemporaryDir m_dir;
    QMap<QString, QByteArray> m_inputs; // the files rows read, which no command may change
};

void tst_Cli::initTestCase()
{
    m_offline = NetNamespace::enterOwn();
    QCOMPARE(run({"map", "new", m_dir.filePath("empty.map")}).status, 0);
    QFile hand(m_dir.filePath("hand.map"));
    QVERIFY(hand.open(QIODevice::WriteOnly));
    hand.write("<map><DataSupply><type>2</type><self>A</self><name>Hand</name></DataSupply>"
               "<light><self>B</self><DataSupply>A</DataSupply></light></map>");
    hand.close();
    QVERIFY(QFile::copy(kExample, m_dir.filePath("site.map")));
    for (const char *name : {"empty.map", "hand.map", "site.map"})
        m_inputs.insert(m_dir.filePath(name), readFile(m_dir.filePath(name)));
}

// Arguments ("@NAME": a file of the test's, "@out...": a new path, written exactly when the
// command succeeds); exit status; fragments standard output and standard error must hold (a
// list of one empty string: the stream must be empty).
void tst_Cli::commandLine_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QStringList>("out");
    QTest::addColumn<QStringList>("err");
    using L = QStringList;
    const QString readme = QStringLiteral(ORRERY_SOURCE_DIR "/README.md");
    const QString counts = QStringLiteral("Supplies: 3\nLights: 200\nGroups: 2\n");

    QTest::newRow("map info") << L{"map", "info", kExample} << 0
                              << L{"Opening map file: ", "Loading a Vistra IP DataSupply.", counts}
                              << L{};
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
    QTest::newRow("resave") << L{"map", "resave", "@hand.map", "@out.map"} << 0
                            << L{"Wrote 1 supplies, 1 lights, 0 groups to "} << L{};
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
        << L{"devices", "--serial", "1F000000"} << 0 << L{"Serial 1F000000: Generic 3-Ch\n"} << L{};
    QTest::newRow("unknown serial")
        << L{"devices", "--serial", "99"} << 1 << L{"Serial 00000099: Unknown Device\n"} << L{};
    QTest::newRow("RDM serial with product codes")
        << L{"devices", "--serial", "7A7001000005"} << 0
        << L{"  product: D.0301-P.0101-F.0102 Vela Graze RDM RGB (RDM_FIXTURE) "
             "7A7001000000-7A7001FFFFFF"}
        << L{};
    QTest::newRow("serial not hex") << L{"devices", "--serial", "xyz"} << 2 << L{} << L{"serial"};
    QTest::newRow("serial too wide")
        << L{"devices", "--serial", "1FFFFFFFFFFFFFFFF"} << 2 << L{} << L{"serial"};
    QTest::newRow("unknown device type") << L{"devices", "--type", "lamp"} << 2 << L{} << L{"lamp"};
    QTest::newRow("devices, stray argument") << L{"devices", "file.json"} << 2 << L{} << L{"file"};
    QTest::newRow("devices by type and serial")
        << L{"devices", "--type", "PDS", "--serial", "1011213B"} << 2 << L{}
        << L{"--serial and --type cannot be combined"};

    // The patch list; the lights' order and numbering: tst_patchlist.
    const QString patch = QStringLiteral("patch");
    QTest::newRow("patch list")
        << L{"map", patch, kExample} << 0
        << L{"Patch list: 3 interfaces, 200 lights\n\n"
             "Arcade North PDS  IP 10.32.1.11  serial 01A20011\n"
             "  Port 1: 40 lights\n"
             "    DMX        Ch  Name          Serial\n"
             "    1-3         3  North P1-01   10110000\n",
             "Canopy PDS  IP 10.32.1.13  serial 01A20013\n  Port 1: 30 lights\n",
             "  Port 2: 30 lights\n"}
        << L{""};
    QTest::newRow("patch list as JSON")
        << L{"map", patch, "--json", kExample} << 0
        << L{"\"name\": \"Arcade North PDS\"", "\"dmxAddress\": 4,", "\"name\": \"North P1-02\""}
        << L{""};
    QTest::newRow("patch list as PDF")
        << L{"map", patch, kExample, "--pdf", "@out.pdf"} << 0 << L{"Wrote 6 pages to "} << L{};
    QTest::newRow("patch of what is not a map")
        << L{"map", patch, readme, "--csv"} << 1 << L{""} << L{"Error in line: 1, column: 1"};
    QTest::newRow("PDF into a missing folder")
        << L{"map", patch, kExample, "--pdf", "/nonexistent/dir/plan.pdf"} << 1 << L{""}
        << L{"cannot write /nonexistent/dir/plan.pdf: No such file or directory"};
    QTest::newRow("PDF into a device") << L{"map", patch, kExample, "--pdf", "/dev/null"} << 1
                                       << L{""} << L{"cannot write /dev/null: not a regular file"};
    // A slip of the keyboard must not turn the map into its own printout.
    QTest::newRow("PDF over the map itself") << L{"map", patch, "@site.map", "--pdf", "@site.map"}
                                             << 2 << L{} << L{"--pdf FILE is the map itself"};
    QTest::newRow("patch of no map")
        << L{"map", patch, "--csv"} << 2 << L{} << L{"map patch takes one MAP"};
    QTest::newRow("patch of two maps")
        << L{"map", patch, kExample, kExample} << 2 << L{} << L{"takes one MAP"};
    QTest::newRow("patch in two formats") << L{"map", patch, kExample, "--csv", "--json"} << 2
                                          << L{} << L{"one of --csv, --json and --pdf"};
    QTest::newRow("--pdf without a file")
        << L{"map", patch, kExample, "--pdf"} << 2 << L{} << L{"Missing value after '--pdf'"};

    // Making lights refuses, and writes nothing, with the creator's own reason.
    const L addLights{"map", "add-lights", "@empty.map", "@out.map"};
    const L addString{"map", "add-string", "@empty.map", "@out.map"};
    QTest::newRow("serial does not parse")
        << addLights + L{"--count", "1", "--interface", "XYZ"} << 1 << L{}
        << L{"Parse Error: Unable to parse serial number of selected controller"};
    QTest::newRow("no count") << addLights << 2 << L{} << L{"--count"};
    QTest::newRow("count past the maximum")
        << addLights + L{"--count", "15001"} << 2 << L{} << L{"--count"};
    QTest::newRow("unknown shape")
        << addString + L{"--shape", "circle"} << 2 << L{} << L{"--shape"};
    QTest::newRow("unknown fixture") << addLights + L{"--count", "1", "--fixture", "Lamp"} << 2
                                     << L{} << L{"unknown fixture type"};
    QTest::newRow("base DMX past 512")
        << addLights + L{"--count", "1", "--base-dmx", "513"} << 2 << L{}
        << L{"orrery-cli: --base-dmx takes a number from 1 to 512"};

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
        << highlight + L{kExample, "--fg", "ultraviolet"} << 2 << L{}
        << L{"--fg takes a colour name"};
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
    QTest::newRow("scan for a negative time")
        << L{"scan", "--timeout", "-5"} << 2 << L{}
        << L{"--timeout takes a whole number of milliseconds"};
    QTest::newRow("read, stray argument")
        << L{"read", "now"} << 2 << L{} << L{"unexpected argument: now"};
    QTest::newRow("read, saved into a missing folder")
        << L{"read", "--save", "/nonexistent/x.map"} << 1 << L{""}
        << L{"cannot save /nonexistent/x.map: No such file or directory"};
    QTest::newRow("read, saved onto a folder")
        << L{"read", "--save", "/tmp"} << 1 << L{""} << L{"cannot save /tmp: it is a directory"};
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
    QTemporaryDir rowDir;
    QString outFile;
    for (QString &argument : arguments) {
        if (argument.startsWith(QLatin1String("@out")))
            argument = outFile = rowDir.filePath(argument.mid(1));
        else if (argument.startsWith(QLatin1Char('@')))
            argument = m_dir.filePath(argument.mid(1));
    }
    const ProgramRun result = run(arguments);
    QVERIFY2(result.status == status, result.err.constData());
    const auto check = [](const QByteArray &stream, const QStringList &fragments) {
        if (fragments == QStringList{QString()})
            return stream.isEmpty();
        return std::all_of(fragments.cbegin(), fragments.cend(),
                           [&](const QString &f) { return stream.contains(f.toUtf8()); });
    };
    QVERIFY2(check(result.out, out), result.out.constData());
    QVERIFY2(check(result.err, err), result.err.constData());
    // A refusal is made before any work: nothing is printed.
    if (status == 2)
        QVERIFY2(result.out.isEmpty(), result.out.constData());
    if (!outFile.isEmpty()) {
        const QByteArray written = readFile(outFile);
        QCOMPARE(QFileInfo::exists(outFile), status == 0);
        QCOMPARE(!written.isEmpty(), status == 0);
        QVERIFY(!outFile.endsWith(".pdf") || written.isEmpty() || written.startsWith("%PDF-"));
        // A resaved map is the writer's own form, not a copy of its input.
        if (arguments.contains(QStringLiteral("resave")) && status == 0)
            QVERIFY(written.contains("<c>\n  <t>2</t>\n  <s>A</s>\n  <n>Hand</n>"));
    }
    for (auto input = m_inputs.cbegin(); input != m_inputs.cend(); ++input)
        QVERIFY2(readFile(input.key()) == input.value(), qPrintable(input.key()));
}

// The same bytes as the window's Export Patch List (tst_kestrel): a hand-checked file.
void tst_Cli::patchCsvIsTheHandCheckedList()
{
    const ProgramRun result = run({"map", "patch", "--csv", kExample});
    QCOMPARE(result.status, 0);
    QCOMPARE(result.out, readFile(QStringLiteral(ORRERY_TEST_DATA "/riverside-arcade-patch.csv")));
}

// Every field of the model, under the names scripts read.
void tst_Cli::infoJsonCarriesTheWholeModel()
{
    const ProgramRun result = run({"map", "info", "--json", kExample});
    QCOMPARE(result.status, 0);
    const QJsonObject map = QJsonDocument::fromJson(result.out).object();
    QCOMPARE(map.keys(), QStringList({"groups", "imageFile", "lights", "supplies"}));
    QJsonObject supply = map.value("supplies").toArray().at(0).toObject();
    QJsonObject group = map.value("groups").toArray().at(0).toObject();
    const QJsonObject light = map.value("lights").toArray().at(0).toObject();
    QCOMPARE(map.value("lights").toArray().size(), 200);
    QCOMPARE(supply.take("lights").toArray().size(), 80);
    QCOMPARE(group.take("children").toArray().size(), 80);
    const auto compact = [](const QJsonObject &o) {
        return QJsonDocument(o).toJson(QJsonDocument::Compact);
    };
    QCOMPARE(compact(supply),
             QByteArray("{\"dmxBufferSize\":512,\"family\":\"PDS-480\",\"ip\":\"10.32.1.11\","
                        "\"mac\":\"00:1C:42:0A:11:01\",\"missing\":0,\"name\":\"Arcade North "
                        "PDS\",\"ports\":[{\"flags\":0,\"number\":1,\"type\":1},{\"flags\":0,"
                        "\"number\":2,\"type\":1}],\"properties\":{},\"serialNumber\":27394065,"
                        "\"type\":2,\"uid\":20001,\"universe\":0,\"version\":2,"
                        "\"versionString\":\"2.4.0\"}"));
    QCOMPARE(compact(light),
             QByteArray("{\"channel\":0,\"dataSupply\":20001,\"fixture\":0,\"fixtureCode\":0,"
                        "\"lightNumber\":0,\"name\":\"North P1-01\",\"portIndex\":0,"
                        "\"properties\":{\"DMX_OFFSET\":\"0\",\"LED_CHEMISTRY\":\"1\"},\"q0\":1,"
                        "\"q1\":0,\"q2\":0,\"q3\":0,\"serialNumber\":269549568,"
                        "\"tintlockIoMode\":0,\"tintlockProfileId\":0,\"uid\":20002,\"x\":48,"
                        "\"y\":48,\"z\":0}"));
    QCOMPARE(compact(group), QByteArray("{\"lightsPerStep\":1,\"name\":\"North Facade\",\"o\":40,"
                                        "\"type\":0,\"uid\":20204}"));
}

void tst_Cli::devicesAsJson()
{
    const ProgramRun all = run({"devices", "--json"});
    QCOMPARE(all.status, 0);
    const QJsonArray list = QJsonDocument::fromJson(all.out).array();
    const auto pds = std::find_if(list.begin(), list.end(), [](const QJsonValue &v) {
        return v.toObject().value("name") == QLatin1String("PDS-480");
    });
    QVERIFY(pds != list.end());
    QCOMPARE(QJsonDocument(pds->toObject()).toJson(QJsonDocument::Compact),
             QByteArray("{\"file\":\":/DeviceConfigFiles/supplies/pds-480.json\",\"loaded\":true,"
                        "\"name\":\"PDS-480\",\"productCodeRanges\":[],\"serialRanges\":[{\"end\":"
                        "\"01A2FFFF\",\"start\":\"01A20000\"}],\"staticValues\":{},\"tokens\":["
                        "\"DEVICE_NAME\",\"DMX_UNIVERSE\",\"FIRMWARE_VERSION\",\"HARDWARE_"
                        "REVISION\",\"IPV4_ADDRESS_MODE\",\"IPV4_DEFAULT_GATEWAY\",\"IPV4_IP_"
                        "ADDRESS\",\"IPV4_SUBNET_MASK\",\"MAC_ADDRESS\",\"PORT_COUNT\",\"PORT_"
                        "OUTPUT_MODE\",\"POWER_CYCLES\",\"SUPPLY_VOLTAGE\"],\"type\":\"PDS\","
                        "\"verified\":true}"));

    const ProgramRun rdm = run({"devices", "--serial", "7A7001000005", "--json"});
    QCOMPARE(rdm.status, 0);
    const QJsonObject found = QJsonDocument::fromJson(rdm.out).object();
    QCOMPARE(found.value("deviceName").toString(), QStringLiteral("Generic RDM Fixture"));
    QCOMPARE(found.value("productCodeDefinitions")[1]["productCode"].toString(),
             QStringLiteral("D.0301-P.0101-F.0200"));
    const ProgramRun unknown = run({"devices", "--serial", "5", "--json"});
    QCOMPARE(unknown.status, 1);
    QCOMPARE(QJsonDocument::fromJson(unknown.out).object(),
             QJsonObject({{"definition", QJsonValue()},
                          {"deviceName", "Unknown Device"},
                          {"productCodeDefinitions", QJsonArray()},
                          {"serial", "00000005"}}));
}

// map add-lights and add-string hand every option to the creator (its rules: tst_lightcreator).
void tst_Cli::buildsAnInstallation()
{
    QTemporaryDir dir;
    const QString row = dir.filePath("row.map");
    const QString tile = dir.filePath("tile.map");
    QCOMPARE(run({"map", "add-lights", m_dir.filePath("empty.map"), row, "--count", "2",
                  "--base-dmx", "511", "--ports", "2", "--base-name", "Bay"})
                 .status,
             0);
    QCOMPARE(run({"map", "add-string", row, tile, "--shape", "tile", "--rows", "2", "--columns",
                  "2", "--order", "raster-bottom-right", "--interface", "FFFFFFFF", "--port", "3",
                  "--grid", "10"})
                 .status,
             0);
    const ProgramRun info = run({"map", "info", "--json", tile});
    QStringList lights; // name, DMX_OFFSET, x, y
    for (const QJsonValue v : QJsonDocument::fromJson(info.out).object().value("lights").toArray())
        lights << QStringLiteral("%1 @%2 %3,%4")
                      .arg(v["name"].toString(), v["properties"]["DMX_OFFSET"].toString())
                      .arg(v["x"].toDouble())
                      .arg(v["y"].toDouble());
    lights.sort();
    // DMX 511 holds no three-channel light: the row starts port 2. The tile is numbered from
    // the bottom right, each row from the right, and placed below the row.
    QCOMPARE(lights, QStringList({"Bay  02-001 @0 12,24", "Bay  02-002 @3 24,24",
                                  "Light  03-001 @0 20,54", "Light  03-002 @3 10,54",
                                  "Light  03-003 @6 20,44", "Light  03-004 @9 10,44"}));
}

// `highlight` lights every port of the chosen supply of a simulated installation through the
// same road as the window's, and nothing else.
void tst_Cli::highlightLightsTheChosenSupply()
{
    if (!m_offline.isEmpty())
        QSKIP(qPrintable(m_offline));
    const SimInstallation installation = SimInstallation::builtIn();
    Simulator simulator(installation);
    QString error;
    QVERIFY2(simulator.start(&error), qPrintable(error));
    MapModel model;
    fillFromSimulation(model, installation);
    const QString path = m_dir.filePath(QStringLiteral("sim.map"));
    QVERIFY(model.saveToFile(path));
    const int chosen = 1;
    const auto supplies = model.dataSupplies();
    const auto supply = std::find_if(supplies.cbegin(), supplies.cend(), [&](const DataSupply *s) {
        return s->ipAddress() == installation.supplies.at(chosen).address;
    });
    QVERIFY(supply != supplies.cend());

    QProcess process;
    process.start(kCli, {"highlight", path, "--supply", QString::number((*supply)->uid(), 16),
                         "--fg", "#00ff80", "--fps", "20", "--for", "600"});
    QVERIFY(process.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(process.state() == QProcess::NotRunning, 10000);
    QCOMPARE(process.exitCode(), 0);
    QVERIFY(process.readAllStandardOutput().contains("Highlighting"));
    for (int s = 0; s < installation.supplies.size(); ++s) {
        for (const SimPort &port : installation.supplies.at(s).ports) {
            const SimOutput::Record record = simulator.output()->lastFrame(
                s, installation.supplies.at(s).version == 1 ? 0 : port.number);
            // 20 frames a second for 0.6 s, give or take the start.
            QVERIFY2(record.count >= 8 && record.count <= 14,
                     qPrintable(QString::number(record.count)));
            const QByteArray channels = simulator.output()->channels(s, port.number);
            for (const SimLight &light : port.lights)
                QCOMPARE(channels.mid(light.dmxOffset(), 3).toHex(),
                         QByteArray(s == chosen ? "00ff80" : "000000"));
        }
    }
}

QTEST_GUILESS_MAIN(tst_Cli)
#include "tst_cli.moc"
