#include "app/kestrel.h"
#include "app/layoutpane.h"
#include "app/lightcreation.h"
#include "app/liveplayer.h"
#include "app/mapprinting.h"
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
#include "ui/deviceview.h"
#include "ui/editcontrollerdialog.h"
#include "ui/editpreferencesdialog.h"
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
#include <QCheckBox>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPrintPreviewDialog>
#include <QPrintPreviewWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QSplitter>
#include <QStatusBar>
#include <QTabWidget>
#include <QTimer>
#include <QToolButton>
#include <QWizard>
#include <QtTest>

#include <algorithm>
#include <memory>

namespace {

const QString kPdf = QStringLiteral("PDF Files (*.pdf)");
const QString kCsv = QStringLiteral("CSV Files (*.csv)");

// Answers the export dialog as a user would: picks the file type, then types a name.
std::function<int(QDialog &)> answer(const QString &filter, const QString &path)
{
    return [filter, path](QDialog &dialog) {
        auto &files = static_cast<QFileDialog &>(dialog);
        files.selectNameFilter(filter);
        emit files.filterSelected(filter); // what choosing it in the list emits
        files.selectFile(path);
        return int(QDialog::Accepted);
    };
}

} // namespace

// The main window's file handling, driven through its actions with scripted dialogs.
class tst_Kestrel : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void openSetsTitleAndRecentMap();
    void failedOpenSaysWhy_data();
    void failedOpenSaysWhy();
    void modelOperationsLeaveNoProgressOpen_data();
    void modelOperationsLeaveNoProgressOpen();
    void recentMapsMenuOpensTheChosenMap();
    void recentMapsFollowTheirSettingsAcrossARestart();
    void editThenSaveThenReopen();
    void cancelInTheQuestionLeavesEverything_data();
    void cancelInTheQuestionLeavesEverything();
    void saveQuestionBeforeNew_data();
    void saveQuestionBeforeNew();
    void saveAppendsTheMapSuffix_data();
    void saveAppendsTheMapSuffix();
    void failedSaveKeepsTheMapDirty();
    void oversizedMapIsReported();
    void liveUpdatesPausedForEveryFileAction();
    void closingWritesTheWindowStateAndRestoresIt();
    void livePlayToggleFollowsEverywhere();
    void addInterfaceOpensTheEditorOnTheNewSupply();
    void lightPaneOpensTheEditorOnASupply();
    void savedMapCarriesDefinitionProperties();
    void backgroundImageMakesTheMapDirty();
    void devicesTabFollowsTheMap();
    void aboutShowsTheVersion();
    void paneSelectionLightsTheFixtures_data();
    void paneSelectionLightsTheFixtures();
    void chasingGroupRunsItsChase();
    void discoveryActionsOpenOneDialogAtATime_data();
    void discoveryActionsOpenOneDialogAtATime();
    void preferencesOkAppliesCancelKeeps_data();
    void preferencesOkAppliesCancelKeeps();
    void addLights_data();
    void addLights();
    void refusalsLeaveTheMapUntouched_data();
    void refusalsLeaveTheMapUntouched();
    void progressStepsAndCancel_data();
    void progressStepsAndCancel();
    void undoRemovesTheWholeCreation();
    void stringSettingsRestoredOnReopen();
    void whiteLightsAndModules();
    void exportWritesTheChosenType_data();
    void exportWritesTheChosenType();
    void printPreviewShowsTheMapAndItsPatchList();

private:
    using Fill = std::function<void(QDialog &)>;
    void press(const Fill &fill, const char *button);
    void addSupply(quint64 serial);
    QStringList names() const;
    template <typename T> static T *child(QDialog &dialog, const char *name)
    {
        T *found = dialog.findChild<T *>(QLatin1String(name));
        if (!found)
            qFatal("no widget %s", name);
        return found;
    }
    QString copyOfExample(const QString &name) const;
    void verifyNoProgressLeft() const;
    QString fileState() const;
    void makeWindow();
    static void doubleClick(QWidget *widget, const QPoint &position);

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
    QFile::remove(path);
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

void tst_Kestrel::openSetsTitleAndRecentMap()
{
    const QString path = copyOfExample(QStringLiteral("arcade.map"));
    m_prompts->fileAnswers.enqueue(path);
    m_window->ui().openMapAction->trigger();

    QCOMPARE(m_prompts->asked.size(), 1);
    QCOMPARE(m_prompts->asked.at(0).dir, QStringLiteral("./"));
    QCOMPARE(m_window->model().lightCount(), 200);
    QCOMPARE(fileState(), "Orrery arcade.map | path arcade.map | recent arcade.map | unchanged");
    QCOMPARE(QSettings().value(QStringLiteral("/recentmap0")).toString(), path);
    QCOMPARE(QSettings().value(QStringLiteral("/map_path")).toString(), m_dir->path());
    QTRY_COMPARE(m_window->ui().m_nodeCountLabel->text(), QStringLiteral(" Node Count : 200"));
}

// Opening a missing, empty or broken map: the box says why (the reader's line, column and
// reason), the map leaves the recent maps, and no progress dialog is left to appear over the
// box and hold the window.
void tst_Kestrel::failedOpenSaysWhy_data()
{
    QTest::addColumn<QByteArray>("bytes"); // null: no file at all
    QTest::addColumn<bool>("openedBefore");
    QTest::addColumn<QString>("reason");
    QTest::newRow("missing") << QByteArray() << false
                             << "Unable to open file: No such file or directory";
    QTest::newRow("empty") << QByteArray("") << false
                           << "Error in line: 1, column: 0: Premature end of document.";
    QTest::newRow("garbage") << QByteArray("garbage") << false
                             << "Error in line: 1, column: 1: Start tag expected.";
    QTest::newRow("cut short since it was opened")
        << QByteArray("<map><c><t>2</t>") << true
        << "Error in line: 1, column: 16: Premature end of document.";
}

