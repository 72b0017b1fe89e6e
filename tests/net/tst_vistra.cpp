// The protocol object on a real socket, in a namespace of its own: that each send operation
// puts the codec's bytes on the wire, the address and truncation rules, the request signals,
// every reply type arriving as the right signal with the right arguments, and the socket
// reset. The "controller" is a plain socket on port 6038; broadcasts go to 127.0.0.1.
#include "support/netnamespace.h"
#include "replydescription.h"
#include "replyrows.h"

#include "net/ksocket.h"
#include "net/rdm.h"
#include "net/vistra.h"
#include "net/vistrarequests.h"

#include <QElapsedTimer>
#include <QNetworkDatagram>
#include <QRegularExpression>
#include <QUdpSocket>
#include <QtTest>

#include <functional>

namespace {

const QString kController = QStringLiteral("127.10.20.30"); // 7f0a141e on the wire
const QByteArray kMarker("marker");

// Turns every reply signal back into the reply it stands for and describes that, copying what
// the pointer arguments point at while the signal is being delivered.
class Recorder
{
public:
    explicit Recorder(Vistra &v) : m_v(v)
    {
        discover<0x02>(&Vistra::signalDiscoverResponse);
        discover<0x0D>(&Vistra::signalDiscoverEOResponse);
        discover<0x0F>(&Vistra::signalDiscoverResponseV3);
        on(&Vistra::signalDiscoverPortsResponse,
           [](uint ip, uchar n, uchar *numbers, uchar *types) {
               return PortsReply{ip, {numbers, numbers + n}, {types, types + n}};
           });
        plain<BlinkScanReply>(&Vistra::signalBlinkScanResponse);
        plain<CAScanReply>(&Vistra::signalCAScanResponse);
        plain<BEBlinkScanReply>(&Vistra::signalBEBlinkScanResponse);
        plain<ExtPromTokenReply>(&Vistra::signalExtPromTokenReadResponse);
        plain<DeviceVariableReply>(&Vistra::signalDeviceVariableReply);
        plain<GetArrayReply>(&Vistra::signalGetArrayReply);
        plain<GetByteArrayReply>(&Vistra::signalGetByteArrayReply);
        plain<RdmGetReply>(&Vistra::signalRDMGetReply);
        on(&Vistra::signalRDMGetRefused, [](quint32 ip, quint64 uid, quint16 pid, quint16 why) {
            return RdmGetReply{ip, uid, pid, QString(), true, why};
        });
        on(&Vistra::signalBlinkEEReadResponse, [](uint ip, uint sn, uchar addr, uchar b) {
            return ReadByteReply{ReadByteReply::EERead, ip, sn, addr, 0, b};
        });
        on(&Vistra::signalPixelTokenByteReadResponse,
           [](uint ip, uint addr, uchar pixel, uchar token, uchar b) {
               return ReadByteReply{ReadByteReply::PixelToken, ip, addr, token, pixel, b};
           });
        on(&Vistra::signalTelemetryByteReadResponse, [](uint ip, uint addr, uchar id, uchar b) {
            return ReadByteReply{ReadByteReply::Telemetry, ip, addr, id, 11, b};
        });
        // The summary carries the entry bytes without their length: not described.
        QObject::connect(&v, &Vistra::signalBlinkScan2Response, &v,
                         [this](uint ip, uchar entries, uchar more, uchar *bytes) {
                             QVERIFY(bytes);
                             lines << Describe()(BlinkScan2Reply{ip, entries, more, {}, {}})
                                          .remove(QLatin1String(" bytes="));
                         });
        entry<BlinkScan2Entry::Serials>(&Vistra::signalBlinkScan2SNResponse);
        entry<BlinkScan2Entry::ChainCounts>(&Vistra::signalBlinkScan2CAResponse);
        QObject::connect(&v, &Vistra::signalBlinkScan2XRDMResponse, &v,
                         [this](uint ip, uchar port, QVector<quint64> list) {
                             lines << Describe().entry(ip, {BlinkScan2Entry::RdmUids, port, list});
                         });
    }
    QStringList lines;

private:
    template <typename... Args, typename Make> void on(void (Vistra::*signal)(Args...), Make make)
    {
        QObject::connect(&m_v, signal, &m_v,
                         [this, make](Args... args) { lines << Describe()(make(args...)); });
    }
    // A signal whose arguments are the reply's fields, in order.
    template <typename Reply, typename... Args> void plain(void (Vistra::*signal)(Args...))
    {
        on(signal, [](Args... args) { return Reply{args...}; });
    }
    template <quint16 Type, typename Serial>
    void discover(void (Vistra::*signal)(char *, quint32, Serial, quint16, quint32, char *, char *))
    {
        on(signal,
           [](char *mac, quint32 ip, Serial sn, quint16 ver, quint32 uni, char *version, char *id) {
               DiscoverReply r{Type, {}, ip, sn, ver, uni, version, id};
               std::copy(mac, mac + 6, r.mac.begin());
               return r;
           });
    }
    template <BlinkScan2Entry::Kind Kind>
    void entry(void (Vistra::*signal)(uint, uchar, uchar, QVector<quint64>))
    {
        QObject::connect(&m_v, signal, &m_v,
                         [this](uint ip, uchar port, uchar count, QVector<quint64> list) {
                             QCOMPARE(int(count), list.size());
                             lines << Describe().entry(ip, {Kind, port, list});
                         });
    }
    Vistra &m_v;
};

// Everything that reaches UDP port 6038 of the loop-back.
class Controller
{
public:
    bool bind() { return m_socket.bind(QHostAddress(QHostAddress::AnyIPv4), KSocket::kPort); }

