#include "app/kestrelui.h"

#include <QAction>
#include <QActionGroup>
#include <QFrame>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QSplitter>
#include <QStatusBar>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

struct ActionDefinition
{
    QAction *KestrelUi::*member;
    const char *objectName;
    const char *text;
    const char *toolTip;  // nullptr: none
    const char *shortcut; // nullptr: none
    const char *icon;     // file in ":/images/icons/", nullptr: none
    bool checkable;
};

// clang-format off
const ActionDefinition kActions[] = {
    {&KestrelUi::newMapAction, "newMapAction", "&New Map", "New Map", "Ctrl+N", "new_map.png", false},
    {&KestrelUi::openMapAction, "openMapAction", "&Open Map", "Open Map", "Ctrl+O", "open_map.png", false},
    {&KestrelUi::saveMapAction, "saveMapAction", "&Save Map", "Save Map", "Ctrl+S", "save_map.png", false},
    {&KestrelUi::saveMapAsAction, "saveMapAsAction", "Save Map As...", "Save Map As...", nullptr, nullptr, false},
    {&KestrelUi::printAction, "printAction", "&Print Map...", "Print Map...", "Ctrl+P", nullptr, false},
    {&KestrelUi::exportPatchListAction, "exportPatchListAction", "&Export Patch List...", "Export Patch List...", nullptr, nullptr, false},
    {&KestrelUi::exitAction, "exitAction", "E&xit", "Exit", nullptr, nullptr, false},
    {&KestrelUi::undoAction, "undoAction", "Undo", nullptr, "Ctrl+Z", nullptr, false},
    {&KestrelUi::redoAction, "redoAction", "Redo", nullptr, "Ctrl+Y", nullptr, false},
    {&KestrelUi::editPreferencesAction, "editPreferencesAction", "&Preferences...", "Edit Preferences...", nullptr, nullptr, false},
    {&KestrelUi::discoverInterfacesAction, "discoverInterfacesAction", "Discover &Interfaces...", "Discover Interfaces...", nullptr, "discover_interfaces.png", false},
    {&KestrelUi::discoverLightsAction, "discoverLightsAction", "Discover &Lights...", "Discover Lights...", nullptr, "discover_lights.png", false},
    {&KestrelUi::syncInterfacesAction, "syncInterfacesAction", "Sync &Interfaces...", "Sync Interfaces...", nullptr, "sync.png", false},
    {&KestrelUi::addInterfaceAction, "addInterfaceAction", "Add &Interface...", "Add Interface...", nullptr, "add_interfaces.png", false},
    {&KestrelUi::addStringAction, "addStringAction", "Add &String...", "Add String...", nullptr, "add_string.png", false},
    {&KestrelUi::addLightsAction, "addLightsAction", "Add &Lights...", "Add RGB Lights...", nullptr, "add_lights.png", false},
    {&KestrelUi::addTileAction, "addTileAction", "Add &Tile...", "Add Tile...", nullptr, "add_tile.png", false},
    {&KestrelUi::addModuleAction, "addModuleAction", "Add &Module...", "Add Module...", nullptr, "add_pcb.png", false},
    {&KestrelUi::addWhiteLightsAction, "addWhiteLightsAction", "Add &White Lights...", "Add White Lights...", nullptr, "add_white_lights.png", false},
    {&KestrelUi::addGroupAction, "addGroupAction", "Add &Group...", "Add Group...", nullptr, "add_group.png", false},
    {&KestrelUi::showGridAction, "showGridAction", "Show Grid", "Show Grid", nullptr, nullptr, true},
    {&KestrelUi::snapToGridAction, "snapToGridAction", "Snap To &Grid", "Snap To Grid", nullptr, "snaptogrid.png", true},
    {&KestrelUi::zoomInAction, "zoomInAction", "Zoom &In", "Zoom In", "Ctrl+=", "zoom_in.png", false},
    {&KestrelUi::zoomOutAction, "zoomOutAction", "Zoom &Out", "Zoom Out", "Ctrl+-", "zoom_out.png", false},
    {&KestrelUi::autoZoomAction, "autoZoomAction", "&Auto Zoom", "Auto Zoom", "F5", nullptr, false},
    {&KestrelUi::selectAllLightsAction, "selectAllLightsAction", "Select All Lights", "Select All Lights", "Ctrl+A", nullptr, false},
    {&KestrelUi::pauseAction, "pauseAction", "Pause LivePlay", "Pause LivePlay", nullptr, nullptr, true},
    {&KestrelUi::livePlayAction, "livePlayAction", "&Live Play Enabled", "Live Play Enabled", nullptr, nullptr, true},
    {&KestrelUi::createAnimationTemplateAction, "createAnimationTemplateAction", "Create Animation &Template...", "Create Animation Template", nullptr, nullptr, false},
    {&KestrelUi::addBackgroundImageAction, "addBackgroundImageAction", "Add &Background Image...", nullptr, "Ctrl+B", nullptr, false},
    {&KestrelUi::aboutAction, "aboutAction", "&About Orrery...", "About Orrery...", nullptr, nullptr, false},
};
// clang-format on

