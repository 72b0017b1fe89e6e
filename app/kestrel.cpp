#include "app/kestrel.h"

#include "app/aboutversion.h"
#include "app/demoguide.h"
#include "app/layoutpane.h"
#include "app/lightcreation.h"
#include "app/mapediting.h"
#include "effects/selectioneffect.h"
#include "app/liveplayer.h"
#include "app/mapprinting.h"
#include "model/undomanager.h"
#include "ui/layoutview.h"
#include "app/windowstate.h"
#include "devices/definitionpropertyformat.h"
#include "devices/deviceresources.h"
#include "model/datasupply.h"
#include "model/mapmodel.h"
#include "ui/animationtemplate.h"
#include "ui/deviceview.h"
#include "ui/editcontrollerdialog.h"
#include "ui/editpreferencesdialog.h"
#include "devices/devicedictionary.h"
#include "discovery/definitionreadplan.h"
#include "discovery/discoveryengine.h"
#include "net/commlibrary.h"
#include "ui/discoverinterfaceswizard.h"
#include "ui/discoverlightswizard.h"
#include "ui/grouptreemodel.h"
#include "ui/groupview.h"
#include "ui/lighttreemodel.h"
#include "ui/lightview.h"
#include "ui/modelprogressdialog.h"
#include "ui/syncinterfacesdialog.h"
#include "ui/uiresources.h"
#include "ui/widgetuserprompts.h"

#include <QAction>
#include <QActionGroup>
#include <QCloseEvent>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLabel>
#include <QLayout>
#include <QMenu>
#include <QScopeGuard>
#include <QScreen>
#include <QSettings>
#include <QSplitter>
#include <QStatusBar>
#include <QTabWidget>
#include <QTimer>
#include <QToolButton>

namespace {

constexpr int kStatusTimeoutMs = 5000;
const QString kMapSuffix = QStringLiteral(".map");
const QString kEditControllerGroup = QStringLiteral("/EditController");

} // namespace

Kestrel::Kestrel(std::unique_ptr<UserPrompts> prompts, QWidget *parent)
    : QMainWindow(parent),
      m_prompts(prompts ? std::move(prompts) : std::make_unique<WidgetUserPrompts>())
{
    initUiResources();
    m_ui.setupUi(this);
    setWindowIcon(QIcon(QStringLiteral(":/images/icons/orrery.png")));

    // Normally done at start-up already; the window needs the definitions either way.
    DeviceResources::registerResources();
    m_model = new MapModel(this);
    // Maps written from here carry the properties the device definitions name.
    m_model->setPropertyFormat(std::make_shared<DefinitionPropertyFormat>());
    createLightPane();
    m_groupView = new GroupView(*m_model, m_ui.m_groupFrame);
    m_ui.m_groupFrame->layout()->addWidget(m_groupView);
    new ModelProgressDialog(*m_model, this);
    // One engine for the window's life: it owns the protocol object and its socket.
    m_engine = new DiscoveryEngine(this);
    // Reads bring in what each light's definition says its memory holds.
    m_engine->setReadPlan(std::make_shared<DefinitionReadPlan>(*DeviceDictionary::instance()));
    // Keeps show controllers paused while we drive the lights.
    m_comm = new CommLibrary(QStringLiteral("Orrery"), this);

    // Node count changes come by the thousand during a load; show the count once per burst.
    m_nodeCountTimer = new QTimer(this);
    m_nodeCountTimer->setSingleShot(true);
    m_nodeCountTimer->setInterval(0);
    connect(m_nodeCountTimer, &QTimer::timeout, this, &Kestrel::updateNodeCount);

    QSettings settings;
    m_settings.load(settings);
    m_recentMaps.setMaximum(m_settings.numRecentMaps);
    m_recentMaps.load(settings);

    // Live play drives every supply of the map through the discovery engine's transport.
    m_livePlayer = new LivePlayer(*m_model, *m_engine, m_settings.frameRate, this);
    m_livePlayer->follow(m_lightView, m_groupView);
    connect(this, &Kestrel::liveUpdatesPaused, m_livePlayer, &LivePlayer::setPaused);
    m_layoutPane = new LayoutPane(*m_model, *m_livePlayer, m_ui, m_settings, *m_prompts, this);
    connect(m_layoutPane, &LayoutPane::setDirty, this, &Kestrel::setDirty);
    connect(m_layoutPane, &LayoutPane::statusMsg, this, &Kestrel::statusMsg);
    m_lightCreation = new LightCreation(*m_model, m_ui, m_settings, *m_prompts,
                                        *m_layoutPane->undoManager(), this);
    connect(m_lightCreation, &LightCreation::setDirty, this, &Kestrel::setDirty);
    // Print Map... and Export Patch List...
    m_mapPrinting = new MapPrinting(*m_model, m_ui, *m_prompts, m_settings,
                                    [this] { return m_currentMapPath; }, this);
    connect(m_mapPrinting, &MapPrinting::statusMsg, this, &Kestrel::statusMsg);
    // A send that fails (no route to the installation, for one) says why, once per reason.
    connect(m_engine, &DiscoveryEngine::sendFailed, this,
            [this](const QString &message) { emit statusMsg(message, 0); });
    m_mapEditing = new MapEditing(*m_model, *m_layoutPane->undoManager(), *m_prompts,
                                  [this] { return m_layoutPane->view()->selection(); },
                                  this);
    connect(m_mapEditing, &MapEditing::setDirty, this, &Kestrel::setDirty);
    connect(m_mapEditing, &MapEditing::statusMsg, this, &Kestrel::statusMsg);
    connect(m_layoutPane->view(), &LayoutView::editLightsRequested, m_mapEditing,
            &MapEditing::editLights);
    connect(m_layoutPane->view(), &LayoutView::lightDoubleClicked, m_mapEditing,
            &MapEditing::editLight);
    connect(m_lightView, &LightView::editLightsRequested, m_mapEditing, &MapEditing::editLights);
    connect(m_groupView, &GroupView::editGroupRequested, m_mapEditing, &MapEditing::editGroup);

    connectActions();
    connectModel();

    m_ui.snapToGridAction->setChecked(m_settings.snapGrid);
    m_ui.showGridAction->setChecked(m_settings.showGrid);
    // Nothing to undo in a fresh window; the undo stack enables these as it fills.
    m_ui.undoAction->setEnabled(false);
    m_ui.redoAction->setEnabled(false);
    handleLivePlayToggled(m_settings.livePlay);
    rebuildRecentMapsMenu();
    updateNodeCount();
    restoreWindowState();
    updateTitle();
}

