#include "support/netnamespace.h"
#include "support/programrun.h"

#include "net/commlibrary.h"
#include "net/ksocket.h"
#include "net/vistrarequests.h"

#include <QHostAddress>
#include <QNetworkDatagram>
#include <QProcess>
#include <QTemporaryDir>
#include <QUdpSocket>
#include <QtTest>

// orrery-sim as a user runs it.
class tst_SimCli : public QObject
{
    Q_OBJECT

private slots:
    void list();
    void printedConfigReadsBack();
    void badArguments_data();
    void badArguments();
    void runsAndAnswers_data();
    void runsAndAnswers();
    void secondSimulatorOnThePort_data();
    void secondSimulatorOnThePort();
    void controllerReportsPauses();
};

namespace {

const QString kSim = QStringLiteral(ORRERY_BINARY_DIR "/tools/sim/orrery-sim");

struct Result
{
    int status;
    QString out;
    QString err;
};

Result run(const QStringList &arguments)
{
    const ProgramRun run = runProgram(kSim, arguments);
    return {run.status, QString::fromUtf8(run.out), QString::fromUtf8(run.err)};
}

QString writeFile(const QTemporaryDir &dir, const QString &name, const QByteArray &content)
{
    const QString path = dir.filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        return {};
    return path;
}

} // namespace

void tst_SimCli::list()
{
    const Result result = run({QStringLiteral("--list")});
    QCOMPARE(result.status, 0);
    QVERIFY2(result.out.startsWith(QStringLiteral("4 supplies, 350 lights\n")),
             qPrintable(result.out));
    QVERIFY(result.out.contains(QStringLiteral("127.0.1.4  v3  serial 000001A50004")));
    QVERIFY(result.out.contains(
        QStringLiteral("classic 10210201-1021021E (DMX 1-90), RDM 7A7001000201-7A7001000214 "
                       "(DMX 91-150)")));
}

void tst_SimCli::printedConfigReadsBack()
{
    QTemporaryDir dir;
    const Result printed =
        run({QStringLiteral("--print-config"), QStringLiteral("--drop"), QStringLiteral("0.25")});
    QCOMPARE(printed.status, 0);
    const QString path = writeFile(dir, QStringLiteral("full.json"), printed.out.toUtf8());
    QVERIFY(!path.isEmpty());
    QVERIFY(printed.out.contains(QStringLiteral("\"drop\": 0.25")));
    const Result fromFile = run({QStringLiteral("--config"), path, QStringLiteral("--list")});
    QCOMPARE(fromFile.status, 0);
    QCOMPARE(fromFile.out, run({QStringLiteral("--list")}).out);
}

void tst_SimCli::badArguments_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("config");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("message");
    QTest::newRow("broken JSON") << QStringList{"--list"} << QByteArray("{\"supplies\": [") << 1
                                 << "bad.json: offset";
    QTest::newRow("bad light") << QStringList{"--list"}
                               << QByteArray("{\"supplies\": [{\"serial\": \"1\", \"ports\": "
                                             "[{\"lights\": [{\"serial\": \"x\"}]}]}]}")
                               << 1 << "supplies[0].ports[0].lights[0]: \"serial\"";
    QTest::newRow("missing file") << QStringList{"--list", "--config", "/nonexistent/x.json"}
                                  << QByteArray() << 1 << "/nonexistent/x.json";
    QTest::newRow("drop above 1") << QStringList{"--list", "--drop", "1.5"} << QByteArray() << 2
                                  << "--drop needs a share";
    QTest::newRow("seed not a number") << QStringList{"--list", "--seed", "x"} << QByteArray() << 2
                                       << "--seed needs a whole number";
    QTest::newRow("screenshot without view")
        << QStringList{"--screenshot", "a.png"} << QByteArray() << 2 << "needs --view";
    QTest::newRow("controller missing")
        << QStringList{"--no-installation"} << QByteArray() << 2 << "needs --controller";
    QTest::newRow("unknown option")
        << QStringList{"--frobnicate"} << QByteArray() << 2 << "frobnicate";
}

// Mistakes are reported on standard error with a non-zero status, never a crash.
void tst_SimCli::badArguments()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, config);
    QFETCH(int, status);
    QFETCH(QString, message);
    QTemporaryDir dir;
    if (!config.isEmpty())
        arguments << QStringLiteral("--config")
                  << writeFile(dir, QStringLiteral("bad.json"), config);
    const Result result = run(arguments);
    QCOMPARE(result.status, status);
    QVERIFY2(result.err.contains(message), qPrintable(result.err));
}