void tst_Kestrel::failedOpenSaysWhy()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, openedBefore);
    QFETCH(QString, reason);
    const QString path = m_dir->filePath(QStringLiteral("start.map"));
    const QString good = copyOfExample(QStringLiteral("good.map"));
    if (openedBefore) {
        QVERIFY(m_window->openMap(copyOfExample(QStringLiteral("start.map"))));
        QVERIFY(m_window->openMap(good));
    }
    if (!bytes.isNull()) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
    }
    QVERIFY(!m_window->openMap(path));
    QCOMPARE(m_prompts->shownMessages(),
             QStringList{"critical|Load Error|Failed to open map: " + path + "\n\n" + reason});
    QCOMPARE(fileState(), QStringLiteral("Orrery | path  | recent %1 | unchanged")
                              .arg(openedBefore ? "good.map" : ""));
    QVERIFY(!QSettings().contains(QStringLiteral("/recentmap1")));
    verifyNoProgressLeft();
}

// Whatever a long model operation reported, once it is over nothing may be left that would
// show the progress dialog: shown modal and never closed, it would hold the window and any
// message box after it.
void tst_Kestrel::modelOperationsLeaveNoProgressOpen_data()
{
    QTest::addColumn<bool>("withMap");
    QTest::addColumn<QString>("operation");
    QTest::newRow("clearing an empty map") << false << "clear";
    QTest::newRow("clearing a map") << true << "clear";
    QTest::newRow("loading a map of nothing") << false << "load";
    QTest::newRow("saving an empty map") << false << "save";
    QTest::newRow("a save that fails") << true << "failed save";
}

void tst_Kestrel::modelOperationsLeaveNoProgressOpen()
{
    QFETCH(bool, withMap);
    QFETCH(QString, operation);
    if (withMap)
        QVERIFY(m_window->openMap(copyOfExample(QStringLiteral("a.map"))));
    m_window->show();
    MapModel &model = m_window->model();
    QSignalSpy started(&model, &MapModel::progressStarted);
    QByteArray bytes("<map/>");
    QBuffer buffer(&bytes);
    if (operation == QLatin1String("clear")) {
        model.clear();
    } else if (operation == QLatin1String("load")) {
        buffer.open(QIODevice::ReadOnly);
        QVERIFY(model.loadFromDevice(buffer));
    } else {
        // A device that takes no bytes: the first write fails.
        const bool fails = operation != QLatin1String("save");
        if (fails)
            QTest::ignoreMessage(QtWarningMsg, "QIODevice::write (QBuffer): ReadOnly device");
        buffer.open(fails ? QIODevice::ReadOnly : QIODevice::WriteOnly);
        QCOMPARE(model.saveToDevice(buffer), !fails);
    }
    QCOMPARE(started.count(), 1);
    verifyNoProgressLeft();
}

void tst_Kestrel::verifyNoProgressLeft() const
{
    const auto *progress = m_window->findChild<ModelProgressDialog *>();
    QVERIFY(progress && !progress->isVisible());
    const QList<QTimer *> timers = progress->findChildren<QTimer *>();
    QVERIFY(std::none_of(timers.cbegin(), timers.cend(), [](QTimer *t) { return t->isActive(); }));
}

void tst_Kestrel::recentMapsMenuOpensTheChosenMap()
{
    const QString a = copyOfExample(QStringLiteral("a.map"));
    const QString b = copyOfExample(QStringLiteral("b.map"));
    QVERIFY(m_window->openMap(a));
    QVERIFY(m_window->openMap(b));
    QAction *entryForA = m_window->ui().m_recentMapsActionGroup->actions().at(1);
    entryForA->trigger();
    QCOMPARE(m_window->currentMapPath(), a);
    QCOMPARE(m_window->recentMaps(), (QStringList{a, b}));
    // The menu was rebuilt from inside the chosen action's signal; the old actions go later.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(m_window->ui().m_recentMapsMenu->actions().size(), 2);
}

// The window reads the recent maps and their settings at start: at most "/num_recent_maps"
// of them, the menu hidden when "/recent_maps_enabled" is off, newest first after a restart.
void tst_Kestrel::recentMapsFollowTheirSettingsAcrossARestart()
{
    QSettings().setValue(QStringLiteral("/num_recent_maps"), 2);
    QSettings().setValue(QStringLiteral("/recent_maps_enabled"), false);
    makeWindow();
    QStringList opened;
    for (const char *name : {"a.map", "b.map", "c.map"}) {
        opened.prepend(copyOfExample(QLatin1String(name)));
        QVERIFY(m_window->openMap(opened.constFirst()));
    }
    QCOMPARE(m_window->recentMaps(), opened.mid(0, 2));
    QVERIFY(!m_window->ui().m_recentMapsMenu->menuAction()->isVisible());
    m_window.reset();
    makeWindow();
    QCOMPARE(m_window->recentMaps(), opened.mid(0, 2));
    QCOMPARE(m_window->ui().m_recentMapsActionGroup->actions().size(), 2);
    QVERIFY(!m_window->ui().m_recentMapsMenu->menuAction()->isVisible());
}

// Save on an opened map writes it in place without asking, and the map is no longer changed.
void tst_Kestrel::editThenSaveThenReopen()
{
    const QString path = copyOfExample(QStringLiteral("site.map"));
    QVERIFY(m_window->openMap(path));
    m_prompts->itemAnswers.enqueue(QStringLiteral("Vistra Interface"));
    m_window->ui().addInterfaceAction->trigger();
    QVERIFY(m_window->isDirty());
    m_prompts->asked.clear();
    m_window->ui().saveMapAction->trigger();
    QVERIFY(m_prompts->asked.isEmpty());
    QVERIFY(!m_window->isDirty());
    QCOMPARE(m_window->windowTitle(), QStringLiteral("Orrery site.map"));
    MapModel reread;
    QVERIFY(reread.loadFromFile(path));
    QCOMPARE(reread.dataSupplyCount(), 4);
}

void tst_Kestrel::cancelInTheQuestionLeavesEverything_data()
{
    QTest::addColumn<QString>("action");
    QTest::newRow("new") << "newMapAction";
    QTest::newRow("open") << "openMapAction";
    QTest::newRow("recent") << "recent";
    QTest::newRow("close") << "close";
}

