// Controller messaging on real sockets, each case in a network namespace of its own: where the
// announcement goes, which answers open a connection and what bytes follow, peers lost and
// found again, connections that never complete, and the first pause cycle.
#include "support/netnamespace.h"

#include "net/commlibrary.h"
#include "net/commmessages.h"
#include "net/ksocket.h"
#include "sim/simcontroller.h"

#include <QElapsedTimer>
#include <QNetworkDatagram>
#include <QSet>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUdpSocket>
#include <QtTest>

namespace {

// Every announcement arriving at UDP 6775, as "destination text".
class Listener
{
public:
    bool bind()
    {
        return m_socket.bind(QHostAddress(QHostAddress::AnyIPv4), CommMessages::kAnnouncePort,
                             QAbstractSocket::ShareAddress | QAbstractSocket::ReuseAddressHint);
    }

    QSet<QString> seen()
    {
        while (m_socket.hasPendingDatagrams()) {
            const QNetworkDatagram datagram = m_socket.receiveDatagram();
            m_seen.insert(datagram.destinationAddress().toString() + QLatin1Char(' ') +
                          QString::fromLatin1(datagram.data()));
        }
        return m_seen;
    }

private:
    QUdpSocket m_socket;
    QSet<QString> m_seen;
};

// A controller reduced to a TCP port that keeps every byte each connection brings.
class RawPeer
{
public:
    RawPeer()
    {
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
            while (QTcpSocket *socket = m_server.nextPendingConnection()) {
                const int index = m_received.size();
                m_received.append(QByteArray());
                QObject::connect(socket, &QTcpSocket::readyRead, socket,
                                 [this, socket, index] { m_received[index] += socket->readAll(); });
            }
        });
    }

    bool listen() { return m_server.listen(QHostAddress(QHostAddress::AnyIPv4), 0); }
    quint16 port() const { return m_server.serverPort(); }
    const QVector<QByteArray> &received() const { return m_received; }

private:
    QTcpServer m_server;
    QVector<QByteArray> m_received;
};

bool sendAnswer(const QByteArray &text)
{
    QUdpSocket socket;
    return socket.writeDatagram(text, QHostAddress(QHostAddress::LocalHost),
                                CommMessages::kAnswerPort) == text.size();
}

QStringList veth(const QString &address, bool up = true)
{
    QStringList commands{QStringLiteral("link add eth0 type veth peer name peer0")};
    if (!address.isEmpty())
        commands << QStringLiteral("addr add %1 dev eth0").arg(address);
    if (up)
        commands << QStringLiteral("link set eth0 up");
    return commands << QStringLiteral("link set peer0 up");
}

QString announcementAt(const QString &broadcast, const QString &ip)
{
    return QStringLiteral("%1 3166485691:1:%2:8081\n").arg(broadcast, ip);
}

} // namespace

class tst_CommLibrary : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void announcementDestinations_data();
    void announcementDestinations();
    void controllerOnVethIsRegisteredAndPaused();
    void answers_data();
    void answers();
    void lostPeerDroppedAtNextCycleThenFoundAgain();
    void unfinishedConnectionForgotten_data();
    void unfinishedConnectionForgotten();
    void firstPauseFollowsTheAnnouncement();
    void loopbackOnlyStaysOnLoopback();
};

void tst_CommLibrary::initTestCase()
{
    if (!NetNamespace::isPrivate())
        QSKIP(NetNamespace::kNotPrivate);
}

void tst_CommLibrary::init()
{
    QString error;
    if (!NetNamespace::enterFresh(&error))
        QSKIP(qPrintable(QStringLiteral("no namespace of our own: %1").arg(error)));
}

void tst_CommLibrary::cleanup()
{
    KSocket::setLoopbackOnly(false);
}

