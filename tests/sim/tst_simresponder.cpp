// The simulated installation: what its configuration reads and refuses, and the device side:
// each request, built by the program's own codec (pinned against hand-written bytes in
// tst_vistra), against reply bytes written out by hand from the wire tables.
#include "sim/simconfigreader.h"
#include "sim/simfaults.h"
#include "sim/siminstallation.h"
#include "sim/simresponder.h"

#include "net/vistrareplies.h"
#include "net/vistrarequests.h"

#include <QJsonDocument>
#include <QtTest>

Q_DECLARE_METATYPE(SimSupply)

class tst_SimResponder : public QObject
{
    Q_OBJECT

private slots:
    void configReadsWhatItWritesAndFillsIn();
    void badConfig_data();
    void badConfig();
    void answers_data();
    void answers();
    void blinkScan2Splits_data();
    void blinkScan2Splits();
    void faultPlanShares();
};

namespace {

constexpr quint64 kRequester = 0x4F52AE000001ull;
constexpr quint32 kSupplyIp = 0x7F000102; // 127.0.1.2

QByteArray oneSupply(const QByteArray &supplyKeys, const QByteArray &lights = "[]")
{
    return "{\"supplies\": [{\"serial\": \"4C510001\", " + supplyKeys +
           (supplyKeys.isEmpty() ? "" : ", ") + "\"ports\": [{\"lights\": " + lights + "}]}]}";
}

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(text);
}

const uchar *bytes(const QByteArray &data)
{
    return reinterpret_cast<const uchar *>(data.constData());
}

QByteArray rdmGet(quint64 uid, quint16 pid)
{
    return VistraRequests::rdmGet(uid, pid, kRequester);
}

// An RDM request with one byte changed (at an offset of the RDM message) and its checksum
// made right again, so only that byte can be the reason for the answer.
QByteArray rdmPatched(QByteArray request, int at, char value)
{
    request[12 + at] = value;
    quint16 sum = 0;
    for (int i = 12; i < request.size() - 2; ++i)
        sum = quint16(sum + quint8(request.at(i)));
    request[request.size() - 2] = char(sum >> 8);
    request[request.size() - 1] = char(sum & 0xFF);
    return request;
}

// Supply 127.0.1.2 with classic lights (serials 4C310101...) on port 1 and RDM lights
// (7FF702000201...) on port 2, three channels apart.
SimSupply supply(int classicLights = 2, int rdmLights = 1, quint8 entryType = 4)
{
    SimSupply s;
    s.address = QHostAddress(kSupplyIp);
    s.mac = QByteArray::fromHex("024C00000102");
    s.serial = 0x4C510002;
    s.version = 2;
    s.universe = 1;
    s.versionText = QStringLiteral("2.4");
    s.idText = QStringLiteral("Two");
    s.rdmEntryType = entryType;
    s.variables.insert(7, 0xA1B2C3D4);
    s.ports << SimPort{1, 1, true, {}} << SimPort{2, 2, true, {}};
    for (int i = 0; i < classicLights + rdmLights; ++i) {
        const bool rdm = i >= classicLights;
        const int n = rdm ? i - classicLights : i;
        SimLight light;
        light.serial = rdm ? 0x7FF702000201ull + n : 0x4C310101u + n;
        light.setDmxOffset(static_cast<quint16>((3 * n) % 510));
        if (rdm) {
            light.kind = SimLight::Kind::Rdm;
            light.rdm.deviceModelId = 0x0102;
            light.rdm.productCategory = 0x0100;
            light.rdm.softwareVersionId = 0x00020005;
            light.rdm.modelDescription = QStringLiteral("Sim RDM Bar");
            light.rdm.parameters.insert(0x8600, QByteArray::fromHex("05"));
        } else {
            light.writeMemory(SimLight::kFirmwareVersion, 0x17);
        }
        s.ports[rdm ? 1 : 0].lights << light;
    }
    return s;
}

SimSupply versionOne()
{
    SimSupply s = supply(3, 0);
    s.version = 1;
    s.ports.removeLast();
    return s;
}

} // namespace

