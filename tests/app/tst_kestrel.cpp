#include "app/kestrel.h"
#include "app/layoutpane.h"
#include "app/lightcreation.h"
#include "app/liveplayer.h"
#include "app/mapediting.h"
#include "app/scriptedprompts.h"
#include "app/testsettings.h"
#include "effects/effectengine.h"
#include "effects/selectioneffect.h"
#include "model/datasupply.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "support/mapbuild.h"
#include "support/netnamespace.h"
#include "ui/aboutdialog.h"
#include "ui/editcontrollerdialog.h"
#include "ui/editpreferencesdialog.h"
#include "ui/groupeditordialog.h"
#include "ui/grouptreemodel.h"
#include "ui/groupview.h"
#include "ui/layoutview.h"
#include "ui/lighttreemodel.h"
#include "ui/lightview.h"
#include "ui/modelprogressdialog.h"
#include "ui/syncinterfacesdialog.h"

#include <QAbstractButton>
#include <QAction>
#include <QActionGroup>
#include <QBuffer>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPrintPreviewWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QSplitter>
#include <QStatusBar>
#include <QTimer>
#include <QToolButton>
#include <QWizard>
#include <QtTest>

#include <algorithm>
#include <memory>

namespace {

const QString kPdf = QStringLiteral("PDF Files (*.pdf)");
const QString kCsv = QStringLiteral("CSV Files (*.csv)");

// Types a name into the Interface Editor and presses OK.
std::function<int(QDialog &)> rename(const QString &name)
{
    return [name](QDialog &dialog) {
        auto &editor = dynamic_cast<EditControllerDialog &>(dialog);
        editor.nameLineEdit()->setText(name);
        editor.okButton()->click();
        return editor.result();
    };
}

// Fills a dialog from "objectName=value" pairs: a spin box's value, a line edit's text, a
// button's check state (1 or 0: clicked until it matches); then clicks `button` if named.
void fill(QDialog &dialog, const QString &pairs, const QString &button)
{
    for (const QString &field : pairs.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        const QString value = field.section(QLatin1Char('='), 1);
        QWidget *w = dialog.findChild<QWidget *>(field.section(QLatin1Char('='), 0, 0));
        if (!w)
            qFatal("no widget %s", qPrintable(field));
        if (auto *spin = qobject_cast<QSpinBox *>(w))
            spin->setValue(value.toInt());
        else if (auto *edit = qobject_cast<QLineEdit *>(w))
            edit->setText(value);
        else if (auto *box = qobject_cast<QAbstractButton *>(w); box->isChecked() != (value == "1"))
            box->click();
    }
    if (!button.isEmpty())
        dialog.findChild<QAbstractButton *>(button)->click();
}

} // namespace

// The main window driven through its actions with scripted dialogs: each action reaches the
// core, the messages a user sees, the lost-data question and the changed state.
class tst_Kestrel : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void openAndTheRecentMapsMenu();
    void modelOperationsLeaveNoProgressOpen();
    void saveQuestion_data();
    void saveQuestion();
    void saveAppendsTheMapSuffix_data();
    void saveAppendsTheMapSuffix();
    void liveUpdatesPausedForEveryFileAction();
    void windowComesBackAfterARestart();
    void livePlayToggleFollowsEverywhere();
    void lightPaneOpensTheEditors();
    void savedMapCarriesDefinitionProperties();
    void backgroundImageMakesTheMapDirty();
    void aboutShowsTheVersion();
    void paneSelectionLightsTheFixtures_data();
    void paneSelectionLightsTheFixtures();
    void discoveryActionsOpenOneDialogAtATime_data();
    void discoveryActionsOpenOneDialogAtATime();
    void preferencesOkAppliesCancelKeeps_data();
    void preferencesOkAppliesCancelKeeps();
    void lightEditorMakesOneUndoableChange();
    void groupEditorBuildsAChase();
    void creationActionsMakeOneUndoableChange_data();
    void creationActionsMakeOneUndoableChange();
    void refusedCreationLeavesTheMapUntouched();
    void exportWritesTheChosenType_data();
    void exportWritesTheChosenType();
    void printPreviewShowsTheMapAndItsPatchList();

private:
    QStringList names() const;
    QString copyOfExample(const QString &name) const;
    void verifyNoProgressLeft() const;
    QString fileState() const;
    void makeWindow();

    std::unique_ptr<TestSettings> m_settings;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<Kestrel> m_window;
    ScriptedPrompts *m_prompts = nullptr;
};

void tst_Kestrel::initTestCase()
{
    // The window will own the discovery engine, which announces itself on the network.
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
    m_settings = std::make_unique<TestSettings>();
}

void tst_Kestrel::init()
{
    TestSettings::clear();
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    makeWindow();
}

void tst_Kestrel::cleanup()
{
    m_window.reset();
    m_dir.reset();
}

void tst_Kestrel::makeWindow()
{
    auto prompts = std::make_unique<ScriptedPrompts>();
    m_prompts = prompts.get();
    m_window = std::make_unique<Kestrel>(std::move(prompts));
}