void tst_Kestrel::cancelInTheQuestionLeavesEverything()
{
    QFETCH(QString, action);
    const QString path = copyOfExample(QStringLiteral("site.map"));
    QVERIFY(m_window->openMap(path));
    m_window->show();
    m_window->setDirty(true);
    m_prompts->asked.clear();
    m_prompts->messageAnswers.enqueue(QMessageBox::Cancel);
    m_prompts->fileAnswers.enqueue(copyOfExample(QStringLiteral("other.map")));

    if (action == QLatin1String("recent"))
        m_window->ui().m_recentMapsActionGroup->actions().at(0)->trigger();
    else if (action == QLatin1String("close"))
        QVERIFY(!m_window->close());
    else
        m_window->findChild<QAction *>(action)->trigger();

    QCOMPARE(m_prompts->asked.size(), 1);
    QCOMPARE(m_prompts->shownMessages(),
             QStringList{"warning|Orrery|Do you want to save changes to your current map?\n"});
    QCOMPARE(m_window->model().lightCount(), 200);
    QCOMPARE(fileState(), "Orrery site.map * | path site.map | recent site.map | changed");
    QVERIFY(m_window->isVisible());
}

// "New" on a changed map: No discards it, Yes saves it first (and a cancelled save dialog
// keeps everything, since the save it asked for did not happen).
void tst_Kestrel::saveQuestionBeforeNew_data()
{
    QTest::addColumn<int>("answer");
    QTest::addColumn<QString>("file"); // the save dialog's answer; empty: cancelled
    QTest::addColumn<int>("suppliesLeft");
    QTest::addColumn<int>("suppliesSaved"); // -1: no file written
    QTest::newRow("no discards") << int(QMessageBox::No) << "" << 0 << -1;
    QTest::newRow("yes saves first") << int(QMessageBox::Yes) << "untitled" << 0 << 1;
    QTest::newRow("yes, save cancelled") << int(QMessageBox::Yes) << "" << 1 << -1;
}

void tst_Kestrel::saveQuestionBeforeNew()
{
    QFETCH(int, answer);
    QFETCH(QString, file);
    QFETCH(int, suppliesLeft);
    QFETCH(int, suppliesSaved);
    m_prompts->itemAnswers.enqueue(QStringLiteral("Vistra Interface"));
    m_window->ui().addInterfaceAction->trigger();
    QVERIFY(m_window->isDirty());
    m_prompts->messageAnswers.enqueue(QMessageBox::StandardButton(answer));
    if (!file.isEmpty())
        m_prompts->fileAnswers.enqueue(m_dir->filePath(file));
    m_window->ui().newMapAction->trigger();

    QCOMPARE(m_window->model().dataSupplyCount(), suppliesLeft);
    QCOMPARE(m_window->isDirty(), suppliesLeft > 0);
    QVERIFY(m_window->currentMapPath().isEmpty());
    const QString saved = m_dir->filePath(file + QStringLiteral(".map"));
    QCOMPARE(QFile::exists(saved), suppliesSaved >= 0);
    if (suppliesSaved >= 0) {
        MapModel reread;
        QVERIFY(reread.loadFromFile(saved));
        QCOMPARE(reread.dataSupplyCount(), suppliesSaved);
    }
}

void tst_Kestrel::saveAppendsTheMapSuffix_data()
{
    QTest::addColumn<QString>("chosen");
    QTest::addColumn<QString>("written");
    QTest::newRow("no suffix") << "plan"
                               << "plan.map";
    QTest::newRow("upper-case suffix") << "plan.MAP"
                                       << "plan.MAP.map";
    QTest::newRow("mixed-case suffix") << "plan.Map"
                                       << "plan.Map.map";
    QTest::newRow("suffix present") << "plan.map"
                                    << "plan.map";
    QTest::newRow("other suffix") << "plan.xml"
                                  << "plan.xml.map";
}

void tst_Kestrel::saveAppendsTheMapSuffix()
{
    QFETCH(QString, chosen);
    QFETCH(QString, written);
    QDir sub(m_dir->path());
    QVERIFY(sub.mkpath(QStringLiteral("maps")));
    const QString folder = m_dir->filePath(QStringLiteral("maps"));
    m_prompts->fileAnswers.enqueue(folder + QLatin1Char('/') + chosen);
    m_window->ui().saveMapAction->trigger();

    QCOMPARE(m_prompts->asked.at(0).kind, QStringLiteral("save"));
    QCOMPARE(QDir(folder).entryList(QDir::Files), QStringList{written});
    QCOMPARE(fileState(),
             QStringLiteral("Orrery %1 | path maps/%1 | recent maps/%1 | unchanged").arg(written));
    QCOMPARE(QSettings().value(QStringLiteral("/map_path")).toString(), folder);

    // Save again: no dialog, same file.
    m_prompts->asked.clear();
    m_window->ui().saveMapAction->trigger();
    QVERIFY(m_prompts->asked.isEmpty());
    // Save As always asks.
    m_window->ui().saveMapAsAction->trigger();
    QCOMPARE(m_prompts->asked.size(), 1);
    QCOMPARE(m_prompts->asked.at(0).dir, folder);
}

void tst_Kestrel::failedSaveKeepsTheMapDirty()
{
    m_prompts->itemAnswers.enqueue(QStringLiteral("Vistra Interface"));
    m_window->ui().addInterfaceAction->trigger();
    const QString impossible = m_dir->filePath(QStringLiteral("missing/folder/plan.map"));
    m_prompts->fileAnswers.enqueue(impossible);
    m_window->ui().saveMapAction->trigger();

    QCOMPARE(m_prompts->shownMessages(), QStringList{"critical|Save Failed|Unable to save file " +
                                                     impossible + "\n\nNo such file or directory"});
    QCOMPARE(fileState(), "Orrery * | path  | recent  | changed");
}

void tst_Kestrel::oversizedMapIsReported()
{
    QSettings().setValue(QStringLiteral("/canvas_width"), 100);
    makeWindow();
    const QString path = copyOfExample(QStringLiteral("site.map"));
    QVERIFY(m_window->openMap(path));
    const QRect canvas = m_window->model().canvasRect();
    QVERIFY(canvas.width() > 100);
    QCOMPARE(m_prompts->shownMessages(),
             QStringList{QStringLiteral("information|Orrery|Map size (%1, %2) is larger than the "
                                        "default canvas size (100, 10000).")
                             .arg(canvas.width())
                             .arg(canvas.height())});
}

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