// Every key of a configuration reads back the same from what the installation writes. What it
// leaves out: addresses, MACs and names by position, ports numbered from 1. A run of lights
// counts its serials on past 16 bits; each light's memory holds its DMX offset big-endian at
// 64/65 and the firmware version at 5: "serial @offset m5 m64 m65 m66".
void tst_SimResponder::configReadsWhatItWritesAndFillsIn()
{
    QString error;
    const auto installation = SimInstallation::fromJson(
        "{\"faults\": {\"drop\": 0.25, \"duplicate\": 0.1, \"delay\": 0.5, \"delayMs\": 20,"
        " \"seed\": 99}, \"supplies\": [{\"address\": \"10.0.0.5\", \"serial\": \"0x1234\","
        " \"wideSerial\": true, \"version\": 3, \"universe\": 4000000000,"
        " \"variables\": {\"0x10\": 7, \"3\": 4294967295},"
        " \"ports\": [{\"number\": 7, \"type\": 9, \"answersScan\": false, \"lights\": ["
        "  {\"serial\": \"FFFFFFFF\", \"memory\": {\"300\": 0, \"0x20\": 255}},"
        "  {\"uid\": \"FFFFFFFFFFFF\", \"footprint\": 4, \"dmxOffset\": 508, \"model\": \"M\","
        "   \"personality\": 2, \"personalityCount\": 3,"
        "   \"parameters\": {\"0x8600\": \"0a0B\", \"0x8606\": \"\"},"
        "   \"refuse\": [\"0x0080\", \"240\"]}]}]},"
        " {\"serial\": \"2\", \"ports\": [{}, {\"lights\": [{\"serial\": \"0000FFFE\","
        "  \"count\": 3, \"dmxOffset\": 10, \"footprint\": 4, \"firmware\": 9,"
        "  \"memory\": {\"66\": 5}}]}]}]}",
        &error);
    QVERIFY2(installation, qPrintable(error));
    const auto reread =
        SimInstallation::fromJson(QJsonDocument(installation->toJson()).toJson(), &error);
    QVERIFY2(reread, qPrintable(error));
    QVERIFY(*reread == *installation);
    const SimSupply &second = installation->supplies.at(1);
    QCOMPARE(second.address, QHostAddress(QStringLiteral("127.0.1.2")));
    QCOMPARE(second.mac, QByteArray::fromHex("024C00000002"));
    QCOMPARE(second.idText, QStringLiteral("Sim Supply 2"));
    QCOMPARE((QVector<quint8>{second.ports.at(0).number, second.ports.at(1).number}),
             (QVector<quint8>{1, 2}));
    QStringList lights;
    for (const SimLight &l : second.ports.at(1).lights)
        lights << QStringLiteral("%1 @%2 %3 %4 %5 %6")
                      .arg(l.serial, 0, 16)
                      .arg(l.dmxOffset())
                      .arg(l.readMemory(5))
                      .arg(l.readMemory(64))
                      .arg(l.readMemory(65))
                      .arg(l.readMemory(66));
    QCOMPARE(lights, QStringList({"fffe @10 9 0 10 5", "ffff @14 9 0 14 5", "10000 @18 9 0 18 5"}));
}

void tst_SimResponder::badConfig_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("error");
    QTest::newRow("empty") << QByteArray() << "offset";
    QTest::newRow("array") << QByteArray("[]") << "document: the top level is not an object";
    QTest::newRow("no supplies") << QByteArray("{}") << "supplies: missing";
    QTest::newRow("serial not hex")
        << QByteArray("{\"supplies\": [{\"serial\": \"zz\", \"ports\": []}]}")
        << "supplies[0]: \"serial\"";
    QTest::newRow("offset 512") << oneSupply({}, "[{\"serial\": \"1\", \"dmxOffset\": 512}]")
                                << "\"dmxOffset\"";
    QTest::newRow("duplicate light")
        << oneSupply({}, "[{\"serial\": \"1\"}, {\"serial\": \"1\"}]") << "appears twice";
    // A run reaches 512 lights at most (their channels must fit a frame).
    const QByteArray fullRun = "{\"serial\": \"1\", \"count\": 512, \"footprint\": 1";
    QTest::newRow("too many lights")
        << oneSupply({}, "[" + (fullRun + "},").repeated(128) + "{\"serial\": \"1\"}]")
        << "lights[128]: the installation holds more than 65536 lights";
}

// A broken configuration is reported with the place of the fault, never accepted half-way.
void tst_SimResponder::badConfig()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, error);
    QString message;
    const auto installation = SimInstallation::fromJson(json, &message);
    QVERIFY(!installation);
    QVERIFY2(message.contains(error), qPrintable(message));
}

