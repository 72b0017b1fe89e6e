// The protocol: the request codec's bytes and address texts, then the protocol object on a
// real socket, in a namespace of its own: that each send operation puts the codec's bytes on
// the wire, the address and truncation rules, the request signals, and every reply type
// arriving as the right signal with the right arguments. The "controller" is a plain socket
// on port 6038; broadcasts go to 127.0.0.1.
#include "support/netdatagrams.h"
#include "support/netnamespace.h"

#include "net/dottedquad.h"
#include "net/ksocket.h"
#include "net/rdm.h"
#include "net/vistra.h"
#include "net/vistrareplies.h"
#include "net/vistrarequests.h"

#include <QtTest>

#include <functional>

namespace {

QByteArray hex(const QByteArray &text)
{
    return QByteArray::fromHex(text); // spaces are skipped
}

// An RDM GET response from 1234:5678ABCD to our source UID, acknowledged, with the given
// parameter id and data; no checksum is needed.
QByteArray rdmReply(const QByteArray &pid, const QByteArray &data,
                    const QByteArray &responseType = "00")
{
    const QByteArray parameterData = hex(data);
    const QByteArray length =
        QByteArray::number(24 + parameterData.size(), 16).rightJustified(2, '0');
    const QByteArray pdl = QByteArray::number(parameterData.size(), 16).rightJustified(2, '0');
    return hex("0401dc4a 0100 0403 00000000 cc 01" + length + "7ff0 4f525259 1234 5678abcd 00" +
               responseType + "00 0000 21" + pid + pdl) +
           parameterData;
}

const QString kController = QStringLiteral("127.10.20.30"); // 7f0a141e on the wire

QString ipText(quint32 ip)
{
    return QHostAddress(ip).toString();
}

// Signal arguments as text: 8-bit values in decimal, wider ones in hexadecimal.
template <typename T> QString text(T value)
{
    return sizeof(T) == 1 ? QString::number(value)
                          : QStringLiteral("0x") + QString::number(value, 16);
}

QString text(const QString &value)
{
    return QLatin1Char('\'') + value + QLatin1Char('\'');
}

template <typename T> QString text(const QVector<T> &values)
{
    QStringList parts;
    for (const T value : values)
        parts.append(text(value));
    return QLatin1Char('[') + parts.join(QLatin1Char(',')) + QLatin1Char(']');
}

QString call(const char *name, const QStringList &arguments)
{
    return QStringLiteral("%1(%2)").arg(QLatin1String(name), arguments.join(QStringLiteral(", ")));
}

// Writes every reply signal as a call, "name(ip, arguments...)", reading what the pointer
// arguments point at while the signal is being delivered.
class Recorder
{
public:
    explicit Recorder(Vistra &v) : m_v(v)
    {
        discover(&Vistra::signalDiscoverResponse, "discover");
        discover(&Vistra::signalDiscoverEOResponse, "discoverEO");
        discover(&Vistra::signalDiscoverResponseV3, "discoverV3");
        connect(&Vistra::signalDiscoverPortsResponse, [](uint ip, uchar n, uchar *numbers,
                                                         uchar *types) {
            return call("ports", {ipText(ip), text(n), text(QVector<uchar>(numbers, numbers + n)),
                                  text(QVector<uchar>(types, types + n))});
        });
        // The summary carries the entry bytes without their length: not written out.
        connect(&Vistra::signalBlinkScan2Response, [](uint ip, uchar entries, uchar more, uchar *) {
            return call("scan2", {ipText(ip), text(entries), text(more)});
        });
        on(&Vistra::signalBlinkScan2SNResponse, "scan2SN");
        on(&Vistra::signalBlinkScan2CAResponse, "scan2CA");
        on(&Vistra::signalBlinkScan2XRDMResponse, "scan2XRDM");
        on(&Vistra::signalBlinkScanResponse, "blinkScan");
        on(&Vistra::signalCAScanResponse, "caScan");
        on(&Vistra::signalBEBlinkScanResponse, "beBlinkScan");
        on(&Vistra::signalBlinkEEReadResponse, "eeRead");
        on(&Vistra::signalPixelTokenByteReadResponse, "pixelToken");
        on(&Vistra::signalTelemetryByteReadResponse, "telemetry");
        on(&Vistra::signalExtPromTokenReadResponse, "extProm");
        on(&Vistra::signalDeviceVariableReply, "variable");
        on(&Vistra::signalGetArrayReply, "array");
        on(&Vistra::signalGetByteArrayReply, "bytes");
        on(&Vistra::signalRDMGetReply, "rdm");
        on(&Vistra::signalRDMGetRefused, "rdmRefused");
    }
    QStringList lines;

private:
    template <typename... Args, typename Format>
    void connect(void (Vistra::*signal)(Args...), Format format)
    {
        QObject::connect(&m_v, signal, &m_v,
                         [this, format](Args... args) { lines << format(args...); });
    }
    // Signals whose first argument is the sender's address and the rest plain values.
    template <typename... Rest> void on(void (Vistra::*signal)(uint, Rest...), const char *name)
    {
        connect(signal, [name](uint ip, Rest... rest) {
            return call(name, {ipText(ip), text(rest)...});
        });
    }
    template <typename Serial>
    void discover(void (Vistra::*signal)(char *, quint32, Serial, quint16, quint32, char *, char *),
                  const char *name)
    {
        connect(signal, [name](char *mac, quint32 ip, Serial sn, quint16 ver, quint32 uni,
                               char *version, char *id) {
            return call(name, {QString::fromLatin1(QByteArray(mac, 6).toHex()), ipText(ip),
                               text(sn), text(ver), text(uni), text(QString::fromLatin1(version)),
                               text(QString::fromLatin1(id))});
        });
    }
    Vistra &m_v;
};

// A new protocol object wakes the supplies with five syncs.
bool tookStartUpSyncs(DatagramSink &controller)
{
    const QList<QNetworkDatagram> received = controller.takeUntilMarker();
    return received.size() == 5 &&
           std::all_of(received.cbegin(), received.cend(), [](const QNetworkDatagram &d) {
               return d.data() == VistraRequests::sync();
           });
}

// Sends replies to the protocol object from 127.0.0.1.
void sendReply(const QByteArray &datagram, quint16 port)
{
    QUdpSocket socket;
    socket.writeDatagram(datagram, QHostAddress(QHostAddress::LocalHost), port);
}

using Operation = std::function<bool(Vistra &, const QString &)>;

QByteArray frame(int length)
{
    QByteArray data(length, '\0');
    for (int i = 0; i < length; ++i)
        data[i] = char(i * 3 + 1);
    return data;
}

const uchar *bytes(const QByteArray &data)
{
    return reinterpret_cast<const uchar *>(data.constData());
}

} // namespace

