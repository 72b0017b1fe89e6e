// Where the program's lighting traffic goes, decided at start-up: the demonstration keeps
// everything on loop-back with a simulated installation to talk to; otherwise the command
// line, then the setting, then the default.
#include "app/networkoptions.h"
#include "net/ksocket.h"
#include "net/vistra.h"
#include "support/netnamespace.h"
#include "testsettings.h"

#include <QCommandLineParser>
#include <QSettings>
#include <QSignalSpy>
#include <QtTest>

class tst_NetworkOptions : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void broadcastChoice_data();
    void broadcastChoice();
    void demoStaysOnLoopbackAndAnswers();

private:
    static bool apply(const QStringList &arguments, QObject *owner, QString *error)
    {
        QCommandLineParser parser;
        NetworkOptions::addTo(parser);
        if (!parser.parse(QStringList{QStringLiteral("orrery")} + arguments))
            return false;
        return NetworkOptions::apply(parser, owner, error);
    }
    TestSettings m_settings;
};

void tst_NetworkOptions::init()
{
    TestSettings::clear();
    KSocket::setDefaultBroadcastAddress(QHostAddress());
    KSocket::setLoopbackOnly(false);
}

void tst_NetworkOptions::broadcastChoice_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("setting");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QString>("broadcast");
    QTest::newRow("default: no choice") << QStringList{} << "" << true << "";
    QTest::newRow("option") << QStringList{"--broadcast", "192.168.7.255"} << "" << true << "192.168.7.255";
    QTest::newRow("setting") << QStringList{} << "10.1.255.255" << true << "10.1.255.255";
    QTest::newRow("option wins over setting") << QStringList{"--broadcast", "192.168.7.255"}
                                              << "10.1.255.255" << true << "192.168.7.255";
    QTest::newRow("bad option") << QStringList{"--broadcast", "192.168.7"} << "" << false << "";
    QTest::newRow("bad setting") << QStringList{} << "everyone" << false << "";
}

void tst_NetworkOptions::broadcastChoice()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, setting);
    QFETCH(bool, ok);
    QFETCH(QString, broadcast);
    if (!setting.isEmpty())
        QSettings().setValue(NetworkOptions::kBroadcastSetting, setting);
    QString error;
    QCOMPARE(apply(arguments, this, &error), ok);
    QCOMPARE(error.isEmpty(), ok);
    QCOMPARE(KSocket::defaultBroadcastAddress().isNull() ? QString()
                                                         : KSocket::defaultBroadcastAddress().toString(),
             broadcast);
    QVERIFY(!KSocket::isLoopbackOnly());
}

void tst_NetworkOptions::demoStaysOnLoopbackAndAnswers()
{
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
    // The demonstration wins over any broadcast the user chose for real installations.
    QSettings().setValue(NetworkOptions::kBroadcastSetting, QStringLiteral("192.168.7.255"));
    QObject owner;
    QString error;
    QVERIFY2(apply({QStringLiteral("--demo")}, &owner, &error), qPrintable(error));
    QVERIFY(KSocket::isLoopbackOnly());
    QCOMPARE(KSocket::defaultBroadcastAddress(), QHostAddress(NetworkOptions::kDemoBroadcast));

    // The start-up sync packets and a discovery reach the simulated installation.
    Vistra vistra;
    QSignalSpy v1(&vistra, &Vistra::signalDiscoverResponse);
    QSignalSpy v3(&vistra, &Vistra::signalDiscoverResponseV3);
    QVERIFY(vistra.discover(QStringLiteral("10.1.1.222")));
    QTRY_COMPARE(v1.count() + v3.count(), 4);
    // Nothing may leave the machine in the demonstration.
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression("Not sending to .*loop-back-only mode"));
    QVERIFY(!vistra.discoverPorts(QStringLiteral("10.32.1.11")));
    KSocket::setLoopbackOnly(false);
}

QTEST_GUILESS_MAIN(tst_NetworkOptions)
#include "tst_networkoptions.moc"
