#include "sim/simfaults.h"
#include "sim/simresponder.h"

#include "simrequests.h"

#include <QtTest>

// The device side checked against bytes written out by hand from the wire tables, and
// against small readers written here independently of the simulator's own code.
class tst_SimResponder : public QObject
{
    Q_OBJECT

private slots:
    void discoverReply_data();
    void discoverReply();
    void discoverPorts();
    void blinkScanVersionOne();
    void blinkScan2Splits_data();
    void blinkScan2Splits();
    void blinkScan2EmptySupply();
    void eeRead_data();
    void eeRead();
    void deviceVariable();
    void rdmDeviceInfo();
    void rdmOtherParameters_data();
    void rdmOtherParameters();
    void rdmRejected_data();
    void rdmRejected();
    void malformedRequests_data();
    void malformedRequests();
    void frames_data();
    void frames();
    void faultPlanShares();
};

using namespace SimRequests;

namespace {

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

SimSupply supply(int classicLights = 2, int rdmLights = 1, quint8 entryType = 4)
{
    SimSupply s;
    s.address = QHostAddress(QStringLiteral("127.0.1.2"));
    s.mac = QByteArray::fromHex("024C00000102");
    s.serial = 0x4C510002;
    s.version = 2;
    s.universe = 1;
    s.versionText = QStringLiteral("2.4");
    s.idText = QStringLiteral("Two");
    s.rdmEntryType = entryType;
    s.variables.insert(7, 0xA1B2C3D4);
    SimPort first;
    first.number = 1;
    first.type = 1;
    for (int i = 0; i < classicLights; ++i)
        first.lights << classic(0x4C310101 + i, static_cast<quint16>((3 * i) % 510));
    SimPort second;
    second.number = 2;
    second.type = 2;
    for (int i = 0; i < rdmLights; ++i)
        second.lights << rdmLight(0x7FF702000201ull + i, static_cast<quint16>((3 * i) % 510));
    s.ports << first << second;
    return s;
}

struct ScanResult
{
    QMap<int, QVector<quint64>> serials; // wire port -> serials, in order
    QMap<int, QVector<quint64>> uids;
    QVector<int> moreFlags;
    bool ok = true;
};

// Reads blink scan 2 replies the way the wire table describes them.
ScanResult readScan(const QVector<QByteArray> &replies)
{
    ScanResult result;
    for (const QByteArray &d : replies) {
        if (d.size() < 16 || quint8(d.at(6)) != 0x08 || quint8(d.at(7)) != 0x02 ||
            readBe(d, 8, 4) != 0x7F000102) {
            result.ok = false;
            continue;
        }
        const int entries = quint8(d.at(12));
        result.moreFlags << quint8(d.at(13));
        int at = 16;
        for (int e = 0; e < entries && at + 4 <= d.size(); ++e) {
            const int port = quint8(d.at(at));
            const int type = quint8(d.at(at + 1));
            const int length = quint8(d.at(at + 2));
            at += 4;
            if (type == 1) {
                for (int i = 0; i < length / 4; ++i)
                    result.serials[port] << readLe(d, at + 4 * i, 4);
                at += length;
                continue;
            }
            const int item = type == 3 ? 8 : 6;
            for (int i = 0; i < entries; ++i) {
                const int p = at + i * item + (type == 3 ? 2 : 0);
                const quint64 low = readLe(d, p, 4);
                const quint64 high = quint8(d.at(p + 4)) | (quint8(d.at(p + 5)) << 8);
                result.uids[port] << ((high << 32) | low);
            }
            result.ok = result.ok && length == entries * item && at + length == d.size();
            break; // nothing follows an RDM entry
        }
    }
    return result;
}

} // namespace