Q_DECLARE_METATYPE(Operation)

class tst_Vistra : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void golden_data();
    void golden();
    void dottedQuad_data();
    void dottedQuad();
    void sends_data();
    void sends();
    void requestSignals();
    void replies_data();
    void replies();
};

void tst_Vistra::initTestCase()
{
    KSocket::setDefaultBroadcastAddress(QHostAddress(QHostAddress::LocalHost));
}

// Request datagrams against golden bytes written out by hand from the wire tables: header
// 04 01 DC 4A, version 1 (3 for RDM), type, then the payload at its offsets. Little-endian
// integers, addresses in network order, the RDM part big-endian. The only place these bytes
// are pinned: the send operations below and the simulator tests build theirs with this codec.
void tst_Vistra::golden_data()
{
    QTest::addColumn<QByteArray>("built");
    QTest::addColumn<QByteArray>("expected");

    const QByteArray three = hex("112233");
    const QByteArray two = hex("aabb");
    QByteArray frame(512, '\0');
    for (int i = 0; i < frame.size(); ++i)
        frame[i] = char(i * 7);
    using namespace VistraRequests;
    // Own address 192.168.1.10 and a /24 mask: own network, the given host.
    QTest::newRow("discover 10.1.1.222 from 192.168.1.10/24")
        << discover(discoverTarget(0x0A0101DE, 0xC0A8010A, 0xFFFFFF00))
        << hex("0401dc4a 0100 0100 00000000 c0a801de");
    QTest::newRow("discover ports 10.32.1.11")
        << discoverPorts(0x0A20010B) << hex("0401dc4a 0100 0a00 0a20010b 00000000");
    QTest::newRow("dmx out, timer and start code")
        << dmxOut(0xCC, 0x1234, bytes(three), 3)
        << hex("0401dc4a 0100 0101 00000000 0000 3412 ffffffff cc 112233");
    QTest::newRow("get device variable 0x0102")
        << getDeviceVariable(0x0102) << hex("0401dc4a 0100 0501 00000000 0201 0000");
    QTest::newRow("port out, universe byte order")
        << portOut(0x01020304, 0x81, 0xA5F0, 0x0102, bytes(two), 2)
        << hex("0401dc4a 0100 0801 00000000 04030201 81 00 f0a5 0200 0201 aabb");
    QTest::newRow("sync") << VistraRequests::sync() << hex("0401dc4a 0100 0901 00000000 00000000");
    QTest::newRow("blink scan 192.168.1.20")
        << blinkScan(0xC0A80114) << hex("0401dc4a 0100 0102 c0a80114 00000000");
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
    // 229 + 255 + 32 + 0x80 = 644 = 0x0284
    QTest::newRow("rdm get, zero uids")
        << rdmGet(0, 0x0080, 0)
        << hex("0401dc4a 0300 0303 00000000"
               "cc 01 18 0000 00000000 0000 00000000 00 ff 00 0000 20 0080 00 0284");
}