void tst_Kestrel::closingWritesTheWindowStateAndRestoresIt()
{
    m_window->show();
    m_window->resize(1111, 777);
    m_window->ui().m_splitter->setSizes({300, 200, 500});
    const QList<int> sizes = m_window->ui().m_splitter->sizes();
    QVERIFY(m_window->close());

    QSettings settings;
    QCOMPARE(settings.value(QStringLiteral("/appwidth")).toInt(), 1111);
    QCOMPARE(settings.value(QStringLiteral("/appheight")).toInt(), 777);
    QCOMPARE(settings.value(QStringLiteral("/appmaximized")).toBool(), false);
    QVERIFY(settings.contains(QStringLiteral("/appx")));
    for (int i = 0; i < 3; ++i)
        QCOMPARE(settings.value(QStringLiteral("/splitterwidth%1").arg(i)).toInt(), sizes.at(i));
    for (int i = 0; i < 4; ++i)
        QVERIFY(settings.value(QStringLiteral("/lightviewcolwidth%1").arg(i)).toInt() > 0);

    makeWindow();
    QCOMPARE(m_window->size(), QSize(1111, 777));
    m_window->show();
    QCOMPARE(m_window->ui().m_splitter->sizes(), sizes);
}

void tst_Kestrel::livePlayToggleFollowsEverywhere()
{
    QAction *action = m_window->ui().livePlayAction;
    action->trigger();
    QVERIFY(!m_window->isLivePlay());
    QVERIFY(!m_window->model().livePlay());
    QCOMPARE(m_window->ui().m_livePlayIndicator->text(), action->text());
    m_window->ui().m_livePlayIndicator->click();
    QVERIFY(m_window->isLivePlay());
    QVERIFY(action->isChecked());

    // "/live_play" decides the state at start; a loaded map follows the window's state.
    QSettings().setValue(QStringLiteral("/live_play"), false);
    makeWindow();
    QVERIFY(!m_window->isLivePlay());
    QVERIFY(!m_window->ui().livePlayAction->isChecked());
    QVERIFY(m_window->openMap(copyOfExample(QStringLiteral("a.map"))));
    QVERIFY(!m_window->model().livePlay());
}

void tst_Kestrel::addInterfaceOpensTheEditorOnTheNewSupply()
{
    // No type chosen: nothing is added.
    m_prompts->itemAnswers.enqueue(std::nullopt);
    m_window->ui().addInterfaceAction->trigger();
    QCOMPARE(m_window->model().dataSupplyCount(), 0);
    QVERIFY(!m_window->isDirty());

    const quint64 before = m_window->model().newUid();
    m_prompts->itemAnswers.enqueue(QStringLiteral("Vistra Interface"));
    quint64 edited = 0;
    m_prompts->dialogScripts.enqueue([&edited](QDialog &dialog) {
        auto &editor = dynamic_cast<EditControllerDialog &>(dialog);
        edited = editor.dataSupply()->uid();
        if (editor.nameLineEdit()->text() != QLatin1String("New Vistra Interface"))
            return int(QDialog::Rejected);
        editor.nameLineEdit()->setText(QStringLiteral("Arcade Gate"));
        editor.ipLineEdit()->setText(QStringLiteral("10.0.4.20"));
        editor.okButton()->click();
        return editor.result();
    });
    m_window->ui().addInterfaceAction->trigger();

    QCOMPARE(m_prompts->asked.last().kind, QStringLiteral("dialog"));
    QCOMPARE(m_prompts->asked.last().title, QStringLiteral("Interface Editor"));
    const DataSupply *supply = m_window->model().dataSupplies().constFirst();
    QCOMPARE(edited, supply->uid());
    QVERIFY(supply->uid() > before);
    QCOMPARE(supply->type(), 2u);
    QCOMPARE(supply->name(), QStringLiteral("Arcade Gate"));
    QCOMPARE(supply->ipText(), QByteArray("10.0.4.20"));
    QVERIFY(m_window->isDirty());
}

void tst_Kestrel::lightPaneOpensTheEditorOnASupply()
{
    QVERIFY(m_window->openMap(copyOfExample(QStringLiteral("arcade.map"))));
    QVERIFY(!m_window->isDirty());
    LightView *view = m_window->lightView();
    const QModelIndex supplyRow = view->lightModel()->index(0, 0);
    const quint64 supplyUid = view->lightModel()->uidAt(supplyRow);
    const QModelIndex lightRow = view->lightModel()->index(0, 0, supplyRow);
    QVERIFY(lightRow.isValid());

    // Each script types a name into the Interface Editor and presses OK or Cancel.
    auto rename = [](const QString &name, bool ok = true) {
        return [name, ok](QDialog &dialog) {
            auto &editor = dynamic_cast<EditControllerDialog &>(dialog);
            editor.nameLineEdit()->setText(name);
            (ok ? editor.okButton() : editor.cancelButton())->click();
            return editor.result();
        };
    };
    // A cancelled editor keeps the supply and the map as they were.
    m_prompts->dialogScripts.enqueue(rename(QStringLiteral("Not kept"), false));
    QVERIFY(!m_window->editDataSupply(supplyUid));
    QCOMPARE(m_window->model().dataSupply(supplyUid)->name(), QStringLiteral("Arcade North PDS"));
    QVERIFY(!m_window->isDirty());
    // "Edit Interface..." is offered on supply rows only.
    view->setCurrentIndex(lightRow);
    QVERIFY(!view->editInterfaceAction()->isEnabled());
    view->setCurrentIndex(supplyRow);
    QVERIFY(view->editInterfaceAction()->isEnabled());
    m_prompts->dialogScripts.enqueue(rename(QStringLiteral("From the menu")));
    view->editInterfaceAction()->trigger();
    QCOMPARE(m_window->model().dataSupply(supplyUid)->name(), QStringLiteral("From the menu"));
    QVERIFY(m_window->isDirty());

    // A double-click on a supply row opens the Interface Editor; on a light row the
    // light-property editor on that light.
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    view->expand(supplyRow);
    m_prompts->dialogScripts.enqueue(rename(QStringLiteral("From a double-click")));
    doubleClick(view->viewport(), view->visualRect(supplyRow).center());
    QCOMPARE(m_window->model().dataSupply(supplyUid)->name(),
             QStringLiteral("From a double-click"));
    QVERIFY(view->isExpanded(supplyRow));
    const int before = m_prompts->asked.size();
    QVERIFY(view->visualRect(lightRow).isValid());
    doubleClick(view->viewport(), view->visualRect(lightRow).center());
    QCOMPARE(m_prompts->asked.size(), before + 1);
    QCOMPARE(m_prompts->asked.constLast().title, QStringLiteral("Edit Light"));

    // The context menu of a supply row offers the interface editor; a light row the
    // light-property editor.
    auto contextMenuAt = [view](const QModelIndex &row) {
        const QPoint at = view->visualRect(row).center();
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, view->viewport()->mapToGlobal(at));
        QCoreApplication::sendEvent(view->viewport(), &event);
        QMenu *menu = view->findChild<QMenu *>();
        if (menu)
            menu->setParent(nullptr);
        return std::unique_ptr<QMenu>(menu);
    };
    auto lightMenu = contextMenuAt(lightRow);
    QVERIFY(lightMenu);
    QCOMPARE(lightMenu->actions(), QList<QAction *>{view->editLightsAction()});
    auto menu = contextMenuAt(supplyRow);
    QVERIFY(menu);
    QCOMPARE(menu->actions(), QList<QAction *>{view->editInterfaceAction()});
    menu->close();
}