void tst_SimResponder::discoverReply_data()
{
    QTest::addColumn<quint64>("serial");
    QTest::addColumn<QString>("versionText");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("32-bit serial")
        << quint64(0x4C510002) << "2.4"
        << QByteArray::fromHex("0401dc4a01000200 00000000 7f000102 024c00000102 0200"
                               "0200514c 01000000 322e3400 54776f00");
    QTest::newRow("empty version text puts the id at 33")
        << quint64(0x4C510002) << ""
        << QByteArray::fromHex("0401dc4a01000200 00000000 7f000102 024c00000102 0200"
                               "0200514c 01000000 00 54776f00");
    QTest::newRow("64-bit serial")
        << quint64(0x4C5300000004) << "3"
        << QByteArray::fromHex("0401dc4a01000f00 00000000 7f000102 024c00000102 0200"
                               "04000000534c0000 00000000 01000000 3300 54776f00");
    QTest::newRow("64-bit serial, empty version text puts the id at 41")
        << quint64(0x4C5300000004) << ""
        << QByteArray::fromHex("0401dc4a01000f00 00000000 7f000102 024c00000102 0200"
                               "04000000534c0000 00000000 01000000 00 54776f00");
}

void tst_SimResponder::discoverReply()
{
    QFETCH(quint64, serial);
    QFETCH(QString, versionText);
    QFETCH(QByteArray, expected);
    SimSupply s = supply();
    s.serial = serial;
    s.versionText = versionText;
    const auto answer = SimResponder::answer(s, header(0x0001) + QByteArray(4, '\0') +
                                                    QByteArray::fromHex("0a0101de"));
    QVERIFY(answer.accepted);
    QCOMPARE(answer.replies.size(), 1);
    QCOMPARE(answer.replies.first().toHex(), expected.toHex());
}

void tst_SimResponder::discoverPorts()
{
    const auto answer =
        SimResponder::answer(supply(), header(0x000A) + QByteArray::fromHex("7f00010200000000"));
    QCOMPARE(answer.replies.size(), 1);
    QCOMPARE(answer.replies.first().toHex(), QByteArray("0401dc4a01000b00"
                                                        "7f000102"
                                                        "02000000"
                                                        "0101000000000000"
                                                        "0202000000000000"));
}

