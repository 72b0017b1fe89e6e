// The socket layer in network namespaces the test builds itself: where broadcasts go with and
// without an "eth0", that a chosen broadcast address wins, that a socket whose bind failed
// answers sends with false, and the read path. Each case runs in a fresh namespace.
#include "support/netnamespace.h"

#include "net/ksocket.h"

#include <QFile>
#include <QNetworkDatagram>
#include <QRegularExpression>
#include <QUdpSocket>
#include <QtTest>

namespace {

// Collects every datagram arriving at UDP port 6038 on any local address, with the address it
// was sent to.
class Receiver
{
public:
    bool bind() { return m_socket.bind(QHostAddress(QHostAddress::AnyIPv4), KSocket::kPort); }

    QList<QNetworkDatagram> &datagrams()
    {
        while (m_socket.hasPendingDatagrams())
            m_datagrams.append(m_socket.receiveDatagram());
        return m_datagrams;
    }

private:
    QUdpSocket m_socket;
    QList<QNetworkDatagram> m_datagrams;
};

QStringList veth(const QString &name, const QString &peer, const QString &address, bool up = true)
{
    QStringList commands{QStringLiteral("link add %1 type veth peer name %2").arg(name, peer)};
    if (!address.isEmpty())
        commands.append(QStringLiteral("addr add %1 dev %2").arg(address, name));
    if (up)
        commands.append(QStringLiteral("link set %1 up").arg(name));
    commands.append(QStringLiteral("link set %1 up").arg(peer));
    return commands;
}

} // namespace

class tst_KSocket : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void broadcastDestination_data();
    void broadcastDestination();
    void limitedBroadcastWithoutRoute();
    void failedBindAnswersFalse();
    void loopbackOnlyKeepsEverythingOnTheMachine();
    void sendTo_data();
    void sendTo();
    void readPending();
    void buffersHoldABurstOfReplies();
};

void tst_KSocket::initTestCase()
{
    if (!NetNamespace::isPrivate())
        QSKIP(NetNamespace::kNotPrivate);
}

void tst_KSocket::init()
{
    QString error;
    if (!NetNamespace::enterFresh(&error))
        QSKIP(qPrintable(QStringLiteral("no namespace of our own: %1").arg(error)));
}

void tst_KSocket::cleanup()
{
    KSocket::setDefaultBroadcastAddress(QHostAddress());
    KSocket::setLoopbackOnly(false);
}

void tst_KSocket::loopbackOnlyKeepsEverythingOnTheMachine()
{
    QString error;
    QVERIFY2(NetNamespace::setUp(veth("eth0", "peer0", "192.168.1.10/24"), &error),
             qPrintable(error));
    Receiver receiver;
    QVERIFY(receiver.bind());
    KSocket::setLoopbackOnly(true);
    KSocket socket;
    QTest::ignoreMessage(QtWarningMsg, "Not sending to \"192.168.1.20\" in loop-back-only mode");
    QVERIFY(!socket.sendTo(QStringLiteral("192.168.1.20"), "x", 1));
    // eth0 is found, but its directed broadcast would leave the machine.
    QTest::ignoreMessage(QtWarningMsg, "Not sending to \"192.168.1.255\" in loop-back-only mode");
    QVERIFY(!socket.sendBroadcast("x", 1));
    QVERIFY(socket.sendTo(QStringLiteral("127.0.0.1"), "local", 5));
    socket.setBroadcastAddress(QHostAddress(QStringLiteral("127.255.255.255")));
    QVERIFY(socket.sendBroadcast("local", 5));
    QTRY_COMPARE(receiver.datagrams().size(), 2);
}