QIcon resourceIcon(const char *file)
{
    return QIcon(QStringLiteral(":/images/icons/") + QLatin1String(file));
}

QGroupBox *paneBox(QWidget *parent, const char *name, const QString &title, const char *frameName,
                   QFrame **frame)
{
    auto *box = new QGroupBox(title, parent);
    box->setObjectName(QLatin1String(name));
    *frame = new QFrame(box);
    (*frame)->setObjectName(QLatin1String(frameName));
    (*frame)->setFrameShape(QFrame::NoFrame);
    auto *frameLayout = new QVBoxLayout(*frame);
    frameLayout->setContentsMargins(0, 0, 0, 0);
    auto *boxLayout = new QVBoxLayout(box);
    boxLayout->setContentsMargins(4, 4, 4, 4);
    boxLayout->addWidget(*frame);
    return box;
}

} // namespace

void KestrelUi::setupUi(QMainWindow *window)
{
    window->setObjectName(QStringLiteral("Kestrel"));
    window->setWindowTitle(QStringLiteral("Orrery"));
    createActions(window);
    createPanes(window);
    createMenus(window);
    createToolbars(window);
    createStatusBar(window);
}

void KestrelUi::createActions(QMainWindow *window)
{
    for (const ActionDefinition &definition : kActions) {
        auto *action = new QAction(QString::fromLatin1(definition.text), window);
        action->setObjectName(QLatin1String(definition.objectName));
        if (definition.toolTip)
            action->setToolTip(QString::fromLatin1(definition.toolTip));
        if (definition.shortcut)
            action->setShortcut(QKeySequence(QString::fromLatin1(definition.shortcut)));
        if (definition.icon)
            action->setIcon(resourceIcon(definition.icon));
        action->setCheckable(definition.checkable);
        this->*definition.member = action;
    }
    // Live play shows its state in its picture.
    QIcon livePlay;
    livePlay.addFile(QStringLiteral(":/images/icons/show_simulation_on.png"), {}, QIcon::Normal,
                     QIcon::On);
    livePlay.addFile(QStringLiteral(":/images/icons/show_simulation_off.png"), {}, QIcon::Normal,
                     QIcon::Off);
    livePlayAction->setIcon(livePlay);
}

void KestrelUi::createPanes(QMainWindow *window)
{
    layoutWidget = new QWidget(window);
    layoutWidget->setObjectName(QStringLiteral("layoutWidget"));
    m_splitter = new QSplitter(Qt::Horizontal, layoutWidget);
    m_splitter->setObjectName(QStringLiteral("m_splitter"));
    m_splitter->setChildrenCollapsible(false);

    m_lightGroupBox = paneBox(m_splitter, "m_lightGroupBox", QStringLiteral("Lights/Interfaces"),
                              "m_lightFrame", &m_lightFrame);
    m_groupGroupBox = paneBox(m_splitter, "m_groupGroupBox", QStringLiteral("Groups"),
                              "m_groupFrame", &m_groupFrame);
    m_layoutGroupBox = paneBox(m_splitter, "m_layoutGroupBox", QStringLiteral("Layout"),
                               "m_layoutFrame", &m_layoutFrame);
    m_splitter->addWidget(m_lightGroupBox);
    m_splitter->addWidget(m_groupGroupBox);
    m_splitter->addWidget(m_layoutGroupBox);
    m_splitter->setStretchFactor(2, 1);

    auto *placeholder =
        new QLabel(QStringLiteral("The layout canvas is not available yet."), m_layoutFrame);
    placeholder->setObjectName(QStringLiteral("m_layoutPlaceholder"));
    placeholder->setAlignment(Qt::AlignCenter);
    placeholder->setEnabled(false);
    placeholder->setFrameShape(QFrame::StyledPanel);
    placeholder->setMinimumSize(200, 150);
    m_layoutFrame->layout()->addWidget(placeholder);
    m_layoutPlaceholder = placeholder;

    auto *layout = new QHBoxLayout(layoutWidget);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(m_splitter);
    window->setCentralWidget(layoutWidget);
}