void tst_Vistra::golden()
{
    QFETCH(QByteArray, built);
    QFETCH(QByteArray, expected);
    QCOMPARE(built.toHex(' '), expected.toHex(' '));
}

void tst_Vistra::dottedQuad_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<quint32>("value");
    QTest::newRow("discovery address") << "10.1.1.222" << true << 0x0A0101DEu;
    QTest::newRow("limited broadcast") << "255.255.255.255" << true << 0xFFFFFFFFu;
    QTest::newRow("leading zeros are decimal") << "010.001.001.099" << true << 0x0A010163u;
    QTest::newRow("part above 255") << "256.1.1.1" << false << 0u;
    QTest::newRow("four digits") << "0010.1.1.1" << false << 0u;
    QTest::newRow("three parts") << "10.1.1" << false << 0u;
    QTest::newRow("five parts") << "10.1.1.1.1" << false << 0u;
    QTest::newRow("empty part") << "10..1.1" << false << 0u;
    QTest::newRow("not a digit: space") << " 10.1.1.1" << false << 0u;
}

void tst_Vistra::dottedQuad()
{
    QFETCH(QString, text);
    QFETCH(bool, valid);
    QFETCH(quint32, value);
    const std::optional<quint32> parsed = parseDottedQuad(text);
    QCOMPARE(parsed.has_value(), valid);
    if (valid)
        QCOMPARE(*parsed, value);
}

// Each send operation puts exactly what the request codec builds (pinned in golden) on the
// wire, from the object's own socket; an address that is not a
// dotted quad sends nothing and answers false.
void tst_Vistra::sends_data()
{
    QTest::addColumn<Operation>("operation"); // called with the address, then with a bad one
    QTest::addColumn<QString>("address");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QByteArray>("expected");

    using namespace VistraRequests;
    const QByteArray f3 = frame(3), f512 = frame(512), f600 = frame(600);
    const quint32 controller = 0x7F0A141E;
    QTest::newRow("discover") << Operation([](Vistra &v, const QString &a) {
        return v.discover(a);
    }) << "10.1.1.222" << true << discover(0x0A0101DE);
    QTest::newRow("discover ports")
        << Operation([](Vistra &v, const QString &a) { return v.discoverPorts(a); }) << kController
        << true << discoverPorts(controller);
    QTest::newRow("blink scan") << Operation([](Vistra &v, const QString &a) {
        return v.blinkScan(a);
    }) << kController << true << blinkScan(controller);
    QTest::newRow("blink scan 2") << Operation([](Vistra &v, const QString &a) {
        return v.blinkScan2(a);
    }) << kController << true << blinkScan2(controller);
    QTest::newRow("blink EE read")
        << Operation([](Vistra &v, const QString &a) { return v.blinkEERead(a, 0x01A20011, 65); })
        << kController << true << blinkEERead(0x01A20011, 65);
    QTest::newRow("get device variable")
        << Operation([](Vistra &v, const QString &a) { return v.getDeviceVariable(a, 0x0102); })
        << kController << true << getDeviceVariable(0x0102);
    QTest::newRow("rdm get, uid cut to 48 bits") << Operation([](Vistra &v, const QString &a) {
        return v.rdmGet(a, 0xFFFF12345678ABCDull, 0x0060);
    }) << kController << true << rdmGet(0x12345678ABCDull, 0x0060, Rdm::sourceUid());
    QTest::newRow("dmx, 512 bytes") << Operation([f512](Vistra &v, const QString &a) {
        return v.sendDmx(a, 0x11, 0x2233, bytes(f512), 512);
    }) << kController << true << dmxOut(0x11, 0x2233, bytes(f512), 512);
    QTest::newRow("dmx, 600 bytes go out as 512, reported false")
        << Operation(
               [f600](Vistra &v, const QString &a) { return v.sendDmx(a, 0, 0, bytes(f600), 600); })
        << kController << false << dmxOut(0, 0, bytes(f600), 512);
    QTest::newRow("port out") << Operation([f3](Vistra &v, const QString &a) {
        return v.sendPortOut(a, 0x01020304, 2, 0x30, 3, 0xDD, bytes(f3));
    }) << kController << true << portOut(0x01020304, 2, 0x30, 0xDD, bytes(f3), 3);
    QTest::newRow("port out, 600 bytes go out as 512, reported false")
        << Operation([f600](Vistra &v, const QString &a) {
               return v.sendPortOut(a, 0xFFFFFFFF, 1, 0, 600, 0, bytes(f600));
           })
        << kController << false << portOut(0xFFFFFFFF, 1, 0, 0, bytes(f600), 512);
}

