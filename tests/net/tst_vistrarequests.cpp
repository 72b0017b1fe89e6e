// Request datagrams against golden bytes written out by hand from the wire tables: header
// 04 01 DC 4A, version 1 (3 for RDM), type, then the payload at its offsets. Little-endian
// integers, addresses in network order, the RDM part big-endian. The only place these bytes
// are pinned: the protocol object and the simulator tests build their requests with this codec.
#include "net/dottedquad.h"
#include "net/rdm.h"
#include "net/vistrarequests.h"

#include <QtTest>

namespace {

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(text); // spaces are skipped
}

const uchar *bytes(const QByteArray &data)
{
    return reinterpret_cast<const uchar *>(data.constData());
}

} // namespace

class tst_VistraRequests : public QObject
{
    Q_OBJECT

private slots:
    void golden_data();
    void golden();
    void discoverTarget_data();
    void discoverTarget();
    void dottedQuad_data();
    void dottedQuad();
};

void tst_VistraRequests::golden_data()
{
    QTest::addColumn<QByteArray>("built");
    QTest::addColumn<QByteArray>("expected");

    const QByteArray three = hex("112233");
    const QByteArray two = hex("aabb");
    QByteArray frame(512, '\0');
    for (int i = 0; i < frame.size(); ++i)
        frame[i] = char(i * 7);
    using namespace VistraRequests;
    QTest::newRow("discover 10.1.1.222")
        << discover(0x0A0101DE) << hex("0401dc4a 0100 0100 00000000 0a0101de");
    QTest::newRow("discover ports 10.32.1.11")
        << discoverPorts(0x0A20010B) << hex("0401dc4a 0100 0a00 0a20010b 00000000");
    QTest::newRow("dmx out, program defaults")
        << dmxOut(0, 0, bytes(three), 3)
        << hex("0401dc4a 0100 0101 00000000 0000 0000 ffffffff 00 112233");
    QTest::newRow("dmx out, timer and start code")
        << dmxOut(0xCC, 0x1234, bytes(three), 3)
        << hex("0401dc4a 0100 0101 00000000 0000 3412 ffffffff cc 112233");
    QTest::newRow("dmx out, no data")
        << dmxOut(0, 0, nullptr, 0) << hex("0401dc4a 0100 0101 00000000 0000 0000 ffffffff 00");
    QTest::newRow("get device variable 0x0102")
        << getDeviceVariable(0x0102) << hex("0401dc4a 0100 0501 00000000 0201 0000");
    QTest::newRow("port out, all universes")
        << portOut(0xFFFFFFFF, 2, 0x0030, 0x00DD, bytes(two), 2)
        << hex("0401dc4a 0100 0801 00000000 ffffffff 02 00 3000 0200 dd00 aabb");
    QTest::newRow("port out, universe byte order")
        << portOut(0x01020304, 0x81, 0xA5F0, 0x0102, bytes(two), 2)
        << hex("0401dc4a 0100 0801 00000000 04030201 81 00 f0a5 0200 0201 aabb");
    QTest::newRow("sync") << sync() << hex("0401dc4a 0100 0901 00000000 00000000");
    QTest::newRow("blink scan 192.168.1.20")
        << blinkScan(0xC0A80114) << hex("0401dc4a 0100 0102 c0a80114 00000000");
    QTest::newRow("blink EE read")
        << blinkEERead(0x01A20011, 64) << hex("0401dc4a 0100 0302 00000000 1100a201 4000 0000");
    QTest::newRow("blink EE read, high address")
        << blinkEERead(0xFEDCBA98, 0x0241) << hex("0401dc4a 0100 0302 00000000 98badcfe 4102 0000");
    QTest::newRow("blink scan 2 10.0.0.5")
        << blinkScan2(0x0A000005) << hex("0401dc4a 0100 0702 0a000005 00000000");
    // The frames sent every refresh: 533 and 536 bytes, the length 512 = 00 02.
    QTest::newRow("dmx out, full frame")
        << dmxOut(0, 0, bytes(frame), 512)
        << hex("0401dc4a 0100 0101 00000000 0000 0000 ffffffff 00") + frame;
    QTest::newRow("port out, full frame")
        << portOut(0xFFFFFFFF, 1, 0, 0, bytes(frame), 512)
        << hex("0401dc4a 0100 0801 00000000 ffffffff 01 00 0000 0002 0000") + frame;
    // cc 01 18 | dest | source 7ff0 4f525259 (ours) | tn 00 | port ff | count 00 | sub-device
    // 0000 | GET 20 | pid | pdl 00 | checksum: the sum of all bytes before it,
    // 229 + 652 + 699 + 255 + 32 + 96 = 1963 = 0x07AB
    QTest::newRow("rdm get DEVICE_INFO")
        << rdmGet(0x12345678ABCDull, 0x0060, Rdm::sourceUid())
        << hex("0401dc4a 0300 0303 00000000"
               "cc 01 18 1234 5678abcd 7ff0 4f525259 00 ff 00 0000 20 0060 00 07ab");
    // 229 + 1530 + 699 + 255 + 32 + 510 = 3255 = 0x0CB7
    QTest::newRow("rdm get, all ones")
        << rdmGet(0xFFFFFFFFFFFFull, 0xFFFF, Rdm::sourceUid())
        << hex("0401dc4a 0300 0303 00000000"
               "cc 01 18 ffff ffffffff 7ff0 4f525259 00 ff 00 0000 20 ffff 00 0cb7");
    // 229 + 255 + 32 + 0x80 = 644 = 0x0284
    QTest::newRow("rdm get, zero uids")
        << rdmGet(0, 0x0080, 0)
        << hex("0401dc4a 0300 0303 00000000"
               "cc 01 18 0000 00000000 0000 00000000 00 ff 00 0000 20 0080 00 0284");
}