void tst_Kestrel::doubleClick(QWidget *widget, const QPoint &position)
{
    // What the window system delivers: the first click, then the second as a double-click.
    QTest::mouseClick(widget, Qt::LeftButton, {}, position);
    QTest::mouseDClick(widget, Qt::LeftButton, {}, position);
}

// The devices tab leaves its tree until it is shown, then follows the map.
void tst_Kestrel::devicesTabFollowsTheMap()
{
    QVERIFY(m_window->openMap(copyOfExample(QStringLiteral("arcade.map"))));
    DeviceView *devices = m_window->deviceView();
    QTest::qWait(20);
    QVERIFY(devices->isRebuildPending());
    m_window->show();
    m_window->lightTabs()->setCurrentWidget(devices);
    QTRY_VERIFY(!devices->isRebuildPending());
    QTreeWidgetItem *kind = devices->kindItem(QStringLiteral("Vela Graze RGB"));
    QVERIFY(kind);
    QCOMPARE(kind->childCount(), m_window->model().lightCount());

    m_window->ui().newMapAction->trigger();
    QTRY_COMPARE(devices->topLevelItemCount(), 0);
}

void tst_Kestrel::savedMapCarriesDefinitionProperties()
{
    QVERIFY(m_window->openMap(copyOfExample(QStringLiteral("arcade.map"))));
    // A light that holds no properties at all: only the definitions can name its chemistry.
    const Light *known = m_window->model().lights().constFirst();
    auto bare = std::make_unique<Light>();
    bare->setUid(m_window->model().newUid());
    bare->setSerialNumber(known->serialNumber());
    bare->setDataSupply(known->dataSupply());
    QVERIFY(bare->deviceProperties().isEmpty());
    QVERIFY(m_window->model().addLight(std::move(bare)));
    const QString saved = m_dir->filePath(QStringLiteral("saved.map"));
    m_prompts->fileAnswers.enqueue(saved);
    m_window->ui().saveMapAsAction->trigger();

    QFile file(saved);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    QCOMPARE(text.count("<LED_CHEMISTRY>"), m_window->model().lightCount());
}

// Selecting in either pane (or Select All Lights) becomes what the selection effect lights.
void tst_Kestrel::paneSelectionLightsTheFixtures_data()
{
    QTest::addColumn<QString>("what");
    QTest::newRow("a light row") << "light";
    QTest::newRow("a supply row") << "supply";
    QTest::newRow("a group row") << "group";
    QTest::newRow("select all lights") << "all";
    QTest::newRow("a light on the canvas") << "canvas";
}

void tst_Kestrel::paneSelectionLightsTheFixtures()
{
    QFETCH(QString, what);
    QVERIFY(m_window->openMap(copyOfExample(QStringLiteral("arcade.map"))));
    MapModel &model = m_window->model();
    const DataSupply *supply = model.dataSupplies().constFirst();
    const Group *group = model.groups().constFirst();
    const quint64 light = supply->lights().constFirst();
    QList<quint64> expected;
    if (what == QLatin1String("light")) {
        m_window->lightView()->setCurrentIndex(
            m_window->lightView()->lightModel()->indexForLight(light));
        expected = {light};
    } else if (what == QLatin1String("supply")) {
        m_window->lightView()->selectDataSupply(supply->uid());
        expected = supply->lights();
    } else if (what == QLatin1String("group")) {
        m_window->groupView()->setCurrentIndex(
            m_window->groupView()->groupModel()->indexForGroup(group->uid()));
        expected = group->children();
    } else if (what == QLatin1String("canvas")) {
        m_window->layoutPane().view()->selectLight(light, true);
        expected = {light};
        // The light pane shows it once the burst of changes is over.
        QTRY_COMPARE(m_window->lightView()->selectedLightUids(), expected);
    } else {
        m_window->ui().selectAllLightsAction->trigger();
        expected = model.lightHash().keys();
    }
    // One selection everywhere: the canvas shows what the panes chose, and the other way.
    QList<quint64> onCanvas = m_window->layoutPane().view()->selection();
    std::sort(onCanvas.begin(), onCanvas.end());
    std::sort(expected.begin(), expected.end());
    QCOMPARE(onCanvas, expected);
    SelectionEffect &selection = m_window->livePlayer().selection();
    QList<quint64> selected = selection.selectedLights();
    std::sort(selected.begin(), selected.end());
    std::sort(expected.begin(), expected.end());
    QCOMPARE(selected, expected);
    m_window->livePlayer().engine().renderFrame(QDateTime::currentDateTime());
    QCOMPARE(model.light(expected.constFirst())->output().color(), VelaColor(Qt::red));
}