QString tst_Kestrel::copyOfExample(const QString &name) const
{
    const QString path = m_dir->filePath(name);
    if (!QFile::copy(QStringLiteral(ORRERY_SOURCE_DIR "/examples/riverside-arcade.map"), path))
        return {};
    return path;
}

// The window's file state in one line, paths relative to the test's folder.
QString tst_Kestrel::fileState() const
{
    return QStringLiteral("%1 | path %2 | recent %3 | %4")
        .arg(m_window->windowTitle(), m_window->currentMapPath(),
             m_window->recentMaps().join(QLatin1Char(',')),
             QLatin1String(m_window->isDirty() ? "changed" : "unchanged"))
        .replace(m_dir->path() + QLatin1Char('/'), QString());
}

// Open lists the map first among the recent maps, and its folder for the next time; a recent
// map opens from the menu. One broken since it was listed: the box says why (the
// reader's line, column and reason), it leaves the recent maps, and no progress dialog is left
// to appear over the box and hold the window.
void tst_Kestrel::openAndTheRecentMapsMenu()
{
    const QString a = copyOfExample(QStringLiteral("a.map"));
    m_prompts->fileAnswers.enqueue(a);
    m_window->ui().openMapAction->trigger();
    QCOMPARE(fileState(), "Orrery a.map | path a.map | recent a.map | unchanged");
    QCOMPARE(QSettings().value(QStringLiteral("/map_path")).toString(), m_dir->path());
    QTRY_COMPARE(m_window->ui().m_nodeCountLabel->text(), QStringLiteral(" Node Count : 200"));

    const QString b = copyOfExample(QStringLiteral("b.map"));
    QVERIFY(m_window->openMap(b));
    m_window->ui().m_recentMapsActionGroup->actions().at(1)->trigger();
    QCOMPARE(fileState(), "Orrery a.map | path a.map | recent a.map,b.map | unchanged");
    // The menu was rebuilt from inside the chosen action's signal; the old actions go later.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(m_window->ui().m_recentMapsMenu->actions().size(), 2);

    QFile file(b);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write("<map><c><t>2</t>");
    file.close();
    m_window->ui().m_recentMapsActionGroup->actions().at(1)->trigger();
    QCOMPARE(m_prompts->shownMessages(),
             QStringList{"critical|Load Error|Failed to open map: " + b +
                         "\n\nError in line: 1, column: 16: Premature end of document."});
    QCOMPARE(fileState(), "Orrery | path  | recent a.map | unchanged");
    QVERIFY(!QSettings().contains(QStringLiteral("/recentmap1")));
    verifyNoProgressLeft();
}

// Once a long model operation is over (one over nothing, one that ran, one that failed at its
// first write) nothing may be left that would show the progress dialog: shown modal and never
// closed, it would hold the window and any message box after it.
void tst_Kestrel::modelOperationsLeaveNoProgressOpen()
{
    m_window->show();
    MapModel &model = m_window->model();
    model.clear();
    verifyNoProgressLeft();
    QVERIFY(m_window->openMap(copyOfExample(QStringLiteral("a.map"))));
    verifyNoProgressLeft();
    QByteArray bytes;
    QBuffer readOnly(&bytes);
    readOnly.open(QIODevice::ReadOnly);
    QTest::ignoreMessage(QtWarningMsg, "QIODevice::write (QBuffer): ReadOnly device");
    QVERIFY(!model.saveToDevice(readOnly));
    verifyNoProgressLeft();
}

void tst_Kestrel::verifyNoProgressLeft() const
{
    const auto *progress = m_window->findChild<ModelProgressDialog *>();
    QVERIFY(progress && !progress->isVisible());
    const QList<QTimer *> timers = progress->findChildren<QTimer *>();
    QVERIFY(std::none_of(timers.cbegin(), timers.cend(), [](QTimer *t) { return t->isActive(); }));
}

// New, Open, a recent map or Close on a changed map ask first. Cancel keeps everything, No
// discards the changes, Yes saves first; a save that did not happen (its dialog cancelled, or
// the save failed, which says why) keeps everything, or the changes would be lost.
void tst_Kestrel::saveQuestion_data()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<int>("answer");
    QTest::addColumn<QString>("saveAs"); // the save dialog's answer; empty: cancelled
    QTest::addColumn<QString>("state");
    QTest::addColumn<int>("supplies");
    QTest::addColumn<QString>("failure"); // the message after the question, if any
    const QString kept = QStringLiteral("Orrery * | path  | recent old.map | changed");
    const int cancel = QMessageBox::Cancel;
    const int yes = QMessageBox::Yes;
    QTest::newRow("new, cancel") << "newMapAction" << cancel << "" << kept << 1 << "";
    QTest::newRow("open, cancel") << "openMapAction" << cancel << "" << kept << 1 << "";
    QTest::newRow("recent, cancel") << "recent" << cancel << "" << kept << 1 << "";
    QTest::newRow("close, cancel") << "close" << cancel << "" << kept << 1 << "";
    QTest::newRow("new, no discards") << "newMapAction" << int(QMessageBox::No) << ""
                                      << "Orrery | path  | recent old.map | unchanged" << 0 << "";
    QTest::newRow("new, yes saves first")
        << "newMapAction" << yes << "plan"
        << "Orrery | path  | recent plan.map,old.map | unchanged" << 0 << "";
    QTest::newRow("new, yes, save cancelled") << "newMapAction" << yes << "" << kept << 1 << "";
    QTest::newRow("new, yes, the save fails")
        << "newMapAction" << yes << "missing/plan" << kept << 1
        << "critical|Save Failed|Unable to save file %1/missing/plan.map\n\nNo such file or "
           "directory";
}