void tst_VistraRequests::golden()
{
    QFETCH(QByteArray, built);
    QFETCH(QByteArray, expected);
    QCOMPARE(built.toHex(' '), expected.toHex(' '));
}

void tst_VistraRequests::discoverTarget_data()
{
    QTest::addColumn<quint32>("mask");
    QTest::addColumn<quint32>("expected");
    // Given 10.1.1.222, own address 192.168.1.10.
    QTest::newRow("no mask: the given address") << 0u << 0x0A0101DEu;
    QTest::newRow("/24: own network, given host") << 0xFFFFFF00u << 0xC0A801DEu;
    QTest::newRow("/16") << 0xFFFF0000u << 0xC0A801DEu;
    QTest::newRow("/8") << 0xFF000000u << 0xC00101DEu;
    QTest::newRow("all: own address") << 0xFFFFFFFFu << 0xC0A8010Au;
}

void tst_VistraRequests::discoverTarget()
{
    QFETCH(quint32, mask);
    QFETCH(quint32, expected);
    QCOMPARE(VistraRequests::discoverTarget(0x0A0101DE, 0xC0A8010A, mask), expected);
}

void tst_VistraRequests::dottedQuad_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<quint32>("value");
    QTest::newRow("discovery address") << "10.1.1.222" << true << 0x0A0101DEu;
    QTest::newRow("limited broadcast") << "255.255.255.255" << true << 0xFFFFFFFFu;
    QTest::newRow("zero") << "0.0.0.0" << true << 0u;
    QTest::newRow("leading zeros are decimal") << "010.001.001.099" << true << 0x0A010163u;
    QTest::newRow("part above 255") << "256.1.1.1" << false << 0u;
    QTest::newRow("four digits") << "1000.1.1.1" << false << 0u;
    QTest::newRow("three parts") << "10.1.1" << false << 0u;
    QTest::newRow("five parts") << "10.1.1.1.1" << false << 0u;
    QTest::newRow("empty part") << "10..1.1" << false << 0u;
    QTest::newRow("trailing dot") << "10.1.1.1." << false << 0u;
    QTest::newRow("empty") << "" << false << 0u;
    QTest::newRow("space") << " 10.1.1.1" << false << 0u;
    QTest::newRow("hexadecimal") << "0x0a.1.1.1" << false << 0u;
    QTest::newRow("sign") << "10.1.1.-1" << false << 0u;
    QTest::newRow("name") << "localhost" << false << 0u;
    QTest::newRow("IPv6") << "::1" << false << 0u;
}

void tst_VistraRequests::dottedQuad()
{
    QFETCH(QString, text);
    QFETCH(bool, valid);
    QFETCH(quint32, value);
    const std::optional<quint32> parsed = parseDottedQuad(text);
    QCOMPARE(parsed.has_value(), valid);
    if (valid)
        QCOMPARE(*parsed, value);
}

QTEST_GUILESS_MAIN(tst_VistraRequests)
#include "tst_vistrarequests.moc"