void tst_CommLibrary::announcementDestinations_data()
{
    QTest::addColumn<QStringList>("setup");
    QTest::addColumn<QStringList>("expected");
    const QString lo = announcementAt("127.255.255.255", "127.0.0.1");
    QTest::newRow("loop-back only") << QStringList() << QStringList{lo};
    QTest::newRow("eth0 /16") << veth("10.1.0.1/16")
                              << QStringList{lo, announcementAt("10.1.255.255", "10.1.0.1")};
    QTest::newRow("two addresses on eth0")
        << veth("10.1.0.1/16") + QStringList{"addr add 192.168.5.7/24 dev eth0"}
        << QStringList{lo, announcementAt("10.1.255.255", "10.1.0.1"),
                       announcementAt("192.168.5.255", "192.168.5.7")};
    QTest::newRow("eth0 down") << veth("10.1.0.1/16", false) << QStringList{lo};
    QTest::newRow("no IPv4 address at all") << QStringList{"addr flush dev lo"} << QStringList();
}

// One datagram per IPv4 address, to its directed broadcast, carrying that address.
void tst_CommLibrary::announcementDestinations()
{
    QFETCH(QStringList, setup);
    QFETCH(QStringList, expected);
    QString error;
    QVERIFY2(NetNamespace::setUp(setup, &error), qPrintable(error));
    Listener listener;
    QVERIFY(listener.bind());

    CommLibrary comm(QStringLiteral("Orrery"));
    QVERIFY(comm.isBound());
    const QSet<QString> wanted(expected.cbegin(), expected.cend());
    QTRY_COMPARE(listener.seen(), wanted);
    // Nothing to pause yet, and nothing breaks.
    QSignalSpy paused(&comm, &CommLibrary::pausedControllers);
    comm.handlePauseControllers();
    QCOMPARE(paused.takeFirst().at(0).toInt(), 0);
}

// A controller on the far end of a veth hears the announcement, answers, and is registered on
// exactly once although the announcement reached it more than once; pauses follow.
void tst_CommLibrary::controllerOnVethIsRegisteredAndPaused()
{
    QString error;
    QVERIFY2(NetNamespace::setUp(
                 veth("10.1.0.1/16") + QStringList{"addr add 10.1.0.2/16 dev peer0"}, &error),
             qPrintable(error));
    SimController controller(QHostAddress(QStringLiteral("10.1.0.2")));
    QVERIFY2(controller.start(&error), qPrintable(error));
    QSignalSpy paused(&controller, &SimController::paused);

    CommLibrary comm(QStringLiteral("Orrery"));
    QTRY_COMPARE(comm.peerHosts(), QStringList{"10.1.0.2"});
    QTRY_COMPARE(controller.stats().registrations, 1);
    QVERIFY(controller.stats().answers >= 2); // one per announcement it heard
    comm.handlePauseControllers();
    comm.handlePauseControllers();
    QTRY_COMPARE(paused.count(), 2);
    QVERIFY(paused.at(0).at(0).toString().startsWith(QStringLiteral("paused by Orrery at ")));
    QCOMPARE(controller.stats().connections, 1);
    QCOMPARE(controller.stats().faults, 0);
}

void tst_CommLibrary::answers_data()
{
    QTest::addColumn<QByteArrayList>("datagrams"); // PORT stands for the peer's port
    QTest::addColumn<QStringList>("hosts");        // connected to, besides the marker's

    QTest::newRow("four fields") << QByteArrayList{"7:1:127.0.0.2:PORT\n"}
                                 << QStringList{"127.0.0.2"};
    // Which answers are malformed is pinned in tst_commmessages; one is enough here.
    QTest::newRow("five fields") << QByteArrayList{"7:1:127.0.0.2:PORT:1\n"} << QStringList();
    QTest::newRow("one connection per host")
        << QByteArrayList{"7:1:127.0.0.2:PORT\n", "7:1:127.0.0.2:PORT\n", "7:1:127.0.0.2:PORT\n",
                          "8:1:127.0.0.2:9\n"}
        << QStringList{"127.0.0.2"};
    QTest::newRow("two hosts") << QByteArrayList{"7:1:127.0.0.2:PORT\n", "7:1:127.0.0.3:PORT\n"}
                               << QStringList{"127.0.0.2", "127.0.0.3"};
}

