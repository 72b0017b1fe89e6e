// Pictures of the main window and its dialogs for people to look at, written to the folder
// named by ORRERY_SCREENSHOT_DIR. This is a looking aid, not a test: it checks nothing beyond
// its own set-up and is not part of the test run. scripts/screenshots runs it offscreen inside
// a network namespace of its own (the window and the simulator announce themselves).
// It drives the window through QtTest's runner and the tests' scripted prompts.
#include "app/demoguide.h"
#include "app/kestrel.h"
#include "app/layoutpane.h"
#include "app/liveplayer.h"
#include "model/group.h"
#include "ui/layoutview.h"
#include "ui/layoutviewlight.h"
#include "effects/effectengine.h"
#include "sim/simoutput.h"
#include "sim/simulator.h"
#include "support/simmap.h"
#include "app/scriptedprompts.h"
#include "app/splashscreen.h"
#include "app/testsettings.h"
#include "app/aboutversion.h"
#include "model/mapmodel.h"
#include "support/netnamespace.h"
#include "ui/aboutdialog.h"
#include "ui/createlights.h"
#include "ui/editpreferencesdialog.h"
#include "ui/createstringdialog.h"
#include "devices/devicedictionary.h"
#include "ui/deviceview.h"
#include "ui/editcontrollerdialog.h"
#include "ui/lightview.h"
#include "ui/lighttreemodel.h"
#include "ui/uiresources.h"
#include "devices/deviceresources.h"
#include "discovery/discoveryengine.h"
#include "net/ksocket.h"
#include "ui/discoverinterfaceswizard.h"
#include "ui/discoverlightswizard.h"
#include "ui/lightdiscoverpage.h"
#include "ui/lightreadpage.h"
#include "ui/syncinterfacesdialog.h"
#include "ui/widgetuserprompts.h"

#include <QAbstractButton>
#include <QDir>
#include <QSpinBox>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QPrintPreviewWidget>
#include <QStatusBar>
#include <QTabWidget>
#include <QtTest>

class tst_Screenshots : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void mainWindow();
    void interfaceEditor();
    void devicesTab();
    void fileMenuWithRecentMaps();
    void saveQuestion();
    void aboutBox();
    void splash();
    void iconSheet();
    void demonstrationFirstWindow();
    void canvasZoomedOutAndIn();
    void simulatedInstallationWithSelection();
    void creationDialogsAndCanvas();
    void preferences();
    void printPreview();
    void discoveryWizardPages();

private:
    void save(const QImage &image, const QString &name);
    void grab(QWidget *widget, const QString &name);
    std::unique_ptr<Kestrel> windowWithExample();

    std::unique_ptr<TestSettings> m_settings;
    QString m_out;
    QTemporaryDir m_maps;
};

void tst_Screenshots::initTestCase()
{
    m_out = qEnvironmentVariable("ORRERY_SCREENSHOT_DIR");
    if (m_out.isEmpty())
        QSKIP("set ORRERY_SCREENSHOT_DIR to write screenshots");
    // The window will own the discovery engine, which announces itself on the network.
    ORRERY_ENTER_OWN_NETNS_OR_SKIP();
    QVERIFY(QDir().mkpath(m_out));
    m_settings = std::make_unique<TestSettings>();
    initUiResources();
}

void tst_Screenshots::grab(QWidget *widget, const QString &name)
{
    QCoreApplication::processEvents();
    save(widget->grab().toImage(), name);
}

void tst_Screenshots::save(const QImage &image, const QString &name)
{
    const QString path = QDir(m_out).filePath(name);
    QVERIFY(image.save(path));
    qInfo("wrote %s", qPrintable(path));
}

std::unique_ptr<Kestrel> tst_Screenshots::windowWithExample()
{
    auto window = std::make_unique<Kestrel>(std::make_unique<ScriptedPrompts>());
    window->resize(1280, 800);
    window->show();
    const QString example = m_maps.filePath(QStringLiteral("riverside-arcade.map"));
    QFile::copy(QStringLiteral(ORRERY_SOURCE_DIR "/examples/riverside-arcade.map"), example);
    window->openMap(example);
    QCoreApplication::processEvents();
    return window;
}

