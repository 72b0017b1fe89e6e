// Controller messaging: the message bytes against golden bytes written out by hand and the
// answer rule; then on real sockets, each case in a network namespace of its own, where the
// announcement goes, which answers open a connection and what bytes follow, the pause cycles,
// peers lost and found again, connections that never complete, and loop-back-only mode.
#include "support/netdatagrams.h"
#include "support/netnamespace.h"

#include "net/commlibrary.h"
#include "net/commmessages.h"
#include "net/ksocket.h"
#include "sim/simcontroller.h"

#include <QElapsedTimer>
#include <QSet>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

namespace {

// The expected body, encoded here on its own: every line ends in a line feed.
QByteArray utf16Le(const QByteArray &latin1Lines)
{
    QByteArray bytes;
    for (const char c : latin1Lines)
        bytes.append(c).append('\0');
    return bytes;
}

// The envelope every message shares, then its body lines.
QByteArray envelope(const QByteArray &sender, const QByteArray &command, const QByteArray &body)
{
    return "<!DOCTYPE document>\n<Envelope>\n <Header>\n  <SenderID>" + sender +
           "</SenderID>\n  <TargetID>0</TargetID>\n  <RequestID>0</RequestID>\n  <Command>" +
           command + "</Command>\n </Header>\n" + body + "</Envelope>\n";
}

QByteArray registrationText(const QByteArray &id, const QByteArray &name)
{
    return envelope(id, "3",
                    " <Body>\n  <ID>" + id + "</ID>\n  <Name>" + name +
                        "</Name>\n  <Type>3</Type>\n </Body>\n");
}

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

// Every announcement that arrived, as "destination text".
QSet<QString> announcements(DatagramSink &listener)
{
    QSet<QString> seen;
    for (const QNetworkDatagram &datagram : listener.datagrams())
        seen.insert(datagram.destinationAddress().toString() + QLatin1Char(' ') +
                    QString::fromLatin1(datagram.data()));
    return seen;
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
    void cleanup();
    void messages_data();
    void messages();
    void parseAnswer_data();
    void parseAnswer();
    void announcementDestinations_data();
    void announcementDestinations();
    void answers_data();
    void answers();
    void pauseCyclesDropALostPeerUntilFoundAgain();
    void unfinishedConnectionForgotten();
};

void tst_CommLibrary::cleanup()
{
    KSocket::setLoopbackOnly(false);
}

// The body is UTF-16LE without a byte-order mark; the header counts its bytes.
void tst_CommLibrary::messages_data()
{
    QTest::addColumn<QByteArray>("built");
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("Orrery: own id and name")
        << CommMessages::registrationFor("Orrery") << QByteArray("Content-Length: 502\r\n\r\n")
        << registrationText("3166485692", "Orrery");
    QTest::newRow("another name: generic id and name")
        << CommMessages::registrationFor("Kestrel") << QByteArray("Content-Length: 506\r\n\r\n")
        << registrationText("3166485691", "Pellucid");
    QTest::newRow("pause") << CommMessages::pause() << QByteArray("Content-Length: 368\r\n\r\n")
                           << envelope("3166485691", "113", " <Body/>\n");
}

void tst_CommLibrary::messages()
{
    QFETCH(QByteArray, built);
    QFETCH(QByteArray, header);
    QFETCH(QByteArray, text);
    QCOMPARE(built, header + utf16Le(text));
}

void tst_CommLibrary::parseAnswer_data()
{
    QTest::addColumn<QByteArray>("datagram");
    QTest::addColumn<QString>("host"); // empty: no answer
    QTest::addColumn<int>("port");

    QTest::newRow("line feeds anywhere are removed")
        << QByteArray("\n4242:1:10.1.\n0.2:50\n00\n\n") << "10.1.0.2" << 5000;
    QTest::newRow("leading zeros, canonical host text")
        << QByteArray("1:1:010.001.000.002:08081") << "10.1.0.2" << 8081;

    const QString none;
    QTest::newRow("flood of 10,000 colons") << QByteArray(10000, ':') << none << 0;
    QTest::newRow("three fields") << QByteArray("1:10.1.0.2:5000\n") << none << 0;
    QTest::newRow("port not a number") << QByteArray("1:1:10.1.0.2:http") << none << 0;
    QTest::newRow("port 0") << QByteArray("1:1:10.1.0.2:0") << none << 0;
    QTest::newRow("port 65536") << QByteArray("1:1:10.1.0.2:65536") << none << 0;
    QTest::newRow("host name") << QByteArray("1:1:controller.local:5000") << none << 0;
    QTest::newRow("host 0.0.0.0") << QByteArray("1:1:0.0.0.0:5000") << none << 0;
    QTest::newRow("host broadcast") << QByteArray("1:1:255.255.255.255:5000") << none << 0;
}

void tst_CommLibrary::parseAnswer()
{
    QFETCH(QByteArray, datagram);
    QFETCH(QString, host);
    QFETCH(int, port);
    const std::optional<CommMessages::Answer> answer = CommMessages::parseAnswer(datagram);
    QCOMPARE(answer.has_value(), !host.isEmpty());
    if (!answer)
        return;
    QCOMPARE(answer->host, host);
    QCOMPARE(int(answer->port), port);
}

void tst_CommLibrary::announcementDestinations_data()
{
    QTest::addColumn<QStringList>("setup");
    QTest::addColumn<bool>("loopbackOnly");
    QTest::addColumn<QStringList>("expected");
    const QString lo = announcementAt("127.255.255.255", "127.0.0.1");
    const QString net = announcementAt("10.1.255.255", "10.1.0.1");
    const QStringList up = veth("eth0", "peer0", "10.1.0.1/16");
    QTest::newRow("loop-back only") << QStringList() << false << QStringList{lo};
    QTest::newRow("eth0 /16") << up << false << QStringList{lo, net};
    QTest::newRow("two addresses on eth0")
        << up + QStringList{"addr add 192.168.5.7/24 dev eth0"} << false
        << QStringList{lo, net, announcementAt("192.168.5.255", "192.168.5.7")};
    QTest::newRow("eth0 down") << veth("eth0", "peer0", "10.1.0.1/16", false) << false
                               << QStringList{lo};
    QTest::newRow("no IPv4 address at all")
        << QStringList{"addr flush dev lo"} << false << QStringList();
    QTest::newRow("loop-back-only mode") << up << true << QStringList{lo};
}

// One datagram per IPv4 address, to its directed broadcast, carrying that address.
void tst_CommLibrary::announcementDestinations()
{
    QFETCH(QStringList, setup);
    QFETCH(bool, loopbackOnly);
    QFETCH(QStringList, expected);
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
    QString error;
    QVERIFY2(NetNamespace::setUp(setup, &error), qPrintable(error));
    DatagramSink listener;
    QVERIFY(listener.bind(CommMessages::kAnnouncePort, QHostAddress(QHostAddress::AnyIPv4),
                          QAbstractSocket::ShareAddress | QAbstractSocket::ReuseAddressHint));
    KSocket::setLoopbackOnly(loopbackOnly);

    CommLibrary comm(QStringLiteral("Orrery"));
    QVERIFY(comm.isBound());
    const QSet<QString> wanted(expected.cbegin(), expected.cend());
    QTRY_COMPARE(announcements(listener), wanted);
}

void tst_CommLibrary::answers_data()
{
    QTest::addColumn<QByteArrayList>("datagrams"); // PORT stands for the peer's port
    QTest::addColumn<QStringList>("hosts");        // connected to, besides the marker's
    QTest::addColumn<QString>("refusal");          // not empty: in loop-back-only mode

    const QString none;
    // Which answers are malformed is pinned in parseAnswer; one is enough here.
    QTest::newRow("five fields") << QByteArrayList{"7:1:127.0.0.2:PORT:1\n"} << QStringList()
                                 << none;
    QTest::newRow("one connection per host")
        << QByteArrayList{"7:1:127.0.0.2:PORT\n", "7:1:127.0.0.2:PORT\n", "8:1:127.0.0.2:9\n"}
        << QStringList{"127.0.0.2"} << none;
    QTest::newRow("two hosts") << QByteArrayList{"7:1:127.0.0.2:PORT\n", "7:1:127.0.0.3:PORT\n"}
                               << QStringList{"127.0.0.2", "127.0.0.3"} << none;
    QTest::newRow("loop-back-only mode: a host off the loop-back")
        << QByteArrayList{"7:1:10.1.0.2:PORT\n"} << QStringList()
        << "Not connecting to 10.1.0.2 in loop-back-only mode";
}

// Malformed answers open nothing, and each controller receives exact bytes. Answers are handled
// in order, so once a well-formed marker answer sent last has been registered, every answer
// before it has been dealt with.
void tst_CommLibrary::answers()
{
    QFETCH(QByteArrayList, datagrams);
    QFETCH(QStringList, hosts);
    QFETCH(QString, refusal);
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
    RawPeer peer;
    QVERIFY(peer.listen());
    KSocket::setLoopbackOnly(!refusal.isEmpty());
    if (!refusal.isEmpty())
        QTest::ignoreMessage(QtWarningMsg, qPrintable(refusal));
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

// The first pause cycle follows the announcement after 5 s unasked. A controller that goes
// away stays listed until the next cycle, which drops it; the next announcement finds it again
// and registers anew.
void tst_CommLibrary::pauseCyclesDropALostPeerUntilFoundAgain()
{
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
    SimController controller;
    QString error;
    QVERIFY2(controller.start(&error), qPrintable(error));
    QElapsedTimer clock;
    clock.start();
    CommLibrary comm(QStringLiteral("Orrery"));
    QSignalSpy cycles(&comm, &CommLibrary::pausedControllers);
    QSignalSpy dropped(&comm, &CommLibrary::droppedPeer);
    QTRY_COMPARE(controller.stats().registrations, 1);
    QTRY_COMPARE_WITH_TIMEOUT(cycles.count(), 1, CommLibrary::kAnnounceDelayMs + 3000);
    // The cycle timers are ordinary coarse timers, which may fire up to 5 % early.
    QVERIFY2(clock.elapsed() >= CommLibrary::kAnnounceDelayMs * 95 / 100,
             qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(cycles.at(0).at(0).toInt(), 1);
    QTRY_COMPARE(controller.stats().pauses, 1);

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

// Nobody on the veth owns the address, so the connection waits for an ARP answer that never
// comes (the kernel itself would give up only after about three seconds). It is abandoned and
// forgotten after the limit, and the event loop runs on meanwhile (a 10 ms timer keeps
// ticking).
void tst_CommLibrary::unfinishedConnectionForgotten()
{
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
    QString error;
    QVERIFY2(NetNamespace::setUp(veth("eth0", "peer0", "10.1.0.1/16"), &error), qPrintable(error));
    CommLibrary comm(QStringLiteral("Orrery"));
    QSignalSpy abandoned(&comm, &CommLibrary::abandonedPeer);
    QTimer ticker;
    ticker.setInterval(10);
    int ticks = 0;
    QObject::connect(&ticker, &QTimer::timeout, &ticker, [&ticks] { ++ticks; });
    ticker.start();
    QElapsedTimer clock;
    clock.start();
    QVERIFY(sendAnswer("1:1:10.1.7.7:5000"));
    QTRY_COMPARE_WITH_TIMEOUT(abandoned.count(), 1, 5000);
    const qint64 elapsed = clock.elapsed();
    QVERIFY2(elapsed >= CommLibrary::kConnectTimeoutMs && elapsed <= 2500,
             qPrintable(QString::number(elapsed)));
    QCOMPARE(abandoned.at(0).at(0).toString(), QStringLiteral("10.1.7.7"));
    QVERIFY(comm.connectingHosts().isEmpty());
    QVERIFY(comm.peerHosts().isEmpty());
    // Generous: a loaded machine skips ticks, a blocked loop skips them all.
    QVERIFY2(ticks >= elapsed / 10 / 4, qPrintable(QStringLiteral("%1 ticks").arg(ticks)));
}

QTEST_GUILESS_MAIN(tst_CommLibrary)
#include "tst_commlibrary.moc"
