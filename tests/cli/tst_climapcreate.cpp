#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

#include "support/programrun.h"

// map new, add-lights and add-string as scripts use them: what they write, and what they
// refuse without writing anything.
class tst_CliMapCreate : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void buildsAnInstallation();
    void refusals_data();
    void refusals();

private:
    QJsonArray lightsOf(const QString &path);
    QTemporaryDir m_dir;
    QString m_empty;
};

void tst_CliMapCreate::init()
{
    QVERIFY(m_dir.isValid());
    m_empty = m_dir.filePath("empty.map");
    QCOMPARE(cli({"map", "new", m_empty}).status, 0);
}

QJsonArray tst_CliMapCreate::lightsOf(const QString &path)
{
    const ProgramRun run = cli({"map", "info", "--json", path});
    return QJsonDocument::fromJson(run.out).object().value("lights").toArray();
}

void tst_CliMapCreate::buildsAnInstallation()
{
    const QString row = m_dir.filePath("row.map");
    const QString tile = m_dir.filePath("tile.map");
    QCOMPARE(cli({"map", "add-lights", m_empty, row, "--count", "2", "--base-dmx", "511",
                  "--ports", "2", "--base-name", "Bay"})
                 .status,
             0);
    QCOMPARE(cli({"map", "add-string", row, tile, "--shape", "tile", "--rows", "2", "--columns",
                  "2", "--order", "raster-bottom-right", "--interface", "FFFFFFFF", "--port", "3",
                  "--grid", "10"})
                 .status,
             0);
    QMap<QString, QStringList> byName; // name -> DMX_OFFSET, x, y
    for (const QJsonValue &v : lightsOf(tile)) {
        const QJsonObject light = v.toObject();
        byName.insert(light.value("name").toString(),
                      {light.value("properties").toObject().value("DMX_OFFSET").toString(),
                       QString::number(light.value("x").toDouble()),
                       QString::number(light.value("y").toDouble())});
    }
    // DMX 511 holds no three-channel light: the row starts port 2.
    QCOMPARE(byName.value("Bay  02-001"), QStringList({"0", "12", "24"}));
    QCOMPARE(byName.value("Bay  02-002"), QStringList({"3", "24", "24"}));
    // Numbered from the bottom right, each row from the right; placed below the row.
    QCOMPARE(byName.value("Light  03-001"), QStringList({"0", "20", "54"}));
    QCOMPARE(byName.value("Light  03-004"), QStringList({"9", "10", "44"}));
    QCOMPARE(byName.size(), 6);
}

void tst_CliMapCreate::refusals_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("message");
    QTest::newRow("serial does not parse")
        << QStringList{"add-lights", "--count", "1", "--interface", "XYZ"} << 1
        << "Unable to parse serial number of selected controller";
    QTest::newRow("serial not in the map")
        << QStringList{"add-lights", "--count", "1", "--interface", "1A2B"} << 1
        << "Unable to find specified controller in map";
    QTest::newRow("more ports than allowed")
        << QStringList{"add-string", "--shape", "horizontal", "--columns", "1000", "--ports", "5"}
        << 1 << "need 6 ports";
    QTest::newRow("no count") << QStringList{"add-lights"} << 2 << "--count";
    QTest::newRow("count past the maximum") << QStringList{"add-lights", "--count", "15001"} << 2
                                            << "--count";
    QTest::newRow("unknown shape") << QStringList{"add-string", "--shape", "circle"} << 2
                                   << "--shape";
    QTest::newRow("unknown fixture")
        << QStringList{"add-lights", "--count", "1", "--fixture", "Lamp"} << 2
        << "unknown fixture type";
    QTest::newRow("base DMX past 512")
        << QStringList{"add-lights", "--count", "1", "--base-dmx", "513"} << 2 << "--base-dmx";
}

void tst_CliMapCreate::refusals()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(QString, message);
    const QString out = m_dir.filePath("out.map");
    QStringList all{"map", arguments.takeFirst(), m_empty, out};
    const ProgramRun run = cli(all + arguments);
    QCOMPARE(run.status, status);
    QVERIFY2(run.err.contains(message.toUtf8()), run.err.constData());
    QVERIFY(!QFile::exists(out));
}

QTEST_GUILESS_MAIN(tst_CliMapCreate)
#include "tst_climapcreate.moc"
