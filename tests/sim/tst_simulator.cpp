#include "sim/simoutput.h"
#include "sim/simulator.h"

#include "net/vistrarequests.h"
#include "sim/simresponder.h"
#include "support/netnamespace.h"

#include <QElapsedTimer>
#include <QNetworkDatagram>
#include <QProcess>
#include <QSet>
#include <QSignalSpy>
#include <QUdpSocket>
#include <QtTest>

#include <memory>

// The simulator on real sockets, in a network namespace of the test's own: what the sockets
// add to the responder (tst_simresponder pins the bytes): which supply answers, from which
// address, and the drops, duplicates and delays of the fault plan.
class tst_Simulator : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void unicastReachesOneSupply();
    void outputIsRecorded();
    void broadcastOutputByUniverse();
    void dropsTheConfiguredShare();
    void duplicatesAndDelays();
    void bindFailureIsReported();
    void loopbackInstallationIgnoresOtherSenders();
    void givenAddresses();
};

namespace {

// A plain client socket that collects every datagram it receives.
class Client
{
public:
    explicit Client(const QHostAddress &address = QHostAddress::LocalHost)
    {
        m_bound = m_socket.bind(address, 0);
        QObject::connect(&m_socket, &QUdpSocket::readyRead, &m_socket, [this] {
            while (m_socket.hasPendingDatagrams())
                received << m_socket.receiveDatagram();
        });
    }

    bool isBound() const { return m_bound; }
    bool send(const QByteArray &datagram, const QString &to)
    {
        return m_socket.writeDatagram(datagram, QHostAddress(to), 6038) == datagram.size();
    }
    // Discover ports, sent to the supply it names.
    bool askPorts(const QString &supply)
    {
        return send(VistraRequests::discoverPorts(QHostAddress(supply).toIPv4Address()), supply);
    }

