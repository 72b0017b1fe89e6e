#include "support/netnamespace.h"
#include "support/programrun.h"

#include "net/commlibrary.h"
#include "net/ksocket.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

// orrery-sim as a user runs it.
class tst_SimCli : public QObject
{
    Q_OBJECT

private slots:
    void listAndPrintedConfig();
    void refusals_data();
    void refusals();
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

// The list of what runs, and the configuration printed with an option folded in: read back,
// it lists the same installation.
void tst_SimCli::listAndPrintedConfig()
{
    const Result list = run({QStringLiteral("--list")});
    QCOMPARE(list.status, 0);
    QVERIFY2(list.out.startsWith(QStringLiteral("4 supplies, 350 lights\n")), qPrintable(list.out));
    QVERIFY(list.out.contains(QStringLiteral("127.0.1.4  v3  serial 000001A50004")));
    QVERIFY(list.out.contains(
        QStringLiteral("classic 10210201-1021021E (DMX 1-90), RDM 7A7001000201-7A7001000214 "
                       "(DMX 91-150)")));
    QTemporaryDir dir;
    const Result printed =
        run({QStringLiteral("--print-config"), QStringLiteral("--drop"), QStringLiteral("0.25")});
    QCOMPARE(printed.status, 0);
    QVERIFY(printed.out.contains(QStringLiteral("\"drop\": 0.25")));
    const QString path = writeFile(dir, QStringLiteral("full.json"), printed.out.toUtf8());
    QCOMPARE(run({QStringLiteral("--config"), path, QStringLiteral("--list")}).out, list.out);
}

void tst_SimCli::refusals_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("config");
    QTest::addColumn<bool>("alongside"); // while another simulator holds the port
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("message");
    QTest::newRow("bad light") << QStringList{"--list"}
                               << QByteArray("{\"supplies\": [{\"serial\": \"1\", \"ports\": "
                                             "[{\"lights\": [{\"serial\": \"x\"}]}]}]}")
                               << false << 1 << "bad.json: supplies[0].ports[0].lights[0]";
    QTest::newRow("missing file") << QStringList{"--list", "--config", "/nonexistent/x.json"}
                                  << QByteArray() << false << 1 << "/nonexistent/x.json";
    QTest::newRow("drop above 1") << QStringList{"--list", "--drop", "1.5"} << QByteArray() << false
                                  << 2 << "--drop needs a share";
    QTest::newRow("screenshot without view")
        << QStringList{"--screenshot", "a.png"} << QByteArray() << false << 2 << "needs --view";
    QTest::newRow("unknown option")
        << QStringList{"--frobnicate"} << QByteArray() << false << 2 << "frobnicate";
    // Two simulators on one port would both answer every request: the second refuses to start
    // unless told to share.
    QTest::newRow("port in use") << QStringList{"--run-for", "100"} << QByteArray() << true << 1
                                 << "UDP port 6038 is already in use on this host";
    QTest::newRow("port shared on purpose")
        << QStringList{"--share-port", "--run-for", "100"} << QByteArray() << true << 0
        << "orrery-sim: 0 requests, 0 replies, 0 frames, 0 dropped";
}

// Mistakes are refused with a status and the reason, never a crash.
void tst_SimCli::refusals()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, config);
    QFETCH(bool, alongside);
    QFETCH(int, status);
    QFETCH(QString, message);
    QTemporaryDir dir;
    if (!config.isEmpty())
        arguments << QStringLiteral("--config")
                  << writeFile(dir, QStringLiteral("bad.json"), config);
    QProcess first;
    if (alongside) {
        ORRERY_ENTER_OWN_NETNS_OR_SKIP();
        first.start(kSim, {QStringLiteral("--run-for"), QStringLiteral("1500")});
        QVERIFY(first.waitForReadyRead(10000)); // the start-up line: sockets are bound
    }
    const Result result = run(arguments);
    QVERIFY(!alongside || first.waitForFinished(10000));
    QCOMPARE(result.status, status);
    QVERIFY2((result.out + result.err).contains(message), qPrintable(result.out + result.err));
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
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.exitCode(), 0);
    const QString out = QString::fromUtf8(process.readAllStandardOutput());
    QVERIFY2(out.contains(QStringLiteral("\npaused by Orrery at ")) &&
                 out.contains(QStringLiteral(
                     "controller: 1 announcements, 1 registrations, 1 pauses, 0 rejected")),
             qPrintable(out));
}

QTEST_GUILESS_MAIN(tst_SimCli)
#include "tst_simcli.moc"
