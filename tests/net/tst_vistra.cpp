// The protocol object on a real socket, in a namespace of its own: the bytes each send
// operation puts on the wire, the address and truncation rules, the request signals, every
// reply type arriving as the right signal with the right arguments (and its truncations as
// nothing), and the socket reset. The "controller" is a plain socket on port 6038 of the
// loop-back; broadcasts are pointed at 127.0.0.1.
#include "support/netnamespace.h"
#include "replydescription.h"
#include "replyrows.h"

#include "net/ksocket.h"
#include "net/vistra.h"

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
    explicit Recorder(Vistra &v)
    {
        attachDiscovery(v);
        attachScans(v);
        attachReads(v);
    }
    QStringList lines;

private:
    template <typename Reply> void add(const Reply &reply) { lines.append(Describe()(reply)); }

    void discover(quint16 type, const char *mac, quint32 ip, quint64 sn, quint16 ver, quint32 uni,
                  const char *version, const char *id)
    {
        DiscoverReply r{type, {}, ip, sn, ver, uni, version, id};
        std::copy(mac, mac + 6, r.mac.begin());
        add(r);
    }

    void attachDiscovery(Vistra &v)
    {
        QObject::connect(&v, &Vistra::signalDiscoverResponse, &v,
                         [this](char *m, quint32 ip, quint32 sn, quint16 ver, quint32 uni, char *vs,
                                char *is) { discover(0x02, m, ip, sn, ver, uni, vs, is); });
        QObject::connect(&v, &Vistra::signalDiscoverEOResponse, &v,
                         [this](char *m, quint32 ip, quint32 sn, quint16 ver, quint32 uni, char *vs,
                                char *is) { discover(0x0D, m, ip, sn, ver, uni, vs, is); });
        QObject::connect(&v, &Vistra::signalDiscoverResponseV3, &v,
                         [this](char *m, quint32 ip, quint64 sn, quint16 ver, quint32 uni, char *vs,
                                char *is) { discover(0x0F, m, ip, sn, ver, uni, vs, is); });
        QObject::connect(&v, &Vistra::signalDiscoverPortsResponse, &v,
                         [this](unsigned int ip, unsigned char count, unsigned char *numbers,
                                unsigned char *types) {
                             add(PortsReply{ip, QVector<uchar>(numbers, numbers + count),
                                            QVector<uchar>(types, types + count)});
                         });
    }

    void attachScans(Vistra &v)
    {
        QObject::connect(&v, &Vistra::signalBlinkScanResponse, &v,
                         [this](unsigned int ip, unsigned int sn) {
                             add(BlinkScanReply{ip, sn});
                         });
        QObject::connect(&v, &Vistra::signalBlinkScan2Response, &v,
                         [this](unsigned int ip, unsigned char entries, unsigned char more,
                                unsigned char *bytes) {
                             // The entry bytes come without their length: not described.
                             QVERIFY(bytes);
                             lines.append(Describe()(BlinkScan2Reply{ip, entries, more, {}, {}})
                                              .remove(QLatin1String(" bytes=")));
                         });
        const auto entry = [this](BlinkScan2Entry::Kind kind) {
            return [this, kind](unsigned int ip, unsigned char port, unsigned char count,
                                QVector<quint64> list) {
                QCOMPARE(int(count), list.size());
                lines.append(Describe().entry(ip, {kind, port, list}));
            };
        };
        QObject::connect(&v, &Vistra::signalBlinkScan2SNResponse, &v,
                         entry(BlinkScan2Entry::Serials));
        QObject::connect(&v, &Vistra::signalBlinkScan2CAResponse, &v,
                         entry(BlinkScan2Entry::ChainCounts));
        QObject::connect(
            &v, &Vistra::signalBlinkScan2XRDMResponse, &v,
            [this](unsigned int ip, unsigned char port, QVector<quint64> list) {
                lines.append(Describe().entry(ip, {BlinkScan2Entry::RdmUids, port, list}));
            });
        QObject::connect(&v, &Vistra::signalCAScanResponse, &v,
                         [this](unsigned int ip, unsigned char p1, unsigned char p2) {
                             add(CAScanReply{ip, p1, p2});
                         });
        QObject::connect(&v, &Vistra::signalBEBlinkScanResponse, &v,
                         [this](unsigned int ip, unsigned char port, quint64 sn) {
                             add(BEBlinkScanReply{ip, port, sn});
                         });
    }

    void attachReads(Vistra &v)
    {
        QObject::connect(
            &v, &Vistra::signalBlinkEEReadResponse, &v,
            [this](unsigned int ip, unsigned int sn, unsigned char addr, unsigned char b) {
                add(ReadByteReply{ReadByteReply::EERead, ip, sn, addr, 0, b});
            });
        QObject::connect(
            &v, &Vistra::signalPixelTokenByteReadResponse, &v,
            [this](unsigned int ip, unsigned int addr, unsigned char pixel, unsigned char token,
                   unsigned char b) {
                add(ReadByteReply{ReadByteReply::PixelToken, ip, addr, token, pixel, b});
            });
        QObject::connect(
            &v, &Vistra::signalTelemetryByteReadResponse, &v,
            [this](unsigned int ip, unsigned int addr, unsigned char id, unsigned char b) {
                add(ReadByteReply{ReadByteReply::Telemetry, ip, addr, id, 11, b});
            });
        QObject::connect(&v, &Vistra::signalExtPromTokenReadResponse, &v,
                         [this](unsigned int ip, quint32 sn, quint16 token, quint8 b) {
                             add(ExtPromTokenReply{ip, sn, token, b});
                         });
        QObject::connect(&v, &Vistra::signalDeviceVariableReply, &v,
                         [this](uint ip, quint16 id, quint32 value) {
                             add(DeviceVariableReply{ip, id, value});
                         });
        QObject::connect(&v, &Vistra::signalGetArrayReply, &v,
                         [this](unsigned int ip, quint16 id, QVector<quint32> &values) {
                             add(GetArrayReply{ip, id, values});
                         });
        QObject::connect(&v, &Vistra::signalGetByteArrayReply, &v,
                         [this](unsigned int ip, quint16 id, QVector<quint8> &values) {
                             add(GetByteArrayReply{ip, id, values});
                         });
        QObject::connect(&v, &Vistra::signalRDMGetReply, &v,
                         [this](quint32 ip, quint64 uid, quint16 pid, QString data) {
                             add(RdmGetReply{ip, uid, pid, data});
                         });
        QObject::connect(&v, &Vistra::signalRDMGetRefused, &v,
                         [this](quint32 ip, quint64 uid, quint16 pid, quint16 reason) {
                             add(RdmGetReply{ip, uid, pid, QString(), true, reason});
                         });
    }
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

