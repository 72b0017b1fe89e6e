#include "sim/simconfigreader.h"
#include "sim/siminstallation.h"

#include <QJsonDocument>
#include <QSet>
#include <QTemporaryDir>
#include <QtTest>

class tst_SimConfig : public QObject
{
    Q_OBJECT

private slots:
    void builtInAddressesDoNotOverlap();
    void roundTrip_data();
    void roundTrip();
    void runsExpand();
    void defaults();
    void badConfig_data();
    void badConfig();
    void missingFile();
};

namespace {

QByteArray oneSupply(const QByteArray &supplyKeys, const QByteArray &lights = "[]")
{
    return "{\"supplies\": [{\"serial\": \"4C510001\", " + supplyKeys +
           (supplyKeys.isEmpty() ? "" : ", ") + "\"ports\": [{\"lights\": " + lights + "}]}]}";
}

} // namespace

// Each port is its own DMX universe: its lights' channel ranges must not overlap, or the
// live view and the program would show two lights driven by the same bytes.
void tst_SimConfig::builtInAddressesDoNotOverlap()
{
    const SimInstallation installation = SimInstallation::builtIn();
    QSet<quint64> serials;
    for (const SimSupply &supply : installation.supplies) {
        for (const SimPort &port : supply.ports) {
            QVector<bool> used(512, false);
            for (const SimLight &light : port.lights) {
                QVERIFY(!serials.contains(light.serial));
                serials.insert(light.serial);
                QVERIFY(light.dmxOffset() + light.footprint <= 512);
                for (int c = light.dmxOffset(); c < light.dmxOffset() + light.footprint; ++c) {
                    QVERIFY2(!used[c], qPrintable(QString::number(light.serial, 16)));
                    used[c] = true;
                }
            }
        }
    }
}

void tst_SimConfig::roundTrip_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::newRow("built-in") << QByteArray();
    QTest::newRow("memory, parameters, refusals, a silent port, faults")
        << QByteArray("{\"faults\": {\"drop\": 0.25, \"duplicate\": 0.1, \"delay\": 0.5, "
                      "\"delayMs\": 20, \"seed\": 99},"
                      " \"supplies\": [{\"address\": \"10.0.0.5\", \"serial\": \"0x1234\","
                      " \"wideSerial\": true, \"version\": 3, \"universe\": 4000000000,"
                      " \"variables\": {\"0x10\": 7, \"3\": 4294967295},"
                      " \"ports\": [{\"number\": 7, \"type\": 9, \"answersScan\": false,"
                      " \"lights\": ["
                      "  {\"serial\": \"FFFFFFFF\", \"memory\": {\"300\": 0, \"0x20\": 255}},"
                      "  {\"uid\": \"FFFFFFFFFFFF\", \"footprint\": 4, \"dmxOffset\": 508,"
                      "   \"model\": \"M\", \"personality\": 2, \"personalityCount\": 3,"
                      "   \"parameters\": {\"0x8600\": \"0a0B\", \"0x8606\": \"\"},"
                      "   \"refuse\": [\"0x0080\", \"240\"]}]}]}]}");
}

// What the installation writes reads back as the same installation.
void tst_SimConfig::roundTrip()
{
    QFETCH(QByteArray, json);
    QString error;
    const auto original = json.isEmpty()
                              ? std::optional<SimInstallation>(SimInstallation::builtIn())
                              : SimInstallation::fromJson(json, &error);
    QVERIFY2(original, qPrintable(error));
    const QByteArray written = QJsonDocument(original->toJson()).toJson();
    const auto reread = SimInstallation::fromJson(written, &error);
    QVERIFY2(reread, qPrintable(error));
    QVERIFY(*reread == *original);
}