// A chasing group chosen alone in the group pane steps through its members, its own number
// of lights a frame, and the panes keep what the user chose.
void tst_Kestrel::chasingGroupRunsItsChase()
{
    QVERIFY(m_window->openMap(copyOfExample(QStringLiteral("arcade.map"))));
    Group *group = m_window->model().groups().constFirst();
    group->setType(Group::ChasingType);
    group->setLightsPerStep(2);
    const QList<quint64> members = group->children();
    m_window->groupView()->setCurrentIndex(
        m_window->groupView()->groupModel()->indexForGroup(group->uid()));
    SelectionEffect &selection = m_window->livePlayer().selection();
    QVERIFY(selection.isHighlighting());
    QCOMPARE(selection.chaseSteps().size(), (members.size() + 1) / 2);
    // The stepping itself is pinned in tst_effects; here the window's engine runs it.
    m_window->livePlayer().engine().renderFrame(QDateTime::currentDateTime());
    QList<quint64> lit = selection.selectedLights();
    std::sort(lit.begin(), lit.end());
    QList<quint64> wanted = members.mid(0, 2);
    std::sort(wanted.begin(), wanted.end());
    QCOMPARE(lit, wanted);
    QCOMPARE(m_window->model().light(wanted.constFirst())->output().color(), VelaColor(Qt::red));
    QCoreApplication::processEvents();
    QCOMPARE(m_window->groupView()->selectedGroupUids(), QList<quint64>{group->uid()});
}

void tst_Kestrel::backgroundImageMakesTheMapDirty()
{
    const QString image = m_dir->filePath(QStringLiteral("plan.png"));
    m_prompts->fileAnswers.enqueue(image);
    m_window->ui().addBackgroundImageAction->trigger();
    QCOMPARE(m_window->model().imageFile(), image);
    QVERIFY(m_window->isDirty());
}

// The about box names the version the program was built as, with the commit's date and hash.
void tst_Kestrel::aboutShowsTheVersion()
{
    m_window->ui().aboutAction->trigger();
    QCOMPARE(m_prompts->asked.size(), 1);
    QCOMPARE(m_prompts->asked.at(0).kind, QStringLiteral("about"));
    const QString version = m_prompts->asked.at(0).text;
    QVERIFY2(QRegularExpression(QStringLiteral("^Version: \\d+\\.\\d+\\.\\d+ \\S+-\\S+$"))
                 .match(version)
                 .hasMatch(),
             qPrintable(version));
    const AboutDialog about(version);
    const QLabel *label = about.findChild<QLabel *>(QStringLiteral("m_versionLabel"));
    QVERIFY(label);
    QCOMPARE(label->text(), version);
}

void tst_Kestrel::discoveryActionsOpenOneDialogAtATime_data()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<QString>("dialogClass");
    QTest::newRow("interfaces") << "discoverInterfacesAction"
                                << "DiscoverInterfacesWizard";
    QTest::newRow("lights") << "discoverLightsAction"
                            << "DiscoverLightsWizard";
    QTest::newRow("sync") << "syncInterfacesAction"
                          << "SyncInterfacesDialog";
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
    QVERIFY(dialog->isVisible());
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
    QTest::addColumn<int>("fps");
    QTest::addColumn<int>("intervalMs");
    QTest::newRow("cancel") << false << 3 << 100;
    QTest::newRow("3 fps") << true << 3 << 333;
    QTest::newRow("100 fps") << true << 100 << 10;
}

void tst_Kestrel::preferencesOkAppliesCancelKeeps()
{
    QFETCH(bool, ok);
    QFETCH(int, fps);
    QFETCH(int, intervalMs);
    const auto stored = [](const QStringList &keys) {
        QSettings settings;
        QStringList values;
        for (const QString &key : keys.isEmpty() ? settings.allKeys() : keys)
            values << key + QLatin1Char('=') + settings.value(key).toString();
        return values.join(QLatin1Char(' '));
    };
    const QString before = stored({});
    m_prompts->dialogScripts.enqueue([&](QDialog &d) {
        auto &dialog = static_cast<EditPreferencesDialog &>(d);
        dialog.setFrameRate(fps);
        dialog.setGridSize(24);
        dialog.setCanvasWidth(20000);
        dialog.setRecentMapsEnabled(false);
        dialog.setNumRecentMaps(2);
        d.findChild<QAbstractButton *>(ok ? "buttonOk" : "buttonCancel")->click();
        return d.result();
    });
    m_window->ui().editPreferencesAction->trigger();
    QCOMPARE(m_window->livePlayer().engine().interval(), intervalMs);
    QCOMPARE(m_window->layoutPane().view()->gridSize(), ok ? 24 : 12);
    const KestrelSettings &now = m_window->settings();
    QCOMPARE(QStringLiteral("%1 %2 %3")
                 .arg(now.canvasWidth)
                 .arg(now.recentMapsEnabled)
                 .arg(now.numRecentMaps),
             QLatin1String(ok ? "20000 0 2" : "10000 1 5"));
    if (ok)
        QCOMPARE(stored({"frame_rate", "grid", "canvas_width", "num_recent_maps",
                         "recent_maps_enabled"}),
                 QStringLiteral("frame_rate=%1 grid=24 canvas_width=20000 num_recent_maps=2 "
                                "recent_maps_enabled=false")
                     .arg(fps));
    else
        QCOMPARE(stored({}), before);
}

// Add Lights / String / Tile / White Lights / Module, filled in and pressed offscreen.
void tst_Kestrel::press(const Fill &fill, const char *button)
{
    m_prompts->dialogScripts.enqueue([fill, button](QDialog &dialog) {
        fill(dialog);
        child<QAbstractButton>(dialog, button)->click();
        return dialog.result();
    });
}

void tst_Kestrel::addSupply(quint64 serial)
{
    MapModel &model = m_window->model();
    model.dataSupply(MapBuild::supply(model, QStringLiteral("Roof")))->setSerialNumber(serial);
}

QStringList tst_Kestrel::names() const
{
    QStringList result;
    for (const Light *light : m_window->model().lights())
        result << light->name() + "@" + light->deviceProperty("DMX_OFFSET");
    result.sort();
    return result;
}