// Malformed answers open nothing, and each controller receives exact bytes. Answers are handled
// in order, so once a well-formed marker answer sent last has been registered, every answer
// before it has been dealt with.
void tst_CommLibrary::answers()
{
    QFETCH(QByteArrayList, datagrams);
    QFETCH(QStringList, hosts);
    RawPeer peer;
    QVERIFY(peer.listen());
    CommLibrary comm(QStringLiteral("Orrery"));
    const QByteArray port = QByteArray::number(peer.port());
    for (QByteArray datagram : datagrams)
        QVERIFY(sendAnswer(datagram.replace("PORT", port)));
    QVERIFY(sendAnswer("1:1:127.0.0.1:" + port));

    QStringList expected = hosts + QStringList{"127.0.0.1"};
    expected.sort();
    QTRY_COMPARE(comm.peerHosts(), expected);
    QVERIFY(comm.connectingHosts().isEmpty());
    // On each connection: the registration, then one pause per cycle, and nothing else.
    comm.handlePauseControllers();
    const QByteArray bytes =
        CommMessages::registrationFor(QStringLiteral("Orrery")) + CommMessages::pause();
    QTRY_COMPARE(peer.received(), QVector<QByteArray>(expected.size(), bytes));
}

// A controller that goes away stays listed until the next pause cycle, which drops it; the
// next announcement finds it again and registers anew.
void tst_CommLibrary::lostPeerDroppedAtNextCycleThenFoundAgain()
{
    SimController controller;
    QString error;
    QVERIFY2(controller.start(&error), qPrintable(error));
    CommLibrary comm(QStringLiteral("Orrery"));
    QSignalSpy dropped(&comm, &CommLibrary::droppedPeer);
    QTRY_COMPARE(controller.stats().registrations, 1);

    controller.dropConnections();
    QCOMPARE(comm.peerHosts(), QStringList{"127.0.0.1"});
    // Cycles before the loss is noticed still count the peer; the first one after drops it.
    QTRY_VERIFY([&] {
        comm.handlePauseControllers();
        return dropped.count() == 1;
    }());
    QCOMPARE(dropped.at(0).at(0).toString(), QStringLiteral("127.0.0.1"));
    QVERIFY(comm.peerHosts().isEmpty());

    comm.announce();
    QTRY_COMPARE(controller.stats().registrations, 2);
    QCOMPARE(comm.peerHosts(), QStringList{"127.0.0.1"});
    QCOMPARE(controller.openConnections(), 1);
    QCOMPARE(controller.stats().faults, 0);
}

void tst_CommLibrary::unfinishedConnectionForgotten_data()
{
    QTest::addColumn<QByteArray>("host");
    QTest::addColumn<int>("minMs");
    QTest::addColumn<int>("maxMs");
    // Nobody on the veth owns the address, so the connection waits for an ARP answer that
    // never comes; the kernel itself would give up only after about three seconds.
    QTest::newRow("silent host") << QByteArray("10.1.7.7") << CommLibrary::kConnectTimeoutMs
                                 << 2500;
    QTest::newRow("network without a route")
        << QByteArray("192.0.2.1") << 0 << CommLibrary::kConnectTimeoutMs - 100;
    QTest::newRow("refusing host")
        << QByteArray("127.0.0.1") << 0 << CommLibrary::kConnectTimeoutMs - 100;
}

