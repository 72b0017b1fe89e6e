#include "sim/simoutput.h"
#include "sim/simulator.h"

#include "net/vistrarequests.h"
#include "support/netnamespace.h"

#include <QElapsedTimer>
#include <QNetworkDatagram>
#include <QProcess>
#include <QSet>
#include <QUdpSocket>
#include <QtTest>

#include <memory>

// The simulator on real sockets, in a namespace of the test's own: what they add to the
// responder (its bytes: tst_simresponder): who answers, from where, and the fault plan.
class tst_Simulator : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void broadcasts_data();
    void broadcasts();
    void faultPlan_data();
    void faultPlan();
    void bindFailureIsReported();
    void addressesOffLoopback();
};

namespace {

class Client
{
public:
    explicit Client(const QHostAddress &address = QHostAddress::LocalHost)
    {
        m_socket.bind(address, 0);
        QObject::connect(&m_socket, &QUdpSocket::readyRead, &m_socket, [this] {
            while (m_socket.hasPendingDatagrams())
                received << m_socket.receiveDatagram();
        });
    }

    bool send(const QByteArray &datagram, const QString &to)
    {
        return m_socket.writeDatagram(datagram, QHostAddress(to), 6038) == datagram.size();
    }
    bool askPorts(const QString &supply)
    {
        return send(VistraRequests::discoverPorts(QHostAddress(supply).toIPv4Address()), supply);
    }

    QVector<QNetworkDatagram> received;

private:
    QUdpSocket m_socket;
};

std::unique_ptr<Simulator> startSimulator(const SimInstallation &installation)
{
    auto simulator = std::make_unique<Simulator>(installation);
    QString error;
    if (!simulator->start(&error)) {
        qWarning() << error;
        return nullptr;
    }
    return simulator;
}

const QByteArray kDiscover = VistraRequests::discover(0x0A0101DE);

bool runIp(const QStringList &arguments)
{
    return QProcess::execute(QStringLiteral("ip"), arguments) == 0;
}

} // namespace

void tst_Simulator::initTestCase()
{
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
}

// Broadcast live output reaches the supplies on its universe, as sorted events: "request
// SUPPLY" (-1: the broadcast socket), "frame SUPPLY:PORT" (each holding the datagram).
void tst_Simulator::broadcasts_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QStringList>("events");
    const QByteArray frame(512, '\x11');
    const auto *data = reinterpret_cast<const uchar *>(frame.constData());
    QTest::newRow("port out to universe 2")
        << VistraRequests::portOut(2, 1, 0, 0, data, 512) << QStringList{"frame 2:1", "request -1"};
    QTest::newRow("port out to any universe")
        << VistraRequests::portOut(0xFFFFFFFF, 1, 0, 0, data, 512)
        << QStringList{"frame 0:1", "frame 1:1", "frame 2:1", "frame 3:1", "request -1"};
}

void tst_Simulator::broadcasts()
{
    QFETCH(QByteArray, request);
    QFETCH(QStringList, events);
    auto simulator = startSimulator(SimInstallation::builtIn());
    QVERIFY(simulator);
    QStringList seen;
    connect(simulator.get(), &Simulator::requestReceived, this,
            [&](int supply) { seen << QStringLiteral("request %1").arg(supply); });
    connect(simulator->output(), &SimOutput::frameRecorded, this, [&](int supply, quint8 port) {
        seen << QStringLiteral("frame %1:%2").arg(supply).arg(port);
        QCOMPARE(simulator->output()->lastFrame(supply, port).last.datagram, request);
    });
    Client client;
    QVERIFY(client.send(request, QStringLiteral("127.255.255.255")));
    QTRY_COMPARE(seen.size(), events.size());
    seen.sort();
    QCOMPARE(seen, events);
}

void tst_Simulator::faultPlan_data()
{
    QTest::addColumn<double>("drop");
    QTest::addColumn<double>("duplicate");
    QTest::addColumn<int>("delayMs");
    QTest::addColumn<int>("replies");
    QTest::newRow("dropped") << 1.0 << 0.0 << 0 << 0;
    QTest::newRow("duplicated") << 0.0 << 1.0 << 0 << 2;
    QTest::newRow("delayed") << 0.0 << 0.0 << 150 << 1;
}

