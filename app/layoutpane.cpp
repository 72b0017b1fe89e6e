#include "app/layoutpane.h"

#include "app/kestrelsettings.h"
#include "app/kestrelui.h"
#include "app/liveplayer.h"
#include "effects/effectengine.h"
#include "model/mapmodel.h"
#include "model/undomanager.h"
#include "ui/layoutview.h"

#include <QAction>
#include <QDir>
#include <QFileInfo>
#include <QGraphicsScene>
#include <QLayout>

LayoutPane::LayoutPane(MapModel &model, LivePlayer &live, const KestrelUi &ui,
                       const KestrelSettings &settings, UserPrompts &prompts, QObject *parent)
    : QObject(parent), m_model(model)
{
    m_scene = new QGraphicsScene(this);
    m_view = new LayoutView(&model, &live.selection(), m_scene, ui.m_layoutFrame);
    m_view->setPrompts(&prompts);
    // The canvas replaces the placeholder the pane held.
    if (ui.m_layoutPlaceholder)
        ui.m_layoutPlaceholder->hide();
    ui.m_layoutFrame->layout()->addWidget(m_view);
    applySettings(settings);

    m_undo = new UndoManager(&model, this);
    m_undo->setLayoutView(m_view);
    connect(m_view, &LayoutView::addUndoActionList, m_undo, &UndoManager::addUndoActionList);
    connect(m_undo, &UndoManager::undoEnabled, ui.undoAction, &QAction::setEnabled);
    connect(m_undo, &UndoManager::redoEnabled, ui.redoAction, &QAction::setEnabled);
    connect(m_view, &LayoutView::setDirty, this, &LayoutPane::setDirty);
    connect(m_view, &LayoutView::msg, this,
            [this](const QString &text) { emit statusMsg(text, 5000); });

    connect(&live.engine(), &EffectEngine::pauseUpdate, m_view, &LayoutView::setUpdatePaused);
    connect(&live.engine(), &EffectEngine::updateNow, m_view, &LayoutView::updateCanvas);

    // The window's handlers drive zoom, snapping and select all; the grid has none.
    connect(ui.showGridAction, &QAction::toggled, m_view, &LayoutView::setShowGrid);
}

LayoutPane::~LayoutPane() = default;

void LayoutPane::applySettings(const KestrelSettings &settings)
{
    m_view->setCanvasSize(settings.canvasWidth, settings.canvasHeight);
    m_view->setGridSize(settings.grid);
    m_view->setShowGrid(settings.showGrid);
    m_view->setSnapToGrid(settings.snapGrid);
    // "/zoom" counts tenths: 10 shows the canvas at its own size.
    const double zoom = std::max(1, settings.zoom) / 10.0;
    m_view->resetTransform();
    m_view->scale(zoom, zoom);
}

QString LayoutPane::mapReplaced(const QString &mapPath)
{
    m_undo->clear();
    const QString named = m_model.imageFile();
    if (named.isEmpty()) {
        m_imagePath.clear();
        m_view->setBackgroundImage(QString());
        return {};
    }
    const QString absolute =
        QFileInfo(named).isAbsolute() || mapPath.isEmpty()
            ? named
            : QFileInfo(mapPath).absoluteDir().absoluteFilePath(named);
    if (!setBackgroundImage(absolute))
        return QStringLiteral("Background image not found: %1").arg(absolute);
    return {};
}

bool LayoutPane::setBackgroundImage(const QString &absolutePath)
{
    m_imagePath = absolutePath;
    return m_view->setBackgroundImage(absolutePath);
}

QString LayoutPane::imageFileFor(const QString &mapPath) const
{
    if (m_imagePath.isEmpty())
        return m_model.imageFile();
    if (mapPath.isEmpty())
        return m_imagePath;
    const QString relative = QFileInfo(mapPath).absoluteDir().relativeFilePath(m_imagePath);
    return relative.startsWith(QLatin1String("..")) ? m_imagePath : relative;
}