void tst_Kestrel::saveQuestion()
{
    QFETCH(QString, action);
    QFETCH(int, answer);
    QFETCH(QString, saveAs);
    QFETCH(QString, state);
    QFETCH(int, supplies);
    QFETCH(QString, failure);
    QSettings().setValue(QStringLiteral("/recentmap0"), copyOfExample(QStringLiteral("old.map")));
    makeWindow();
    m_window->show();
    m_prompts->itemAnswers.enqueue(QStringLiteral("Vistra Interface"));
    m_window->ui().addInterfaceAction->trigger();
    m_prompts->asked.clear();
    m_prompts->messageAnswers.enqueue(QMessageBox::StandardButton(answer));
    m_prompts->fileAnswers.enqueue(saveAs.isEmpty() ? QString() : m_dir->filePath(saveAs));

    if (action == QLatin1String("recent"))
        m_window->ui().m_recentMapsActionGroup->actions().at(0)->trigger();
    else if (action == QLatin1String("close"))
        QVERIFY(!m_window->close());
    else
        m_window->findChild<QAction *>(action)->trigger();

    QStringList shown{"warning|Orrery|Do you want to save changes to your current map?\n"};
    if (!failure.isEmpty())
        shown << failure.arg(m_dir->path());
    QCOMPARE(m_prompts->shownMessages(), shown);
    QCOMPARE(m_prompts->asked.size(), shown.size() + (answer == QMessageBox::Yes ? 1 : 0));
    QCOMPARE(fileState(), state);
    QCOMPARE(m_window->model().dataSupplyCount(), supplies);
    const bool written = !saveAs.isEmpty() && supplies == 0;
    MapModel saved;
    QCOMPARE(saved.loadFromFile(m_dir->filePath(saveAs + ".map")), written);
    QCOMPARE(saved.dataSupplyCount(), written ? 1 : 0);
}

// Save adds ".map" unless the name ends in it exactly; a second Save writes in place without
// asking, Save As always asks.
void tst_Kestrel::saveAppendsTheMapSuffix_data()
{
    QTest::addColumn<QString>("chosen");
    QTest::addColumn<QString>("written");
    const auto row = [](const char *name, const QString &chosen, const QString &written) {
        QTest::newRow(name) << chosen << written;
    };
    row("no suffix", "plan", "plan.map");
    row("suffix present", "plan.map", "plan.map");
    row("upper-case suffix", "plan.MAP", "plan.MAP.map");
}

void tst_Kestrel::saveAppendsTheMapSuffix()
{
    QFETCH(QString, chosen);
    QFETCH(QString, written);
    QVERIFY(QDir(m_dir->path()).mkpath(QStringLiteral("maps")));
    const QString folder = m_dir->filePath(QStringLiteral("maps"));
    m_prompts->fileAnswers.enqueue(folder + QLatin1Char('/') + chosen);
    m_window->ui().saveMapAction->trigger();

    QCOMPARE(QDir(folder).entryList(QDir::Files), QStringList{written});
    QCOMPARE(fileState(),
             QStringLiteral("Orrery %1 | path maps/%1 | recent maps/%1 | unchanged").arg(written));

    m_prompts->asked.clear();
    m_window->setDirty(true);
    m_window->ui().saveMapAction->trigger();
    QVERIFY(m_prompts->asked.isEmpty());
    QVERIFY(!m_window->isDirty());
    m_window->ui().saveMapAsAction->trigger();
    QCOMPARE(m_prompts->asked.size(), 1);
    QCOMPARE(m_prompts->asked.at(0).dir, folder);
}

// Live output pauses around every file action, also one that stops early, and resumes after.
void tst_Kestrel::liveUpdatesPausedForEveryFileAction()
{
    QSignalSpy paused(m_window.get(), &Kestrel::liveUpdatesPaused);
    m_window->setDirty(true);
    m_prompts->messageAnswers.enqueue(QMessageBox::Cancel);
    m_window->ui().newMapAction->trigger(); // stops early at the question
    m_window->setDirty(false);
    m_window->ui().saveMapAsAction->trigger(); // stops early at the dialog
    QVERIFY(m_window->openMap(copyOfExample(QStringLiteral("a.map"))));
    QCOMPARE(paused.size(), 6);
    for (int i = 0; i < paused.size(); ++i)
        QCOMPARE(paused.at(i).at(0).toBool(), i % 2 == 0);
}

