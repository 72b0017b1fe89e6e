#pragma once

class QAction;
class QActionGroup;
class QFrame;
class QGroupBox;
class QLabel;
class QMainWindow;
class QMenu;
class QMenuBar;
class QSplitter;
class QToolBar;
class QToolButton;
class QWidget;

// The widgets, actions, menus and toolbars of the main window, with the object names, texts,
// tool tips, shortcuts and icons that style sheets, saved state and users rely on. The
// members are named after the objects' names. Built once by setupUi(); the window owns
// everything through Qt's parent links and connects the behaviour.
struct KestrelUi final
{
    void setupUi(QMainWindow *window);

    QWidget *layoutWidget = nullptr;
    QSplitter *m_splitter = nullptr;
    QGroupBox *m_lightGroupBox = nullptr;
    QGroupBox *m_groupGroupBox = nullptr;
    QGroupBox *m_layoutGroupBox = nullptr;
    QFrame *m_lightFrame = nullptr;
    QFrame *m_groupFrame = nullptr;
    QFrame *m_layoutFrame = nullptr;
    // Stands where the layout canvas goes.
    QWidget *m_layoutPlaceholder = nullptr;

    QAction *newMapAction = nullptr;
    QAction *openMapAction = nullptr;
    QAction *saveMapAction = nullptr;
    QAction *saveMapAsAction = nullptr;
    QAction *printAction = nullptr;
    QAction *exportPatchListAction = nullptr;
    QAction *exitAction = nullptr;
    QAction *undoAction = nullptr;
    QAction *redoAction = nullptr;
    QAction *editPreferencesAction = nullptr;
    QAction *discoverInterfacesAction = nullptr;
    QAction *discoverLightsAction = nullptr;
    QAction *syncInterfacesAction = nullptr;
    QAction *addInterfaceAction = nullptr;
    QAction *addStringAction = nullptr;
    QAction *addLightsAction = nullptr;
    QAction *addTileAction = nullptr;
    QAction *addModuleAction = nullptr;
    QAction *addWhiteLightsAction = nullptr;
    QAction *addGroupAction = nullptr;
    QAction *showGridAction = nullptr;
    QAction *snapToGridAction = nullptr;
    QAction *zoomInAction = nullptr;
    QAction *zoomOutAction = nullptr;
    QAction *autoZoomAction = nullptr;
    QAction *selectAllLightsAction = nullptr;
    QAction *pauseAction = nullptr;
    QAction *livePlayAction = nullptr;
    QAction *createAnimationTemplateAction = nullptr;
    QAction *addBackgroundImageAction = nullptr;
    QAction *aboutAction = nullptr;

    QMenuBar *menubar = nullptr;
    QMenu *m_fileMenu = nullptr;
    QMenu *m_recentMapsMenu = nullptr;
    QActionGroup *m_recentMapsActionGroup = nullptr;
    QMenu *m_editMenu = nullptr;
    QMenu *m_lightMenu = nullptr;
    QMenu *m_groupMenu = nullptr;
    QMenu *Layout_ViewMenu = nullptr;
    QMenu *m_helpMenu = nullptr;

    QToolBar *m_fileToolbar = nullptr;
    QToolBar *m_wizardToolbar = nullptr;
    QToolBar *m_layoutToolbar = nullptr;
    QToolBar *m_addToolbar = nullptr;
    QToolBar *m_groupToolbar = nullptr;

    QLabel *m_nodeCountLabel = nullptr;
    QToolButton *m_livePlayIndicator = nullptr;

private:
    void createActions(QMainWindow *window);
    void createPanes(QMainWindow *window);
    void createMenus(QMainWindow *window);
    void createToolbars(QMainWindow *window);
    void createStatusBar(QMainWindow *window);
};
