// The global "--broadcast ADDRESS" option of orrery-cli: taken out before the command parses
// its own arguments, wherever it stands, and refused when it is not an IPv4 address.
#include <QProcess>
#include <QtTest>

class tst_CliBroadcast : public QObject
{
    Q_OBJECT

private slots:
    void option_data();
    void option();
};

void tst_CliBroadcast::option_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("error");

    const QString map = QStringLiteral(ORRERY_SOURCE_DIR "/examples/riverside-arcade.map");
    QTest::newRow("before the command")
        << QStringList{"--broadcast", "192.168.1.255", "map", "info", map} << 0 << "";
    QTest::newRow("among the command's arguments")
        << QStringList{"map", "info", "--broadcast", "10.0.255.255", map} << 0 << "";
    QTest::newRow("with =") << QStringList{"map", "info", map, "--broadcast=255.255.255.255"} << 0
                            << "";
    QTest::newRow("given twice")
        << QStringList{"--broadcast", "10.0.0.255", "map", "info", "--broadcast=10.0.1.255", map}
        << 0 << "";
    QTest::newRow("not an address")
        << QStringList{"--broadcast", "eth0", "map", "info", map} << 2
        << "orrery-cli: --broadcast needs an IPv4 address such as 192.168.1.255, not: eth0";
    QTest::newRow("three parts") << QStringList{"map", "info", "--broadcast=10.0.255", map} << 2
                                 << "not: 10.0.255";
    QTest::newRow("no value") << QStringList{"map", "info", map, "--broadcast"} << 2
                              << "orrery-cli: --broadcast needs an ADDRESS";
}

void tst_CliBroadcast::option()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(QString, error);
    QProcess process;
    process.start(QStringLiteral(ORRERY_BINARY_DIR "/tools/cli/orrery-cli"), arguments);
    QVERIFY(process.waitForFinished(30000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    const QString standardError = QString::fromLocal8Bit(process.readAllStandardError());
    QVERIFY2(process.exitCode() == status, qPrintable(standardError));
    if (status == 0)
        QVERIFY(process.readAllStandardOutput().contains("Lights: 200"));
    else
        QVERIFY2(standardError.contains(error), qPrintable(standardError));
}

QTEST_GUILESS_MAIN(tst_CliBroadcast)
#include "tst_clibroadcast.moc"