// What the window reads at start: "/live_play" off (the maps loaded do not play either), a
// canvas smaller than the map (each open says so), the recent maps with their settings (at
// most "/num_recent_maps", the menu hidden when "/recent_maps_enabled" is off, newest first).
// After a restart the window comes back as it was closed: size, panes, columns, recent maps.
void tst_Kestrel::windowComesBackAfterARestart()
{
    QSettings().setValue(QStringLiteral("/num_recent_maps"), 2);
    QSettings().setValue(QStringLiteral("/recent_maps_enabled"), false);
    QSettings().setValue(QStringLiteral("/live_play"), false);
    QSettings().setValue(QStringLiteral("/canvas_width"), 100);
    makeWindow();
    QStringList opened;
    for (const char *name : {"a.map", "b.map", "c.map"}) {
        opened.prepend(copyOfExample(QLatin1String(name)));
        QVERIFY(m_window->openMap(opened.constFirst()));
    }
    QVERIFY(!m_window->model().livePlay());
    const QRect canvas = m_window->model().canvasRect();
    const QString tooLarge = QStringLiteral("information|Orrery|Map size (%1, %2) is larger than "
                                            "the default canvas size (100, 10000).")
                                 .arg(canvas.width())
                                 .arg(canvas.height());
    QCOMPARE(m_prompts->shownMessages(), QStringList({tooLarge, tooLarge, tooLarge}));
    m_window->show();
    m_window->resize(1111, 777);
    m_window->ui().m_splitter->setSizes({300, 200, 500});
    const QList<int> sizes = m_window->ui().m_splitter->sizes();
    m_window->lightView()->setColumnWidth(1, 77);
    QVERIFY(m_window->close());

    makeWindow();
    QCOMPARE(m_window->recentMaps(), opened.mid(0, 2));
    QVERIFY(!m_window->ui().m_recentMapsMenu->menuAction()->isVisible());
    QCOMPARE(m_window->size(), QSize(1111, 777));
    m_window->show();
    QCOMPARE(m_window->ui().m_splitter->sizes(), sizes);
    QCOMPARE(m_window->lightView()->columnWidth(1), 77);
}

// The action and the status-bar button switch live play together.
void tst_Kestrel::livePlayToggleFollowsEverywhere()
{
    QAction *action = m_window->ui().livePlayAction;
    action->trigger();
    QVERIFY(!m_window->isLivePlay());
    QVERIFY(!m_window->model().livePlay());
    m_window->ui().m_livePlayIndicator->click();
    QVERIFY(m_window->isLivePlay());
}

// The light pane's editors reach the map: "Edit Interface..." opens the Interface Editor on
// the supply chosen (its change marks the map changed), "Edit Lights..." the light-property
// editor. Which row offers which: tst_panes.
void tst_Kestrel::lightPaneOpensTheEditors()
{
    QVERIFY(m_window->openMap(copyOfExample(QStringLiteral("arcade.map"))));
    LightView *view = m_window->lightView();
    const QModelIndex supplyRow = view->lightModel()->index(0, 0);
    const DataSupply *supply = m_window->model().dataSupply(view->lightModel()->uidAt(supplyRow));
    view->setCurrentIndex(supplyRow);
    m_prompts->dialogScripts.enqueue(rename(QStringLiteral("Lobby")));
    view->editInterfaceAction()->trigger();
    QCOMPARE(supply->name(), QStringLiteral("Lobby"));
    QVERIFY(m_window->isDirty());
    view->setCurrentIndex(view->lightModel()->index(0, 0, supplyRow));
    view->editLightsAction()->trigger();
    QCOMPARE(m_prompts->asked.constLast().title, QStringLiteral("Edit Light"));
}

// A light that holds no properties at all is saved with what its definition names.
void tst_Kestrel::savedMapCarriesDefinitionProperties()
{
    QVERIFY(m_window->openMap(copyOfExample(QStringLiteral("arcade.map"))));
    MapModel &model = m_window->model();
    const Light *known = model.lights().constFirst();
    model.light(MapBuild::light(model, known->dataSupply(), 0, 0))
        ->setSerialNumber(known->serialNumber());
    const QString saved = m_dir->filePath(QStringLiteral("saved.map"));
    m_prompts->fileAnswers.enqueue(saved);
    m_window->ui().saveMapAsAction->trigger();

    QFile file(saved);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll().count("<LED_CHEMISTRY>"), model.lightCount());
}

// The About box shows the version and the build it came from, as the action hands it over.
void tst_Kestrel::aboutShowsTheVersion()
{
    m_window->ui().aboutAction->trigger();
    QCOMPARE(m_prompts->asked.size(), 1);
    const QString version = m_prompts->asked.at(0).text;
    QVERIFY2(QRegularExpression(QStringLiteral("^Version: \\d+\\.\\d+\\.\\d+ \\S+-\\S+$"))
                 .match(version)
                 .hasMatch(),
             qPrintable(version));
    const AboutDialog about(version);
    QVERIFY(about.findChild<QLabel *>(QStringLiteral("m_versionLabel"))->text() == version);
}