void tst_SimConfig::runsExpand()
{
    QString error;
    const auto installation = SimInstallation::fromJson(
        oneSupply({}, "[{\"serial\": \"0000FFFE\", \"count\": 3, \"dmxOffset\": 10, "
                      "\"footprint\": 4, \"firmware\": 9, \"memory\": {\"66\": 5}}]"),
        &error);
    QVERIFY2(installation, qPrintable(error));
    const QVector<SimLight> &lights = installation->supplies.at(0).ports.at(0).lights;
    QCOMPARE(lights.size(), 3);
    const quint64 serials[] = {0xFFFE, 0xFFFF, 0x10000};
    const quint16 offsets[] = {10, 14, 18};
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(lights.at(i).serial, serials[i]);
        QCOMPARE(lights.at(i).dmxOffset(), offsets[i]);
        // The DMX offset sits big-endian at 64/65, the firmware version at 5.
        QCOMPARE(lights.at(i).readMemory(64), quint8(0));
        QCOMPARE(lights.at(i).readMemory(65), quint8(offsets[i]));
        QCOMPARE(lights.at(i).readMemory(5), quint8(9));
        QCOMPARE(lights.at(i).readMemory(66), quint8(5));
    }
}

// What a configuration leaves out: addresses, MACs and names by position, ports numbered from 1.
void tst_SimConfig::defaults()
{
    QString error;
    const QByteArray json = "{\"supplies\": [{\"serial\": \"1\", \"ports\": []},"
                            " {\"serial\": \"2\", \"ports\": [{}, {}]}]}";
    const auto installation = SimInstallation::fromJson(json, &error);
    QVERIFY2(installation, qPrintable(error));
    const SimSupply &second = installation->supplies.at(1);
    QCOMPARE(second.address, QHostAddress(QStringLiteral("127.0.1.2")));
    QCOMPARE(second.mac, QByteArray::fromHex("024C00000002"));
    QCOMPARE(second.version, quint16(2));
    QCOMPARE(second.ports.at(0).number, quint8(1));
    QCOMPARE(second.ports.at(1).number, quint8(2));
    QCOMPARE(second.idText, QStringLiteral("Sim Supply 2"));
}

