// Discovery from the command line against the simulated installation on another host: the
// simulator runs in a network namespace of its own, joined to ours by a veth pair whose end
// on our side is called "eth0", so discovery broadcasts take the program's own path (the
// directed broadcast of eth0) rather than an address chosen on the command line.
#include "support/netnamespace.h"
#include "sim/siminstallation.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString kSim = QStringLiteral(ORRERY_BINARY_DIR "/tools/sim/orrery-sim");
const QString kCli = QStringLiteral(ORRERY_BINARY_DIR "/tools/cli/orrery-cli");
const QString kSubnet = QStringLiteral("192.168.7.");

struct ExpectedLight
{
    quint64 supplySerial;
    int port;
    int dmxAddress;
};

} // namespace

class tst_DiscoveryEndToEnd : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void readFindsAndReadsEverything_data();
    void readFindsAndReadsEverything();
    void cleanup();

private:
    bool startSimulator(const SimInstallation &installation, QString *error);

    QTemporaryDir m_dir;
    QProcess m_sim;
};

void tst_DiscoveryEndToEnd::initTestCase()
{
    if (!NetNamespace::isPrivate())
        QSKIP(NetNamespace::kNotPrivate);
    QString error;
    if (!NetNamespace::enterFresh(&error))
        QSKIP(qPrintable(error));
}

void tst_DiscoveryEndToEnd::cleanup()
{
    m_sim.kill();
    m_sim.waitForFinished(5000);
    NetNamespace::ip(QStringLiteral("link del eth0"));
}

bool tst_DiscoveryEndToEnd::startSimulator(const SimInstallation &installation, QString *error)
{
    const QString config = m_dir.filePath(QStringLiteral("installation.json"));
    QFile file(config);
    if (!file.open(QIODevice::WriteOnly)) {
        *error = QStringLiteral("cannot write %1").arg(config);
        return false;
    }
    file.write(QJsonDocument(installation.toJson()).toJson());
    file.close();

    // The simulator's host: wait for our end to hand over sim0, give each supply its own
    // address on it, then run.
    QStringList setUp;
    setUp << QStringLiteral("for i in $(seq 1 200); do ip link show sim0 >/dev/null 2>&1 && break; sleep 0.05; done")
          << QStringLiteral("ip link set lo up");
    for (const SimSupply &supply : installation.supplies)
        setUp << QStringLiteral("ip addr add %1/24 dev sim0").arg(supply.address.toString());
    setUp << QStringLiteral("ip link set sim0 up")
          << QStringLiteral("exec '%1' --config '%2' --run-for 120000").arg(kSim, config);
    m_sim.setProcessChannelMode(QProcess::MergedChannels);
    m_sim.start(QStringLiteral("unshare"), {QStringLiteral("-n"), QStringLiteral("bash"),
                                            QStringLiteral("-c"), setUp.join(QLatin1Char('\n'))});
    if (!m_sim.waitForStarted(5000)) {
        *error = QStringLiteral("cannot start the simulator: %1").arg(m_sim.errorString());
        return false;
    }
    const QString pid = QString::number(m_sim.processId());
    if (!NetNamespace::setUp({QStringLiteral("link add eth0 type veth peer name sim0"),
                              QStringLiteral("link set sim0 netns %1").arg(pid),
                              QStringLiteral("addr add %110/24 dev eth0").arg(kSubnet),
                              QStringLiteral("link set eth0 up")},
                             error))
        return false;
    QByteArray output;
    while (!output.contains("port 6038") && m_sim.waitForReadyRead(10000))
        output += m_sim.readAll();
    if (!output.contains("port 6038")) {
        *error = QStringLiteral("the simulator did not start: %1").arg(QString::fromLocal8Bit(output));
        return false;
    }
    return true;
}

void tst_DiscoveryEndToEnd::readFindsAndReadsEverything_data()
{
    QTest::addColumn<double>("drop");
    QTest::addColumn<double>("duplicate");
    QTest::newRow("clean network") << 0.0 << 0.0;
    QTest::newRow("30% of replies lost") << 0.3 << 0.0;
    QTest::newRow("replies duplicated") << 0.0 << 0.3;
}