void tst_SimResponder::blinkScanVersionOne()
{
    SimSupply s = supply(3, 0);
    s.version = 1;
    s.ports.removeLast();
    const auto answer =
        SimResponder::answer(s, header(0x0201) + QByteArray::fromHex("7f00010200000000"));
    QCOMPARE(answer.replies.size(), 3);
    QCOMPARE(answer.replies.at(1).toHex(), QByteArray("0401dc4a01000202"
                                                      "7f000102"
                                                      "0201314c"));
    // A version-1 supply knows nothing of blink scan 2, a later one nothing of blink scan.
    QVERIFY(SimResponder::answer(s, header(0x0207) + QByteArray(8, '\0')).replies.isEmpty());
    QVERIFY(SimResponder::answer(supply(), header(0x0201) + QByteArray(8, '\0')).replies.isEmpty());
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
// datagram says that nothing more follows.
void tst_SimResponder::blinkScan2Splits()
{
    QFETCH(int, classicLights);
    QFETCH(int, rdmLights);
    QFETCH(int, entryType);
    QFETCH(int, datagrams);
    const SimSupply s = supply(classicLights, rdmLights, static_cast<quint8>(entryType));
    const auto answer =
        SimResponder::answer(s, header(0x0207) + QByteArray::fromHex("7f00010200000000"));
    QCOMPARE(answer.replies.size(), datagrams);
    const ScanResult scan = readScan(answer.replies);
    QVERIFY(scan.ok);
    QVector<int> more(datagrams, 1);
    more.last() = 0;
    QCOMPARE(scan.moreFlags, more);
    QVector<quint64> serials;
    for (const SimLight &light : s.ports.at(0).lights)
        serials << light.serial;
    QVector<quint64> uids;
    for (const SimLight &light : s.ports.at(1).lights)
        uids << light.serial;
    QCOMPARE(scan.serials.value(1), serials);
    QCOMPARE(scan.uids.value(2), uids);
    QVERIFY(!scan.serials.contains(2) && !scan.uids.contains(1));
    for (const QByteArray &reply : answer.replies)
        QVERIFY(reply.size() <= SimResponder::kMaxBlinkScan2Size);
}

// Ports without lights answer with an empty serial list, so that a scan tells an empty port
// from one whose answer was lost; a supply without ports still answers once.
void tst_SimResponder::blinkScan2EmptySupply()
{
    const auto answer = SimResponder::answer(supply(0, 0), header(0x0207) + QByteArray(8, '\0'));
    QCOMPARE(answer.replies.size(), 1);
    QCOMPARE(answer.replies.first().toHex(), QByteArray("0401dc4a01000802"
                                                        "7f000102"
                                                        "02000000"
                                                        "01010000"
                                                        "02010000"));
    SimSupply portless = supply(0, 0);
    portless.ports.clear();
    const auto bare = SimResponder::answer(portless, header(0x0207) + QByteArray(8, '\0'));
    QCOMPARE(bare.replies.size(), 1);
    QCOMPARE(bare.replies.first().toHex(), QByteArray("0401dc4a01000802"
                                                      "7f000102"
                                                      "00000000"));
}

void tst_SimResponder::eeRead_data()
{
    QTest::addColumn<quint32>("serial");
    QTest::addColumn<quint16>("address");
    QTest::addColumn<QByteArray>("expected");
    // Light 2 of the port sits at DMX offset 3: bytes 00 03 at 64/65.
    QTest::newRow("offset high") << 0x4C310102u << quint16(64)
                                 << QByteArray("0401dc4a010004020000000002013"
                                               "14c40000000");
    QTest::newRow("offset low") << 0x4C310102u << quint16(65)
                                << QByteArray("0401dc4a01000402000000000201314c41000300");
    QTest::newRow("firmware") << 0x4C310101u << quint16(5)
                              << QByteArray("0401dc4a01000402000000000101314c05001700");
    QTest::newRow("past the memory reads 0, address low byte echoed")
        << 0x4C310101u << quint16(0x0140) << QByteArray("0401dc4a01000402000000000101314c40000000");
    QTest::newRow("unknown light") << 0x12345678u << quint16(64) << QByteArray();
    QTest::newRow("an RDM light has no memory reads") << 0x02000201u << quint16(64) << QByteArray();
}

void tst_SimResponder::eeRead()
{
    QFETCH(quint32, serial);
    QFETCH(quint16, address);
    QFETCH(QByteArray, expected);
    const auto answer = SimResponder::answer(supply(), SimRequests::eeRead(serial, address));
    QVERIFY(answer.accepted);
    QCOMPARE(answer.replies.value(0).toHex(), expected);
}

void tst_SimResponder::deviceVariable()
{
    const QByteArray request =
        header(0x0105) + QByteArray(4, '\0') + QByteArray::fromHex("07000000");
    QCOMPARE(SimResponder::answer(supply(), request).replies.value(0).toHex(),
             QByteArray("0401dc4a010006010000000007000000d4c3b2a1"));
    const QByteArray unknown =
        header(0x0105) + QByteArray(4, '\0') + QByteArray::fromHex("08000000");
    QCOMPARE(SimResponder::answer(supply(), unknown).replies.value(0).toHex(),
             QByteArray("0401dc4a01000601000000000800000000000000"));
}

void tst_SimResponder::rdmDeviceInfo()
{
    const SimSupply s = supply(0, 3);
    const auto answer = SimResponder::answer(s, rdmGet(0x7FF702000203ull, 0x0060));
    QCOMPARE(answer.replies.size(), 1);
    const QByteArray r = answer.replies.first();
    QCOMPARE(r.left(12).toHex(), QByteArray("0401dc4a03000403"
                                            "00000000"));
    QCOMPARE(r.size(), 12 + 24 + 19 + 2);
    const QByteArray m = r.mid(12);
    QCOMPARE(quint8(m.at(0)), quint8(0xCC));
    QCOMPARE(quint8(m.at(1)), quint8(0x01));
    QCOMPARE(int(quint8(m.at(2))), 24 + 19);
    QCOMPARE(readBe(m, 3, 6), Q_UINT64_C(0x4F52AE000001)); // back to the requester
    QCOMPARE(readBe(m, 9, 6), Q_UINT64_C(0x7FF702000203));
    QCOMPARE(int(quint8(m.at(15))), 0x2A); // transaction number echoed
    QCOMPARE(int(quint8(m.at(16))), 0x00); // ACK
    QCOMPARE(int(quint8(m.at(20))), 0x21); // GET response
    QCOMPARE(readBe(m, 21, 2), quint64(0x0060));
    QCOMPARE(int(quint8(m.at(23))), 19);
    // Protocol 1.0, model 0x0102, category 0x0100, software 0x00020005, footprint 3,
    // personality 1 of 1, start address = offset 6 + 1, no sub-devices, no sensors.
    QCOMPARE(m.mid(24, 19).toHex(), QByteArray("0100"
                                               "0102"
                                               "0100"
                                               "00020005"
                                               "0003"
                                               "0101"
                                               "0007"
                                               "0000"
                                               "00"));
    quint16 sum = 0;
    for (int i = 0; i < 24 + 19; ++i)
        sum += quint8(m.at(i));
    QCOMPARE(readBe(m, 24 + 19, 2), quint64(sum));
}

void tst_SimResponder::rdmOtherParameters_data()
{
    QTest::addColumn<quint16>("pid");
    QTest::addColumn<int>("responseType");
    QTest::addColumn<QByteArray>("data");
    QTest::newRow("model description") << quint16(0x0080) << 0 << QByteArray("Sim RDM Bar");
    QTest::newRow("start address") << quint16(0x00F0) << 0 << QByteArray::fromHex("0001");
    QTest::newRow("configured parameter") << quint16(0x8600) << 0 << QByteArray::fromHex("05");
    QTest::newRow("unknown parameter: NACK unknown pid")
        << quint16(0x8606) << 2 << QByteArray::fromHex("0000");
}

void tst_SimResponder::rdmOtherParameters()
{
    QFETCH(quint16, pid);
    QFETCH(int, responseType);
    QFETCH(QByteArray, data);
    const auto answer = SimResponder::answer(supply(0, 1), rdmGet(0x7FF702000201ull, pid));
    QCOMPARE(answer.replies.size(), 1);
    const QByteArray m = answer.replies.first().mid(12);
    QCOMPARE(int(quint8(m.at(16))), responseType);
    QCOMPARE(int(quint8(m.at(2))), 24 + data.size());
    QCOMPARE(m.mid(24, quint8(m.at(23))), data);
    quint16 sum = 0;
    for (int i = 0; i < 24 + data.size(); ++i)
        sum += quint8(m.at(i));
    QCOMPARE(readBe(m, 24 + data.size(), 2), quint64(sum));
}

void tst_SimResponder::rdmRejected_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<int>("replies");
    QTest::addColumn<int>("nackReason");
    QByteArray badSum = rdmGet(0x7FF702000201ull, 0x0060);
    badSum[37] = char(badSum.at(37) ^ 1);
    QByteArray wrongVersion = rdmGet(0x7FF702000201ull, 0x0060);
    wrongVersion[4] = 1;
    QTest::newRow("wrong checksum") << badSum << 0 << -1;
    QTest::newRow("version 1") << wrongVersion << 0 << -1;
    QTest::newRow("unknown uid") << rdmGet(0x7FF702000299ull, 0x0060) << 0 << -1;
    QTest::newRow("truncated") << rdmGet(0x7FF702000201ull, 0x0060).left(37) << 0 << -1;
    QTest::newRow("SET") << rdmGet(0x7FF702000201ull, 0x0060, 0x30) << 1 << 0x0005;
    QTest::newRow("sub-device") << rdmGet(0x7FF702000201ull, 0x0060, 0x20, 4) << 1 << 0x0009;
}