void tst_KSocket::broadcastDestination_data()
{
    QTest::addColumn<QStringList>("setup");
    QTest::addColumn<QString>("chosen");   // "socket ADDRESS" or "all ADDRESS"
    QTest::addColumn<QString>("expected"); // "destination, own address"

    const QStringList eth0 = veth("eth0", "peer0", "192.168.1.10/24");
    const QStringList lan0 = veth("lan0", "peer1", "10.9.0.1/16");
    const auto routed = [](const QString &name, const QString &address) {
        return veth(name, "peer0", address) + QStringList{"route add default dev " + name};
    };
    QTest::newRow("eth0 /24: directed broadcast") << eth0 << ""
                                                  << "192.168.1.255, 192.168.1.10";
    QTest::newRow("eth0 /16") << veth("eth0", "peer0", "10.20.30.40/16") << ""
                              << "10.20.255.255, 10.20.30.40";
    QTest::newRow("eth0 among others") << lan0 + eth0 << ""
                                       << "192.168.1.255, 192.168.1.10";
    QTest::newRow("no eth0: limited broadcast") << routed("eth1", "192.168.1.10/24") << ""
                                                << "255.255.255.255, 0.0.0.0";
    QTest::newRow("name compared exactly: Eth0") << routed("Eth0", "192.168.1.10/24") << ""
                                                 << "255.255.255.255, 0.0.0.0";
    QTest::newRow("name compared exactly: eth0.5") << routed("eth0.5", "192.168.1.10/24") << ""
                                                   << "255.255.255.255, 0.0.0.0";
    QTest::newRow("eth0 down") << veth("eth0", "peer0", "192.168.1.10/24", false) + lan0 +
                                      QStringList{"route add default dev lan0"}
                               << ""
                               << "255.255.255.255, 0.0.0.0";
    QTest::newRow("eth0 without IPv4")
        << veth("eth0", "peer0", "fd00::10/64") + lan0 + QStringList{"route add default dev lan0"}
        << ""
        << "255.255.255.255, 0.0.0.0";
    QTest::newRow("chosen for the socket wins over eth0") << eth0 + lan0 << "socket 10.9.255.255"
                                                          << "10.9.255.255, 0.0.0.0";
    QTest::newRow("chosen for all sockets wins over eth0") << eth0 + lan0 << "all 10.9.255.255"
                                                           << "10.9.255.255, 0.0.0.0";
    QTest::newRow("chosen limited broadcast wins over eth0")
        << eth0 + QStringList{"route add default dev eth0"} << "all 255.255.255.255"
        << "255.255.255.255, 0.0.0.0";
}

// The first broadcast and the later ones all go to the same address, port 6038.
void tst_KSocket::broadcastDestination()
{
    QFETCH(QStringList, setup);
    QFETCH(QString, chosen);
    QFETCH(QString, expected);

    QString error;
    QVERIFY2(NetNamespace::setUp(setup, &error), qPrintable(error));
    Receiver receiver;
    QVERIFY(receiver.bind());
    const QHostAddress chosenAddress(chosen.section(QLatin1Char(' '), 1));
    if (chosen.startsWith(QLatin1String("all")))
        KSocket::setDefaultBroadcastAddress(chosenAddress);
    KSocket socket;
    QVERIFY(socket.isBound());
    if (chosen.startsWith(QLatin1String("socket")))
        socket.setBroadcastAddress(chosenAddress);

    const QList<QByteArray> payloads{"first", "second", "third"};
    for (const QByteArray &payload : payloads)
        QVERIFY(socket.sendBroadcast(payload.constData(), payload.size()));
    const QString destination = socket.broadcastAddress().toString();
    QCOMPARE(destination + ", " + socket.ownAddress().toString(), expected);
    QTRY_VERIFY(receiver.datagrams().size() >= payloads.size());

    // A broadcast also comes back in through the veth peer; what counts is that every copy
    // went to the expected address and the three arrived in order.
    QList<QByteArray> seen;
    for (const QNetworkDatagram &datagram : receiver.datagrams()) {
        QCOMPARE(datagram.destinationAddress().toString(), destination);
        QCOMPARE(datagram.destinationPort(), int(KSocket::kPort));
        QCOMPARE(datagram.senderPort(), int(socket.localPort()));
        if (!seen.contains(datagram.data()))
            seen.append(datagram.data());
    }
    QCOMPARE(seen, payloads);
}

// Without an "eth0" and without a route the limited broadcast cannot leave: the send reports
// false, and the socket still holds the limited broadcast address and its bound address.
void tst_KSocket::limitedBroadcastWithoutRoute()
{
    KSocket socket;
    QVERIFY(socket.isBound());
    QVERIFY(!socket.sendBroadcast("x", 1));
    QVERIFY(!socket.sendBroadcast("x", 1));
    QCOMPARE(socket.broadcastAddress(), QHostAddress(QHostAddress::Broadcast));
    QCOMPARE(socket.ownAddress(), QHostAddress(QHostAddress::AnyIPv4));
}

// One ephemeral port only, and taken: the bind fails, is logged, and every send answers false
// without sending anything.
void tst_KSocket::failedBindAnswersFalse()
{
    QFile range(QStringLiteral("/proc/sys/net/ipv4/ip_local_port_range"));
    if (!range.open(QIODevice::WriteOnly) || range.write("40000 40000\n") < 0 || !range.flush())
        QSKIP("cannot narrow the ephemeral port range in this namespace");
    range.close();
    QUdpSocket holder;
    QVERIFY(holder.bind(QHostAddress(QHostAddress::AnyIPv4), 40000, QUdpSocket::DontShareAddress));
    Receiver receiver;
    QVERIFY(receiver.bind());

    QTest::ignoreMessage(QtDebugMsg, QRegularExpression(QStringLiteral(
                                         "^KSocket failed to bind to port: [A-Za-z]")));
    KSocket socket;
    QVERIFY(!socket.isBound());
    QVERIFY(!socket.sendTo(QStringLiteral("127.0.0.1"), "lost", 4));
    QVERIFY(!socket.sendBroadcast("lost", 4));
    QHostAddress sender;
    quint16 port = 0;
    char buffer[16];
    QVERIFY(!socket.readPending(buffer, sizeof buffer, &sender, &port));

    // Nothing arrived before a datagram sent afterwards.
    QVERIFY(holder.writeDatagram("after", QHostAddress(QHostAddress::LocalHost), KSocket::kPort) ==
            5);
    QTRY_VERIFY(!receiver.datagrams().isEmpty());
    QCOMPARE(receiver.datagrams().first().data(), QByteArray("after"));
}