void tst_DiscoveryEndToEnd::readFindsAndReadsEverything()
{
    QFETCH(double, drop);
    QFETCH(double, duplicate);
    SimInstallation installation = SimInstallation::builtIn();
    QHash<quint64, ExpectedLight> expected;
    QHash<quint64, int> expectedPorts;
    for (int i = 0; i < installation.supplies.size(); ++i) {
        SimSupply &supply = installation.supplies[i];
        supply.address = QHostAddress(kSubnet + QString::number(21 + i));
        expectedPorts.insert(supply.serial, supply.ports.size());
        for (const SimPort &port : qAsConst(supply.ports)) {
            for (const SimLight &light : port.lights)
                expected.insert(light.serial, {supply.serial, port.number - 1, light.dmxOffset() + 1});
        }
    }
    installation.faults.dropShare = drop;
    installation.faults.duplicateShare = duplicate;
    installation.faults.seed = 11;
    QString error;
    if (!startSimulator(installation, &error))
        QSKIP(qPrintable(error));

    QProcess cli;
    cli.start(kCli, {QStringLiteral("read"), QStringLiteral("--json"), QStringLiteral("--timeout"),
                     QStringLiteral("1500")});
    QVERIFY(cli.waitForFinished(120000));
    const QByteArray errors = cli.readAllStandardError();
    const QJsonObject result = QJsonDocument::fromJson(cli.readAllStandardOutput()).object();
    if (cli.exitCode() != 0) {
        // Say which lights did not answer, and at which step the log shows them.
        QStringList unread;
        for (const QJsonValue &value : result.value("lights").toArray()) {
            if (!value.toObject().value("read").toBool())
                unread << QString::number(quint64(value.toObject().value("serialNumber").toDouble()), 16);
        }
        qWarning().noquote() << "not read:" << unread.join(' ') << "\n" << errors.right(4000);
    }
    QCOMPARE(cli.exitCode(), 0);

    // Every supply exactly once, with its ports.
    QHash<quint64, quint64> serialOfSupplyUid;
    const QJsonArray supplies = result.value("supplies").toArray();
    QCOMPARE(supplies.size(), expectedPorts.size());
    for (const QJsonValue &value : supplies) {
        const QJsonObject supply = value.toObject();
        const auto serial = quint64(supply.value("serialNumber").toDouble());
        QVERIFY2(expectedPorts.contains(serial), qPrintable(QString::number(serial, 16)));
        QVERIFY(!serialOfSupplyUid.values().contains(serial));
        QCOMPARE(supply.value("ports").toArray().size(), expectedPorts.value(serial));
        serialOfSupplyUid.insert(quint64(supply.value("uid").toDouble()), serial);
    }

    // Every light exactly once, on the right supply and port, with its DMX address.
    const QJsonArray lights = result.value("lights").toArray();
    QCOMPARE(lights.size(), expected.size());
    QSet<quint64> seen;
    for (const QJsonValue &value : lights) {
        const QJsonObject light = value.toObject();
        const auto serial = quint64(light.value("serialNumber").toDouble());
        QVERIFY2(expected.contains(serial), qPrintable(QString::number(serial, 16)));
        QVERIFY(!seen.contains(serial));
        seen.insert(serial);
        const ExpectedLight want = expected.value(serial);
        QCOMPARE(serialOfSupplyUid.value(quint64(light.value("dataSupply").toDouble())), want.supplySerial);
        QCOMPARE(light.value("portIndex").toInt(), want.port);
        QCOMPARE(light.value("dmxAddress").toInt(), want.dmxAddress);
        QCOMPARE(light.value("read").toBool(), true);
    }
}

QTEST_GUILESS_MAIN(tst_DiscoveryEndToEnd)
#include "tst_discoveryendtoend.moc"