void tst_Kestrel::addLights_data()
{
    QTest::addColumn<bool>("existing");
    QTest::addColumn<QString>("baseName");
    QTest::addColumn<bool>("autoSet");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("new interface")
        << false << "Cove" << false << QStringList{"Cove  02-004@9", "Cove  02-005@12"};
    QTest::newRow("empty base name")
        << false << "" << false << QStringList{" 02-004@9", " 02-005@12"};
    // The supply already drives a light at DMX 1 to 3 of port 2: auto-set gives 4.
    QTest::newRow("existing interface, auto-set")
        << true << "Bay" << true << QStringList{"Bay  02-002@3", "Bay  02-003@6", "Old@0"};
}

void tst_Kestrel::addLights()
{
    QFETCH(bool, existing);
    QFETCH(QString, baseName);
    QFETCH(bool, autoSet);
    QFETCH(QStringList, expected);
    addSupply(0xA1B2);
    if (existing) {
        MapModel &model = m_window->model();
        const quint64 old = MapBuild::light(model, model.dataSupplies().constFirst()->uid(), 1, 0,
                                            QStringLiteral("Old"));
        model.light(old)->setDeviceProperty("DMX_OFFSET", "0");
    }
    press(
        [&](QDialog &d) {
            child<QSpinBox>(d, "m_countSpinBox")->setValue(2);
            child<QRadioButton>(d, "m_verticalRadioButton")->setChecked(true);
            child<QRadioButton>(d, existing ? "m_existingInterfaceRadioButton"
                                            : "m_newInterfaceRadioButton")
                ->setChecked(true);
            child<QSpinBox>(d, "m_portNumSpinBox")->setValue(2);
            child<QSpinBox>(d, "m_dmxAddressSpinBox")->setValue(10);
            child<QCheckBox>(d, "m_dmxAutoSetCheckBox")->setChecked(autoSet);
            child<QLineEdit>(d, "m_baseNameLineEdit")->setText(baseName);
        },
        "okButton");
    m_window->ui().addLightsAction->trigger();
    QCOMPARE(names(), expected);
    QCOMPARE(m_window->model().dataSupplyCount(), existing ? 1 : 2);
    QVERIFY(m_window->isDirty());
    QVERIFY(m_prompts->messages().isEmpty());
}

// Refused light creations: the box says why (the ports row: its title), and the map, the undo
// list and "changed" stay.
void tst_Kestrel::refusalsLeaveTheMapUntouched_data()
{
    QTest::addColumn<QString>("message");
    QTest::newRow("no interface chosen")
        << "critical|Parse Error|Unable to parse serial number of selected controller";
    QTest::newRow("the interface went away while the dialog was open")
        << "critical|Find Failure|Unable to find specified controller in map";
    QTest::newRow("more lights than its ports take") << "critical|Error|";
}

void tst_Kestrel::refusalsLeaveTheMapUntouched()
{
    QFETCH(QString, message);
    addSupply(0xA1B2);
    MapModel &model = m_window->model();
    const QByteArray row = QTest::currentDataTag();
    press(
        [&](QDialog &d) {
            child<QRadioButton>(d, "m_existingInterfaceRadioButton")->setChecked(true);
            child<QSpinBox>(d, "m_countSpinBox")->setValue(row.startsWith("more") ? 171 : 3);
            if (row.startsWith("no interface"))
                child<QComboBox>(d, "m_interfaceComboBox")->clear();
            if (row.startsWith("the interface went"))
                model.removeDataSupply(model.dataSupplies().constFirst()->uid());
        },
        "okButton");
    m_window->ui().addLightsAction->trigger();
    QCOMPARE(m_prompts->shownMessages().size(), 1);
    QVERIFY2(m_prompts->shownMessages().at(0).startsWith(message),
             qPrintable(m_prompts->shownMessages().at(0)));
    QCOMPARE(model.lightCount(), 0);
    QCOMPARE(model.dataSupplyCount(), row.startsWith("the interface went") ? 0 : 1);
    QVERIFY(!m_window->isDirty());
    QVERIFY(!m_window->ui().undoAction->isEnabled());
}

void tst_Kestrel::progressStepsAndCancel_data()
{
    QTest::addColumn<int>("columns");
    QTest::addColumn<int>("cancelAt");
    QTest::addColumn<int>("reports");
    QTest::addColumn<int>("made");
    QTest::newRow("150: every light") << 150 << -1 << 150 << 150;
    QTest::newRow("1,000: every 10") << 1000 << -1 << 100 << 1000;
    QTest::newRow("1,000 cancelled halfway") << 1000 << 500 << 50 << 500;
}

void tst_Kestrel::progressStepsAndCancel()
{
    QFETCH(int, columns);
    QFETCH(int, cancelAt);
    QFETCH(int, reports);
    QFETCH(int, made);
    press(
        [&](QDialog &d) {
            child<QAbstractButton>(d, "m_horizontalButton")->click();
            child<QSpinBox>(d, "m_columnsSpinBox")->setValue(columns);
            child<QRadioButton>(d, "m_newInterfaceRadioButton")->setChecked(true);
            child<QSpinBox>(d, "m_portsSpinBox")->setValue(6);
        },
        "m_addBelowButton");
    QList<int> steps;
    connect(&m_window->lightCreation(), &LightCreation::creationProgress, this,
            [&](int count, int total) {
                QCOMPARE(total, columns);
                steps << count;
                if (count == cancelAt)
                    m_window->lightCreation().cancelCreation();
            });
    m_window->ui().addStringAction->trigger();
    QCOMPARE(steps.size(), reports);
    QCOMPARE(m_window->model().lightCount(), made);
    QVERIFY(m_window->ui().undoAction->isEnabled());
}

