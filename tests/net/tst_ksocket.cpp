// The socket layer, each case in a fresh network namespace: where broadcasts go with and
// without an "eth0", that a chosen broadcast address wins, that a socket whose bind failed
// answers sends with false, loop-back-only mode and the buffer sizes.
#include "support/netdatagrams.h"
#include "support/netnamespace.h"

#include "net/ksocket.h"

#include <QFile>
#include <QRegularExpression>
#include <QtTest>

class tst_KSocket : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void broadcastDestination_data();
    void broadcastDestination();
    void failedBindAnswersFalse();
    void loopbackOnlyKeepsEverythingOnTheMachine();
    void buffersHoldABurstOfReplies();
};

void tst_KSocket::init()
{
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
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
    DatagramSink receiver;
    QVERIFY(receiver.bind(KSocket::kPort));
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
    // Another card listed first is passed over, and the mask is the interface's, not a /24.
    QTest::newRow("eth0 /16 after another interface")
        << lan0 + veth("eth0", "peer0", "10.20.30.40/16") << ""
        << "10.20.255.255, 10.20.30.40";
    QTest::newRow("no eth0: limited broadcast") << routed("eth1", "192.168.1.10/24") << ""
                                                << "255.255.255.255, 0.0.0.0";
    QTest::newRow("name compared exactly") << routed("Eth0", "192.168.1.10/24") << ""
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
    DatagramSink receiver;
    QVERIFY(receiver.bind(KSocket::kPort));
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
    DatagramSink receiver;
    QVERIFY(receiver.bind(KSocket::kPort));
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
    // Nothing arrived before a datagram the holder sends now (no other port is left).
    holder.writeDatagram("after", QHostAddress(QHostAddress::LocalHost), KSocket::kPort);
    QTRY_VERIFY(!receiver.datagrams().isEmpty());
    QCOMPARE(receiver.datagrams().first().data(), QByteArray("after"));
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