Kestrel::~Kestrel() = default;

void Kestrel::startDemonstration(const Simulator &simulator)
{
    if (!m_demoGuide)
        m_demoGuide = new DemoGuide(*this, simulator);
}

QString Kestrel::windowTitleFor(const QString &mapPath, bool dirty)
{
    QString title = QStringLiteral("Orrery");
    const QString name = QFileInfo(mapPath).fileName();
    if (!name.isEmpty())
        title += QLatin1Char(' ') + name;
    if (dirty)
        title += QStringLiteral(" *");
    return title;
}

void Kestrel::createLightPane()
{
    m_lightTabs = new QTabWidget(m_ui.m_lightFrame);
    m_lightTabs->setObjectName(QStringLiteral("m_lightTabs"));
    m_lightView = new LightView(*m_model, m_lightTabs);
    m_deviceView = new DeviceView(*m_model, m_lightTabs);
    m_deviceView->setRebuildOnlyWhenShown(true);
    m_lightTabs->addTab(m_lightView, QStringLiteral("Lights"));
    m_lightTabs->addTab(m_deviceView, QStringLiteral("Devices"));
    m_ui.m_lightFrame->layout()->addWidget(m_lightTabs);
}

void Kestrel::connectActions()
{
    const std::pair<QAction *, void (Kestrel::*)()> handlers[] = {
        {m_ui.newMapAction, &Kestrel::handleNewMapAction},
        {m_ui.openMapAction, &Kestrel::handleOpenMapAction},
        {m_ui.saveMapAction, &Kestrel::handleSaveMapAction},
        {m_ui.saveMapAsAction, &Kestrel::handleSaveMapAsAction},
        {m_ui.exitAction, &Kestrel::handleExitAction},
        {m_ui.undoAction, &Kestrel::handleUndoAction},
        {m_ui.redoAction, &Kestrel::handleRedoAction},
        {m_ui.editPreferencesAction, &Kestrel::handleEditPreferencesAction},
        {m_ui.discoverInterfacesAction, &Kestrel::handleDiscoverInterfacesAction},
        {m_ui.discoverLightsAction, &Kestrel::handleDiscoverLightsAction},
        {m_ui.syncInterfacesAction, &Kestrel::handleSyncInterfacesAction},
        {m_ui.addInterfaceAction, &Kestrel::handleAddInterfaceAction},
        {m_ui.addStringAction, &Kestrel::handleAddStringAction},
        {m_ui.addLightsAction, &Kestrel::handleAddLightsAction},
        {m_ui.addGroupAction, &Kestrel::handleAddGroupAction},
        {m_ui.zoomInAction, &Kestrel::handleZoomInAction},
        {m_ui.zoomOutAction, &Kestrel::handleZoomOutAction},
        {m_ui.autoZoomAction, &Kestrel::handleAutoZoomAction},
        {m_ui.selectAllLightsAction, &Kestrel::handleSelectAllLightsAction},
        {m_ui.createAnimationTemplateAction, &Kestrel::handleCreateAnimationTemplateAction},
        {m_ui.addBackgroundImageAction, &Kestrel::handleAddBackgroundImageAction},
        {m_ui.aboutAction, &Kestrel::handleAboutAction},
    };
    for (const auto &[action, handler] : handlers)
        connect(action, &QAction::triggered, this, handler);
    connect(m_ui.snapToGridAction, &QAction::triggered, this, &Kestrel::handleSnapToGridToggled);
    connect(m_ui.livePlayAction, &QAction::triggered, this, &Kestrel::handleLivePlayToggled);
    connect(m_ui.m_recentMapsActionGroup, &QActionGroup::triggered, this,
            &Kestrel::handleRecentMapSelected);
    connect(m_ui.m_livePlayIndicator, &QToolButton::clicked, m_ui.livePlayAction,
            &QAction::trigger);
    connect(m_ui.showGridAction, &QAction::toggled, this, [this](bool on) {
        m_settings.showGrid = on;
        writeSettings();
    });
    // The supply chosen in the light pane is outlined on the canvas.
    connect(m_lightView, &LightView::updatedSelection, this, [this] {
        const QList<quint64> supplies = m_lightView->selectedDataSupplyUids();
        m_layoutPane->view()->setHighlightedSupply(supplies.isEmpty() ? 0 : supplies.first());
    });
}