void tst_SimResponder::answers_data()
{
    QTest::addColumn<SimSupply>("supply");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArrayList>("expected"); // replies as hex, a frame, or "refused"

    using namespace VistraRequests;
    QTest::newRow("discover, 32-bit serial")
        << supply() << discover(0x0A0101DE)
        << QByteArrayList{"0401dc4a 0100 0200 00000000 7f000102 024c00000102 0200 0200514c "
                          "01000000 322e3400 54776f00"};
    SimSupply wide = supply();
    wide.serial = 0x4C5300000004;
    wide.versionText.clear();
    QTest::newRow("discover, 64-bit serial, empty version text: the id at 41")
        << wide << discover(0x0A0101DE)
        << QByteArrayList{"0401dc4a 0100 0f00 00000000 7f000102 024c00000102 0200 "
                          "04000000534c0000 00000000 01000000 00 54776f00"};
    QTest::newRow("discover ports")
        << supply() << discoverPorts(kSupplyIp)
        << QByteArrayList{"0401dc4a 0100 0b00 7f000102 02000000 0101000000000000 "
                          "0202000000000000"};
    QTest::newRow("blink scan: one reply per light")
        << versionOne() << blinkScan(kSupplyIp)
        << QByteArrayList{"0401dc4a 0100 0202 7f000102 0101314c",
                          "0401dc4a 0100 0202 7f000102 0201314c",
                          "0401dc4a 0100 0202 7f000102 0301314c"};
    QTest::newRow("blink scan 2 on version 1: unknown")
        << versionOne() << blinkScan2(kSupplyIp) << QByteArrayList();
    QTest::newRow("blink scan on version 2: unknown")
        << supply() << blinkScan(kSupplyIp) << QByteArrayList();
    // Ports without lights answer with an empty serial list, so that a scan tells an empty
    // port from one whose answer was lost; a supply without ports still answers once.
    QTest::newRow("blink scan 2, empty ports")
        << supply(0, 0) << blinkScan2(kSupplyIp)
        << QByteArrayList{"0401dc4a 0100 0802 7f000102 02000000 01010000 02010000"};
    // Serials (type 1, 4 bytes each) and RDM ids (type 4, 6 bytes each: the length byte
    // counts them) never share a datagram; nothing follows an RDM entry.
    QTest::newRow("blink scan 2, a light on each port")
        << supply(1, 1) << blinkScan2(kSupplyIp)
        << QByteArrayList{"0401dc4a 0100 0802 7f000102 01 01 0000 01 01 0400 0101314c",
                          "0401dc4a 0100 0802 7f000102 01 00 0000 02 04 0600 010200 02f77f"};
    SimSupply portless = supply(0, 0);
    portless.ports.clear();
    QTest::newRow("blink scan 2, no ports")
        << portless << blinkScan2(kSupplyIp)
        << QByteArrayList{"0401dc4a 0100 0802 7f000102 00000000"};
    // Light 2 of the port sits at DMX offset 3: bytes 00 03 at 64/65.
    QTest::newRow("EE read, offset low")
        << supply() << blinkEERead(0x4C310102, 65)
        << QByteArrayList{"0401dc4a 0100 0402 00000000 0201314c 41 00 03 00"};
    QTest::newRow("EE read past the memory: 0, address low byte echoed")
        << supply() << blinkEERead(0x4C310101, 0x0140)
        << QByteArrayList{"0401dc4a 0100 0402 00000000 0101314c 40 00 00 00"};
    QTest::newRow("EE read, unknown light")
        << supply() << blinkEERead(0x12345678, 64) << QByteArrayList();
    QTest::newRow("device variable")
        << supply() << getDeviceVariable(7)
        << QByteArrayList{"0401dc4a 0100 0601 00000000 0700 0000 d4c3b2a1"};
    // Back to the requester; personality 1 of 1, start address = offset 6 + 1.
    QTest::newRow("rdm DEVICE_INFO")
        << supply(0, 3) << rdmGet(0x7FF702000203ull, 0x0060)
        << QByteArrayList{"0401dc4a 0300 0403 00000000 cc 01 2b 4f52ae000001 7ff702000203 00 00 "
                          "00 0000 21 0060 13 0100 0102 0100 00020005 0003 0101 0007 0000 00 0471"};
    QTest::newRow("rdm model description")
        << supply(0, 1) << rdmGet(0x7FF702000201ull, 0x0080)
        << QByteArrayList{"0401dc4a 0300 0403 00000000 cc 01 23 4f52ae000001 7ff702000201 00 00 "
                          "00 0000 21 0080 0b 53696d2052444d20426172 07c8"};
    QTest::newRow("rdm, transaction number echoed")
        << supply(0, 1) << rdmPatched(rdmGet(0x7FF702000201ull, 0x00F0), 15, 0x2A)
        << QByteArrayList{"0401dc4a 0300 0403 00000000 cc 01 1a 4f52ae000001 7ff702000201 2a 00 "
                          "00 0000 21 00f0 02 0001 04f0"};
    QTest::newRow("rdm configured parameter")
        << supply(0, 1) << rdmGet(0x7FF702000201ull, 0x8600)
        << QByteArrayList{"0401dc4a 0300 0403 00000000 cc 01 19 4f52ae000001 7ff702000201 00 00 "
                          "00 0000 21 8600 01 05 045e"};
    QTest::newRow("rdm unknown parameter: refused, unknown pid")
        << supply(0, 1) << rdmGet(0x7FF702000201ull, 0x8606)
        << QByteArrayList{"0401dc4a 0300 0403 00000000 cc 01 1a 4f52ae000001 7ff702000201 00 02 "
                          "00 0000 21 8606 02 0000 0463"};
    QTest::newRow("rdm SET: refused, unsupported command class")
        << supply(0, 1) << rdmPatched(rdmGet(0x7FF702000201ull, 0x0060), 20, 0x30)
        << QByteArrayList{"0401dc4a 0300 0403 00000000 cc 01 1a 4f52ae000001 7ff702000201 00 02 "
                          "00 0000 21 0060 02 0005 043c"};
    QTest::newRow("rdm sub-device 4: refused, sub-device out of range")
        << supply(0, 1) << rdmPatched(rdmGet(0x7FF702000201ull, 0x0060), 19, 4)
        << QByteArrayList{"0401dc4a 0300 0403 00000000 cc 01 1a 4f52ae000001 7ff702000201 00 02 "
                          "00 0004 21 0060 02 0009 0444"};
    QByteArray badSum = rdmGet(0x7FF702000201ull, 0x0060);
    badSum[37] = char(badSum.at(37) ^ 1);
    QTest::newRow("rdm, wrong checksum") << supply(0, 1) << badSum << QByteArrayList();
    QTest::newRow("rdm, unknown uid")
        << supply(0, 1) << rdmGet(0x7FF702000299ull, 0x0060) << QByteArrayList();
    // Live output is recorded, never answered; what is not a well-formed request is refused.
    const QByteArrayList refused{"refused"};
    const QByteArray data = hex("ff8000102030");
    const QByteArray port = portOut(0xFFFFFFFF, 2, 0x30, 0, bytes(data), 6);
    QByteArray longer = port;
    longer[20] = 7;
    const QByteArray dmx = dmxOut(0, 0, bytes(data), 6);
    QByteArray unmarked = dmx;
    unmarked.replace(16, 4, QByteArray(4, '\0'));
    const QByteArray full(513, '\1');
    QTest::newRow("port out") << supply() << port
                              << QByteArrayList{"port out 2, flags 30, ff8000102030"};
    QTest::newRow("port out shorter than its length") << supply() << longer << refused;
    // A length field of 513 (01 02) with 513 data bytes behind it.
    QTest::newRow("port out over 512")
        << supply()
        << portOut(0xFFFFFFFF, 2, 0, 0, bytes(full), 512).append('\1').replace(20, 2, hex("0102"))
        << refused;
    QTest::newRow("dmx out") << supply() << dmx
                             << QByteArrayList{"dmx out 0, flags 0, ff8000102030"};
    QTest::newRow("dmx out without its marker") << supply() << unmarked << refused;

    QTest::newRow("empty") << supply() << QByteArray() << refused;
    QTest::newRow("header only, wrong magic") << supply() << hex("0401dc4b 0100 0100") << refused;
    QTest::newRow("short discover") << supply() << discover(0x0A0101DE).left(15) << refused;
    QTest::newRow("discover version 2")
        << supply() << discover(0x0A0101DE).replace(4, 1, "\x02") << refused;
    QTest::newRow("unknown type") << supply() << hex("0401dc4a 0100 9909 0000000000000000")
                                  << refused;
    QTest::newRow("rdm, truncated")
        << supply() << rdmGet(0x7FF702000201ull, 0x0060).left(37) << refused;
}