void tst_Vistra::sends()
{
    QFETCH(Operation, operation);
    QFETCH(QString, address);
    QFETCH(bool, result);
    QFETCH(QByteArray, expected);
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
    DatagramSink controller;
    QVERIFY(controller.bind(KSocket::kPort));
    Vistra vistra;
    QVERIFY(tookStartUpSyncs(controller));

    QVERIFY(!operation(vistra, QStringLiteral("127.10.20")));
    QCOMPARE(controller.takeUntilMarker().size(), 0);
    if (!result)
        QTest::ignoreMessage(QtDebugMsg, "Truncating: DMX data length exceed 512");
    QCOMPARE(operation(vistra, address), result);
    const QList<QNetworkDatagram> received = controller.takeUntilMarker();
    QCOMPARE(received.size(), 1);
    QCOMPARE(received.first().data().toHex(' '), expected.toHex(' '));
    QCOMPARE(received.first().senderPort(), int(vistra.socket()->localPort()));
}

// Other objects ask for sends through the two request signals.
void tst_Vistra::requestSignals()
{
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
    DatagramSink controller;
    QVERIFY(controller.bind(KSocket::kPort));
    Vistra vistra;
    QVERIFY(tookStartUpSyncs(controller));

    emit vistra.requestSyncPacket();
    const QByteArray data = hex("aabbcc");
    // Address texts arrive as characters; only the first 24 are read.
    const char address[] = "127.10.20.30";
    emit vistra.requestSendPortOut(address, 0xFFFFFFFF, 3, 0x0010, 3, 0x00CC, bytes(data));
    const QList<QNetworkDatagram> received = controller.takeUntilMarker();
    QCOMPARE(received.size(), 2);
    QCOMPARE(received.at(0).data(), VistraRequests::sync());
    QCOMPARE(received.at(1).data(),
             VistraRequests::portOut(0xFFFFFFFF, 3, 0x0010, 0x00CC, bytes(data), 3));
    QCOMPARE(received.at(1).destinationAddress().toString(), kController);
}