void tst_SimResponder::rdmRejected()
{
    QFETCH(QByteArray, request);
    QFETCH(int, replies);
    QFETCH(int, nackReason);
    const auto answer = SimResponder::answer(supply(0, 1), request);
    QCOMPARE(answer.replies.size(), replies);
    if (replies == 0)
        return;
    const QByteArray m = answer.replies.first().mid(12);
    QCOMPARE(int(quint8(m.at(16))), 2);
    QCOMPARE(int(readBe(m, 24, 2)), nackReason);
}

void tst_SimResponder::malformedRequests_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("header only, wrong magic") << QByteArray::fromHex("0401dc4b01000100");
    QTest::newRow("short discover") << header(0x0001) + QByteArray(7, '\0');
    QTest::newRow("discover version 2") << header(0x0001, 2) + QByteArray(8, '\0');
    QTest::newRow("short EE read") << SimRequests::eeRead(0x4C310101, 64).left(19);
    QTest::newRow("unknown type") << header(0x0999) + QByteArray(8, '\0');
    QTest::newRow("a reply type") << header(0x0002) + QByteArray(40, '\0');
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
    QTest::addColumn<bool>("valid");
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("port");
    QTest::addColumn<QByteArray>("data");
    const QByteArray data = QByteArray::fromHex("ff8000102030");
    QTest::newRow("port out") << header(0x0108) +
                                     QByteArray::fromHex("00000000 ffffffff 02 00 3000 0600 0000") +
                                     data
                              << true << int(SimFrame::Kind::PortOut) << 2 << data;
    QTest::newRow("port out shorter than its length")
        << header(0x0108) + QByteArray::fromHex("00000000 ffffffff 02 00 3000 0700 0000") + data
        << false << 0 << 0 << QByteArray();
    QTest::newRow("port out over 512")
        << header(0x0108) + QByteArray::fromHex("00000000 ffffffff 02 00 0000 0102 0000") +
               QByteArray(513, '\1')
        << false << 0 << 0 << QByteArray();
    QTest::newRow("dmx out") << header(0x0101) +
                                    QByteArray::fromHex("00000000 0000 0000 ffffffff 00") + data
                             << true << int(SimFrame::Kind::DmxOut) << 0 << data;
    QTest::newRow("dmx out without its marker")
        << header(0x0101) + QByteArray::fromHex("00000000 0000 0000 00000000 00") + data << false
        << 0 << 0 << QByteArray();
}