// What the supply makes of one datagram: its replies in order (each read back by the program's
// parser), the frame of live output it records, or a refusal.
void tst_SimResponder::answers()
{
    QFETCH(SimSupply, supply);
    QFETCH(QByteArray, request);
    QFETCH(QByteArrayList, expected);
    const auto answer = SimResponder::answer(supply, request);
    QByteArrayList seen;
    if (!answer.accepted)
        seen << "refused";
    if (const auto &frame = answer.frame) {
        seen << QStringLiteral("%1 %2, flags %3, %4")
                    .arg(frame->kind == SimFrame::Kind::PortOut ? "port out" : "dmx out")
                    .arg(frame->port)
                    .arg(frame->flags, 0, 16)
                    .arg(QString::fromLatin1(frame->data.toHex()))
                    .toLatin1();
        QCOMPARE(frame->datagram, request);
    }
    for (const QByteArray &reply : answer.replies) {
        seen << reply.toHex(' ');
        QVERIFY(VistraReplies::parseReply(reply, kSupplyIp)); // the program reads it
    }
    for (QByteArray &entry : expected) {
        if (entry != "refused" && !entry.contains(','))
            entry = QByteArray::fromHex(entry).toHex(' ');
    }
    QCOMPARE(seen, expected);
}

void tst_SimResponder::blinkScan2Splits_data()
{
    QTest::addColumn<int>("classicLights");
    QTest::addColumn<int>("rdmLights");
    QTest::addColumn<int>("entryType");
    QTest::addColumn<int>("datagrams");
    QTest::newRow("serials and ids") << 50 << 20 << 4 << 2;
    // 200 serials: entries of 63, 63, 63, 11 fit in 1024 bytes; 250 (63, 63, 63, 61) do not.
    QTest::newRow("200 serials") << 200 << 0 << 4 << 1;
    QTest::newRow("250 serials") << 250 << 0 << 4 << 2;
    // 100 ids of type 3: 31 + 31 + 31 + 7; port 1, without lights, answers with an empty list
    // in a datagram of its own.
    QTest::newRow("long id list, type 3") << 0 << 100 << 3 << 5;
}

