#include "sim/simoutput.h"
#include "sim/simulator.h"
#include "support/netnamespace.h"
#include "support/programrun.h"
#include "support/simmap.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const QString kCli = QStringLiteral(ORRERY_BINARY_DIR "/tools/cli/orrery-cli");

} // namespace

// `orrery-cli highlight` as a user runs it (its refusals are in tst_cli): the lights of
// a simulated installation lit through the same road as the window's.
class tst_CliHighlight : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void lightsTheChosenSupplyOfASimulatedInstallation();
};

void tst_CliHighlight::initTestCase()
{
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
}

void tst_CliHighlight::lightsTheChosenSupplyOfASimulatedInstallation()
{
    const SimInstallation installation = SimInstallation::builtIn();
    Simulator simulator(installation);
    QString error;
    QVERIFY2(simulator.start(&error), qPrintable(error));
    MapModel model;
    fillFromSimulation(model, installation);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("sim.map"));
    QVERIFY(model.saveToFile(path));
    // The second supply: every port of it lit, nothing else.
    const int chosen = 1;
    const DataSupply *supply = nullptr;
    for (const DataSupply *s : model.dataSupplies())
        if (s->ipAddress() == installation.supplies.at(chosen).address)
            supply = s;
    QVERIFY(supply);

    QProcess process;
    process.start(kCli, {"highlight", path, "--supply", QString::number(supply->uid(), 16),
                         "--fg", "#00ff80", "--fps", "20", "--for", "600"});
    QVERIFY(process.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(process.state() == QProcess::NotRunning, 10000);
    QCOMPARE(process.exitCode(), 0);
    QVERIFY(process.readAllStandardOutput().contains("Highlighting"));

    for (int s = 0; s < installation.supplies.size(); ++s) {
        for (const SimPort &port : installation.supplies.at(s).ports) {
            const SimOutput::Record record = simulator.output()->lastFrame(
                s, installation.supplies.at(s).version == 1 ? 0 : port.number);
            // 20 frames a second for 0.6 s, give or take the start.
            QVERIFY2(record.count >= 8 && record.count <= 14,
                     qPrintable(QString::number(record.count)));
            const QByteArray channels = simulator.output()->channels(s, port.number);
            for (const SimLight &light : port.lights)
                QCOMPARE(channels.mid(light.dmxOffset(), 3).toHex(),
                         QByteArray(s == chosen ? "00ff80" : "000000"));
        }
    }
}

QTEST_GUILESS_MAIN(tst_CliHighlight)
#include "tst_clihighlight.moc"