void tst_Kestrel::backgroundImageMakesTheMapDirty()
{
    const QString image = m_dir->filePath(QStringLiteral("plan.png"));
    m_prompts->fileAnswers.enqueue(image);
    m_window->ui().addBackgroundImageAction->trigger();
    QCOMPARE(m_window->model().imageFile(), image);
    QVERIFY(m_window->isDirty());
}

// Selecting in either pane, on the canvas or with Select All Lights is one selection: the
// canvas and the selection effect (what lights up red in the room) show it. A chasing group
// chosen alone lights its first step only, its own number of lights, and the pane keeps it.
void tst_Kestrel::paneSelectionLightsTheFixtures_data()
{
    QTest::addColumn<QString>("what");
    QTest::newRow("a supply row") << "supply";
    QTest::newRow("a group row") << "group";
    QTest::newRow("select all lights") << "all";
    QTest::newRow("a light on the canvas") << "canvas";
    QTest::newRow("a chasing group") << "chase";
}

void tst_Kestrel::paneSelectionLightsTheFixtures()
{
    QFETCH(QString, what);
    QVERIFY(m_window->openMap(copyOfExample(QStringLiteral("arcade.map"))));
    MapModel &model = m_window->model();
    const DataSupply *supply = model.dataSupplies().constFirst();
    Group *group = model.groups().constFirst();
    const quint64 light = supply->lights().constFirst();
    QList<quint64> expected;
    if (what == QLatin1String("supply")) {
        m_window->lightView()->selectDataSupply(supply->uid());
        expected = supply->lights();
    } else if (what == QLatin1String("group") || what == QLatin1String("chase")) {
        if (what == QLatin1String("chase")) {
            group->setType(Group::ChasingType);
            group->setLightsPerStep(2);
        }
        m_window->groupView()->setCurrentIndex(
            m_window->groupView()->groupModel()->indexForGroup(group->uid()));
        expected = group->children().mid(0, what == QLatin1String("chase") ? 2 : -1);
    } else if (what == QLatin1String("canvas")) {
        m_window->layoutPane().view()->selectLight(light, true);
        expected = {light};
        // The light pane shows it once the burst of changes is over.
        QTRY_COMPARE(m_window->lightView()->selectedLightUids(), expected);
    } else {
        m_window->ui().selectAllLightsAction->trigger();
        expected = model.lightHash().keys();
    }
    const auto sorted = [](QList<quint64> uids) {
        std::sort(uids.begin(), uids.end());
        return uids;
    };
    if (what != QLatin1String("chase"))
        QCOMPARE(sorted(m_window->layoutPane().view()->selection()), sorted(expected));
    m_window->livePlayer().engine().renderFrame(QDateTime::currentDateTime());
    QCOMPARE(sorted(m_window->livePlayer().selection().selectedLights()), sorted(expected));
    QCOMPARE(model.light(expected.constFirst())->output().color(), VelaColor(Qt::red));
    QCoreApplication::processEvents();
    if (what == QLatin1String("chase"))
        QCOMPARE(m_window->groupView()->selectedGroupUids(), QList<quint64>{group->uid()});
}

void tst_Kestrel::discoveryActionsOpenOneDialogAtATime_data()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<QString>("dialogClass");
    const auto row = [](const char *name, const QString &action, const QString &dialogClass) {
        QTest::newRow(name) << action << dialogClass;
    };
    row("interfaces", "discoverInterfacesAction", "DiscoverInterfacesWizard");
    row("lights", "discoverLightsAction", "DiscoverLightsWizard");
    row("sync", "syncInterfacesAction", "SyncInterfacesDialog");
}

// The wizards share the window's one engine, so a second one must not start beside the first;
// they are window-modal without blocking, so the window keeps serving the network.
void tst_Kestrel::discoveryActionsOpenOneDialogAtATime()
{
    QFETCH(QString, action);
    QFETCH(QString, dialogClass);
    m_window->setDiscoveryListenMs(200);
    m_window->findChild<QAction *>(action)->trigger();
    QPointer<QDialog> dialog = m_window->discoveryDialog();
    QVERIFY(dialog);
    QCOMPARE(QString::fromLatin1(dialog->metaObject()->className()), dialogClass);
    QCOMPARE(dialog->windowModality(), Qt::WindowModal);
    for (const char *other :
         {"discoverInterfacesAction", "discoverLightsAction", "syncInterfacesAction"})
        m_window->findChild<QAction *>(other)->trigger();
    int open = 0;
    for (QDialog *child : m_window->findChildren<QDialog *>()) {
        if (child->isVisible() &&
            (qobject_cast<QWizard *>(child) || qobject_cast<SyncInterfacesDialog *>(child)))
            ++open;
    }
    QCOMPARE(open, 1);
    QCOMPARE(m_window->discoveryDialog(), dialog.data());
    // What the dialog adds to the map makes the window's map changed, so it is not lost.
    QVERIFY(!m_window->isDirty());
    QVERIFY(QMetaObject::invokeMethod(dialog, "setDirty", Q_ARG(bool, true)));
    QVERIFY(m_window->isDirty());
    dialog->reject();
    QTRY_VERIFY(!dialog);
    QVERIFY(!m_window->discoveryDialog());
}