    QVector<QNetworkDatagram> received;

private:
    QUdpSocket m_socket;
    bool m_bound = false;
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

QByteArray portOut(quint8 port, const QByteArray &data, quint32 universe = 0xFFFFFFFF,
                   quint16 flags = 0)
{
    return VistraRequests::portOut(universe, port, flags, 0,
                                   reinterpret_cast<const uchar *>(data.constData()), data.size());
}

const QByteArray kDiscover = VistraRequests::discover(0x0A0101DE);

SimInstallation withFaults(double drop, double duplicate, double delay, int delayMs)
{
    SimInstallation installation = SimInstallation::builtIn();
    installation.faults = SimFaults{drop, duplicate, delay, delayMs, 7};
    return installation;
}

bool runIp(const QStringList &arguments)
{
    return QProcess::execute(QStringLiteral("ip"), arguments) == 0;
}

} // namespace

void tst_Simulator::initTestCase()
{
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
}

void tst_Simulator::unicastReachesOneSupply()
{
    auto simulator = startSimulator(SimInstallation::builtIn());
    QVERIFY(simulator);
    QSignalSpy requests(simulator.get(), &Simulator::requestReceived);
    Client client;
    QVERIFY(client.askPorts(QStringLiteral("127.0.1.3")));
    QTRY_COMPARE(client.received.size(), 1);
    const QNetworkDatagram reply = client.received.first();
    QCOMPARE(reply.senderAddress().toIPv4Address(), QHostAddress("127.0.1.3").toIPv4Address());
    QCOMPARE(reply.data(),
             SimResponder::discoverPortsReply(SimInstallation::builtIn().supplies.at(2)));
    // Handled by the one supply only; the reply count is final once the reply is in.
    QCOMPARE(requests.size(), 1);
    QCOMPARE(requests.first().at(0).toInt(), 2);
    QCOMPARE(simulator->stats().replies, quint64(1));
}

void tst_Simulator::outputIsRecorded()
{
    auto simulator = startSimulator(SimInstallation::builtIn());
    QVERIFY(simulator);
    SimOutput *output = simulator->output();
    QSignalSpy frames(output, &SimOutput::frameRecorded);
    Client client;
    const QByteArray first(512, '\x11');
    const QByteArray second = QByteArray::fromHex("ff0000") + QByteArray(509, '\0');
    QVERIFY(client.send(portOut(2, first, 0xFFFFFFFF, 0x30), QStringLiteral("127.0.1.3")));
    QVERIFY(client.send(portOut(2, second), QStringLiteral("127.0.1.3")));
    QVERIFY(client.send(
        VistraRequests::dmxOut(0, 0, reinterpret_cast<const uchar *>(first.data()), 512),
        QStringLiteral("127.0.1.1")));
    QTRY_COMPARE(frames.size(), 3);
    // The supplies' sockets are served in no fixed order; each one's frames arrive in order.
    QCOMPARE(frames.count(QList<QVariant>{2, 2}), 2);
    QCOMPARE(frames.count(QList<QVariant>{0, 0}), 1);
    const SimOutput::Record port = output->lastFrame(2, 2);
    QCOMPARE(port.count, quint64(2));
    QCOMPARE(port.last.data, second);
    QCOMPARE(port.last.flags, quint16(0));
    QCOMPARE(output->lastFrame(2, 1).count, quint64(0));
    // A DMX-out frame drives the whole of a version-1 supply.
    QCOMPARE(output->lastFrame(0, 0).last.kind, SimFrame::Kind::DmxOut);
    QCOMPARE(output->channels(0, 1), first);
    QCOMPARE(simulator->stats().replies, quint64(0));
}

void tst_Simulator::broadcastOutputByUniverse()
{
    auto simulator = startSimulator(SimInstallation::builtIn());
    QVERIFY(simulator);
    QSignalSpy frames(simulator->output(), &SimOutput::frameRecorded);
    Client client;
    QVERIFY(client.send(portOut(1, QByteArray(512, '\x22'), 2), QStringLiteral("127.255.255.255")));
    QTRY_COMPARE(frames.size(), 1);
    QCOMPARE(frames.first(), (QList<QVariant>{2, 1})); // supply three is on universe 2
    QVERIFY(client.send(portOut(1, QByteArray(512, '\x33')), QStringLiteral("127.255.255.255")));
    QTRY_COMPARE(frames.size(), 5); // 0xFFFFFFFF reaches every supply
}

// With a share of drops the replies that arrive are exactly those the seeded plan lets
// through, and roughly the configured share is missing.
void tst_Simulator::dropsTheConfiguredShare()
{
    const SimInstallation installation = withFaults(0.3, 0, 0, 0);
    auto simulator = startSimulator(installation);
    QVERIFY(simulator);
    Client client;
    const int requests = 300;
    // In bursts small enough for the socket's receive buffer.
    for (int i = 0; i < requests; ++i) {
        const quint32 serial = 0x10310101u + quint32(i % 50);
        QVERIFY(client.send(VistraRequests::blinkEERead(serial, 65), QStringLiteral("127.0.1.2")));
        if (i % 50 == 49)
            QTRY_COMPARE(simulator->stats().requests, quint64(i + 1));
    }
    SimFaultPlan replay(installation.faults);
    int expected = 0;
    for (int i = 0; i < requests; ++i)
        expected += !replay.next().drop;
    QTRY_COMPARE(client.received.size(), expected);
    QCOMPARE(simulator->stats().dropped, quint64(requests - expected));
    QVERIFY2(qAbs((requests - expected) - 0.3 * requests) < 0.08 * requests,
             qPrintable(QString::number(requests - expected)));
}

void tst_Simulator::duplicatesAndDelays()
{
    auto simulator = startSimulator(withFaults(0, 1, 0, 0));
    QVERIFY(simulator);
    Client client;
    QVERIFY(client.askPorts(QStringLiteral("127.0.1.2")));
    QTRY_COMPARE(client.received.size(), 2);
    QCOMPARE(client.received.at(0).data(), client.received.at(1).data());

    simulator = startSimulator(withFaults(0, 0, 1, 150));
    QVERIFY(simulator);
    Client late;
    QElapsedTimer clock;
    clock.start();
    QVERIFY(late.askPorts(QStringLiteral("127.0.1.2")));
    QTRY_COMPARE(late.received.size(), 1);
    QVERIFY2(clock.elapsed() >= 150, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(simulator->stats().delayed, quint64(1));
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

// An installation on loopback never answers anyone off loopback, even on the same host.
void tst_Simulator::loopbackInstallationIgnoresOtherSenders()
{
    if (!runIp({"addr", "add", "10.77.1.1/32", "dev", "lo"}))
        QSKIP("cannot add an address to the test namespace's loopback");
    auto simulator = startSimulator(SimInstallation::builtIn());
    QVERIFY(simulator);
    Client stranger(QHostAddress(QStringLiteral("10.77.1.1")));
    QVERIFY(stranger.isBound());
    QVERIFY(stranger.askPorts(QStringLiteral("127.0.1.1")));
    QVERIFY(stranger.send(kDiscover, QStringLiteral("127.255.255.255")));
    QTRY_COMPARE(simulator->stats().requests, quint64(2));
    QCOMPARE(simulator->stats().ignored, quint64(2));
    QCOMPARE(simulator->stats().replies, quint64(0));
    QVERIFY(stranger.received.isEmpty());
}

// Supplies on addresses from the configuration (as across a veth pair) bind those addresses
// and answer a directed broadcast of that network.
void tst_Simulator::givenAddresses()
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
}

QTEST_GUILESS_MAIN(tst_Simulator)
#include "tst_simulator.moc"