void Kestrel::connectModel()
{
    QStatusBar *bar = statusBar();
    connect(this, &Kestrel::statusMsg, bar, &QStatusBar::showMessage);
    connect(m_model, &MapModel::msg, bar, [bar](const QString &text) { bar->showMessage(text); });
    connect(m_model, &MapModel::propertiesCompiled, this, &Kestrel::handlePropertiesCompiled);
    connect(m_model, &MapModel::newLight, m_nodeCountTimer, qOverload<>(&QTimer::start));
    connect(m_model, &MapModel::deletedLight, m_nodeCountTimer, qOverload<>(&QTimer::start));
    connect(m_model, &MapModel::clearedMap, m_nodeCountTimer, qOverload<>(&QTimer::start));
    connect(m_lightView, &LightView::setDirty, this, &Kestrel::setDirty);
    connect(m_lightView, &LightView::editDataSupplyRequested, this, &Kestrel::editDataSupply);
    connect(m_groupView, &GroupView::setDirty, this, &Kestrel::setDirty);
}

void Kestrel::setDirty(bool dirty)
{
    if (dirty == m_dirty)
        return;
    m_dirty = dirty;
    updateTitle();
}

void Kestrel::setLiveUpdatesPaused(bool paused)
{
    m_livePauseDepth += paused ? 1 : -1;
    Q_ASSERT(m_livePauseDepth >= 0);
    if ((paused && m_livePauseDepth == 1) || (!paused && m_livePauseDepth == 0))
        emit liveUpdatesPaused(paused);
}

