// orrery-cli as scripts and installers run it: what each command prints and writes, and what it
// refuses before any work. Commands that send run in a namespace of the test's own.
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
    QVERIFY(QFile::copy(kExample, m_dir.filePath("site.map")));
    for (const char *name : {"empty.map", "site.map"})
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
    // What a command prints on standard output, or, refusing, its reason on standard error.
    const auto printed = [](const char *name, const L &arguments, int status, const QString &out) {
        QTest::newRow(name) << arguments << status << L{out} << L{};
    };
    const auto refused = [](const char *name, const L &arguments, int status, const char *reason) {
        QTest::newRow(name) << arguments << status << L{} << L{QString::fromUtf8(reason)};
    };
    const QString readme = QStringLiteral(ORRERY_SOURCE_DIR "/README.md");
    const QString counts = QStringLiteral("Supplies: 3\nLights: 200\nGroups: 2\n");

    printed("map info", {"map", "info", kExample}, 0, counts);
    refused("missing map", {"map", "info", "/nonexistent.map"}, 1,
            "no such file: /nonexistent.map");
    refused("not a map", {"map", "info", readme}, 1, "Error in line: 1, column: 1");
    refused("no command", {}, 2, "no command given");
    refused("unknown command", {"paint"}, 2, "unknown command: paint");
    refused("unknown map command", {"map", "draw"}, 2, "unknown map command: draw");
    refused("missing argument", {"map", "resave", "a.map"}, 2, "takes IN and OUT");
    printed("help", {"--help"}, 0, "Usage: orrery-cli");
    printed("resave", {"map", "resave", "@site.map", "@out.map"}, 0,
            "Wrote 3 supplies, 200 lights, 2 groups to ");
    refused("resave into a missing folder", {"map", "resave", kExample, "/nonexistent/x.map"}, 1,
            "cannot save /nonexistent/x.map: No such file or directory");

    // The global --broadcast option is taken out wherever it stands.
    printed("broadcast among the command's arguments",
            {"map", "info", "--broadcast", "10.0.255.255", kExample}, 0, counts);
    printed("broadcast with =", {"map", "info", kExample, "--broadcast=255.255.255.255"}, 0,
            counts);
    refused("broadcast not an address", {"--broadcast", "eth0", "map", "info", kExample}, 2,
            "orrery-cli: --broadcast needs an IPv4 address such as 192.168.1.255, not: eth0");
    refused("broadcast without a value", {"map", "info", kExample, "--broadcast"}, 2,
            "orrery-cli: --broadcast needs an ADDRESS");

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
    printed("serial with prefix, lower case", {"devices", "--serial", "0x1a20011"}, 0,
            "Serial 01A20011: PDS-480\n");
    printed("unknown serial", {"devices", "--serial", "99"}, 1,
            "Serial 00000099: Unknown Device\n");
    printed("RDM serial with product codes", {"devices", "--serial", "7A7001000005"}, 0,
            "  product: D.0301-P.0101-F.0102 Vela Graze RDM RGB (RDM_FIXTURE) "
            "7A7001000000-7A7001FFFFFF");
    refused("serial not hex", {"devices", "--serial", "xyz"}, 2, "serial");
    refused("unknown device type", {"devices", "--type", "lamp"}, 2, "lamp");
    refused("devices, stray argument", {"devices", "file.json"}, 2, "file");
    refused("devices by type and serial", {"devices", "--type", "PDS", "--serial", "1011213B"}, 2,
            "--serial and --type cannot be combined");

    const QString patch = QStringLiteral("patch");
    QTest::newRow("patch list")
        << L{"map", patch, kExample} << 0
        << L{"Patch list: 3 interfaces, 200 lights\n\n"
             "Arcade North PDS  IP 10.32.1.11  serial 01A20011\n"
             "  Port 1: 40 lights\n",
             "\n    1-3         3  North P1-01   10110000\n",
             "Canopy PDS  IP 10.32.1.13  serial 01A20013\n  Port 1: 30 lights\n"}
        << L{""};
    printed("patch list as PDF", {"map", patch, kExample, "--pdf", "@out.pdf"}, 0,
            "Wrote 6 pages to ");
    QTest::newRow("PDF into a device") << L{"map", patch, kExample, "--pdf", "/dev/null"} << 1
                                       << L{""} << L{"cannot write /dev/null: not a regular file"};
    // A slip of the keyboard must not turn the map into its own printout.
    refused("PDF over the map itself", {"map", patch, "@site.map", "--pdf", "@site.map"}, 2,
            "--pdf FILE is the map itself");
    refused("patch of two maps", {"map", patch, kExample, kExample}, 2, "takes one MAP");
    refused("patch in two formats", {"map", patch, kExample, "--csv", "--json"}, 2,
            "one of --csv, --json and --pdf");

    const L addLights{"map", "add-lights", "@empty.map", "@out.map"};
    const L addString{"map", "add-string", "@empty.map", "@out.map"};
    refused("serial does not parse", addLights + L{"--count", "1", "--interface", "XYZ"}, 1,
            "Parse Error: Unable to parse serial number of selected controller");
    refused("count past the maximum", addLights + L{"--count", "15001"}, 2, "--count");
    refused("unknown shape", addString + L{"--shape", "circle"}, 2, "--shape");
    refused("unknown fixture", addLights + L{"--count", "1", "--fixture", "Lamp"}, 2,
            "unknown fixture type");
    refused("base DMX past 512", addLights + L{"--count", "1", "--base-dmx", "513"}, 2,
            "orrery-cli: --base-dmx takes a number from 1 to 512");

    const L highlight{"highlight", "--for", "0"};
    refused("highlight an unknown light", highlight + L{kExample, "--light", "DEADBEEF"}, 2,
            "the map holds no light with uid DEADBEEF");
    refused("highlight, not a uid", highlight + L{kExample, "--group", "zz"}, 2,
            "not a hexadecimal uid: zz");
    refused("highlight at 101 fps", highlight + L{kExample, "--fps", "101"}, 2,
            "--fps takes a whole number from 1 to 100");
    refused("highlight for a negative time", highlight + L{kExample, "--for", "-5"}, 2,
            "--for takes a number of milliseconds");
    refused("highlight in an unknown colour", highlight + L{kExample, "--fg", "ultraviolet"}, 2,
            "--fg takes a colour name");
    refused("highlight what is not a map", highlight + L{readme}, 1, "failed to load map");
    // Nothing answers in this namespace, and without --broadcast discovery goes to
    // 255.255.255.255, for which it has no route.
    refused("discover with no route", {"discover", "--timeout", "200"}, 1,
            "Network is unreachable");
    refused("scan for a negative time", {"scan", "--timeout", "-5"}, 2,
            "--timeout takes a whole number of milliseconds");
    refused("read, stray argument", {"read", "now"}, 2, "unexpected argument: now");
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
    QJsonObject supply = map.value("supplies").toArray().at(0).toObject();
    const QJsonObject light = map.value("lights").toArray().at(0).toObject();
    QCOMPARE(supply.take("lights").toArray().size(), 80);
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
    // A serial in an RDM product-code range names every definition that claims it.
    const ProgramRun rdm = run({"devices", "--serial", "7A7001000005", "--json"});
    QCOMPARE(rdm.status, 0);
    QCOMPARE(QJsonDocument::fromJson(rdm.out)["productCodeDefinitions"][1]["productCode"],
             QJsonValue(QStringLiteral("D.0301-P.0101-F.0200")));
}

// map add-lights and add-string hand every option to the creator (its rules: tst_lightcreator).
void tst_Cli::buildsAnInstallation()
{
    QTemporaryDir dir;
    const QString row = dir.filePath("row.map");
    const QString tile = dir.filePath("tile.map");
    QVERIFY(run({"map", "add-lights", m_dir.filePath("empty.map"), row, "--count", "2",
                 "--base-dmx", "511", "--ports", "2", "--base-name", "Bay"})
                .status == 0);
    QVERIFY(run({"map", "add-string", row, tile, "--shape", "tile", "--rows", "2", "--columns", "2",
                 "--order", "raster-bottom-right", "--interface", "FFFFFFFF", "--port", "3",
                 "--grid", "10"})
                .status == 0);
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