// Hand-built replies from the wire tables: header 04 01 DC 4A, version, type, address;
// payload little-endian, addresses in network order, RDM big-endian. Each is as short as it
// can be, so any shorter prefix is truncated. The sender is 127.0.0.1: the ip of replies that
// do not carry one.
void tst_Vistra::replies_data()
{
    QTest::addColumn<QByteArray>("datagram");
    QTest::addColumn<QString>("expected"); // one line per signal, in order
    const QByteArray discoverBody = "0a200111 001c420b0102 0300 1100a201 07000000";
    QTest::newRow("discover")
        << hex("0401dc4a 0100 0200 00000000" + discoverBody + "312e322e3300 4e6f72746800")
        << "discover(001c420b0102, 10.32.1.17, 0x1a20011, 0x3, 0x7, '1.2.3', 'North')";
    QTest::newRow("discover EO")
        << hex("0401dc4a 0100 0d00 00000000" + discoverBody + "3900 4100")
        << "discoverEO(001c420b0102, 10.32.1.17, 0x1a20011, 0x3, 0x7, '9', 'A')";
    // Texts beyond the 512-byte buffers keep their first 511 bytes; the id text still starts
    // after the version text's own end.
    QTest::newRow("discover, texts beyond 511 bytes")
        << hex("0401dc4a 0100 0200 00000000" + discoverBody) + QByteArray(600, 'v') + '\0' +
               QByteArray(700, 'i') + '\0'
        << "discover(001c420b0102, 10.32.1.17, 0x1a20011, 0x3, 0x7, '" +
               QString(511, QLatin1Char('v')) + "', '" + QString(511, QLatin1Char('i')) + "')";
    const QByteArray v3Body = "c0a80105 0a0b0c0d0e0f 0400 bc9a785634120000 00000000 02000000";
    QTest::newRow("discover V3")
        << hex("0401dc4a 0100 0f00 00000000" + v3Body + "332e3100 5600")
        << "discoverV3(0a0b0c0d0e0f, 192.168.1.5, 0x123456789abc, 0x4, 0x2, '3.1', 'V')";
    QTest::newRow("discover ports") << hex("0401dc4a 0100 0b00 c0a80114 02 000000"
                                           "01 05 000000000000 02 06 000000000000")
                                    << "ports(192.168.1.20, 2, [1,2], [5,6])";
    QTest::newRow("device variable") << hex("0401dc4a 0100 0601 00000000 0201 0000 78563412")
                                     << "variable(127.0.0.1, 0x102, 0x12345678)";
    QTest::newRow("get array") << hex("0401dc4a 0100 0b01 00000000 0500 00000000 0200"
                                      "01000000 ffffffff")
                               << "array(127.0.0.1, 0x5, [0x1,0xffffffff])";
    QTest::newRow("get byte array") << hex("0401dc4a 0100 0e01 00000000 0600 00000000 0300 0a0b0c")
                                    << "bytes(127.0.0.1, 0x6, [10,11,12])";
    QTest::newRow("get byte array, 256 values")
        << hex("0401dc4a 0100 0e01 00000000 0600 00000000 0001") + QByteArray(256, '\x07')
        << "bytes(127.0.0.1, 0x6, [" + QString(QStringLiteral("7,")).repeated(255) + "7])";
    QTest::newRow("blink scan") << hex("0401dc4a 0100 0202 c0a80114 1100a201")
                                << "blinkScan(192.168.1.20, 0x1a20011)";
    QTest::newRow("read byte, selector 0: EE read")
        << hex("0401dc4a 0100 0402 00000000 1100a201 40 00 12")
        << "eeRead(127.0.0.1, 0x1a20011, 64, 18)";
    QTest::newRow("read byte, selector 1: pixel")
        << hex("0401dc4a 0100 0402 00000000 1100a201 21 01 ff")
        << "pixelToken(127.0.0.1, 0x1a20011, 1, 33, 255)";
    QTest::newRow("read byte, selector 9: pixel")
        << hex("0401dc4a 0100 0402 00000000 1100a201 22 09 07")
        << "pixelToken(127.0.0.1, 0x1a20011, 9, 34, 7)";
    QTest::newRow("read byte, selector 11: telemetry")
        << hex("0401dc4a 0100 0402 00000000 1100a201 03 0b 64")
        << "telemetry(127.0.0.1, 0x1a20011, 3, 100)";
    QTest::newRow("BE blink scan") << hex("0401dc4a 0100 0502 c0a80114 03 00 010203040506")
                                   << "beBlinkScan(192.168.1.20, 3, 0x10203040506)";
    QTest::newRow("CA scan") << hex("0401dc4a 0100 0602 c0a80114 04 07")
                             << "caScan(192.168.1.20, 4, 7)";
    QTest::newRow("blink scan 2, serials") << hex("0401dc4a 0100 0802 0a000005 01 00 0000"
                                                  "01 01 08 00 1100a201 2200a201")
                                           << "scan2(10.0.0.5, 1, 0)\n"
                                              "scan2SN(10.0.0.5, 1, 2, [0x1a20011,0x1a20022])";
    QTest::newRow("blink scan 2, serials, skipped type, counts")
        << hex("0401dc4a 0100 0802 0a000005 03 01 0000"
               "01 01 04 00 11000000 02 05 02 00 ffff 02 02 08 00 0c000000 03000000")
        << "scan2(10.0.0.5, 3, 1)\n"
           "scan2SN(10.0.0.5, 1, 1, [0x11])\n"
           "scan2CA(10.0.0.5, 2, 2, [0xc,0x3])";
    QTest::newRow("blink scan 2, RDM UIDs type 3")
        << hex("0401dc4a 0100 0802 0a000005 02 00 0000"
               "03 03 00 00 aaaa 78563412 3412"
               "bbbb 01000000 f07f")
        << "scan2(10.0.0.5, 2, 0)\n"
           "scan2XRDM(10.0.0.5, 3, [0x123412345678,0x7ff000000001])";
    QTest::newRow("blink scan 2, RDM UIDs type 4 ends parsing")
        << hex("0401dc4a 0100 0802 0a000005 02 00 0000"
               "04 04 00 00 78563412 3412 01000000 f07f")
        << "scan2(10.0.0.5, 2, 0)\n"
           "scan2XRDM(10.0.0.5, 4, [0x123412345678,0x7ff000000001])";
    QTest::newRow("ext prom token read") << hex("0401dc4a 0100 0a02 00000000 1100a201 3412 7f")
                                         << "extProm(127.0.0.1, 0x1a20011, 0x1234, 127)";
    // DEVICE_INFO: protocol 0100, model 04d2 (1234), category 0101, software 00020a0f,
    // footprint 0003, personality 0101, start 0001, sub-devices 0000, sensors 00.
    QTest::newRow("rdm DEVICE_INFO")
        << rdmReply("0060", "0100 04d2 0101 00020a0f 0003 0101 0001 0000 00")
        << "rdm(127.0.0.1, 0x12345678abcd, 0x60, 'D.1234-P.0101-F.0A0F')";
    QTest::newRow("rdm model description") << rdmReply("0080", "5374726970203630 0000")
                                           << "rdm(127.0.0.1, 0x12345678abcd, 0x80, 'Strip 60')";
    QTest::newRow("rdm 0x8602") << rdmReply("8602", "00 ff")
                                << "rdm(127.0.0.1, 0x12345678abcd, 0x8602, '0')";
    QTest::newRow("rdm 0xA040") << rdmReply("a040", "0001abcd")
                                << "rdm(127.0.0.1, 0x12345678abcd, 0xa040, '0001ABCD')";
    QTest::newRow("rdm DMX start address")
        << rdmReply("00f0", "01 ff") << "rdm(127.0.0.1, 0x12345678abcd, 0xf0, '511')";
    QTest::newRow("rdm other parameter")
        << rdmReply("00e0", "0001") << "rdm(127.0.0.1, 0x12345678abcd, 0xe0, '')";
    QTest::newRow("rdm refused, data out of range")
        << rdmReply("00f0", "0006", "02") << "rdmRefused(127.0.0.1, 0x12345678abcd, 0xf0, 0x6)";
    // Garbage and refusals give no signal.
    QTest::newRow("wrong magic") << hex("0401dc4b 0100 0202 c0a80114 1100a201") << QString();
    QTest::newRow("unknown type") << hex("0401dc4a 0100 0300 c0a80114 1100a201") << QString();
    QTest::newRow("read byte, selector 10")
        << hex("0401dc4a 0100 0402 00000000 1100a201 40 0a 12") << QString();
    QTest::newRow("rdm refused without a reason") << rdmReply("0060", "00", "02") << QString();
    QTest::newRow("rdm answer comes later (ACK_TIMER)")
        << rdmReply("0060", "0005", "01") << QString();
    QTest::newRow("rdm DEVICE_INFO too short")
        << rdmReply("0060", "0100 04d2 0101 00020a0f 0003 0101 0001 0000") << QString();
}

