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
    void keysAndDefaults_data();
    void keysAndDefaults();
    void nonsenseNumbersFallBackToDefaults_data();
    void nonsenseNumbersFallBackToDefaults();

private:
    std::unique_ptr<TestSettings> m_settings;
};

// Each setting: its key, the default written for it, and a stored value read back.
void tst_KestrelSettings::keysAndDefaults_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("defaultValue");
    QTest::addColumn<QVariant>("stored");
    QTest::newRow("map_path") << "/map_path" << QVariant("./") << QVariant("/srv/maps");
    QTest::newRow("show_grid") << "/show_grid" << QVariant(true) << QVariant(false);
    QTest::newRow("snap_grid") << "/snap_grid" << QVariant(true) << QVariant(false);
    QTest::newRow("canvas_width") << "/canvas_width" << QVariant(10000) << QVariant(20000);
    QTest::newRow("canvas_height") << "/canvas_height" << QVariant(10000) << QVariant(30000);
    QTest::newRow("grid") << "/grid" << QVariant(12) << QVariant(24);
    QTest::newRow("zoom") << "/zoom" << QVariant(10) << QVariant(3);
    QTest::newRow("recent_maps_enabled") << "/recent_maps_enabled" << QVariant(true)
                                         << QVariant(false);
    QTest::newRow("num_recent_maps") << "/num_recent_maps" << QVariant(5) << QVariant(9);
    QTest::newRow("live_play") << "/live_play" << QVariant(true) << QVariant(false);
    QTest::newRow("frame_rate") << "/frame_rate" << QVariant(10) << QVariant(25);
}

void tst_KestrelSettings::keysAndDefaults()
{
    QFETCH(QString, key);
    QFETCH(QVariant, defaultValue);
    QFETCH(QVariant, stored);
    KestrelSettings loaded;
    loaded.load(QSettings());
    {
        QSettings settings;
        loaded.save(settings);
    }
    QSettings settings;
    QCOMPARE(settings.allKeys().size(), 11);
    QCOMPARE(settings.value(key).toString(), defaultValue.toString());

    // A stored value is read back, and written again under the same key.
    settings.setValue(key, stored);
    settings.sync();
    KestrelSettings changed;
    changed.load(QSettings());
    TestSettings::clear();
    {
        QSettings again;
        changed.save(again);
    }
    QCOMPARE(QSettings().value(key).toString(), stored.toString());
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
