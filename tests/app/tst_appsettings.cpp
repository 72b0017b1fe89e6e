// What the program keeps in the user settings between runs: the window's settings, the recent
// maps and the choice of where lighting traffic goes. The keys are shared with the preferences
// dialog and with settings written by earlier versions, so a misspelt key silently loses the
// user's choice.
#include "app/kestrelsettings.h"
#include "app/networkoptions.h"
#include "app/recentmaps.h"
#include "net/ksocket.h"
#include "net/vistra.h"
#include "support/netnamespace.h"
#include "testsettings.h"

#include <QCommandLineParser>
#include <QSignalSpy>
#include <QtTest>

namespace {

// Every key the window writes, with its default.
const QString kDefaults =
    QStringLiteral("canvas_height=10000 canvas_width=10000 frame_rate=10 grid=12 live_play=true "
                   "map_path=./ num_recent_maps=5 recent_maps_enabled=true show_grid=true "
                   "snap_grid=true zoom=10");

// The settings as sorted "key=value" lines.
QStringList settingsText()
{
    QSettings settings;
    QStringList lines;
    for (const QString &key : settings.allKeys())
        lines << key + QLatin1Char('=') + settings.value(key).toString();
    lines.sort();
    return lines;
}

} // namespace

class tst_AppSettings : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void windowSettings_data();
    void windowSettings();
    void recentMaps_data();
    void recentMaps();
    void broadcastChoice_data();
    void broadcastChoice();
    void demoStaysOnLoopbackAndAnswers();

private:
    TestSettings m_settings;
};

void tst_AppSettings::init()
{
    TestSettings::clear();
    KSocket::setDefaultBroadcastAddress(QHostAddress());
    KSocket::setLoopbackOnly(false);
}

// Stored "key=value" pairs: the window reads each under its key and writes it back under the
// same key; a nonsense number falls back to the default.
void tst_AppSettings::windowSettings_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("written");
    const QString every = QStringLiteral(
        "canvas_height=30000 canvas_width=20000 frame_rate=25 grid=24 live_play=false "
        "map_path=/srv/maps num_recent_maps=9 recent_maps_enabled=false show_grid=false "
        "snap_grid=false zoom=3");
    QTest::newRow("nothing stored") << "" << kDefaults;
    QTest::newRow("every key stored") << every << every;
    QTest::newRow("zero grid: the default") << "grid=0" << kDefaults;
    QTest::newRow("text frame rate: the default") << "frame_rate=fast" << kDefaults;
}

void tst_AppSettings::windowSettings()
{
    QFETCH(QString, stored);
    QFETCH(QString, written);
    for (const QString &pair : stored.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        QSettings().setValue(QLatin1Char('/') + pair.section(QLatin1Char('='), 0, 0),
                             pair.section(QLatin1Char('='), 1));
    KestrelSettings loaded;
    loaded.load(QSettings());
    TestSettings::clear();
    {
        QSettings settings;
        loaded.save(settings);
    }
    QCOMPARE(settingsText().join(QLatin1Char(' ')), written);
}

// Steps: "+p" adds, "-p" removes, "max=N" sets the maximum, "save" writes the settings,
// "load" reads them into a fresh list of the same maximum, "stored=a,b" writes raw keys.
void tst_AppSettings::recentMaps_data()
{
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<QStringList>("settings");
    using L = QStringList;
    QTest::newRow("shrinking the maximum drops the oldest; at least one")
        << L{"max=9", "+1", "+2", "+3", "+4", "max=2", "max=0"} << L{"4"} << L{};
    QTest::newRow("a shorter list leaves no stale keys")
        << L{"+a", "+b", "+c", "save", "-a", "-b", "save", "load"} << L{"c"} << L{"recentmap0=c"};
    QTest::newRow("load skips duplicates and trims to the maximum")
        << L{"stored=a,b,a,c,d,e,f,g", "load"} << L{"a", "b", "c", "d", "e"}
        << L{"recentmap0=a", "recentmap1=b", "recentmap2=a", "recentmap3=c",
             "recentmap4=d", "recentmap5=e", "recentmap6=f", "recentmap7=g"};
}

void tst_AppSettings::recentMaps()
{
    QFETCH(QStringList, steps);
    QFETCH(QStringList, expected);
    QFETCH(QStringList, settings);
    RecentMaps recent;
    for (const QString &step : qAsConst(steps)) {
        QSettings stored;
        if (step.startsWith(QLatin1Char('+'))) {
            recent.add(step.mid(1));
        } else if (step.startsWith(QLatin1Char('-'))) {
            recent.remove(step.mid(1));
        } else if (step.startsWith(QLatin1String("max="))) {
            recent.setMaximum(step.mid(4).toInt());
        } else if (step == QLatin1String("save")) {
            recent.save(stored);
        } else if (step == QLatin1String("load")) {
            RecentMaps loaded;
            loaded.setMaximum(recent.maximum());
            loaded.load(stored);
            recent = loaded;
        } else {
            const QStringList paths = step.mid(7).split(QLatin1Char(','));
            for (int i = 0; i < paths.size(); ++i)
                stored.setValue(RecentMaps::key(i), paths.at(i));
        }
    }
    QCOMPARE(recent.paths(), expected);
    QCOMPARE(settingsText(), settings);
}

// Where the lighting traffic goes: the command line, then the setting, then no choice.
void tst_AppSettings::broadcastChoice_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("setting");
    QTest::addColumn<QString>("broadcast");
    QTest::addColumn<QString>("error");
    const auto row = [](const char *name, const QStringList &arguments, const QString &setting,
                        const QString &broadcast, const QString &error) {
        QTest::newRow(name) << arguments << setting << broadcast << error;
    };
    const QStringList option{"--broadcast", "192.168.7.255"};
    row("default: no choice", {}, "", "", "");
    row("setting", {}, "10.1.255.255", "10.1.255.255", "");
    row("option wins over setting", option, "10.1.255.255", "192.168.7.255", "");
    row("bad setting", {}, "everyone", "",
        "The broadcast address must be an IPv4 address such as 192.168.1.255, not \"everyone\".");
}

static bool applyOptions(const QStringList &arguments, QObject *owner, QString *error)
{
    QCommandLineParser parser;
    NetworkOptions::addTo(parser);
    if (!parser.parse(QStringList{QStringLiteral("orrery")} + arguments))
        return false;
    return NetworkOptions::apply(parser, owner, error);
}

void tst_AppSettings::broadcastChoice()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, setting);
    QFETCH(QString, broadcast);
    QFETCH(QString, error);
    if (!setting.isEmpty())
        QSettings().setValue(NetworkOptions::kBroadcastSetting, setting);
    QString said;
    QCOMPARE(applyOptions(arguments, this, &said), error.isEmpty());
    QCOMPARE(said, error);
    const QHostAddress chosen = KSocket::defaultBroadcastAddress();
    QCOMPARE(chosen.isNull() ? QString() : chosen.toString(), broadcast);
    QVERIFY(!KSocket::isLoopbackOnly());
}

// The demonstration keeps everything on loop-back with a simulated installation to talk to,
// whatever broadcast the user chose for real installations.
void tst_AppSettings::demoStaysOnLoopbackAndAnswers()
{
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
    QSettings().setValue(NetworkOptions::kBroadcastSetting, QStringLiteral("192.168.7.255"));
    QObject owner;
    QString error;
    QVERIFY2(applyOptions({QStringLiteral("--demo")}, &owner, &error), qPrintable(error));
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

QTEST_GUILESS_MAIN(tst_AppSettings)
#include "tst_appsettings.moc"