    // What arrived before a marker sent now; consumes it all.
    QList<QNetworkDatagram> takeUntilMarker()
    {
        QUdpSocket marker;
        marker.writeDatagram(kMarker, QHostAddress(QHostAddress::LocalHost), KSocket::kPort);
        QList<QNetworkDatagram> received;
        if (!QTest::qWaitFor([&] {
                while (m_socket.hasPendingDatagrams())
                    received.append(m_socket.receiveDatagram());
                return !received.isEmpty() && received.last().data() == kMarker;
            }))
            return {};
        received.removeLast();
        return received;
    }

private:
    QUdpSocket m_socket;
};

// Sends replies to the protocol object from 127.0.0.1.
class Device
{
public:
    Device() { m_socket.bind(QHostAddress(QHostAddress::LocalHost), 0); }
    void send(const QByteArray &datagram, quint16 port)
    {
        m_socket.writeDatagram(datagram, QHostAddress(QHostAddress::LocalHost), port);
    }

private:
    QUdpSocket m_socket;
};

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

const QByteArray kBlinkScanReply = hex("0401dc4a 0100 0202 c0a80114 1100a201");

} // namespace

Q_DECLARE_METATYPE(Operation)

class tst_Vistra : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void constructionSendsFiveSyncs();
    void sends_data();
    void sends();
    void requestSignals();
    void replies_data();
    void replies();
    void ignoredReplies();
    void listSignalsCanBeSpied();
    void resetSocketIsQuickAndClean();
    void signalDeclarationOrder();
};

void tst_Vistra::initTestCase()
{
    if (!NetNamespace::isPrivate())
        QSKIP(NetNamespace::kNotPrivate);
    QString error;
    if (!NetNamespace::enterFresh(&error))
        QSKIP(qPrintable(QStringLiteral("no namespace of our own: %1").arg(error)));
    KSocket::setDefaultBroadcastAddress(QHostAddress(QHostAddress::LocalHost));
}

void tst_Vistra::constructionSendsFiveSyncs()
{
    Controller controller;
    QVERIFY(controller.bind());
    Vistra vistra;
    const QList<QNetworkDatagram> received = controller.takeUntilMarker();
    QCOMPARE(received.size(), 5);
    for (const QNetworkDatagram &datagram : received) {
        QCOMPARE(datagram.data(), VistraRequests::sync());
        QCOMPARE(datagram.senderPort(), int(vistra.socket()->localPort()));
    }
}

// Each send operation puts exactly what the request codec builds (pinned in
// tst_vistrarequests) on the wire, from the object's own socket; an address that is not a
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
    Controller controller;
    QVERIFY(controller.bind());
    Vistra vistra;
    QCOMPARE(controller.takeUntilMarker().size(), 5); // the start-up syncs

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
    Controller controller;
    QVERIFY(controller.bind());
    Vistra vistra;
    QCOMPARE(controller.takeUntilMarker().size(), 5);

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

void tst_Vistra::replies_data()
{
    QTest::addColumn<QByteArray>("datagram");
    QTest::addColumn<QString>("expected");
    // The summary signal of blink scan 2 carries the entry bytes without their length.
    const QRegularExpression entryBytes(QStringLiteral(" bytes=[0-9a-f]*"));
    for (const ReplyRow &row : replyRows())
        QTest::newRow(row.name) << row.datagram << QString(row.expected).remove(entryBytes);
}