void tst_Kestrel::undoRemovesTheWholeCreation()
{
    press(
        [](QDialog &d) {
            child<QSpinBox>(d, "m_rowsSpinBox")->setValue(3);
            child<QSpinBox>(d, "m_columnsSpinBox")->setValue(4);
        },
        "m_addRightButton");
    m_window->ui().addTileAction->trigger();
    QCOMPARE(m_window->model().lightCount(), 12);
    const QStringList made = names();
    m_window->setDirty(false); // as after a save
    m_window->ui().undoAction->trigger();
    QCOMPARE(m_window->model().lightCount(), 0);
    // The interface made for the tile goes too, from the map and from the light pane.
    QCOMPARE(m_window->model().dataSupplyCount(), 0);
    QCOMPARE(m_window->lightView()->model()->rowCount(), 0);
    QVERIFY(m_window->isDirty());
    QVERIFY(!m_window->ui().undoAction->isEnabled());
    m_window->ui().redoAction->trigger();
    QCOMPARE(names(), made);
    QCOMPARE(m_window->lightView()->model()->rowCount(), 1);
}

void tst_Kestrel::stringSettingsRestoredOnReopen()
{
    press(
        [](QDialog &d) {
            child<QAbstractButton>(d, "m_forwardSlashButton")->click();
            child<QSpinBox>(d, "m_columnsSpinBox")->setValue(7);
            child<QRadioButton>(d, "m_rightToLeftRadioButton")->click();
            child<QRadioButton>(d, "m_bottomToTopRadioButton")->click();
            child<QLineEdit>(d, "m_baseNameLineEdit")->setText("Stair");
            child<QSpinBox>(d, "m_portNumSpinBox")->setValue(3);
        },
        "m_addRightButton");
    m_window->ui().addStringAction->trigger();
    QStringList seen;
    m_prompts->dialogScripts.enqueue([&seen](QDialog &d) {
        seen << QString::number(child<QAbstractButton>(d, "m_forwardSlashButton")->isChecked())
             << QString::number(child<QSpinBox>(d, "m_columnsSpinBox")->value())
             << QString::number(child<QRadioButton>(d, "m_rightToLeftRadioButton")->isChecked())
             << QString::number(child<QRadioButton>(d, "m_bottomToTopRadioButton")->isChecked())
             << child<QLineEdit>(d, "m_baseNameLineEdit")->text()
             << QString::number(child<QSpinBox>(d, "m_portNumSpinBox")->value())
             << QString::number(child<QPushButton>(d, "m_addRightButton")->isDefault());
        return int(QDialog::Rejected);
    });
    m_window->ui().addStringAction->trigger();
    QCOMPARE(seen, QStringList({"1", "7", "1", "1", "Stair", "3", "1"}));
    QCOMPARE(m_window->model().lightCount(), 7);
}

// "Add White Lights" offers only one-channel fixtures, packed one channel apart; "Add Module"
// makes one light of the type chosen first.
void tst_Kestrel::whiteLightsAndModules()
{
    QStringList types;
    press(
        [&types](QDialog &d) {
            auto *combo = child<QComboBox>(d, "m_fixtureTypeComboBox");
            for (int i = 0; i < combo->count(); ++i)
                types << combo->itemText(i);
            child<QSpinBox>(d, "m_countSpinBox")->setValue(2);
        },
        "okButton");
    m_window->ui().addWhiteLightsAction->trigger();
    QVERIFY(types.contains("Generic White"));
    QVERIFY(!types.contains("Generic 3-Ch"));
    QCOMPARE(names(), QStringList({"Light  01-001@0", "Light  01-002@1"}));

    m_prompts->itemAnswers.enqueue(QStringLiteral("Generic RGBW"));
    press([](QDialog &) {}, "okButton");
    m_window->ui().addModuleAction->trigger();
    QCOMPARE(m_window->model().lightCount(), 3);
    int rgbw = 0;
    for (const Light *light : m_window->model().lights())
        rgbw += light->deviceProperty("LED_CHEMISTRY") == "2";
    QCOMPARE(rgbw, 1);
}

// Print Map... and Export Patch List...
void tst_Kestrel::exportWritesTheChosenType_data()
{
    QTest::addColumn<QString>("filter");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("written");
    QTest::addColumn<bool>("csv");
    QTest::newRow("PDF by default suffix") << kPdf << "plan"
                                           << "plan.pdf" << false;
    QTest::newRow("CSV by default suffix") << kCsv << "plan"
                                           << "plan.csv" << true;
    QTest::newRow("the typed suffix wins") << kPdf << "plan.csv"
                                           << "plan.csv" << true;
    QTest::newRow("the typed PDF suffix wins") << kCsv << "plan.PDF"
                                               << "plan.PDF" << false;
    QTest::newRow("another suffix: the chosen type") << kCsv << "plan.txt"
                                                     << "plan.txt" << true;
    QTest::newRow("a missing folder: says why") << kCsv << "missing/plan.csv"
                                                << "" << true;
}

void tst_Kestrel::exportWritesTheChosenType()
{
    QFETCH(QString, filter);
    QFETCH(QString, typed);
    QFETCH(QString, written);
    QFETCH(bool, csv);
    QVERIFY(m_window->openMap(copyOfExample(QStringLiteral("arcade.map"))));
    m_prompts->dialogScripts.enqueue(answer(filter, m_dir->filePath(typed)));
    m_window->ui().exportPatchListAction->trigger();

    QCOMPARE(m_prompts->asked.constFirst().title, QStringLiteral("Export Patch List"));
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
    QVERIFY(m_prompts->messages().isEmpty());
}

void tst_Kestrel::printPreviewShowsTheMapAndItsPatchList()
{
    QVERIFY(m_window->openMap(copyOfExample(QStringLiteral("arcade.map"))));
    QCOMPARE(m_window->mapPrinting().title(), QStringLiteral("arcade.map"));
    int pages = 0;
    m_prompts->dialogScripts.enqueue([&pages](QDialog &dialog) {
        auto *widget = dialog.findChild<QPrintPreviewWidget *>();
        if (!qobject_cast<QPrintPreviewDialog *>(&dialog) || !widget)
            return int(QDialog::Rejected);
        widget->updatePreview();
        pages = widget->pageCount();
        return int(QDialog::Rejected);
    });
    m_window->ui().printAction->trigger();
    QCOMPARE(m_prompts->asked.constLast().title, QStringLiteral("Print Map"));
    // The layout, then the 200 lights of five ports: more than one page of tables.
    QVERIFY2(pages >= 3, qPrintable(QString::number(pages)));
}

QTEST_MAIN(tst_Kestrel)
#include "tst_kestrel.moc"