void KestrelUi::createMenus(QMainWindow *window)
{
    menubar = new QMenuBar(window);
    menubar->setObjectName(QStringLiteral("menubar"));
    window->setMenuBar(menubar);
    auto menu = [this](const char *name, const QString &title) {
        QMenu *created = menubar->addMenu(title);
        created->setObjectName(QLatin1String(name));
        return created;
    };

    m_fileMenu = menu("m_fileMenu", QStringLiteral("&File"));
    m_fileMenu->addActions({newMapAction, openMapAction, saveMapAction, saveMapAsAction});
    m_fileMenu->addSeparator();
    m_fileMenu->addActions({printAction, exportPatchListAction});
    m_fileMenu->addSeparator();
    m_recentMapsMenu = m_fileMenu->addMenu(QStringLiteral("&Recent Maps"));
    m_recentMapsMenu->setObjectName(QStringLiteral("m_recentMapsMenu"));
    m_recentMapsActionGroup = new QActionGroup(window);
    m_recentMapsActionGroup->setObjectName(QStringLiteral("m_recentMapsActionGroup"));
    m_recentMapsActionGroup->setExclusionPolicy(QActionGroup::ExclusionPolicy::None);
    m_fileMenu->addSeparator();
    m_fileMenu->addAction(exitAction);

    m_editMenu = menu("m_editMenu", QStringLiteral("&Edit"));
    m_editMenu->addActions({undoAction, redoAction});
    m_editMenu->addSeparator();
    m_editMenu->addAction(editPreferencesAction);

    m_lightMenu = menu("m_lightMenu", QStringLiteral("&Light View"));
    m_lightMenu->addActions({discoverInterfacesAction, discoverLightsAction, syncInterfacesAction});
    m_lightMenu->addSeparator();
    m_lightMenu->addAction(addInterfaceAction);
    m_lightMenu->addSeparator();
    m_lightMenu->addActions({addStringAction, addLightsAction});

    m_groupMenu = menu("m_groupMenu", QStringLiteral("&Group View"));
    m_groupMenu->addAction(addGroupAction);

    Layout_ViewMenu = menu("Layout_ViewMenu", QStringLiteral("La&yout View"));
    Layout_ViewMenu->addAction(snapToGridAction);
    Layout_ViewMenu->addSeparator();
    Layout_ViewMenu->addActions(
        {zoomInAction, zoomOutAction, autoZoomAction, selectAllLightsAction});
    Layout_ViewMenu->addSeparator();
    Layout_ViewMenu->addAction(livePlayAction);
    Layout_ViewMenu->addSeparator();
    Layout_ViewMenu->addActions({createAnimationTemplateAction, addBackgroundImageAction});

    m_helpMenu = menu("m_helpMenu", QStringLiteral("&Help"));
    m_helpMenu->addAction(aboutAction);
}

void KestrelUi::createToolbars(QMainWindow *window)
{
    auto toolbar = [window](const char *name, const QString &title) {
        auto *created = new QToolBar(title, window);
        created->setObjectName(QLatin1String(name));
        window->addToolBar(Qt::TopToolBarArea, created);
        return created;
    };
    m_fileToolbar = toolbar("m_fileToolbar", QStringLiteral("File Toolbar"));
    m_fileToolbar->addActions({newMapAction, openMapAction, saveMapAction});
    m_wizardToolbar = toolbar("m_wizardToolbar", QStringLiteral("Wizards Toolbar"));
    m_wizardToolbar->addActions(
        {discoverInterfacesAction, discoverLightsAction, syncInterfacesAction});
    m_layoutToolbar = toolbar("m_layoutToolbar", QStringLiteral("Layout View Toolbar"));
    m_layoutToolbar->addActions({snapToGridAction, zoomInAction, zoomOutAction, livePlayAction});
    m_addToolbar = toolbar("m_addToolbar", QStringLiteral("Map Creation Toolbar"));
    m_addToolbar->addAction(addInterfaceAction);
    m_addToolbar->addSeparator();
    m_addToolbar->addActions({addStringAction, addLightsAction});
    m_groupToolbar = toolbar("m_groupToolbar", QStringLiteral("Group View Toolbar"));
    m_groupToolbar->addAction(addGroupAction);
}

void KestrelUi::createStatusBar(QMainWindow *window)
{
    QStatusBar *bar = window->statusBar();
    bar->setStyleSheet(QStringLiteral("QStatusBar::item { border: 0px}"));
    m_nodeCountLabel = new QLabel(QStringLiteral(" Node Count : 0"), bar);
    m_nodeCountLabel->setObjectName(QStringLiteral("m_nodeCountLabel"));
    m_livePlayIndicator = new QToolButton(bar);
    m_livePlayIndicator->setObjectName(QStringLiteral("m_livePlayIndicator"));
    m_livePlayIndicator->setToolTip(QStringLiteral("Toggle Live Play"));
    m_livePlayIndicator->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_livePlayIndicator->setAutoRaise(true);
    bar->addPermanentWidget(m_nodeCountLabel);
    bar->addPermanentWidget(m_livePlayIndicator);
}