void tst_KSocket::sendTo_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<bool>("sent");
    QTest::newRow("loop-back") << "127.0.0.1" << true;
    QTest::newRow("other loop-back address") << "127.10.20.30" << true;
    QTest::newRow("name") << "localhost" << false;
    QTest::newRow("unreachable") << "192.0.2.1" << false;
}

void tst_KSocket::sendTo()
{
    QFETCH(QString, address);
    QFETCH(bool, sent);
    Receiver receiver;
    QVERIFY(receiver.bind());
    KSocket socket;
    const QByteArray payload = QByteArray::fromHex("0401dc4a01000900");
    QCOMPARE(socket.sendTo(address, payload.constData(), payload.size()), sent);

    QUdpSocket marker;
    QVERIFY(marker.writeDatagram("marker", QHostAddress(QHostAddress::LocalHost), KSocket::kPort) ==
            6);
    QTRY_VERIFY(!receiver.datagrams().isEmpty() && receiver.datagrams().last().data() == "marker");
    QCOMPARE(receiver.datagrams().size(), sent ? 2 : 1);
    if (sent) {
        const QNetworkDatagram datagram = receiver.datagrams().first();
        QCOMPARE(datagram.data(), payload);
        QCOMPARE(datagram.destinationAddress().toString(), address);
        QCOMPARE(datagram.senderPort(), int(socket.localPort()));
    }
}

// Datagrams are read one at a time, cut to the capacity given, with their sender.
void tst_KSocket::readPending()
{
    KSocket socket;
    QUdpSocket peer;
    QVERIFY(peer.bind(QHostAddress(QHostAddress::LocalHost), 0));
    const QByteArray small("0123456789");
    QByteArray large(5000, '\0');
    for (int i = 0; i < large.size(); ++i)
        large[i] = char(i % 251);
    QCOMPARE(peer.writeDatagram(small, QHostAddress(QHostAddress::LocalHost), socket.localPort()),
             qint64(small.size()));
    QCOMPARE(peer.writeDatagram(large, QHostAddress(QHostAddress::LocalHost), socket.localPort()),
             qint64(large.size()));
    QTRY_VERIFY(socket.hasPendingDatagrams());

    char buffer[4096];
    QHostAddress sender;
    quint16 port = 0;
    qint64 length = -1;
    QVERIFY(socket.readPending(buffer, sizeof buffer, &sender, &port, &length));
    QCOMPARE(QByteArray(buffer, int(length)), small);
    QCOMPARE(sender, QHostAddress(QHostAddress::LocalHost));
    QCOMPARE(port, peer.localPort());
    QVERIFY(socket.readPending(buffer, sizeof buffer, &sender, &port, &length));
    QCOMPARE(length, qint64(4096));
    QCOMPARE(QByteArray(buffer, 4096), large.left(4096));
    QVERIFY(!socket.readPending(buffer, sizeof buffer, &sender, &port, &length));
}

// A discovery answer comes as a burst of hundreds of replies; with the system's default
// receive buffer most of them would be dropped. The kernel doubles what it is given and caps
// it at the system's limit.
void tst_KSocket::buffersHoldABurstOfReplies()
{
    const auto limit = [](const char *path) {
        QFile file(QString::fromLatin1(path));
        bool ok = file.open(QIODevice::ReadOnly);
        const int value = ok ? file.readAll().trimmed().toInt(&ok) : 0;
        return ok ? value : -1;
    };
    const int receiveMax = limit("/proc/sys/net/core/rmem_max");
    const int sendMax = limit("/proc/sys/net/core/wmem_max");
    if (receiveMax < 0 || sendMax < 0)
        QSKIP("the system's socket buffer limits are not readable");
    KSocket socket;
    QCOMPARE(socket.socketOption(QAbstractSocket::ReceiveBufferSizeSocketOption).toInt(),
             2 * qMin(KSocket::kReceiveBufferBytes, receiveMax));
    QCOMPARE(socket.socketOption(QAbstractSocket::SendBufferSizeSocketOption).toInt(),
             2 * qMin(KSocket::kSendBufferBytes, sendMax));
}

QTEST_GUILESS_MAIN(tst_KSocket)
#include "tst_ksocket.moc"
