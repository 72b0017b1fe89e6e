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
const QStringList kDefaults =
    QStringLiteral("canvas_height=10000 canvas_width=10000 frame_rate=10 grid=12 live_play=true "
                   "map_path=./ num_recent_maps=5 recent_maps_enabled=true show_grid=true "
                   "snap_grid=true zoom=10")
        .split(QLatin1Char(' '));

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

// One stored value: the window reads it and writes it back under the same key (nonsense
// numbers fall back to the default), everything else is written with its default.
void tst_AppSettings::windowSettings_data()
{
    QTest::addColumn<QString>("key"); // empty: nothing stored
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<QString>("written");
    QTest::newRow("nothing stored: defaults") << "" << QVariant() << "";
    QTest::newRow("map_path") << "map_path" << QVariant("/srv/maps") << "/srv/maps";
    QTest::newRow("show_grid") << "show_grid" << QVariant(false) << "false";
    QTest::newRow("snap_grid") << "snap_grid" << QVariant(false) << "false";
    QTest::newRow("canvas_width") << "canvas_width" << QVariant(20000) << "20000";
    QTest::newRow("canvas_height") << "canvas_height" << QVariant(30000) << "30000";
    QTest::newRow("grid") << "grid" << QVariant(24) << "24";
    QTest::newRow("zoom") << "zoom" << QVariant(3) << "3";
    QTest::newRow("recent_maps_enabled") << "recent_maps_enabled" << QVariant(false) << "false";
    QTest::newRow("num_recent_maps") << "num_recent_maps" << QVariant(9) << "9";
    QTest::newRow("live_play") << "live_play" << QVariant(false) << "false";
    QTest::newRow("frame_rate") << "frame_rate" << QVariant(25) << "25";
    QTest::newRow("zero grid") << "grid" << QVariant(0) << "12";
    QTest::newRow("negative canvas") << "canvas_width" << QVariant(-5) << "10000";
    QTest::newRow("text frame rate") << "frame_rate" << QVariant("fast") << "10";
    QTest::newRow("zero recent maps") << "num_recent_maps" << QVariant(0) << "5";
}

void tst_AppSettings::windowSettings()
{
    QFETCH(QString, key);
    QFETCH(QVariant, stored);
    QFETCH(QString, written);
    QStringList expected = kDefaults;
    if (!key.isEmpty()) {
        QSettings().setValue(QLatin1Char('/') + key, stored);
        expected.replaceInStrings(
            QRegularExpression(QLatin1Char('^') + key + QStringLiteral("=.*")),
            key + QLatin1Char('=') + written);
    }
    KestrelSettings loaded;
    loaded.load(QSettings());
    TestSettings::clear();
    {
        QSettings settings;
        loaded.save(settings);
    }
    QCOMPARE(settingsText(), expected);
}

// Steps: "+p" adds, "-p" removes, "max=N" sets the maximum, "save" writes the settings,
// "load" reads them into a fresh list of the same maximum, "stored=a,b" writes raw keys.
void tst_AppSettings::recentMaps_data()
{
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<QStringList>("settings");
    using L = QStringList;
    QTest::newRow("newest first") << L{"+a", "+b", "+c"} << L{"c", "b", "a"} << L{};
    QTest::newRow("same file twice") << L{"+a", "+b", "+a"} << L{"a", "b"} << L{};
    QTest::newRow("sixth pushes out the oldest")
        << L{"+1", "+2", "+3", "+4", "+5", "+6"} << L{"6", "5", "4", "3", "2"} << L{};
    QTest::newRow("re-adding the oldest keeps five")
        << L{"+1", "+2", "+3", "+4", "+5", "+1"} << L{"1", "5", "4", "3", "2"} << L{};
    QTest::newRow("remove") << L{"+a", "+b", "+c", "-b"} << L{"c", "a"} << L{};
    QTest::newRow("remove unknown") << L{"+a", "-z"} << L{"a"} << L{};
    QTest::newRow("paths differing in case are different")
        << L{"+/m/A.map", "+/m/a.map"} << L{"/m/a.map", "/m/A.map"} << L{};
    QTest::newRow("shrinking the maximum drops the oldest; at least one")
        << L{"max=9", "+1", "+2", "+3", "+4", "max=2", "max=0"} << L{"4"} << L{};
    QTest::newRow("saved list comes back in order")
        << L{"+old", "+new", "save", "load"} << L{"new", "old"}
        << L{"recentmap0=new", "recentmap1=old"};
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
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QString>("broadcast");
    const QStringList option{"--broadcast", "192.168.7.255"};
    QTest::newRow("default: no choice") << QStringList{} << "" << true << "";
    QTest::newRow("option") << option << "" << true << "192.168.7.255";
    QTest::newRow("setting") << QStringList{} << "10.1.255.255" << true << "10.1.255.255";
    QTest::newRow("option wins over setting")
        << option << "10.1.255.255" << true << "192.168.7.255";
    QTest::newRow("bad option") << QStringList{"--broadcast", "192.168.7"} << "" << false << "";
    QTest::newRow("bad setting") << QStringList{} << "everyone" << false << "";
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
    QFETCH(bool, ok);
    QFETCH(QString, broadcast);
    if (!setting.isEmpty())
        QSettings().setValue(NetworkOptions::kBroadcastSetting, setting);
    QString error;
    QCOMPARE(applyOptions(arguments, this, &error), ok);
    QCOMPARE(error.isEmpty(), ok);
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