void tst_SimResponder::frames()
{
    QFETCH(QByteArray, request);
    QFETCH(bool, valid);
    QFETCH(int, kind);
    QFETCH(int, port);
    QFETCH(QByteArray, data);
    const auto answer = SimResponder::answer(supply(), request);
    QVERIFY(answer.replies.isEmpty());
    QCOMPARE(answer.frame.has_value(), valid);
    if (!valid)
        return;
    QCOMPARE(int(answer.frame->kind), kind);
    QCOMPARE(int(answer.frame->port), port);
    QCOMPARE(answer.frame->data, data);
    QCOMPARE(answer.frame->datagram, request);
    if (answer.frame->kind == SimFrame::Kind::PortOut)
        QCOMPARE(answer.frame->flags, quint16(0x30));
}

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
    // Duplicates and delays are drawn among the replies that survive.
    QVERIFY(qAbs(dropped - 0.3 * n) < 0.02 * n);
    QVERIFY(qAbs(duplicated - 0.1 * 0.7 * n) < 0.02 * n);
    QVERIFY(qAbs(delayed - 0.2 * 0.7 * n) < 0.02 * n);
    SimFaultPlan none;
    QVERIFY(!none.next().drop);
}

QTEST_GUILESS_MAIN(tst_SimResponder)
#include "tst_simresponder.moc"
