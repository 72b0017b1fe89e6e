// The device side: each request, built by the program's own request codec (pinned against
// hand-written bytes in tst_vistrarequests), against reply bytes written out by hand from the
// wire tables.
#include "sim/simfaults.h"
#include "sim/simresponder.h"

#include "net/vistrareplies.h"
#include "net/vistrarequests.h"

#include <QtTest>

Q_DECLARE_METATYPE(SimSupply)

class tst_SimResponder : public QObject
{
    Q_OBJECT

private slots:
    void replies_data();
    void replies();
    void blinkScan2Splits_data();
    void blinkScan2Splits();
    void malformedRequests_data();
    void malformedRequests();
    void frames_data();
    void frames();
    void faultPlanShares();
};

namespace {

constexpr quint64 kRequester = 0x4F52AE000001ull;
constexpr quint32 kSupplyIp = 0x7F000102; // 127.0.1.2

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

SimLight classic(quint32 serial, quint16 offset)
{
    SimLight light;
    light.serial = serial;
    light.setDmxOffset(offset);
    light.writeMemory(SimLight::kFirmwareVersion, 0x17);
    return light;
}

SimLight rdmLight(quint64 uid, quint16 offset)
{
    SimLight light;
    light.kind = SimLight::Kind::Rdm;
    light.serial = uid;
    light.setDmxOffset(offset);
    light.rdm.deviceModelId = 0x0102;
    light.rdm.productCategory = 0x0100;
    light.rdm.softwareVersionId = 0x00020005;
    light.rdm.modelDescription = QStringLiteral("Sim RDM Bar");
    light.rdm.parameters.insert(0x8600, QByteArray::fromHex("05"));
    return light;
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
    SimPort first{1, 1, true, {}};
    for (int i = 0; i < classicLights; ++i)
        first.lights << classic(0x4C310101 + i, static_cast<quint16>((3 * i) % 510));
    SimPort second{2, 2, true, {}};
    for (int i = 0; i < rdmLights; ++i)
        second.lights << rdmLight(0x7FF702000201ull + i, static_cast<quint16>((3 * i) % 510));
    s.ports << first << second;
    return s;
}

SimSupply withSerial(quint64 serial, const QString &versionText)
{
    SimSupply s = supply();
    s.serial = serial;
    s.versionText = versionText;
    return s;
}

SimSupply versionOne()
{
    SimSupply s = supply(3, 0);
    s.version = 1;
    s.ports.removeLast();
    return s;
}

SimSupply portless()
{
    SimSupply s = supply(0, 0);
    s.ports.clear();
    return s;
}

} // namespace

