#pragma once

#include "app/kestrelsettings.h"
#include "app/kestrelui.h"
#include "app/recentmaps.h"
#include "ui/userprompts.h"

#include <QMainWindow>
#include <QPointer>

#include <memory>

class DemoGuide;
class CommLibrary;
class DeviceView;
class Simulator;
class LayoutPane;
class LightCreation;
class MapEditing;
class MapPrinting;
class LivePlayer;
class GroupView;
class LightView;
class MapModel;
class QTabWidget;
class DiscoveryEngine;
class QDialog;
class QTimer;

// The main window: the three panes (lights and interfaces, groups, layout), the menus and
// toolbars, the status bar, and the file handling of the one map it owns: new, open, save,
// save as, recent maps, the dirty flag and the window title.
class Kestrel final : public QMainWindow
{
    Q_OBJECT
public:
    // Prompts default to the real dialogs; tests pass scripted ones.
    explicit Kestrel(std::unique_ptr<UserPrompts> prompts = nullptr, QWidget *parent = nullptr);
    ~Kestrel() override;

    // "Orrery", then the map's file name, then " *" while there are unsaved changes.
    static QString windowTitleFor(const QString &mapPath, bool dirty);

    MapModel &model() const { return *m_model; }
    QString currentMapPath() const { return m_currentMapPath; }
    bool isDirty() const { return m_dirty; }
    bool isLivePlay() const { return m_livePlay; }
    const QStringList &recentMaps() const { return m_recentMaps.paths(); }
    const KestrelSettings &settings() const { return m_settings; }
    const KestrelUi &ui() const { return m_ui; }
    LightView *lightView() const { return m_lightView; }
    GroupView *groupView() const { return m_groupView; }
    DeviceView *deviceView() const { return m_deviceView; }
    // The "Lights/Interfaces" pane's tabs: the light view, then the device view.
    QTabWidget *lightTabs() const { return m_lightTabs; }
    DiscoveryEngine &discoveryEngine() const { return *m_engine; }
    LivePlayer &livePlayer() const { return *m_livePlayer; }
    LayoutPane &layoutPane() const { return *m_layoutPane; }
    LightCreation &lightCreation() const { return *m_lightCreation; }
    MapEditing &mapEditing() const { return *m_mapEditing; }
    MapPrinting &mapPrinting() const { return *m_mapPrinting; }
    // The demonstration's guide once startDemonstration() ran, else null.
    DemoGuide *demoGuide() const { return m_demoGuide; }
    // Shows a new user what to try with the simulated installation running in the program.
    void startDemonstration(const Simulator &simulator);
    CommLibrary &commLibrary() const { return *m_comm; }
    // The discovery wizard or dialog open now (one at a time: they share the engine), or null.
    QDialog *discoveryDialog() const { return m_discoveryDialog; }
    // How long the discovery wizards listen for answers; tests shorten it.
    void setDiscoveryListenMs(int ms) { m_discoveryListenMs = ms; }

    // Opens the map at path as from the recent-maps menu: asks about unsaved changes first.
    // Returns whether the map was loaded.
    bool openMap(const QString &path);
    // Opens the Interface Editor on a supply of the map; true when the user accepted it.
    bool editDataSupply(quint64 uid);

public slots:
    void setDirty(bool dirty);

    void handleNewMapAction();
    void handleOpenMapAction();
    void handleSaveMapAction();
    void handleSaveMapAsAction();
    void handleExitAction();
    void handleUndoAction();
    void handleRedoAction();
    void handleEditPreferencesAction();
    void handleDiscoverInterfacesAction();
    void handleDiscoverLightsAction();
    void handleSyncInterfacesAction();
    void handleAddInterfaceAction();
    void handleAddStringAction();
    void handleAddLightsAction();
    void handleAddGroupAction();
    void handleSnapToGridToggled(bool on);
    void handleZoomInAction();
    void handleZoomOutAction();
    void handleAutoZoomAction();
    void handleSelectAllLightsAction();
    void handleLivePlayToggled(bool on);
    void handleCreateAnimationTemplateAction();
    void handleAddBackgroundImageAction();
    void handleAboutAction();
    void handleRecentMapSelected(QAction *action);
    void handlePropertiesCompiled();

signals:
    void statusMsg(const QString &text, int timeoutMs);
    // Live output stops for the length of every file action so that a half-cleared or
    // half-loaded map is never sent to the installation.
    void liveUpdatesPaused(bool paused);

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void connectActions();
    void connectModel();
    void createLightPane();
    void setLiveUpdatesPaused(bool paused);
    // The save-before-discard question; true when the caller may go on.
    bool maybeSaveChanges();
    bool saveMap(bool askForPath);
    bool loadMap(const QString &path);
    void checkCanvasSize();
    void addRecentMap(const QString &path);
    void removeRecentMap(const QString &path);
    void rebuildRecentMapsMenu();
    void updateTitle();
    void updateNodeCount();
    // Shows a discovery dialog without blocking (reading must not freeze the window).
    void openDiscoveryDialog(QDialog *dialog);
    bool raiseDiscoveryDialog();
    void writeSettings();
    void restoreWindowState();
    void saveWindowState();

    KestrelUi m_ui;
    std::unique_ptr<UserPrompts> m_prompts;
    MapModel *m_model = nullptr;
    LightView *m_lightView = nullptr;
    GroupView *m_groupView = nullptr;
    DeviceView *m_deviceView = nullptr;
    QTabWidget *m_lightTabs = nullptr;
    QTimer *m_nodeCountTimer = nullptr;
    DiscoveryEngine *m_engine = nullptr;
    LivePlayer *m_livePlayer = nullptr;
    LayoutPane *m_layoutPane = nullptr;
    LightCreation *m_lightCreation = nullptr;
    MapEditing *m_mapEditing = nullptr;
    MapPrinting *m_mapPrinting = nullptr;
    DemoGuide *m_demoGuide = nullptr;
    CommLibrary *m_comm = nullptr;
    QPointer<QDialog> m_discoveryDialog;
    int m_discoveryListenMs = 2000;
    KestrelSettings m_settings;
    RecentMaps m_recentMaps;
    QString m_currentMapPath;
    bool m_dirty = false;
    bool m_livePlay = true;
    int m_livePauseDepth = 0;
};