// Every serial and id arrives exactly once, in order, on the right port, and only the last
// datagram says that nothing more follows. Read with the program's parser, pinned against
// hand-written replies in tst_vistra.
void tst_SimResponder::blinkScan2Splits()
{
    QFETCH(int, classicLights);
    QFETCH(int, rdmLights);
    QFETCH(int, entryType);
    QFETCH(int, datagrams);
    const SimSupply s = supply(classicLights, rdmLights, static_cast<quint8>(entryType));
    const auto answer = SimResponder::answer(s, VistraRequests::blinkScan2(kSupplyIp));
    QCOMPARE(answer.replies.size(), datagrams);
    QMap<int, QVector<quint64>> serials, uids; // wire port -> values, in order
    QVector<int> more, expectedMore(datagrams, 1);
    expectedMore.last() = 0;
    for (const QByteArray &reply : answer.replies) {
        QVERIFY(reply.size() <= SimResponder::kMaxBlinkScan2Size);
        const auto parsed = VistraReplies::parseReply(reply, kSupplyIp);
        QVERIFY(parsed);
        const auto &scan = std::get<VistraReplies::BlinkScan2Reply>(*parsed);
        QCOMPARE(scan.ip, kSupplyIp);
        QCOMPARE(scan.entryBytes.size(), reply.size() - 16); // nothing trails the entries
        more << scan.more;
        for (const VistraReplies::BlinkScan2Entry &entry : scan.entries) {
            const bool rdm = entry.kind == VistraReplies::BlinkScan2Entry::RdmUids;
            if (!entry.values.isEmpty()) // an empty port answers with an empty list
                (rdm ? uids : serials)[entry.port] += entry.values;
        }
    }
    QCOMPARE(more, expectedMore);
    QVector<quint64> expectedSerials, expectedUids;
    for (const SimLight &light : s.ports.at(0).lights)
        expectedSerials << light.serial;
    for (const SimLight &light : s.ports.at(1).lights)
        expectedUids << light.serial;
    QCOMPARE(serials.value(1), expectedSerials);
    QCOMPARE(uids.value(2), expectedUids);
    QVERIFY(!serials.contains(2) && !uids.contains(1));
}

// Duplicates and delays are drawn among the replies that survive.
void tst_SimResponder::faultPlanShares()
{
    SimFaultPlan plan(SimFaults{0.3, 0.1, 0.2, 40, 7});
    int dropped = 0, duplicated = 0, delayed = 0;
    for (int i = 0; i < 10000; ++i) {
        const auto fate = plan.next();
        QVERIFY(!fate.drop || (!fate.duplicate && fate.delayMs == 0));
        QVERIFY(fate.delayMs == 0 || fate.delayMs == 40);
        dropped += fate.drop;
        duplicated += fate.duplicate;
        delayed += fate.delayMs > 0;
    }
    QVERIFY2(qAbs(dropped - 3000) < 200 && qAbs(duplicated - 700) < 200 &&
                 qAbs(delayed - 1400) < 200,
             qPrintable(QStringLiteral("%1 %2 %3").arg(dropped).arg(duplicated).arg(delayed)));
}

QTEST_GUILESS_MAIN(tst_SimResponder)
#include "tst_simresponder.moc"