void tst_SimResponder::replies_data()
{
    QTest::addColumn<SimSupply>("supply");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArrayList>("expected"); // the replies, in order, as hex

    using namespace VistraRequests;
    QTest::newRow("discover, 32-bit serial")
        << supply() << discover(0x0A0101DE)
        << QByteArrayList{"0401dc4a 0100 0200 00000000 7f000102 024c00000102 0200 0200514c "
                          "01000000 322e3400 54776f00"};
    QTest::newRow("discover, empty version text puts the id at 33")
        << withSerial(0x4C510002, "") << discover(0x0A0101DE)
        << QByteArrayList{"0401dc4a 0100 0200 00000000 7f000102 024c00000102 0200 0200514c "
                          "01000000 00 54776f00"};
    QTest::newRow("discover, 64-bit serial")
        << withSerial(0x4C5300000004, "3") << discover(0x0A0101DE)
        << QByteArrayList{"0401dc4a 0100 0f00 00000000 7f000102 024c00000102 0200 "
                          "04000000534c0000 00000000 01000000 3300 54776f00"};
    QTest::newRow("discover, 64-bit serial, empty version text puts the id at 41")
        << withSerial(0x4C5300000004, "") << discover(0x0A0101DE)
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
    QTest::newRow("blink scan 2, no ports")
        << portless() << blinkScan2(kSupplyIp)
        << QByteArrayList{"0401dc4a 0100 0802 7f000102 00000000"};
    // Light 2 of the port sits at DMX offset 3: bytes 00 03 at 64/65; firmware at 5.
    QTest::newRow("EE read, offset high")
        << supply() << blinkEERead(0x4C310102, 64)
        << QByteArrayList{"0401dc4a 0100 0402 00000000 0201314c 40 00 00 00"};
    QTest::newRow("EE read, offset low")
        << supply() << blinkEERead(0x4C310102, 65)
        << QByteArrayList{"0401dc4a 0100 0402 00000000 0201314c 41 00 03 00"};
    QTest::newRow("EE read, firmware")
        << supply() << blinkEERead(0x4C310101, 5)
        << QByteArrayList{"0401dc4a 0100 0402 00000000 0101314c 05 00 17 00"};
    QTest::newRow("EE read past the memory: 0, address low byte echoed")
        << supply() << blinkEERead(0x4C310101, 0x0140)
        << QByteArrayList{"0401dc4a 0100 0402 00000000 0101314c 40 00 00 00"};
    QTest::newRow("EE read, unknown light")
        << supply() << blinkEERead(0x12345678, 64) << QByteArrayList();
    QTest::newRow("EE read, an RDM light has no memory")
        << supply() << blinkEERead(0x02000201, 64) << QByteArrayList();
    QTest::newRow("device variable")
        << supply() << getDeviceVariable(7)
        << QByteArrayList{"0401dc4a 0100 0601 00000000 0700 0000 d4c3b2a1"};
    QTest::newRow("device variable, unknown: 0")
        << supply() << getDeviceVariable(8)
        << QByteArrayList{"0401dc4a 0100 0601 00000000 0800 0000 00000000"};
    // Back to the requester; personality 1 of 1, start address = offset 6 + 1.
    QTest::newRow("rdm DEVICE_INFO")
        << supply(0, 3) << rdmGet(0x7FF702000203ull, 0x0060)
        << QByteArrayList{"0401dc4a 0300 0403 00000000 cc 01 2b 4f52ae000001 7ff702000203 00 00 "
                          "00 0000 21 0060 13 0100 0102 0100 00020005 0003 0101 0007 0000 00 0471"};
    QTest::newRow("rdm model description")
        << supply(0, 1) << rdmGet(0x7FF702000201ull, 0x0080)
        << QByteArrayList{"0401dc4a 0300 0403 00000000 cc 01 23 4f52ae000001 7ff702000201 00 00 "
                          "00 0000 21 0080 0b 53696d2052444d20426172 07c8"};
    QTest::newRow("rdm start address")
        << supply(0, 1) << rdmGet(0x7FF702000201ull, 0x00F0)
        << QByteArrayList{"0401dc4a 0300 0403 00000000 cc 01 1a 4f52ae000001 7ff702000201 00 00 "
                          "00 0000 21 00f0 02 0001 04c6"};
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
}

void tst_SimResponder::replies()
{
    QFETCH(SimSupply, supply);
    QFETCH(QByteArray, request);
    QFETCH(QByteArrayList, expected);
    const auto answer = SimResponder::answer(supply, request);
    QVERIFY(answer.accepted);
    QByteArrayList replies;
    for (const QByteArray &reply : answer.replies) {
        replies << reply.toHex(' ');
        QVERIFY(VistraReplies::parseReply(reply, kSupplyIp)); // the program reads it
    }
    for (QByteArray &reply : expected)
        reply = QByteArray::fromHex(reply).toHex(' ');
    QCOMPARE(replies, expected);
}

void tst_SimResponder::blinkScan2Splits_data()
{
    QTest::addColumn<int>("classicLights");
    QTest::addColumn<int>("rdmLights");
    QTest::addColumn<int>("entryType");
    QTest::addColumn<int>("datagrams");
    QTest::newRow("one datagram") << 2 << 0 << 4 << 1;
    QTest::newRow("serials and ids") << 50 << 20 << 4 << 2;
    // 200 serials: entries of 63, 63, 63, 11 fit in 1024 bytes; 250 (63, 63, 63, 61) do not.
    QTest::newRow("200 serials") << 200 << 0 << 4 << 1;
    QTest::newRow("250 serials") << 250 << 0 << 4 << 2;
    QTest::newRow("63 serials exactly") << 63 << 0 << 4 << 1;
    // 100 ids: 42 + 42 + 16 with type 4, 31 + 31 + 31 + 7 with type 3; port 1, without
    // lights, answers with an empty list in a datagram of its own.
    QTest::newRow("long id list, type 4") << 0 << 100 << 4 << 4;
    QTest::newRow("long id list, type 3") << 0 << 100 << 3 << 5;
}

// Every serial and id arrives exactly once, in order, on the right port, and only the last
// datagram says that nothing more follows. Read with the program's parser, pinned against
// hand-written replies in tst_vistrareplies.
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