void tst_Screenshots::mainWindow()
{
    const std::unique_ptr<Kestrel> window = windowWithExample();
    LightView *lights = window->lightView();
    const QModelIndex supply = lights->lightModel()->index(0, 0);
    lights->selectionModel()->select(lights->lightModel()->index(2, 0, supply),
                                     QItemSelectionModel::Select | QItemSelectionModel::Rows);
    QCoreApplication::processEvents();
    save(window->grab().toImage(), QStringLiteral("main-window.png"));
}

void tst_Screenshots::interfaceEditor()
{
    const std::unique_ptr<Kestrel> window = windowWithExample();
    LightView *lights = window->lightView();
    const quint64 uid = lights->lightModel()->uidAt(lights->lightModel()->index(0, 0));
    EditControllerDialog dialog(QStringLiteral("/EditController"), window->model().dataSupply(uid),
                                window.get());
    dialog.show();
    QCoreApplication::processEvents();
    save(dialog.grab().toImage(), QStringLiteral("interface-editor.png"));
}

void tst_Screenshots::devicesTab()
{
    const std::unique_ptr<Kestrel> window = windowWithExample();
    window->lightTabs()->setCurrentWidget(window->deviceView());
    QTRY_VERIFY(!window->deviceView()->isRebuildPending());
    QCoreApplication::processEvents();
    save(window->grab().toImage(), QStringLiteral("devices-tab.png"));
}

void tst_Screenshots::fileMenuWithRecentMaps()
{
    for (const char *name : {"north-wing.map", "canopy-test.map", "riverside-arcade.map"}) {
        const QString path = m_maps.filePath(QLatin1String(name));
        QFile::copy(QStringLiteral(ORRERY_SOURCE_DIR "/examples/riverside-arcade.map"), path);
    }
    const std::unique_ptr<Kestrel> window = windowWithExample();
    window->openMap(m_maps.filePath(QStringLiteral("north-wing.map")));
    window->openMap(m_maps.filePath(QStringLiteral("canopy-test.map")));
    window->openMap(m_maps.filePath(QStringLiteral("riverside-arcade.map")));

    QMenu *file = window->ui().m_fileMenu;
    QMenu *recent = window->ui().m_recentMapsMenu;
    QMenuBar *bar = window->ui().menubar;
    file->popup(bar->mapToGlobal(bar->actionGeometry(file->menuAction()).bottomLeft()));
    QCoreApplication::processEvents();
    file->setActiveAction(recent->menuAction());
    recent->popup(file->mapToGlobal(file->actionGeometry(recent->menuAction()).topRight()));
    QCoreApplication::processEvents();

    QImage shot = window->grab().toImage();
    QPainter painter(&shot);
    for (QMenu *menu : {file, recent})
        painter.drawPixmap(window->mapFromGlobal(menu->mapToGlobal(QPoint(0, 0))), menu->grab());
    painter.end();
    save(shot.copy(0, 0, std::min(shot.width(), 900), std::min(shot.height(), 420)),
         QStringLiteral("file-menu.png"));
    recent->hide();
    file->hide();
}