using Operation = std::function<bool(Vistra &)>;

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
const QString kBlinkScanLine = QStringLiteral("blinkScan ip=192.168.1.20 sn=0x1a20011");

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
        QCOMPARE(datagram.data().toHex(' '),
                 hex("0401dc4a 0100 0901 00000000 00000000").toHex(' '));
        QCOMPARE(datagram.senderPort(), int(vistra.socket()->localPort()));
    }
}

void tst_Vistra::sends_data()
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QByteArray>("expected"); // empty: nothing may be sent

    const QString bad = QStringLiteral("127.10.20");
    const QByteArray f3 = frame(3), f512 = frame(512), f600 = frame(600);
    QTest::newRow("discover") << Operation([](Vistra &v) { return v.discover("10.1.1.222"); })
                              << true << hex("0401dc4a 0100 0100 00000000 0a0101de");
    QTest::newRow("discover ports")
        << Operation([](Vistra &v) { return v.discoverPorts(kController); }) << true
        << hex("0401dc4a 0100 0a00 7f0a141e 00000000");
    QTest::newRow("blink scan") << Operation([](Vistra &v) { return v.blinkScan(kController); })
                                << true << hex("0401dc4a 0100 0102 7f0a141e 00000000");
    QTest::newRow("blink scan 2") << Operation([](Vistra &v) { return v.blinkScan2(kController); })
                                  << true << hex("0401dc4a 0100 0702 7f0a141e 00000000");
    QTest::newRow("blink EE read")
        << Operation([](Vistra &v) { return v.blinkEERead(kController, 0x01A20011, 65); }) << true
        << hex("0401dc4a 0100 0302 00000000 1100a201 4100 0000");
    QTest::newRow("get device variable")
        << Operation([](Vistra &v) { return v.getDeviceVariable(kController, 0x0102); }) << true
        << hex("0401dc4a 0100 0501 00000000 0201 0000");
    // checksum: 229 + (0x12+0x34+0x56+0x78+0xAB+0xCD = 652) + our UID 699 + 255 + 32 + 0x60
    QTest::newRow("rdm get") << Operation([](Vistra &v) {
        return v.rdmGet(kController, 0x12345678ABCDull, 0x0060);
    }) << true
                             << hex("0401dc4a 0300 0303 00000000 cc 01 18 1234 5678abcd 7ff0 "
                                    "4f525259 00 ff 00 0000 20 0060 00 07ab");
    QTest::newRow("rdm get, uid cut to 48 bits")
        << Operation([](Vistra &v) { return v.rdmGet(kController, 0xFFFF12345678ABCDull, 0x0060); })
        << true
        << hex("0401dc4a 0300 0303 00000000 cc 01 18 1234 5678abcd 7ff0 4f525259 00 ff 00 0000 20 "
               "0060 00 07ab");
    QTest::newRow("dmx, 3 bytes") << Operation([f3](Vistra &v) {
        return v.sendDmx(kController, 0, 0, bytes(f3), 3);
    }) << true << hex("0401dc4a 0100 0101 00000000 0000 0000 ffffffff 00") + f3;
    QTest::newRow("dmx, 512 bytes")
        << Operation([f512](Vistra &v) { return v.sendDmx(kController, 0, 0, bytes(f512), 512); })
        << true << hex("0401dc4a 0100 0101 00000000 0000 0000 ffffffff 00") + f512;
    QTest::newRow("dmx, 600 bytes go out as 512, reported false")
        << Operation([f600](Vistra &v) { return v.sendDmx(kController, 0, 0, bytes(f600), 600); })
        << false << hex("0401dc4a 0100 0101 00000000 0000 0000 ffffffff 00") + f600.left(512);
    QTest::newRow("port out, 512 bytes") << Operation([f512](Vistra &v) {
        return v.sendPortOut(kController, 0xFFFFFFFF, 2, 0x30, 512, 0xDD, bytes(f512));
    }) << true << hex("0401dc4a 0100 0801 00000000 ffffffff 02 00 3000 0002 dd00") + f512;
    QTest::newRow("port out, 600 bytes go out as 512, reported false")
        << Operation([f600](Vistra &v) {
               return v.sendPortOut(kController, 0xFFFFFFFF, 1, 0, 600, 0, bytes(f600));
           })
        << false
        << hex("0401dc4a 0100 0801 00000000 ffffffff 01 00 0000 0002 0000") + f600.left(512);
    QTest::newRow("sync") << Operation([](Vistra &v) { return v.sendSync(); }) << true
                          << hex("0401dc4a 0100 0901 00000000 00000000");

    QTest::newRow("bad address: discover")
        << Operation([bad](Vistra &v) { return v.discover(bad); }) << false << QByteArray();
    QTest::newRow("bad address: discover ports")
        << Operation([bad](Vistra &v) { return v.discoverPorts(bad); }) << false << QByteArray();
    QTest::newRow("bad address: blink scan")
        << Operation([bad](Vistra &v) { return v.blinkScan(bad); }) << false << QByteArray();
    QTest::newRow("bad address: blink scan 2")
        << Operation([bad](Vistra &v) { return v.blinkScan2(bad); }) << false << QByteArray();
    QTest::newRow("bad address: blink EE read")
        << Operation([bad](Vistra &v) { return v.blinkEERead(bad, 1, 64); }) << false
        << QByteArray();
    QTest::newRow("bad address: get device variable")
        << Operation([bad](Vistra &v) { return v.getDeviceVariable(bad, 1); }) << false
        << QByteArray();
    QTest::newRow("bad address: rdm get")
        << Operation([bad](Vistra &v) { return v.rdmGet(bad, 1, 0x60); }) << false << QByteArray();
    QTest::newRow("bad address: dmx, 600 bytes")
        << Operation([bad, f600](Vistra &v) { return v.sendDmx(bad, 0, 0, bytes(f600), 600); })
        << false << QByteArray();
    QTest::newRow("bad address: port out") << Operation([bad, f3](Vistra &v) {
        return v.sendPortOut(bad, 0xFFFFFFFF, 1, 0, 3, 0, bytes(f3));
    }) << false << QByteArray();
}