bool Kestrel::maybeSaveChanges()
{
    if (!m_dirty)
        return true;
    const QMessageBox::StandardButton answer =
        m_prompts->message(this, QMessageBox::Warning, QStringLiteral("Orrery"),
                           QStringLiteral("Do you want to save changes to your current map?\n"),
                           QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
    switch (answer) {
    case QMessageBox::Yes:
        // Going on after a cancelled or failed save would throw the changes away.
        return saveMap(false);
    case QMessageBox::No:
        return true;
    default:
        return false;
    }
}

void Kestrel::handleNewMapAction()
{
    setLiveUpdatesPaused(true);
    const auto resume = qScopeGuard([this] { setLiveUpdatesPaused(false); });
    if (!maybeSaveChanges())
        return;
    m_model->clear();
    m_currentMapPath.clear();
    m_layoutPane->mapReplaced(QString());
    m_dirty = false;
    updateTitle();
}

void Kestrel::handleOpenMapAction()
{
    setLiveUpdatesPaused(true);
    const auto resume = qScopeGuard([this] { setLiveUpdatesPaused(false); });
    if (!maybeSaveChanges())
        return;
    const QString path =
        m_prompts->openFileName(this, QStringLiteral("Select A Map File"), m_settings.mapPath,
                                QStringLiteral("Map Files (*.map);;All Files (*.*)"));
    if (path.isEmpty())
        return;
    m_settings.mapPath = QFileInfo(path).absolutePath();
    writeSettings();
    loadMap(path);
}

bool Kestrel::openMap(const QString &path)
{
    setLiveUpdatesPaused(true);
    const auto resume = qScopeGuard([this] { setLiveUpdatesPaused(false); });
    if (!maybeSaveChanges())
        return false;
    return loadMap(path);
}

void Kestrel::handleRecentMapSelected(QAction *action)
{
    if (action)
        openMap(action->data().toString());
}

bool Kestrel::loadMap(const QString &path)
{
    const QString absolutePath = QFileInfo(path).absoluteFilePath();
    m_model->clear();
    const bool loaded = m_model->loadFromFile(absolutePath);
    if (loaded) {
        m_currentMapPath = absolutePath;
        addRecentMap(absolutePath);
        emit statusMsg(QStringLiteral("Opened %1: %2 interfaces, %3 lights, %4 groups.")
                           .arg(QFileInfo(absolutePath).fileName())
                           .arg(m_model->dataSupplyCount())
                           .arg(m_model->lightCount())
                           .arg(m_model->groupCount()),
                       0);
        m_livePlayer->readFromMap();
        checkCanvasSize();
    } else {
        m_prompts->message(
            this, QMessageBox::Critical, QStringLiteral("Load Error"),
            QStringLiteral("Failed to open map: %1\n\n%2").arg(absolutePath, m_model->loadError()),
            QMessageBox::Ok);
        m_currentMapPath.clear();
        removeRecentMap(absolutePath);
    }
    m_model->setLivePlay(m_livePlay);
    const QString imageProblem = m_layoutPane->mapReplaced(loaded ? absolutePath : QString());
    if (!imageProblem.isEmpty())
        emit statusMsg(imageProblem, kStatusTimeoutMs);
    m_dirty = false;
    updateTitle();
    return loaded;
}

void Kestrel::checkCanvasSize()
{
    const QRect canvas = m_model->canvasRect();
    if (canvas.width() <= m_settings.canvasWidth && canvas.height() <= m_settings.canvasHeight)
        return;
    m_prompts->message(this, QMessageBox::Information, QStringLiteral("Orrery"),
                       QStringLiteral("Map size (") + QString::number(canvas.width()) +
                           QStringLiteral(", ") + QString::number(canvas.height()) +
                           QStringLiteral(") is larger than the default canvas size (") +
                           QString::number(m_settings.canvasWidth) + QStringLiteral(", ") +
                           QString::number(m_settings.canvasHeight) + QStringLiteral(")."),
                       QMessageBox::Ok);
}

void Kestrel::handleSaveMapAction()
{
    saveMap(false);
}

void Kestrel::handleSaveMapAsAction()
{
    saveMap(true);
}

bool Kestrel::saveMap(bool askForPath)
{
    setLiveUpdatesPaused(true);
    const auto resume = qScopeGuard([this] { setLiveUpdatesPaused(false); });
    QString path = m_currentMapPath;
    if (askForPath || path.isEmpty()) {
        path = m_prompts->saveFileName(this, QStringLiteral("Select A Map File"),
                                       m_settings.mapPath, QStringLiteral("Map Files (*.map)"));
        if (path.isEmpty())
            return false;
    }
    // Case-sensitive on purpose: "plan.MAP" becomes "plan.MAP.map".
    if (!path.endsWith(kMapSuffix))
        path += kMapSuffix;
    m_settings.mapPath = QFileInfo(path).absolutePath();
    writeSettings();
    m_livePlayer->writeToMap();
    m_model->setImageFile(m_layoutPane->imageFileFor(path));
    if (!m_model->saveToFile(path)) {
        m_prompts->message(this, QMessageBox::Critical, QStringLiteral("Save Failed"),
                           QStringLiteral("Unable to save file ") + path + QStringLiteral("\n\n") +
                               m_model->saveError(),
                           QMessageBox::Ok);
        return false;
    }
    m_currentMapPath = QFileInfo(path).absoluteFilePath();
    addRecentMap(m_currentMapPath);
    m_dirty = false;
    updateTitle();
    emit statusMsg(QStringLiteral("Saved ") + m_currentMapPath, kStatusTimeoutMs);
    return true;
}

void Kestrel::addRecentMap(const QString &path)
{
    m_recentMaps.add(path);
    QSettings settings;
    m_recentMaps.save(settings);
    rebuildRecentMapsMenu();
}

void Kestrel::removeRecentMap(const QString &path)
{
    m_recentMaps.remove(path);
    QSettings settings;
    m_recentMaps.save(settings);
    rebuildRecentMapsMenu();
}

void Kestrel::rebuildRecentMapsMenu()
{
    // The action that was chosen may be the one that called us: let it finish first.
    const QList<QAction *> old = m_ui.m_recentMapsActionGroup->actions();
    for (QAction *action : old) {
        m_ui.m_recentMapsActionGroup->removeAction(action);
        m_ui.m_recentMapsMenu->removeAction(action);
        action->deleteLater();
    }
    for (const QString &path : m_recentMaps.paths()) {
        QString text = QStringLiteral("%1").arg(path);
        text.replace(QLatin1Char('&'), QStringLiteral("&&"));
        auto *action = new QAction(text, m_ui.m_recentMapsActionGroup);
        action->setData(path);
        m_ui.m_recentMapsMenu->addAction(action);
    }
    m_ui.m_recentMapsMenu->setEnabled(!m_recentMaps.paths().isEmpty());
    m_ui.m_recentMapsMenu->menuAction()->setVisible(m_settings.recentMapsEnabled);
}

void Kestrel::updateTitle()
{
    setWindowTitle(windowTitleFor(m_currentMapPath, m_dirty));
}

void Kestrel::updateNodeCount()
{
    m_ui.m_nodeCountLabel->setText(QStringLiteral(" Node Count : %1").arg(m_model->lightCount()));
}

void Kestrel::handleExitAction()
{
    close();
}

void Kestrel::handleUndoAction()
{
    // Whatever a gesture changed (a placement, a whole creation), the map has changed again.
    if (!m_layoutPane->undoManager()->canUndo())
        return;
    m_layoutPane->undoManager()->undo();
    setDirty(true);
}

void Kestrel::handleRedoAction()
{
    if (!m_layoutPane->undoManager()->canRedo())
        return;
    m_layoutPane->undoManager()->redo();
    setDirty(true);
}

void Kestrel::handleEditPreferencesAction()
{
    EditPreferencesDialog dialog(this);
    dialog.setFrameRate(m_settings.frameRate);
    dialog.setCanvasWidth(m_settings.canvasWidth);
    dialog.setCanvasHeight(m_settings.canvasHeight);
    dialog.setGridSize(m_settings.grid);
    dialog.setRecentMapsEnabled(m_settings.recentMapsEnabled);
    dialog.setNumRecentMaps(m_settings.numRecentMaps);
    if (m_prompts->runDialog(dialog) != QDialog::Accepted)
        return;
    m_settings.frameRate = dialog.frameRate();
    m_livePlayer->setFrameRate(m_settings.frameRate);
    m_settings.canvasWidth = dialog.canvasWidth();
    m_settings.canvasHeight = dialog.canvasHeight();
    m_layoutPane->view()->setCanvasSize(m_settings.canvasWidth, m_settings.canvasHeight);
    if (dialog.gridSize() > 0) {
        m_settings.grid = dialog.gridSize();
        m_layoutPane->view()->setGridSize(m_settings.grid);
    }
    m_settings.recentMapsEnabled = dialog.recentMapsEnabled();
    m_settings.numRecentMaps = dialog.numRecentMaps();
    m_recentMaps.setMaximum(m_settings.numRecentMaps);
    rebuildRecentMapsMenu();
    writeSettings();
    QSettings settings;
    m_recentMaps.save(settings);
}

bool Kestrel::raiseDiscoveryDialog()
{
    if (!m_discoveryDialog)
        return false;
    m_discoveryDialog->raise();
    m_discoveryDialog->activateWindow();
    return true;
}

void Kestrel::openDiscoveryDialog(QDialog *dialog)
{
    m_discoveryDialog = dialog;
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowModality(Qt::WindowModal);
    dialog->show();
}

void Kestrel::handleDiscoverInterfacesAction()
{
    if (raiseDiscoveryDialog())
        return;
    auto *wizard = new DiscoverInterfacesWizard(*m_model, *m_engine, this);
    wizard->setListenMs(m_discoveryListenMs);
    connect(wizard, &DiscoverInterfacesWizard::setDirty, this, &Kestrel::setDirty);
    connect(wizard, &DiscoverInterfacesWizard::statusMsg, this, &Kestrel::statusMsg);
    openDiscoveryDialog(wizard);
}

void Kestrel::handleDiscoverLightsAction()
{
    if (raiseDiscoveryDialog())
        return;
    auto *wizard = new DiscoverLightsWizard(*m_model, *m_engine, this);
    wizard->setListenMs(m_discoveryListenMs);
    connect(wizard, &DiscoverLightsWizard::setDirty, this, &Kestrel::setDirty);
    connect(wizard, &DiscoverLightsWizard::statusMsg, this, &Kestrel::statusMsg);
    openDiscoveryDialog(wizard);
}

void Kestrel::handleSyncInterfacesAction()
{
    if (raiseDiscoveryDialog())
        return;
    auto *dialog = new SyncInterfacesDialog(*m_model, *m_engine, this);
    dialog->setListenMs(m_discoveryListenMs);
    connect(dialog, &SyncInterfacesDialog::setDirty, this, &Kestrel::setDirty);
    connect(dialog, &SyncInterfacesDialog::statusMsg, this, &Kestrel::statusMsg);
    openDiscoveryDialog(dialog);
    dialog->start();
}

void Kestrel::handleAddStringAction()
{
    m_lightCreation->handleAddStringAction();
}

void Kestrel::handleAddLightsAction()
{
    m_lightCreation->handleAddLightsAction();
}

void Kestrel::handleAddGroupAction()
{
    m_mapEditing->addGroup();
}

void Kestrel::handleZoomInAction()
{
    m_layoutPane->view()->zoomIn();
}

void Kestrel::handleZoomOutAction()
{
    m_layoutPane->view()->zoomOut();
}

void Kestrel::handleAutoZoomAction()
{
    m_layoutPane->view()->zoomToFit();
}

void Kestrel::handleSelectAllLightsAction()
{
    m_layoutPane->view()->selectAll();
}

void Kestrel::handleAddInterfaceAction()
{
    const QString kind = QStringLiteral("Vistra Interface");
    const std::optional<QString> chosen = m_prompts->chooseItem(
        this, QStringLiteral("Interface Type"),
        QStringLiteral("Please choose what type of Interface to add."), {kind});
    if (!chosen)
        return;
    auto supply = std::make_unique<DataSupply>(DataSupply::VistraIp);
    supply->setName(QStringLiteral("New ") + *chosen);
    const quint64 uid = m_model->newUid();
    supply->setUid(uid);
    if (!m_model->addDataSupply(std::move(supply)))
        return;
    setDirty(true);
    m_lightView->selectDataSupply(uid);
    editDataSupply(uid);
}

bool Kestrel::editDataSupply(quint64 uid)
{
    DataSupply *supply = m_model->dataSupply(uid);
    if (!supply)
        return false;
    EditControllerDialog dialog(kEditControllerGroup, supply, this);
    connect(&dialog, &EditControllerDialog::setDirty, this, &Kestrel::setDirty);
    return m_prompts->runDialog(dialog) == QDialog::Accepted;
}

void Kestrel::handleSnapToGridToggled(bool on)
{
    m_layoutPane->view()->setSnapToGrid(on);
    m_settings.snapGrid = on;
    m_ui.snapToGridAction->setChecked(on);
    writeSettings();
}

void Kestrel::handleLivePlayToggled(bool on)
{
    m_livePlay = on;
    const QString text =
        on ? QStringLiteral("Live Play Enabled") : QStringLiteral("Live Play Disabled");
    m_ui.livePlayAction->setText(text);
    m_ui.livePlayAction->setChecked(on);
    m_ui.m_livePlayIndicator->setText(text);
    m_ui.m_livePlayIndicator->setIcon(
        m_ui.livePlayAction->icon().pixmap(16, 16, QIcon::Normal, on ? QIcon::On : QIcon::Off));
    m_model->setLivePlay(on);
    if (m_settings.livePlay != on) {
        m_settings.livePlay = on;
        writeSettings();
    }
}

void Kestrel::handleCreateAnimationTemplateAction()
{
    const std::optional<int> grid = m_prompts->chooseInt(
        this, QStringLiteral("Template Grid Size"),
        QStringLiteral("Please enter the grid size to use in creating the Animation Template"),
        m_settings.grid, 1, 10000);
    if (!grid)
        return;
    QString path = m_prompts->saveFileName(this, QStringLiteral("Save Animation Template As"),
                                           m_settings.mapPath, QStringLiteral("PNG Files (*.png)"));
    if (path.isEmpty())
        return;
    if (!path.endsWith(QLatin1String(".png")))
        path += QStringLiteral(".png");
    const AnimationTemplate::Result result = AnimationTemplate::build(
        *m_model, *grid, [this](const QString &phase) { emit statusMsg(phase, 0); });
    if (result.image.isNull()) {
        statusBar()->clearMessage();
        m_prompts->message(this, QMessageBox::Critical, QStringLiteral("Error"), result.error,
                           QMessageBox::Ok);
        return;
    }
    if (!result.image.save(path, "PNG")) {
        statusBar()->clearMessage();
        m_prompts->message(this, QMessageBox::Critical, QStringLiteral("Error"),
                           QStringLiteral("Unable to save file ") + path, QMessageBox::Ok);
        return;
    }
    emit statusMsg(QStringLiteral("Animation template of %1 x %2 pixels saved to %3")
                       .arg(result.image.width())
                       .arg(result.image.height())
                       .arg(path),
                   kStatusTimeoutMs);
}

void Kestrel::handleAddBackgroundImageAction()
{
    const QString path = m_prompts->openFileName(
        this, QStringLiteral("Select a Background Image File"), m_settings.mapPath,
        QStringLiteral("Image Files (*.png *.jpg *.bmp *.gif)"));
    if (path.isEmpty())
        return;
    // The map names the image even when it cannot be shown now (a drive not mounted).
    if (!m_layoutPane->setBackgroundImage(path))
        emit statusMsg(QStringLiteral("Background image not found: %1").arg(path),
                       kStatusTimeoutMs);
    m_model->setImageFile(m_layoutPane->imageFileFor(m_currentMapPath));
    setDirty(true);
}

void Kestrel::handleAboutAction()
{
    m_prompts->showAbout(this, aboutVersionText());
}

void Kestrel::handlePropertiesCompiled()
{
    m_lightView->lightModel()->refreshAll();
    m_groupView->groupModel()->refreshAll();
}

void Kestrel::writeSettings()
{
    QSettings settings;
    m_settings.save(settings);
}

void Kestrel::closeEvent(QCloseEvent *event)
{
    setLiveUpdatesPaused(true);
    const auto resume = qScopeGuard([this] { setLiveUpdatesPaused(false); });
    if (!maybeSaveChanges()) {
        event->ignore();
        return;
    }
    saveWindowState();
    event->accept();
}

void Kestrel::restoreWindowState()
{
    const WindowState state =
        WindowState::load(QSettings(), m_ui.m_splitter->count(), LightTreeModel::ColumnCount);
    resize(state.size.isValid() ? state.size : QSize(1280, 800));
    // A window saved on a screen that is gone stays where the window system puts it.
    if (state.position && QGuiApplication::screenAt(*state.position))
        move(*state.position);
    if (state.maximized)
        setWindowState(windowState() | Qt::WindowMaximized);
    m_ui.m_splitter->setSizes(state.splitterWidths.isEmpty() ? QList<int>{540, 320, 420}
                                                             : state.splitterWidths);
    m_lightView->setColumnWidths(state.columnWidths);
}

void Kestrel::saveWindowState()
{
    WindowState state;
    state.maximized = isMaximized();
    const QRect normal = normalGeometry();
    state.position = state.maximized ? normal.topLeft() : pos();
    state.size = state.maximized ? normal.size() : size();
    state.splitterWidths = m_ui.m_splitter->sizes();
    state.columnWidths = m_lightView->columnWidths();
    QSettings settings;
    state.save(settings);
}