// A connection that is not made within the limit is abandoned and forgotten, and the event loop
// runs on meanwhile (a 10 ms timer keeps ticking).
void tst_CommLibrary::unfinishedConnectionForgotten()
{
    QFETCH(QByteArray, host);
    QFETCH(int, minMs);
    QFETCH(int, maxMs);
    QString error;
    QVERIFY2(NetNamespace::setUp(veth("10.1.0.1/16"), &error), qPrintable(error));
    QTcpServer closed; // a port nobody listens on any more
    QVERIFY(closed.listen(QHostAddress(QHostAddress::LocalHost), 0));
    const QByteArray port = QByteArray::number(closed.serverPort());
    closed.close();

    CommLibrary comm(QStringLiteral("Orrery"));
    QSignalSpy abandoned(&comm, &CommLibrary::abandonedPeer);
    QTimer ticker;
    ticker.setInterval(10);
    int ticks = 0;
    QObject::connect(&ticker, &QTimer::timeout, &ticker, [&ticks] { ++ticks; });
    ticker.start();
    QElapsedTimer clock;
    clock.start();
    QVERIFY(sendAnswer("1:1:" + host + ':' + port));
    QTRY_COMPARE_WITH_TIMEOUT(abandoned.count(), 1, 5000);
    const qint64 elapsed = clock.elapsed();
    QVERIFY2(elapsed >= minMs && elapsed <= maxMs, qPrintable(QString::number(elapsed)));
    QCOMPARE(abandoned.at(0).at(0).toByteArray(), host);
    QVERIFY(comm.connectingHosts().isEmpty());
    QVERIFY(comm.peerHosts().isEmpty());
    // Generous: a loaded machine skips ticks, a blocked loop skips them all.
    QVERIFY2(ticks >= elapsed / 10 / 4, qPrintable(QStringLiteral("%1 ticks").arg(ticks)));
}

// The first pause cycle follows the announcement after 5 s, without being asked for.
void tst_CommLibrary::firstPauseFollowsTheAnnouncement()
{
    SimController controller;
    QString error;
    QVERIFY2(controller.start(&error), qPrintable(error));
    QElapsedTimer clock;
    clock.start();
    CommLibrary comm(QStringLiteral("Orrery"));
    QSignalSpy cycles(&comm, &CommLibrary::pausedControllers);
    QTRY_COMPARE(controller.stats().registrations, 1);
    QTRY_COMPARE_WITH_TIMEOUT(cycles.count(), 1, CommLibrary::kAnnounceDelayMs + 3000);
    // The cycle timers are ordinary coarse timers, which may fire up to 5 % early.
    QVERIFY2(clock.elapsed() >= CommLibrary::kAnnounceDelayMs * 95 / 100,
             qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(cycles.at(0).at(0).toInt(), 1);
    QTRY_COMPARE(controller.stats().pauses, 1);
}

// The demonstration's mode: one announcement, to the loop-back broadcast, and no connection
// to a host off the loop-back whatever an answer says.
void tst_CommLibrary::loopbackOnlyStaysOnLoopback()
{
    QString error;
    QVERIFY2(NetNamespace::setUp(
                 veth("10.1.0.1/16") + QStringList{"addr add 10.1.0.2/16 dev peer0"}, &error),
             qPrintable(error));
    KSocket::setLoopbackOnly(true);
    Listener listener;
    QVERIFY(listener.bind());
    RawPeer peer;
    QVERIFY(peer.listen());
    CommLibrary comm(QStringLiteral("Orrery"));
    const QByteArray port = QByteArray::number(peer.port());
    QTest::ignoreMessage(QtWarningMsg, "Not connecting to 10.1.0.2 in loop-back-only mode");
    QVERIFY(sendAnswer("1:1:10.1.0.2:" + port));
    QVERIFY(sendAnswer("1:1:127.0.0.1:" + port));
    QTRY_COMPARE(comm.peerHosts(), QStringList{"127.0.0.1"});
    QCOMPARE(listener.seen(), QSet<QString>{announcementAt("127.255.255.255", "127.0.0.1")});
    QCOMPARE(peer.received().size(), 1);
}

QTEST_GUILESS_MAIN(tst_CommLibrary)
#include "tst_commlibrary.moc"
