#include "app/kestrelsettings.h"
#include "app/testsettings.h"

#include <QtTest>

// The settings keys and their defaults are shared with the preferences dialog and with
// settings written by earlier versions, so a misspelt key loses the user's choice silently.
class tst_KestrelSettings : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_settings = std::make_unique<TestSettings>(); }
    void init() { TestSettings::clear(); }
    void defaultsAreWrittenUnderTheirKeys_data();
    void defaultsAreWrittenUnderTheirKeys();
    void storedValuesAreReadBack();
    void nonsenseNumbersFallBackToDefaults_data();
    void nonsenseNumbersFallBackToDefaults();

private:
    std::unique_ptr<TestSettings> m_settings;
};

void tst_KestrelSettings::defaultsAreWrittenUnderTheirKeys_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");
    QTest::newRow("map_path") << "/map_path" << QVariant(QStringLiteral("./"));
    QTest::newRow("show_grid") << "/show_grid" << QVariant(true);
    QTest::newRow("snap_grid") << "/snap_grid" << QVariant(true);
    QTest::newRow("canvas_width") << "/canvas_width" << QVariant(10000);
    QTest::newRow("canvas_height") << "/canvas_height" << QVariant(10000);
    QTest::newRow("grid") << "/grid" << QVariant(12);
    QTest::newRow("zoom") << "/zoom" << QVariant(10);
    QTest::newRow("recent_maps_enabled") << "/recent_maps_enabled" << QVariant(true);
    QTest::newRow("num_recent_maps") << "/num_recent_maps" << QVariant(5);
    QTest::newRow("live_play") << "/live_play" << QVariant(true);
    QTest::newRow("frame_rate") << "/frame_rate" << QVariant(10);
}

void tst_KestrelSettings::defaultsAreWrittenUnderTheirKeys()
{
    QFETCH(QString, key);
    QFETCH(QVariant, value);
    KestrelSettings loaded;
    {
        QSettings empty;
        loaded.load(empty);
    }
    QSettings settings;
    loaded.save(settings);
    settings.sync();
    QCOMPARE(settings.allKeys().size(), 11);
    QVERIFY2(settings.contains(key), qPrintable(key));
    QCOMPARE(settings.value(key).toString(), value.toString());
}

void tst_KestrelSettings::storedValuesAreReadBack()
{
    KestrelSettings changed;
    changed.mapPath = QStringLiteral("/srv/maps");
    changed.showGrid = false;
    changed.snapGrid = false;
    changed.canvasWidth = 20000;
    changed.canvasHeight = 30000;
    changed.grid = 24;
    changed.zoom = 3;
    changed.recentMapsEnabled = false;
    changed.numRecentMaps = 9;
    changed.livePlay = false;
    changed.frameRate = 25;
    {
        QSettings settings;
        changed.save(settings);
    }
    KestrelSettings loaded;
    loaded.load(QSettings());
    QCOMPARE(loaded.mapPath, changed.mapPath);
    QCOMPARE(loaded.showGrid, false);
    QCOMPARE(loaded.snapGrid, false);
    QCOMPARE(loaded.canvasWidth, 20000);
    QCOMPARE(loaded.canvasHeight, 30000);
    QCOMPARE(loaded.grid, 24);
    QCOMPARE(loaded.zoom, 3);
    QCOMPARE(loaded.recentMapsEnabled, false);
    QCOMPARE(loaded.numRecentMaps, 9);
    QCOMPARE(loaded.livePlay, false);
    QCOMPARE(loaded.frameRate, 25);
}

void tst_KestrelSettings::nonsenseNumbersFallBackToDefaults_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("stored");
    QTest::newRow("zero grid") << "/grid" << QVariant(0);
    QTest::newRow("negative canvas") << "/canvas_width" << QVariant(-5);
    QTest::newRow("text frame rate") << "/frame_rate" << QVariant(QStringLiteral("fast"));
    QTest::newRow("zero recent maps") << "/num_recent_maps" << QVariant(0);
}

void tst_KestrelSettings::nonsenseNumbersFallBackToDefaults()
{
    QFETCH(QString, key);
    QFETCH(QVariant, stored);
    QSettings().setValue(key, stored);
    KestrelSettings loaded;
    loaded.load(QSettings());
    const KestrelSettings defaults;
    QCOMPARE(loaded.grid, defaults.grid);
    QCOMPARE(loaded.canvasWidth, defaults.canvasWidth);
    QCOMPARE(loaded.frameRate, defaults.frameRate);
    QCOMPARE(loaded.numRecentMaps, defaults.numRecentMaps);
}

QTEST_GUILESS_MAIN(tst_KestrelSettings)
#include "tst_kestrelsettings.moc"