// Every reply type parses at exactly its own length and arrives as its signals, in order, with
// the values of its bytes; padding after the last field read changes nothing, even past the
// object's 4,096-byte read buffer. Every shorter prefix lacks bytes a field needs:
// none may parse, none may read beyond its end (the copy makes the prefix its own allocation
// for the sanitizers).
void tst_Vistra::replies()
{
    QFETCH(QByteArray, datagram);
    QFETCH(QString, expected);
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
    for (int length = 0; length < datagram.size(); ++length) {
        if (VistraReplies::parseReply(QByteArray(datagram.constData(), length), 0x7F000001))
            QFAIL(qPrintable(QStringLiteral("a prefix of %1 bytes parsed").arg(length)));
    }
    if (!expected.isEmpty())
        QVERIFY(VistraReplies::parseReply(datagram, 0x7F000001));
    Vistra vistra;
    Recorder recorder(vistra);
    sendReply(datagram + QByteArray(5000, '\x5A'), vistra.socket()->localPort());
    if (expected.isEmpty()) { // the object reads on: the good reply after it is all that arrives
        sendReply(hex("0401dc4a 0100 0202 c0a80114 1100a201"), vistra.socket()->localPort());
        expected = QStringLiteral("blinkScan(192.168.1.20, 0x1a20011)");
    }
    QTRY_VERIFY(!recorder.lines.isEmpty());
    QCOMPARE(recorder.lines.join(QLatin1Char('\n')), expected);
}

QTEST_GUILESS_MAIN(tst_Vistra)
#include "tst_vistra.moc"