// Edit Preferences: OK applies everything at once and writes it, Cancel changes nothing.
void tst_Kestrel::preferencesOkAppliesCancelKeeps_data()
{
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QString>("applied"); // frame interval, grid, canvas width, recent maps
    QTest::newRow("cancel") << false << "100 ms, grid 12, width 10000, recent 1 5";
    QTest::newRow("ok") << true << "333 ms, grid 24, width 20000, recent 0 2";
}

void tst_Kestrel::preferencesOkAppliesCancelKeeps()
{
    QFETCH(bool, ok);
    QFETCH(QString, applied);
    const QString written = QSettings().value(QStringLiteral("/frame_rate")).toString();
    m_prompts->dialogScripts.enqueue([&](QDialog &d) {
        auto &dialog = static_cast<EditPreferencesDialog &>(d);
        dialog.setFrameRate(3);
        dialog.setGridSize(24);
        dialog.setCanvasWidth(20000);
        dialog.setRecentMapsEnabled(false);
        dialog.setNumRecentMaps(2);
        d.findChild<QAbstractButton *>(ok ? "buttonOk" : "buttonCancel")->click();
        return d.result();
    });
    m_window->ui().editPreferencesAction->trigger();
    const KestrelSettings &now = m_window->settings();
    QCOMPARE(QStringLiteral("%1 ms, grid %2, width %3, recent %4 %5")
                 .arg(m_window->livePlayer().engine().interval())
                 .arg(m_window->layoutPane().view()->gridSize())
                 .arg(now.canvasWidth)
                 .arg(now.recentMapsEnabled)
                 .arg(now.numRecentMaps),
             applied);
    // What is written is what the next start reads (the keys: tst_appsettings).
    QCOMPARE(QSettings().value(QStringLiteral("/frame_rate")).toString(), ok ? "3" : written);
}

// The light-property editor on twelve lights: a change that would run past channel 512 is
// refused and keeps the editor open with the reason; what is typed then reaches each light, as
// one undoable change that marks the map changed (the numbering and the rules: tst_editing).
void tst_Kestrel::lightEditorMakesOneUndoableChange()
{
    QVERIFY(m_window->openMap(copyOfExample(QStringLiteral("arcade.map"))));
    const MapModel &model = m_window->model();
    const QList<quint64> uids = model.dataSupplies().constFirst()->lights().mid(0, 12);
    const auto state = [&model, &uids] {
        QStringList lines;
        for (const quint64 uid : uids)
            lines << model.light(uid)->name() + '@' + QString::number(model.light(uid)->channel());
        return lines;
    };
    const QStringList before = state();
    QString refusal;
    m_prompts->dialogScripts.enqueue([&refusal](QDialog &editor) {
        auto *address = editor.findChild<QSpinBox *>(QStringLiteral("m_dmxAddressSpinBox"));
        editor.findChild<QLineEdit *>(QStringLiteral("m_nameLineEdit"))->setText("Arch");
        for (const int first : {511, 101}) { // the first runs past channel 512
            address->setValue(first);
            editor.findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)->click();
            refusal += editor.findChild<QLabel *>(QStringLiteral("m_problemLabel"))->text();
        }
        return editor.result();
    });
    m_window->mapEditing().editLights(uids);
    QVERIFY2(refusal.contains("past channel 512"), qPrintable(refusal));
    QVERIFY(m_window->isDirty());
    const int footprint = model.light(uids.first())->output().format().footprint();
    QCOMPARE(state().mid(0, 2),
             (QStringList{"Arch 001@100", "Arch 002@" + QString::number(100 + footprint)}));
    QCOMPARE(state().last().section('@', 0, 0), QStringLiteral("Arch 012"));
    m_window->ui().undoAction->trigger();
    QCOMPARE(state(), before);
}

// "Add Group..." on the canvas selection: name (with characters the map file must escape),
// type, member order and step size reach the new group, as one undoable change.
void tst_Kestrel::groupEditorBuildsAChase()
{
    QVERIFY(m_window->openMap(copyOfExample(QStringLiteral("arcade.map"))));
    const MapModel &model = m_window->model();
    for (const quint64 uid : model.dataSupplies().constFirst()->lights().mid(0, 3))
        m_window->layoutPane().view()->selectLight(uid, true);
    const QList<quint64> chosen = m_window->layoutPane().view()->selection();
    const int groupsBefore = model.groupCount();
    const QString name = QStringLiteral("Arch <chase> & \"steps\"");
    m_prompts->dialogScripts.enqueue([&name](QDialog &d) {
        auto &editor = static_cast<GroupEditorDialog &>(d);
        editor.nameEdit()->setText(name);
        editor.typeCombo()->setCurrentIndex(editor.typeCombo()->findText("Chasing"));
        editor.findChild<QPushButton *>(QStringLiteral("m_addSelectionButton"))->click();
        editor.memberList()->item(2)->setSelected(true);
        editor.moveSelectedMembers(-1);
        editor.lightsPerStepSpinBox()->setValue(2);
        editor.accept();
        return editor.result();
    });
    m_window->ui().addGroupAction->trigger();
    const auto groups = model.groups();
    const auto made = std::find_if(groups.cbegin(), groups.cend(),
                                   [&name](const Group *g) { return g->name() == name; });
    QVERIFY(made != groups.cend());
    QVERIFY((*made)->isChasing());
    QCOMPARE((*made)->lightsPerStep(), 2);
    QCOMPARE((*made)->children(), (QList<quint64>{chosen.at(0), chosen.at(2), chosen.at(1)}));
    QVERIFY(m_window->isDirty());
    m_window->ui().undoAction->trigger();
    QCOMPARE(model.groupCount(), groupsBefore);
}