// Every reply the parser knows (replyrows.h) arrives as its signal with the same values.
void tst_Vistra::replies()
{
    QFETCH(QByteArray, datagram);
    QFETCH(QString, expected);
    Vistra vistra;
    Recorder recorder(vistra);
    Device device;
    device.send(datagram, vistra.socket()->localPort());
    QTRY_VERIFY(!recorder.lines.isEmpty());
    QCOMPARE(recorder.lines.join(QLatin1Char('\n')), expected);
}

// Garbage, truncated and foreign datagrams (replyrows.h) are dropped without a signal, and the
// object still reads the good reply after them.
void tst_Vistra::ignoredReplies()
{
    Vistra vistra;
    Recorder recorder(vistra);
    Device device;
    for (const ReplyRow &row : ignoredRows())
        device.send(row.datagram, vistra.socket()->localPort());
    device.send(kBlinkScanReply, vistra.socket()->localPort());
    QTRY_VERIFY(!recorder.lines.isEmpty());
    QCOMPARE(recorder.lines, QStringList{"blinkScan ip=192.168.1.20 sn=0x1a20011"});
}

// The list signals carry their values by value and can be recorded or queued (moc registers
// QVector<quint64> for them; the pointer arguments cannot be queued, by design).
void tst_Vistra::listSignalsCanBeSpied()
{
    Vistra vistra;
    QSignalSpy spy(&vistra, &Vistra::signalBlinkScan2SNResponse);
    QVERIFY(spy.isValid());
    Device device;
    device.send(hex("0401dc4a 0100 0802 0a000005 01 00 0000 02 01 08 00 1100a201 2200a201"),
                vistra.socket()->localPort());
    QVERIFY(spy.wait());
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.at(0).at(1).value<unsigned char>(), uchar(2));
    QCOMPARE(spy.at(0).at(3).value<QVector<quint64>>(), (QVector<quint64>{0x01A20011, 0x01A20022}));
}

// The old socket is closed first, so the wait for it to go away ends at once instead of after
// 30 s; what was pending on it is dropped, and the new socket sends and receives.
void tst_Vistra::resetSocketIsQuickAndClean()
{
    Controller controller;
    QVERIFY(controller.bind());
    Vistra vistra;
    QCOMPARE(controller.takeUntilMarker().size(), 5);
    Recorder recorder(vistra);
    Device device;
    QPointer<KSocket> old = vistra.socket();
    device.send(kBlinkScanReply, old->localPort()); // pending, never read

    QElapsedTimer timer;
    timer.start();
    vistra.resetSocket();
    QVERIFY2(timer.elapsed() < Vistra::kSocketCloseWaitMs / 3,
             qPrintable(QStringLiteral("resetSocket blocked for %1 ms").arg(timer.elapsed())));
    QVERIFY(vistra.socket() != old);
    QTRY_VERIFY(old.isNull());

    QVERIFY(vistra.sendSync());
    const QList<QNetworkDatagram> received = controller.takeUntilMarker();
    QCOMPARE(received.size(), 1);
    QCOMPARE(received.first().senderPort(), int(vistra.socket()->localPort()));

    const QByteArray ca = hex("0401dc4a 0100 0602 c0a80114 04 07");
    device.send(ca, vistra.socket()->localPort());
    QTRY_VERIFY(!recorder.lines.isEmpty());
    QCOMPARE(recorder.lines, QStringList{"caScan ip=192.168.1.20 port1=4 port2=7"});
}

// The signals in the order the interface declares them.
void tst_Vistra::signalDeclarationOrder()
{
    const QString expected = QStringLiteral(
        "signalDiscoverResponse signalDiscoverEOResponse signalDiscoverPortsResponse "
        "signalBlinkScanResponse signalBlinkScan2Response signalBlinkScan2SNResponse "
        "signalBlinkScan2CAResponse signalBlinkScan2XRDMResponse signalCAScanResponse "
        "signalBEBlinkScanResponse signalBlinkEEReadResponse signalPixelTokenByteReadResponse "
        "signalTelemetryByteReadResponse signalExtPromTokenReadResponse "
        "signalDeviceVariableReply signalGetArrayReply signalGetByteArrayReply "
        "signalDiscoverResponseV3 signalRDMGetReply requestSyncPacket requestSendPortOut "
        "signalRDMGetRefused");
    const QMetaObject &meta = Vistra::staticMetaObject;
    QStringList signalNames;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        if (meta.method(i).methodType() == QMetaMethod::Signal)
            signalNames.append(QString::fromLatin1(meta.method(i).name()));
    }
    QCOMPARE(signalNames.join(QLatin1Char(' ')), expected);
}

QTEST_GUILESS_MAIN(tst_Vistra)
#include "tst_vistra.moc"
