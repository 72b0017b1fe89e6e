#include "app/kestrel.h"
#include "app/layoutpane.h"
#include "app/liveplayer.h"
#include "app/scriptedprompts.h"
#include "app/testsettings.h"
#include "effects/effectengine.h"
#include "support/netnamespace.h"
#include "ui/editpreferencesdialog.h"
#include "ui/layoutview.h"

#include <QAbstractButton>
#include <QAction>
#include <QCheckBox>
#include <QMenu>
#include <QSettings>
#include <QSpinBox>
#include <QtTest>

#include <memory>

// Edit Preferences through the window: OK applies and writes everything at once, Cancel
// changes nothing.
class tst_Preferences : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void okAppliesCancelKeeps_data();
    void okAppliesCancelKeeps();

private:
    std::unique_ptr<TestSettings> m_settings;
    std::unique_ptr<Kestrel> m_window;
    ScriptedPrompts *m_prompts = nullptr;
};

void tst_Preferences::initTestCase()
{
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
    m_settings = std::make_unique<TestSettings>();
}

void tst_Preferences::init()
{
    TestSettings::clear();
    auto prompts = std::make_unique<ScriptedPrompts>();
    m_prompts = prompts.get();
    m_window = std::make_unique<Kestrel>(std::move(prompts));
}

void tst_Preferences::cleanup()
{
    m_window.reset();
}

void tst_Preferences::okAppliesCancelKeeps_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<int>("fps");
    QTest::addColumn<int>("intervalMs");
    QTest::addColumn<int>("grid");
    QTest::addColumn<int>("recent");
    QTest::newRow("cancel") << "buttonCancel" << 3 << 100 << 12 << 5;
    QTest::newRow("3 fps") << "buttonOk" << 3 << 333 << 24 << 2;
    QTest::newRow("100 fps") << "buttonOk" << 100 << 10 << 12 << 9;
}

void tst_Preferences::okAppliesCancelKeeps()
{
    QFETCH(QString, button);
    QFETCH(int, fps);
    QFETCH(int, intervalMs);
    QFETCH(int, grid);
    QFETCH(int, recent);
    const bool ok = button == "buttonOk";
    const auto snapshot = [] {
        QSettings settings;
        QVariantMap values;
        for (const QString &key : settings.allKeys())
            values.insert(key, settings.value(key));
        return values;
    };
    const QVariantMap before = snapshot();
    m_prompts->dialogScripts.enqueue([&](QDialog &d) {
        auto &dialog = static_cast<EditPreferencesDialog &>(d);
        dialog.setFrameRate(fps);
        dialog.setGridSize(24);
        dialog.setCanvasWidth(20000);
        dialog.setRecentMapsEnabled(false);
        dialog.setNumRecentMaps(ok ? recent : 2);
        if (ok)
            dialog.setGridSize(grid);
        d.findChild<QAbstractButton *>(button)->click();
        return d.result();
    });
    m_window->ui().editPreferencesAction->trigger();
    QCOMPARE(m_window->livePlayer().engine().interval(), intervalMs);
    QCOMPARE(m_window->layoutPane().view()->gridSize(), grid);
    QCOMPARE(m_window->settings().canvasWidth, ok ? 20000 : 10000);
    QCOMPARE(m_window->settings().recentMapsEnabled, !ok);
    QCOMPARE(m_window->settings().numRecentMaps, recent);
    QSettings settings;
    if (!ok)
        QCOMPARE(snapshot(), before);
    else {
        QCOMPARE(settings.value("/frame_rate").toInt(), fps);
        QCOMPARE(settings.value("/grid").toInt(), grid);
        QCOMPARE(settings.value("/canvas_width").toInt(), 20000);
        QCOMPARE(settings.value("/num_recent_maps").toInt(), recent);
        QCOMPARE(settings.value("/recent_maps_enabled").toBool(), false);
    }
}

QTEST_MAIN(tst_Preferences)
#include "tst_preferences.moc"