QStringList tst_Kestrel::names() const
{
    QStringList result;
    for (const Light *light : m_window->model().lights())
        result << light->name() + "@" + light->deviceProperty("DMX_OFFSET") + " " +
                      light->deviceProperty("LED_CHEMISTRY");
    result.sort();
    return result;
}

// Each creation action hands the dialog's choices to the creator (the rules themselves are
// pinned in tst_lightcreator) and makes one undoable change, the interface it made included;
// a cancel halfway keeps what was made. The map holds interface "Roof" driving light "Old" at
// DMX 1 to 3 of port 2.
void tst_Kestrel::creationActionsMakeOneUndoableChange_data()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<QString>("module"); // the type chosen for Add Module
    QTest::addColumn<QString>("fields");
    QTest::addColumn<QString>("button");
    QTest::addColumn<int>("cancelAt"); // 0: not cancelled
    QTest::addColumn<int>("made");
    QTest::addColumn<QStringList>("expected"); // empty: the count only
    const auto row = [](const char *name, const QString &action, const QString &module,
                        const QString &fields, const QString &button, int cancelAt, int made,
                        const QStringList &expected) {
        QTest::newRow(name) << action << module << fields << button << cancelAt << made << expected;
    };
    row("lights on a new interface", "addLightsAction", "",
        "m_countSpinBox=2 m_verticalRadioButton=1 m_newInterfaceRadioButton=1 m_portNumSpinBox=2 "
        "m_dmxAddressSpinBox=10 m_dmxAutoSetCheckBox=0 m_baseNameLineEdit=Cove",
        "okButton", 0, 2, {"Cove  02-004@9 1", "Cove  02-005@12 1", "Old@0 "});
    row("lights on the interface, DMX set after its last light", "addLightsAction", "",
        "m_countSpinBox=2 m_existingInterfaceRadioButton=1 m_portNumSpinBox=2 "
        "m_dmxAddressSpinBox=10 m_dmxAutoSetCheckBox=1 m_baseNameLineEdit=Bay",
        "okButton", 0, 2, {"Bay  02-002@3 1", "Bay  02-003@6 1", "Old@0 "});
    row("white lights: one channel each", "addWhiteLightsAction", "",
        "m_countSpinBox=2 m_newInterfaceRadioButton=1", "okButton", 0, 2,
        {"Light  01-001@0 6", "Light  01-002@1 6", "Old@0 "});
    row("a module of the chosen type", "addModuleAction", "Generic RGBW",
        "m_newInterfaceRadioButton=1", "okButton", 0, 1, {});
    row("a tile", "addTileAction", "",
        "m_rowsSpinBox=3 m_columnsSpinBox=4 m_newInterfaceRadioButton=1", "m_addRightButton", 0, 12,
        {});
    row("a string of 1,000 cancelled halfway", "addStringAction", "",
        "m_horizontalButton=1 m_columnsSpinBox=1000 m_newInterfaceRadioButton=1 m_portsSpinBox=6",
        "m_addBelowButton", 500, 500, {});
}

void tst_Kestrel::creationActionsMakeOneUndoableChange()
{
    QFETCH(QString, action);
    QFETCH(QString, module);
    QFETCH(QString, fields);
    QFETCH(QString, button);
    QFETCH(int, cancelAt);
    QFETCH(int, made);
    QFETCH(QStringList, expected);
    connect(&m_window->lightCreation(), &LightCreation::creationProgress, this, [&](int count) {
        if (count == cancelAt)
            m_window->lightCreation().cancelCreation();
    });
    MapModel &model = m_window->model();
    const quint64 roof = MapBuild::supply(model, QStringLiteral("Roof"));
    model.dataSupply(roof)->setSerialNumber(0xA1B2);
    model.light(MapBuild::light(model, roof, 1, 0, QStringLiteral("Old")))
        ->setDeviceProperty("DMX_OFFSET", "0");
    if (!module.isEmpty())
        m_prompts->itemAnswers.enqueue(module);
    m_prompts->dialogScripts.enqueue([fields, button](QDialog &dialog) {
        fill(dialog, fields, button);
        return dialog.result();
    });
    m_window->findChild<QAction *>(action)->trigger();

    QCOMPARE(model.lightCount(), made + 1);
    const QStringList after = names();
    if (!expected.isEmpty())
        QCOMPARE(after, expected);
    if (!module.isEmpty())
        QCOMPARE(after.filter(QRegularExpression(" 2$")).size(), 1); // RGBW
    QVERIFY(m_window->isDirty());

    m_window->setDirty(false); // as after a save
    m_window->ui().undoAction->trigger();
    QCOMPARE(names(), QStringList{"Old@0 "});
    QCOMPARE(model.dataSupplyCount(), 1);
    QCOMPARE(m_window->lightView()->model()->rowCount(), 1);
    QVERIFY(m_window->isDirty());
    QVERIFY(!m_window->ui().undoAction->isEnabled());
    m_window->ui().redoAction->trigger();
    QCOMPARE(names(), after);
}