void tst_Screenshots::saveQuestion()
{
    const std::unique_ptr<QMessageBox> box = WidgetUserPrompts::buildMessageBox(
        nullptr, QMessageBox::Warning, QStringLiteral("Orrery"),
        QStringLiteral("Do you want to save changes to your current map?\n"),
        QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
    box->show();
    QCoreApplication::processEvents();
    save(box->grab().toImage(), QStringLiteral("save-question.png"));
}

void tst_Screenshots::aboutBox()
{
    AboutDialog about(aboutVersionText());
    about.show();
    QCoreApplication::processEvents();
    save(about.grab().toImage(), QStringLiteral("about.png"));
}

void tst_Screenshots::splash()
{
    SplashScreen splash;
    splash.show();
    QCoreApplication::processEvents();
    save(splash.grab().toImage(), QStringLiteral("splash.png"));
}

void tst_Screenshots::iconSheet()
{
    // Every icon at 16, 24 and 32 pixels, on a light and on a dark background.
    const QDir icons(QStringLiteral(":/images/icons"));
    const QStringList files = icons.entryList({QStringLiteral("*.png")}, QDir::Files, QDir::Name);
    const int sizes[] = {16, 24, 32};
    const int half = 16 + 24 + 32 + 3 * 12 + 200;
    QImage sheet(2 * half, files.size() * 40 + 10, QImage::Format_RGB32);
    sheet.fill(QColor(0xF5, 0xF5, 0xF5));
    QPainter painter(&sheet);
    painter.fillRect(half, 0, half, sheet.height(), QColor(0x2B, 0x2B, 0x2B));
    int y = 5;
    for (const QString &file : files) {
        const QIcon icon(icons.filePath(file));
        for (int side = 0; side < 2; ++side) {
            int x = 5 + side * half;
            for (int size : sizes) {
                painter.drawPixmap(x, y + (32 - size) / 2, icon.pixmap(size, size));
                x += size + 12;
            }
            painter.setPen(side == 0 ? Qt::black : Qt::white);
            painter.drawText(x, y + 21, file);
        }
        y += 40;
    }
    painter.end();
    save(sheet, QStringLiteral("icons.png"));
}

// Every page of the discovery wizards against the simulated installation on loop-back.
void tst_Screenshots::discoveryWizardPages()
{
    DeviceResources::registerResources();
    KSocket::setDefaultBroadcastAddress(QHostAddress(QStringLiteral("127.255.255.255")));
    Simulator simulator(SimInstallation::builtIn());
    QString error;
    QVERIFY2(simulator.start(&error), qPrintable(error));

    MapModel model;
    DiscoveryEngine engine;
    {
        DiscoverInterfacesWizard wizard(model, engine);
        wizard.setListenMs(600);
        wizard.show();
        grab(&wizard, QStringLiteral("wizard-01-interfaces-intro.png"));
        wizard.next();
        QTRY_VERIFY(!wizard.isSearching());
        grab(&wizard, QStringLiteral("wizard-02-interfaces-found.png"));
        wizard.accept();
    }
    {
        // A supply that is in the map but not on the network, for the pages that show silence.
        auto gone = std::make_unique<DataSupply>(DataSupply::VistraIp);
        gone->setUid(model.newUid());
        gone->setName(QStringLiteral("Gone Supply"));
        gone->setSerialNumber(0x4C5F0009);
        gone->setVersion(2);
        gone->setIpAddress(QHostAddress(QStringLiteral("127.0.9.9")));
        model.addDataSupply(std::move(gone));
        DiscoverInterfacesWizard wizard(model, engine);
        wizard.setListenMs(600);
        wizard.show();
        wizard.next();
        QTRY_VERIFY(!wizard.isSearching());
        grab(&wizard, QStringLiteral("wizard-03-interfaces-again-in-map.png"));
        wizard.reject();
    }
    DiscoverLightsWizard wizard(model, engine);
    wizard.setListenMs(800);
    wizard.show();
    grab(&wizard, QStringLiteral("wizard-04-lights-controller.png"));
    wizard.next();
    QTRY_VERIFY(wizard.discoverPage()->lights().size() > 40);
    grab(&wizard, QStringLiteral("wizard-05-lights-discover-scanning.png"));
    QTRY_VERIFY(!wizard.discoverPage()->isScanning());
    grab(&wizard, QStringLiteral("wizard-06-lights-discover-done.png"));
    wizard.next();
    grab(&wizard, QStringLiteral("wizard-07-lights-choose.png"));
    simulator.setFaults(SimFaults{0, 0, 1.0, 40, 3});
    wizard.next();
    LightReadPage *read = wizard.readPage();
    QTRY_VERIFY(read->reader()->readCount() >= read->reader()->total() / 3);
    grab(&wizard, QStringLiteral("wizard-08-lights-read-midway.png"));
    read->cancelReading();
    grab(&wizard, QStringLiteral("wizard-09-lights-read-cancelled.png"));
    simulator.setFaults(SimFaults{});
    read->retryUnfinished();
    QTRY_VERIFY_WITH_TIMEOUT(!read->isReading(), 60000);
    grab(&wizard, QStringLiteral("wizard-10-lights-read-finished.png"));
    wizard.accept();

    // Sync: one supply moved to another address, the gone one stays silent.
    for (DataSupply *supply : model.dataSupplies()) {
        if (supply->name() == QLatin1String("Sim Supply Two")) {
            supply->setIpAddress(QHostAddress(QStringLiteral("127.0.1.99")));
            supply->setVersion(1);
        }
    }
    SyncInterfacesDialog sync(model, engine);
    sync.setListenMs(600);
    sync.show();
    sync.start();
    grab(&sync, QStringLiteral("wizard-11-sync-looking.png"));
    QTRY_VERIFY(!sync.isSearching());
    grab(&sync, QStringLiteral("wizard-12-sync-result.png"));
}

void tst_Screenshots::demonstrationFirstWindow()
{
    Simulator simulator(SimInstallation::builtIn());
    QString error;
    QVERIFY2(simulator.start(&error), qPrintable(error));
    Kestrel window(std::make_unique<ScriptedPrompts>());
    window.resize(1280, 800);
    window.show();
    window.startDemonstration(simulator);
    QCoreApplication::processEvents();
    save(window.grab().toImage(), QStringLiteral("demo-first-window.png"));
}

// The demonstration after discovery: one supply selected in the light pane, its lights red in
// the simulated installation's window.
void tst_Screenshots::simulatedInstallationWithSelection()
{
    const SimInstallation installation = SimInstallation::builtIn();
    Simulator simulator(installation);
    QString error;
    QVERIFY2(simulator.start(&error), qPrintable(error));
    Kestrel window(std::make_unique<ScriptedPrompts>());
    window.resize(1280, 800);
    window.show();
    window.startDemonstration(simulator);
    fillFromSimulation(window.model(), installation);
    QCoreApplication::processEvents();
    const quint64 second = window.model().dataSupplies().constFirst()->uid();
    window.lightView()->selectDataSupply(second);
    window.livePlayer().engine().renderFrame(QDateTime::currentDateTime());
    QTRY_VERIFY(simulator.output()->totalFrames() > 0);
    window.demoGuide()->showInstallation();
    QWidget *simWindow = window.demoGuide()->installationWindow();
    QTest::qWait(300); // the view coalesces repaints
    save(simWindow->grab().toImage(), QStringLiteral("simulated-installation.png"));
    save(window.grab().toImage(), QStringLiteral("demo-with-selection.png"));
}

// The example map on the canvas: fitted, with a group selected over a background plan, then
// zoomed in on a corner.
void tst_Screenshots::canvasZoomedOutAndIn()
{
    const std::unique_ptr<Kestrel> window = windowWithExample();
    LayoutView *canvas = window->layoutPane().view();
    QImage plan(1400, 900, QImage::Format_RGB32);
    plan.fill(QColor(250, 248, 240));
    {
        QPainter painter(&plan);
        painter.setPen(QPen(QColor(150, 150, 170), 6));
        painter.drawRect(10, 10, 1380, 880);
        painter.drawLine(700, 10, 700, 500);
        painter.setPen(QColor(120, 120, 140));
        painter.setFont(QFont(QStringLiteral("Sans"), 28));
        painter.drawText(40, 860, QStringLiteral("Riverside Arcade - ground floor"));
    }
    const QString planPath = m_maps.filePath(QStringLiteral("plan.png"));
    QVERIFY(plan.save(planPath));
    QVERIFY(window->layoutPane().setBackgroundImage(planPath));
    const Group *group = window->model().groups().constFirst();
    for (const quint64 uid : group->children())
        canvas->selectLight(uid, true);
    window->ui().autoZoomAction->trigger();
    QCoreApplication::processEvents();
    save(window->grab().toImage(), QStringLiteral("canvas-fitted.png"));
    for (int i = 0; i < 4; ++i)
        canvas->zoomIn();
    canvas->centerOn(canvas->itemFor(group->children().constFirst())->pos());
    QCoreApplication::processEvents();
    save(canvas->grab().toImage(), QStringLiteral("canvas-zoomed-in.png"));
}

// The two creation dialogs as they open on the example map, and the canvas after a tile and a
// back-slash diagonal were added below an empty map.
void tst_Screenshots::creationDialogsAndCanvas()
{
    {
        const std::unique_ptr<Kestrel> window = windowWithExample();
        CreateLights lights(window->model(), *DeviceDictionary::instance(), window.get());
        lights.show();
        QCoreApplication::processEvents();
        save(lights.grab().toImage(), QStringLiteral("create-lights.png"));
        CreateStringDialog string(window->model(), *DeviceDictionary::instance(), window.get());
        string.setShape(CreationRules::StringShape::Tile);
        string.findChild<QSpinBox *>(QStringLiteral("m_rowsSpinBox"))->setValue(4);
        string.findChild<QSpinBox *>(QStringLiteral("m_columnsSpinBox"))->setValue(6);
        string.show();
        QCoreApplication::processEvents();
        save(string.grab().toImage(), QStringLiteral("create-string.png"));
    }
    auto prompts = std::make_unique<ScriptedPrompts>();
    ScriptedPrompts *scripted = prompts.get();
    Kestrel window(std::move(prompts));
    window.resize(1280, 800);
    window.show();
    const auto press = [](int shape, int rows, int columns, const char *button) {
        return [=](QDialog &d) {
            static const char *shapes[] = {"m_horizontalButton", "m_verticalButton",
                                           "m_backSlashButton", "m_forwardSlashButton",
                                           "m_tileButton"};
            d.findChild<QAbstractButton *>(QLatin1String(shapes[shape]))->click();
            d.findChild<QSpinBox *>(QStringLiteral("m_rowsSpinBox"))->setValue(rows);
            d.findChild<QSpinBox *>(QStringLiteral("m_columnsSpinBox"))->setValue(columns);
            d.findChild<QSpinBox *>(QStringLiteral("m_portsSpinBox"))->setValue(2);
            d.findChild<QAbstractButton *>(QLatin1String(button))->click();
            return d.result();
        };
    };
    scripted->dialogScripts.enqueue(press(4, 8, 12, "m_addBelowButton"));
    window.ui().addTileAction->trigger();
    scripted->dialogScripts.enqueue(press(2, 1, 10, "m_addRightButton"));
    window.ui().addStringAction->trigger();
    window.ui().autoZoomAction->trigger();
    QCoreApplication::processEvents();
    save(window.grab().toImage(), QStringLiteral("canvas-tile-and-diagonal.png"));
}

void tst_Screenshots::preferences()
{
    EditPreferencesDialog dialog;
    dialog.setRecentMapsEnabled(true);
    auto *tabs = dialog.findChild<QTabWidget *>();
    for (int page = 0; page < tabs->count(); ++page) {
        tabs->setCurrentIndex(page);
        dialog.show();
        QCoreApplication::processEvents();
        save(dialog.grab().toImage(), QStringLiteral("preferences-%1.png").arg(page));
    }
}

// Print Map... on the example map: the preview on the layout page, then on a patch list page
// that continues a table.
void tst_Screenshots::printPreview()
{
    auto prompts = std::make_unique<ScriptedPrompts>();
    ScriptedPrompts *script = prompts.get();
    Kestrel window(std::move(prompts));
    window.resize(1280, 800);
    const QString example = m_maps.filePath(QStringLiteral("riverside-arcade.map"));
    QFile::copy(QStringLiteral(ORRERY_SOURCE_DIR "/examples/riverside-arcade.map"), example);
    QVERIFY(window.openMap(example));
    script->dialogScripts.enqueue([this](QDialog &dialog) {
        dialog.resize(1100, 820);
        dialog.show();
        auto *preview = dialog.findChild<QPrintPreviewWidget *>();
        QCoreApplication::processEvents();
        preview->fitInView();
        QCoreApplication::processEvents();
        save(dialog.grab().toImage(), QStringLiteral("print-preview.png"));
        preview->setCurrentPage(3);
        preview->fitToWidth();
        QCoreApplication::processEvents();
        save(dialog.grab().toImage(), QStringLiteral("print-preview-page3.png"));
        return int(QDialog::Rejected);
    });
    window.ui().printAction->trigger();
    QVERIFY(script->dialogScripts.isEmpty());
}

QTEST_MAIN(tst_Screenshots)
#include "screenshots.moc"