void tst_SimResponder::malformedRequests_data()
{
    QTest::addColumn<QByteArray>("request");
    const QByteArray discover = VistraRequests::discover(0x0A0101DE);
    QByteArray versionTwo = discover;
    versionTwo[4] = 2;
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("header only, wrong magic") << hex("0401dc4b 0100 0100");
    QTest::newRow("short discover") << discover.left(15);
    QTest::newRow("discover version 2") << versionTwo;
    QTest::newRow("short EE read") << VistraRequests::blinkEERead(0x4C310101, 64).left(19);
    QTest::newRow("unknown type") << hex("0401dc4a 0100 9909 0000000000000000");
    QTest::newRow("a reply type") << hex("0401dc4a 0100 0200") + QByteArray(40, '\0');
    QByteArray rdmVersionOne = rdmGet(0x7FF702000201ull, 0x0060);
    rdmVersionOne[4] = 1;
    QTest::newRow("rdm, version 1") << rdmVersionOne;
    QTest::newRow("rdm, truncated") << rdmGet(0x7FF702000201ull, 0x0060).left(37);
}

void tst_SimResponder::malformedRequests()
{
    QFETCH(QByteArray, request);
    const auto answer = SimResponder::answer(supply(), request);
    QVERIFY(!answer.accepted);
    QVERIFY(answer.replies.isEmpty());
    QVERIFY(!answer.frame);
}

void tst_SimResponder::frames_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QString>("expected"); // empty: no frame
    const QByteArray data = hex("ff8000102030");
    const QByteArray portOut = VistraRequests::portOut(0xFFFFFFFF, 2, 0x30, 0, bytes(data), 6);
    QByteArray longer = portOut;
    longer[20] = 7;
    const QByteArray dmxOut = VistraRequests::dmxOut(0, 0, bytes(data), 6);
    QByteArray unmarked = dmxOut;
    unmarked.replace(16, 4, QByteArray(4, '\0'));
    const QByteArray full(513, '\1');
    QTest::newRow("port out") << portOut << "port out, port 2, flags 0x30, ff8000102030";
    QTest::newRow("port out shorter than its length") << longer << QString();
    // A length field of 513 (01 02) with 513 data bytes behind it.
    QTest::newRow("port out over 512")
        << VistraRequests::portOut(0xFFFFFFFF, 2, 0, 0, bytes(full), 512)
               .append('\1')
               .replace(20, 2, hex("0102"))
        << QString();
    QTest::newRow("dmx out") << dmxOut << "dmx out, port 0, flags 0x0, ff8000102030";
    QTest::newRow("dmx out without its marker") << unmarked << QString();
}

void tst_SimResponder::frames()
{
    QFETCH(QByteArray, request);
    QFETCH(QString, expected);
    const auto answer = SimResponder::answer(supply(), request);
    QVERIFY(answer.replies.isEmpty());
    QCOMPARE(answer.frame.has_value(), !expected.isEmpty());
    if (!answer.frame)
        return;
    const SimFrame &frame = *answer.frame;
    QCOMPARE(QStringLiteral("%1, port %2, flags 0x%3, %4")
                 .arg(frame.kind == SimFrame::Kind::PortOut ? "port out" : "dmx out")
                 .arg(frame.port)
                 .arg(frame.flags, 0, 16)
                 .arg(QString::fromLatin1(frame.data.toHex())),
             expected);
    QCOMPARE(frame.datagram, request);
}

// Duplicates and delays are drawn among the replies that survive.
void tst_SimResponder::faultPlanShares()
{
    SimFaultPlan plan(SimFaults{0.3, 0.1, 0.2, 40, 7});
    int dropped = 0, duplicated = 0, delayed = 0;
    const int n = 10000;
    for (int i = 0; i < n; ++i) {
        const auto fate = plan.next();
        dropped += fate.drop;
        duplicated += fate.duplicate;
        delayed += fate.delayMs > 0;
        QVERIFY(!fate.drop || (!fate.duplicate && fate.delayMs == 0));
        QVERIFY(fate.delayMs == 0 || fate.delayMs == 40);
    }
    QVERIFY(qAbs(dropped - 0.3 * n) < 0.02 * n);
    QVERIFY(qAbs(duplicated - 0.1 * 0.7 * n) < 0.02 * n);
    QVERIFY(qAbs(delayed - 0.2 * 0.7 * n) < 0.02 * n);
    QVERIFY(!SimFaultPlan().next().drop);
}

QTEST_GUILESS_MAIN(tst_SimResponder)
#include "tst_simresponder.moc"