// The interface chosen went away while the dialog was open: the box says so, and the map, the
// undo list and "changed" stay as they were.
void tst_Kestrel::refusedCreationLeavesTheMapUntouched()
{
    MapModel &model = m_window->model();
    model.dataSupply(MapBuild::supply(model, QStringLiteral("Roof")))->setSerialNumber(0xA1B2);
    m_prompts->dialogScripts.enqueue([&model](QDialog &dialog) {
        fill(dialog, "m_existingInterfaceRadioButton=1 m_countSpinBox=3", QString());
        model.removeDataSupply(model.dataSupplies().constFirst()->uid());
        dialog.findChild<QAbstractButton *>("okButton")->click();
        return dialog.result();
    });
    m_window->ui().addLightsAction->trigger();
    QCOMPARE(m_prompts->shownMessages(),
             QStringList{"critical|Find Failure|Unable to find specified controller in map"});
    QCOMPARE(model.lightCount() + model.dataSupplyCount(), 0);
    QVERIFY(!m_window->isDirty());
    QVERIFY(!m_window->ui().undoAction->isEnabled());
}

// Export Patch List: the type follows a typed PDF or CSV suffix (in any case), else the chosen
// filter; a folder that does not exist is a message.
void tst_Kestrel::exportWritesTheChosenType_data()
{
    QTest::addColumn<QString>("filter");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("written");
    QTest::addColumn<bool>("csv");
    const auto row = [](const char *name, const QString &filter, const QString &typed,
                        const QString &written,
                        bool csv) { QTest::newRow(name) << filter << typed << written << csv; };
    row("CSV by default suffix", kCsv, "plan", "plan.csv", true);
    row("the typed PDF suffix wins", kCsv, "plan.PDF", "plan.PDF", false);
    row("another suffix: the chosen type", kPdf, "plan.txt", "plan.txt", false);
    row("a missing folder: says why", kCsv, "missing/plan.csv", "", true);
}

void tst_Kestrel::exportWritesTheChosenType()
{
    QFETCH(QString, filter);
    QFETCH(QString, typed);
    QFETCH(QString, written);
    QFETCH(bool, csv);
    QVERIFY(m_window->openMap(copyOfExample(QStringLiteral("arcade.map"))));
    // Answered as a user would: the file type picked first, then a name typed.
    m_prompts->dialogScripts.enqueue([&](QDialog &dialog) {
        auto &files = static_cast<QFileDialog &>(dialog);
        files.selectNameFilter(filter);
        emit files.filterSelected(filter); // what choosing it in the list emits
        files.selectFile(m_dir->filePath(typed));
        return int(QDialog::Accepted);
    });
    m_window->ui().exportPatchListAction->trigger();

    if (written.isEmpty()) {
        QCOMPARE(m_prompts->shownMessages(),
                 QStringList{"critical|Save Failed|Unable to save file " + m_dir->filePath(typed) +
                             ": No such file or directory"});
        QVERIFY(!QFile::exists(m_dir->filePath(typed)));
        return;
    }
    QFile file(m_dir->filePath(written));
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.fileName()));
    // A PDF, or the whole map's list as orrery-cli map patch --csv writes it.
    QFile golden(QStringLiteral(ORRERY_TEST_DATA "/riverside-arcade-patch.csv"));
    QVERIFY(golden.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    QCOMPARE(csv ? bytes : bytes.left(5), csv ? golden.readAll() : QByteArray("%PDF-"));
    QVERIFY(m_window->statusBar()->currentMessage().startsWith("Patch list written to "));
}

void tst_Kestrel::printPreviewShowsTheMapAndItsPatchList()
{
    QVERIFY(m_window->openMap(copyOfExample(QStringLiteral("arcade.map"))));
    int pages = 0;
    m_prompts->dialogScripts.enqueue([&pages](QDialog &dialog) {
        auto *preview = dialog.findChild<QPrintPreviewWidget *>();
        preview->updatePreview();
        pages = preview->pageCount();
        return int(QDialog::Rejected);
    });
    m_window->ui().printAction->trigger();
    // The layout, then the 200 lights of five ports: more than one page of tables.
    QVERIFY2(pages >= 3, qPrintable(QString::number(pages)));
}

QTEST_MAIN(tst_Kestrel)
#include "tst_kestrel.moc"
