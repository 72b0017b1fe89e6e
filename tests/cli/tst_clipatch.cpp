#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

#include "support/programrun.h"

// orrery-cli map patch: the example map's CSV against a hand-checked file, the JSON, the
// PDF, and what bad maps and arguments give.
class tst_CliPatch final : public QObject
{
    Q_OBJECT
private slots:
    void csvMatchesTheHandCheckedList();
    void jsonFollowsTheCsvOrder();
    void textNamesEveryPort();
    void pdfIsWritten();
    void failures_data();
    void failures();
    void pdfNeverOverwritesTheMap();
};

namespace {

const QString kExample = QStringLiteral(ORRERY_SOURCE_DIR "/examples/riverside-arcade.map");

} // namespace

void tst_CliPatch::csvMatchesTheHandCheckedList()
{
    const ProgramRun run = cli({"map", "patch", "--csv", kExample});
    QCOMPARE(run.status, 0);
    QFile expected(QStringLiteral(ORRERY_TEST_DATA "/riverside-arcade-patch.csv"));
    QVERIFY(expected.open(QIODevice::ReadOnly));
    const QList<QByteArray> want = expected.readAll().split('\n');
    const QList<QByteArray> got = run.out.split('\n');
    QCOMPARE(got.size(), want.size());
    for (int i = 0; i < want.size(); ++i)
        QCOMPARE(got.at(i), want.at(i));
}

void tst_CliPatch::jsonFollowsTheCsvOrder()
{
    const ProgramRun json = cli({"map", "patch", "--json", kExample});
    QCOMPARE(json.status, 0);
    QJsonParseError error;
    const QJsonObject root = QJsonDocument::fromJson(json.out, &error).object();
    QCOMPARE(error.error, QJsonParseError::NoError);

    // The JSON's lights, flattened, are the CSV's rows in the same order.
    QStringList fromJson;
    for (const QJsonValue &s : root.value("supplies").toArray()) {
        const QJsonObject supply = s.toObject();
        for (const QJsonValue &p : supply.value("ports").toArray()) {
            const QJsonObject port = p.toObject();
            for (const QJsonValue &l : port.value("lights").toArray()) {
                const QJsonObject light = l.toObject();
                fromJson << QStringLiteral("%1,%2,%3,%4,%5,%6,%7")
                                .arg(supply.value("name").toString(),
                                     supply.value("serial").toString(),
                                     supply.value("ip").toString())
                                .arg(port.value("port").toInt())
                                .arg(light.value("name").toString(),
                                     light.value("serial").toString())
                                .arg(light.value("dmxAddress").toInt());
            }
        }
    }
    QStringList fromCsv;
    const QList<QByteArray> rows =
        cli({"map", "patch", "--csv", kExample}).out.trimmed().split('\n');
    for (int i = 1; i < rows.size(); ++i)
        fromCsv << QString::fromUtf8(rows.at(i)).section(QLatin1Char(','), 0, 6);
    QCOMPARE(fromJson.size(), 200);
    QCOMPARE(fromJson, fromCsv);
}

void tst_CliPatch::textNamesEveryPort()
{
    const ProgramRun run = cli({"map", "patch", kExample});
    QCOMPARE(run.status, 0);
    const QString text = QString::fromUtf8(run.out);
    QVERIFY(text.startsWith("Patch list: 3 interfaces, 200 lights\n"));
    QCOMPARE(text.count(QStringLiteral("  Port ")), 5);
    QVERIFY(text.contains("Arcade North PDS  IP 10.32.1.11  serial 01A20011\n"
                          "  Port 1: 40 lights\n"));
    QVERIFY(text.contains(QRegularExpression("\n    1-3 +3  North P1-01 +10110000\n")));
}

void tst_CliPatch::pdfIsWritten()
{
    QTemporaryDir dir;
    const QString pdf = dir.filePath("arcade.pdf");
    // Without a display: the command picks a platform that needs none.
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove("QT_QPA_PLATFORM");
    env.remove("DISPLAY");
    env.remove("WAYLAND_DISPLAY");
    QProcess process;
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(ORRERY_BINARY_DIR "/tools/cli/orrery-cli"),
                  {"map", "patch", kExample, "--pdf", pdf});
    QVERIFY(process.waitForFinished(60000));
    QCOMPARE(process.exitCode(), 0);
    QVERIFY(process.readAllStandardOutput().startsWith("Wrote "));
    QFile file(pdf);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QVERIFY(file.readAll().startsWith("%PDF-"));
}

void tst_CliPatch::failures_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("stderrText");
    QTest::newRow("missing map") << QStringList{"/nonexistent.map"} << 1
                                 << "no such file: /nonexistent.map";
    QTest::newRow("not a map") << QStringList{ORRERY_SOURCE_DIR "/README.md", "--csv"} << 1
                               << "Error in line: 1, column: 1";
    QTest::newRow("PDF into a missing folder")
        << QStringList{kExample, "--pdf", "/nonexistent/dir/plan.pdf"} << 1 << "cannot write";
    QTest::newRow("PDF into a device") << QStringList{kExample, "--pdf", "/dev/null"} << 1
                                       << "not a regular file";
    QTest::newRow("no map") << QStringList{"--csv"} << 2 << "takes one MAP";
    QTest::newRow("two maps") << QStringList{kExample, kExample} << 2 << "takes one MAP";
    QTest::newRow("two formats") << QStringList{kExample, "--csv", "--json"} << 2
                                 << "one of --csv, --json and --pdf";
    QTest::newRow("--pdf without a file")
        << QStringList{kExample, "--pdf"} << 2 << "Missing value after '--pdf'";
    QTest::newRow("unknown option")
        << QStringList{kExample, "--xlsx"} << 2 << "Unknown option 'xlsx'";
}

void tst_CliPatch::failures()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(QString, stderrText);
    const ProgramRun run = cli(QStringList{"map", "patch"} + arguments);
    QCOMPARE(run.status, status);
    QVERIFY2(run.err.contains(stderrText.toUtf8()), run.err.constData());
    QVERIFY(run.out.isEmpty());
}

// A slip of the keyboard must not turn the map into its own printout.
void tst_CliPatch::pdfNeverOverwritesTheMap()
{
    QTemporaryDir dir;
    const QString map = dir.filePath(QStringLiteral("site.map"));
    QVERIFY(QFile::copy(kExample, map));
    QFile original(map);
    QVERIFY(original.open(QIODevice::ReadOnly));
    const QByteArray before = original.readAll();
    original.close();
    const ProgramRun run = cli({"map", "patch", map, "--pdf", map});
    QCOMPARE(run.status, 2);
    QVERIFY2(run.err.contains("is the map itself"), run.err.constData());
    QVERIFY(original.open(QIODevice::ReadOnly));
    QCOMPARE(original.readAll(), before);
}

QTEST_GUILESS_MAIN(tst_CliPatch)
#include "tst_clipatch.moc"