// A reply's fate as the plan draws it (its shares: tst_simresponder): a dropped one never
// arrives, a duplicate arrives twice, a delayed one late.
void tst_Simulator::faultPlan()
{
    QFETCH(double, drop);
    QFETCH(double, duplicate);
    QFETCH(int, delayMs);
    QFETCH(int, replies);
    SimInstallation installation = SimInstallation::builtIn();
    installation.faults = SimFaults{drop, duplicate, delayMs > 0 ? 1.0 : 0.0, delayMs, 7};
    auto simulator = startSimulator(installation);
    QVERIFY(simulator);
    Client client;
    QElapsedTimer clock;
    clock.start();
    QVERIFY(client.askPorts(QStringLiteral("127.0.1.2")));
    QTRY_COMPARE(simulator->stats().requests, quint64(1));
    QTRY_COMPARE(client.received.size(), replies);
    QVERIFY2(clock.elapsed() >= delayMs, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(simulator->stats().dropped, quint64(drop > 0));
    QCOMPARE(simulator->stats().delayed, quint64(delayMs > 0));
    for (const QNetworkDatagram &reply : client.received)
        QCOMPARE(reply.data(), client.received.first().data());
}

void tst_Simulator::bindFailureIsReported()
{
    SimInstallation installation = SimInstallation::builtIn();
    installation.supplies[2].address = QHostAddress(QStringLiteral("192.0.2.7")); // not ours
    Simulator broken(installation);
    QString error;
    QVERIFY(!broken.start(&error));
    QVERIFY2(error.contains(QStringLiteral("192.0.2.7:6038")), qPrintable(error));
    QVERIFY(!broken.isRunning());
    // Nothing stays bound: a good installation still starts and answers.
    auto simulator = startSimulator(SimInstallation::builtIn());
    QVERIFY(simulator);
    Client client;
    QVERIFY(client.askPorts(QStringLiteral("127.0.1.1")));
    QTRY_COMPARE(client.received.size(), 1);
}

// Supplies on addresses from the configuration (as across a veth pair) bind those addresses
// and answer a directed broadcast of that network; an installation on loopback never answers
// anyone off loopback, even on the same host.
void tst_Simulator::addressesOffLoopback()
{
    if (!runIp({"addr", "add", "10.77.2.20/24", "brd", "+", "dev", "lo"}) ||
        !runIp({"addr", "add", "10.77.2.21/24", "dev", "lo"}) ||
        !runIp({"addr", "add", "10.77.2.1/24", "dev", "lo"}))
        QSKIP("cannot add addresses to the test namespace's loopback");
    QString error;
    const auto installation = SimInstallation::fromJson(
        "{\"supplies\": [{\"address\": \"10.77.2.20\", \"serial\": \"1\", \"ports\": []},"
        " {\"address\": \"10.77.2.21\", \"serial\": \"2\", \"ports\": []}]}",
        &error);
    QVERIFY2(installation, qPrintable(error));
    QVERIFY(!installation->isLoopbackOnly());
    auto simulator = startSimulator(*installation);
    QVERIFY(simulator);
    Client client(QHostAddress(QStringLiteral("10.77.2.1")));
    QVERIFY(client.send(kDiscover, QStringLiteral("10.77.2.255")));
    QTRY_COMPARE(client.received.size(), 2);
    QSet<QString> senders;
    for (const QNetworkDatagram &reply : client.received)
        senders.insert(QHostAddress(reply.senderAddress().toIPv4Address()).toString());
    QCOMPARE(senders, (QSet<QString>{"10.77.2.20", "10.77.2.21"}));

    simulator = startSimulator(SimInstallation::builtIn());
    QVERIFY(simulator);
    Client stranger(QHostAddress(QStringLiteral("10.77.2.1")));
    QVERIFY(stranger.askPorts(QStringLiteral("127.0.1.1")));
    QVERIFY(stranger.send(kDiscover, QStringLiteral("127.255.255.255")));
    QTRY_COMPARE(simulator->stats().requests, quint64(2));
    QCOMPARE(simulator->stats().ignored, quint64(2));
    QCOMPARE(simulator->stats().replies, quint64(0));
    QVERIFY(stranger.received.isEmpty());
}

QTEST_GUILESS_MAIN(tst_Simulator)
#include "tst_simulator.moc"