void tst_Vistra::sends()
{
    QFETCH(Operation, operation);
    QFETCH(bool, result);
    QFETCH(QByteArray, expected);
    Controller controller;
    QVERIFY(controller.bind());
    Vistra vistra;
    QCOMPARE(controller.takeUntilMarker().size(), 5); // the start-up syncs

    if (QByteArray(QTest::currentDataTag()).contains("600 bytes") && !expected.isEmpty())
        QTest::ignoreMessage(QtDebugMsg, "Truncating: DMX data length exceed 512");
    QCOMPARE(operation(vistra), result);
    const QList<QNetworkDatagram> received = controller.takeUntilMarker();
    QCOMPARE(received.size(), expected.isEmpty() ? 0 : 1);
    if (!expected.isEmpty()) {
        QCOMPARE(received.first().data().toHex(' '), expected.toHex(' '));
        QCOMPARE(received.first().senderPort(), int(vistra.socket()->localPort()));
    }
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
    QCOMPARE(received.at(0).data().toHex(' '),
             hex("0401dc4a 0100 0901 00000000 00000000").toHex(' '));
    QCOMPARE(received.at(1).data().toHex(' '),
             hex("0401dc4a 0100 0801 00000000 ffffffff 03 00 1000 0300 cc00 aabbcc").toHex(' '));
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

// Every shorter prefix first, then the whole reply: only the whole one may be reported.
void tst_Vistra::replies()
{
    QFETCH(QByteArray, datagram);
    QFETCH(QString, expected);
    Vistra vistra;
    Recorder recorder(vistra);
    Device device;
    for (int length = 0; length < datagram.size(); ++length)
        device.send(datagram.left(length), vistra.socket()->localPort());
    device.send(datagram, vistra.socket()->localPort());
    QTRY_VERIFY(!recorder.lines.isEmpty());
    QCOMPARE(recorder.lines.join(QLatin1Char('\n')), expected);
}

void tst_Vistra::ignoredReplies()
{
    Vistra vistra;
    Recorder recorder(vistra);
    Device device;
    for (const ReplyRow &row : ignoredRows())
        device.send(row.datagram, vistra.socket()->localPort());
    device.send(kBlinkScanReply, vistra.socket()->localPort());
    QTRY_VERIFY(!recorder.lines.isEmpty());
    QCOMPARE(recorder.lines, QStringList{kBlinkScanLine});
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

void tst_Vistra::signalDeclarationOrder()
{
    const QStringList expected{"signalDiscoverResponse",
                               "signalDiscoverEOResponse",
                               "signalDiscoverPortsResponse",
                               "signalBlinkScanResponse",
                               "signalBlinkScan2Response",
                               "signalBlinkScan2SNResponse",
                               "signalBlinkScan2CAResponse",
                               "signalBlinkScan2XRDMResponse",
                               "signalCAScanResponse",
                               "signalBEBlinkScanResponse",
                               "signalBlinkEEReadResponse",
                               "signalPixelTokenByteReadResponse",
                               "signalTelemetryByteReadResponse",
                               "signalExtPromTokenReadResponse",
                               "signalDeviceVariableReply",
                               "signalGetArrayReply",
                               "signalGetByteArrayReply",
                               "signalDiscoverResponseV3",
                               "signalRDMGetReply",
                               "requestSyncPacket",
                               "requestSendPortOut",
                               "signalRDMGetRefused"};
    const QMetaObject &meta = Vistra::staticMetaObject;
    QStringList signalNames;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        if (meta.method(i).methodType() == QMetaMethod::Signal)
            signalNames.append(QString::fromLatin1(meta.method(i).name()));
    }
    QCOMPARE(signalNames, expected);
}

QTEST_GUILESS_MAIN(tst_Vistra)
#include "tst_vistra.moc"