void tst_SimCli::runsAndAnswers_data()
{
    QTest::addColumn<QString>("drop");
    QTest::addColumn<int>("replies");
    QTest::newRow("all replies") << "0" << 4;
    QTest::newRow("all dropped") << "1" << 0;
}

// Started on its own, the simulator answers a broadcast discover from every supply.
void tst_SimCli::runsAndAnswers()
{
    QFETCH(QString, drop);
    QFETCH(int, replies);
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
    QProcess process;
    process.start(
        kSim, {QStringLiteral("--run-for"), QStringLiteral("800"), QStringLiteral("--drop"), drop});
    QVERIFY(process.waitForReadyRead(10000)); // the start-up line: sockets are bound
    QVERIFY(process.readLine().startsWith("orrery-sim: 4 supplies, 350 lights"));
    QUdpSocket client;
    QVERIFY(client.bind(QHostAddress(QHostAddress::LocalHost), 0));
    const QByteArray request = VistraRequests::discover(0x0A0101DE);
    QCOMPARE(client.writeDatagram(request, QHostAddress(QStringLiteral("127.255.255.255")), 6038),
             qint64(request.size()));
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.exitCode(), 0);
    const QString summary = QString::fromUtf8(process.readAllStandardOutput());
    QVERIFY2(summary.contains(QStringLiteral("1 requests, %1 replies").arg(replies)),
             qPrintable(summary));
    int received = 0;
    while (client.hasPendingDatagrams() && client.receiveDatagram().isValid())
        ++received;
    QCOMPARE(received, replies);
}

void tst_SimCli::secondSimulatorOnThePort_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("message");
    QTest::newRow("refused") << QStringList() << 1
                             << "UDP port 6038 is already in use on this host";
    QTest::newRow("shared on purpose")
        << QStringList{"--share-port"} << 0 << "4 supplies, 350 lights, port 6038";
}

// Two simulators on one port would both answer every request: the second refuses to start
// unless told to share.
void tst_SimCli::secondSimulatorOnThePort()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(QString, message);
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
    QProcess first;
    first.start(kSim, {QStringLiteral("--run-for"), QStringLiteral("20000")});
    QVERIFY(first.waitForReadyRead(10000)); // the start-up line: sockets are bound
    const Result second = run(arguments << QStringLiteral("--run-for") << QStringLiteral("100"));
    first.kill();
    first.waitForFinished(5000);
    QCOMPARE(second.status, status);
    QVERIFY2((second.out + second.err).contains(message), qPrintable(second.out + second.err));
}

// What a new user sees: the program registers with the simulated controller, and each pause
// shows as "paused by Orrery at HH:MM:SS".
void tst_SimCli::controllerReportsPauses()
{
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
    QProcess process;
    process.start(kSim, {QStringLiteral("--controller"), QStringLiteral("--no-installation"),
                         QStringLiteral("--run-for"), QStringLiteral("3000")});
    QVERIFY(process.waitForReadyRead(10000)); // the start-up line: sockets are bound
    QVERIFY(process.readLine().contains("waiting for announcements on UDP 6775"));

    KSocket::setLoopbackOnly(true);
    const auto restore = qScopeGuard([] { KSocket::setLoopbackOnly(false); });
    CommLibrary comm(QStringLiteral("Orrery"));
    QTRY_COMPARE(comm.peerHosts(), QStringList{"127.0.0.1"});
    comm.handlePauseControllers();
    const QRegularExpression paused(QStringLiteral("^paused by Orrery at \\d\\d:\\d\\d:\\d\\d$"),
                                    QRegularExpression::MultilineOption);
    QString out;
    QTRY_VERIFY2((out += QString::fromUtf8(process.readAllStandardOutput())).contains(paused),
                 qPrintable(out));
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.exitCode(), 0);
    out += QString::fromUtf8(process.readAllStandardOutput());
    QVERIFY2(out.contains(QStringLiteral(
                 "controller: 1 announcements, 1 registrations, 1 pauses, 0 rejected")),
             qPrintable(out));
}

QTEST_GUILESS_MAIN(tst_SimCli)
#include "tst_simcli.moc"