void tst_SimConfig::badConfig_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("error");
    QTest::newRow("not json") << QByteArray("{\"supplies\": [") << "offset";
    QTest::newRow("empty") << QByteArray() << "offset";
    QTest::newRow("array") << QByteArray("[]") << "document: the top level is not an object";
    QTest::newRow("no supplies") << QByteArray("{}") << "supplies: missing";
    QTest::newRow("supply not object") << QByteArray("{\"supplies\": [3]}") << "supplies[0]";
    QTest::newRow("serial not hex")
        << QByteArray("{\"supplies\": [{\"serial\": \"zz\", \"ports\": []}]}")
        << "supplies[0]: \"serial\"";
    QTest::newRow("no ports") << QByteArray("{\"supplies\": [{\"serial\": \"1\"}]}")
                              << "\"ports\" is missing";
    QTest::newRow("bad address") << oneSupply("\"address\": \"fe80::1\"") << "\"address\"";
    QTest::newRow("bad mac") << oneSupply("\"mac\": \"02:4C:00\"") << "\"mac\"";
    QTest::newRow("version 4") << oneSupply("\"version\": 4") << "\"version\"";
    QTest::newRow("entry type 5") << oneSupply("\"rdmEntryType\": 5") << "\"rdmEntryType\"";
    QTest::newRow("variables") << oneSupply("\"variables\": {\"x\": 1}") << "variables";
    QTest::newRow("classic serial too wide")
        << oneSupply({}, "[{\"serial\": \"100000000\"}]") << "lights[0]: \"serial\"";
    QTest::newRow("uid too wide") << oneSupply({}, "[{\"uid\": \"1000000000000\"}]")
                                  << "lights[0]: \"uid\"";
    QTest::newRow("serial and uid")
        << oneSupply({}, "[{\"serial\": \"1\", \"uid\": \"2\"}]") << "exactly one";
    QTest::newRow("offset 512") << oneSupply({}, "[{\"serial\": \"1\", \"dmxOffset\": 512}]")
                                << "\"dmxOffset\"";
    QTest::newRow("run past 511") << oneSupply(
                                         {},
                                         "[{\"serial\": \"1\", \"count\": 3, \"dmxOffset\": 505}]")
                                  << "channels run past 512";
    QTest::newRow("channels past 512")
        << oneSupply({}, "[{\"serial\": \"1\", \"dmxOffset\": 510}]") << "run past 512";
    QTest::newRow("run overflows")
        << oneSupply({}, "[{\"serial\": \"FFFFFFFF\", \"count\": 2}]") << "overflows";
    QTest::newRow("count 0") << oneSupply({}, "[{\"serial\": \"1\", \"count\": 0}]") << "\"count\"";
    QTest::newRow("memory address")
        << oneSupply({}, "[{\"serial\": \"1\", \"memory\": {\"70000\": 1}}]") << "memory";
    QTest::newRow("memory byte") << oneSupply({}, "[{\"serial\": \"1\", \"memory\": {\"3\": 256}}]")
                                 << "memory";
    QTest::newRow("odd hex parameter")
        << oneSupply({}, "[{\"uid\": \"1\", \"parameters\": {\"0x8600\": \"123\"}}]")
        << "parameters";
    QTest::newRow("refuse not a list")
        << oneSupply({}, "[{\"uid\": \"1\", \"refuse\": \"0x0080\"}]") << "\"refuse\"";
    QTest::newRow("refuse a bad id")
        << oneSupply({}, "[{\"uid\": \"1\", \"refuse\": [\"0x10000\"]}]") << "refuse";
    QTest::newRow("long model") << oneSupply({}, "[{\"uid\": \"1\", \"model\": \"" +
                                                     QByteArray(33, 'm') + "\"}]")
                                << "32 characters";
    QTest::newRow("duplicate light")
        << oneSupply({}, "[{\"serial\": \"1\"}, {\"serial\": \"1\"}]") << "appears twice";
    QTest::newRow("duplicate port")
        << QByteArray("{\"supplies\": [{\"serial\": \"1\", \"ports\": [{\"number\": 2}, "
                      "{\"number\": 2}]}]}")
        << "port number 2 appears twice";
    QTest::newRow("version 1 two ports")
        << QByteArray("{\"supplies\": [{\"serial\": \"1\", \"version\": 1, "
                      "\"ports\": [{}, {}]}]}")
        << "exactly one port";
    QTest::newRow("version 1 rdm")
        << oneSupply("\"version\": 1", "[{\"uid\": \"7FF700000001\"}]") << "no RDM lights";
    QTest::newRow("same address")
        << QByteArray("{\"supplies\": [{\"serial\": \"1\", \"address\": \"127.0.1.2\", "
                      "\"ports\": []}, {\"serial\": \"2\", \"ports\": []}]}")
        << "supplies[1]: address 127.0.1.2";
    QTest::newRow("drop share") << QByteArray("{\"faults\": {\"drop\": 1.5}, \"supplies\": []}")
                                << "faults: \"drop\"";
    QTest::newRow("faults not object")
        << QByteArray("{\"faults\": 1, \"supplies\": []}") << "faults: not an object";
    QTest::newRow("too many supplies")
        << "{\"supplies\": [" + QByteArray("{},").repeated(SimConfigReader::kMaxSupplies) + "{}]}"
        << "supplies: more than 1024 supplies";
    // A run reaches 512 lights at most (their channels must fit a frame).
    const QByteArray fullRun = "{\"serial\": \"1\", \"count\": 512, \"footprint\": 1";
    QTest::newRow("too many lights")
        << oneSupply({}, "[" + (fullRun + "},").repeated(128) + "{\"serial\": \"1\"}]")
        << "lights[128]: the installation holds more than 65536 lights";
    QTest::newRow("memory images past the limit")
        << oneSupply({}, "[" + (fullRun + ", \"memory\": {\"65535\": 1}},").repeated(2) +
                             "{\"serial\": \"1\"}]")
        << "lights[2]: the lights' memory images exceed 64 MB together";
}

// A broken configuration is reported with the place of the fault, never accepted half-way.
void tst_SimConfig::badConfig()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, error);
    QString message;
    const auto installation = SimInstallation::fromJson(json, &message);
    QVERIFY(!installation);
    QVERIFY2(message.contains(error), qPrintable(message));
}

void tst_SimConfig::missingFile()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("absent.json"));
    QString error;
    QVERIFY(!SimInstallation::fromFile(path, &error));
    QVERIFY2(error.startsWith(path), qPrintable(error));
}

QTEST_GUILESS_MAIN(tst_SimConfig)
#include "tst_simconfig.moc"
