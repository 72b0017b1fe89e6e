#include "ui/layoutview.h"

#include "effects/selectioneffect.h"
#include "model/group.h"
#include "model/light.h"
#include "model/lightoutput.h"
#include "model/mapmodel.h"
#include "ui/layoutgeometry.h"
#include "ui/layoutviewlight.h"
#include "ui/userprompts.h"

#include <QApplication>
#include <QGraphicsLineItem>
#include <QGraphicsPixmapItem>
#include <QGraphicsPolygonItem>
#include <QGraphicsRectItem>
#include <QGraphicsScene>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

QCursor zoomCursor(const QString &path)
{
    const QPixmap image(path);
    return QCursor(image, image.width() / 2, image.height() / 2);
}

} // namespace

LayoutView::LayoutView(MapModel *model, SelectionEffect *selection, QGraphicsScene *scene,
                       QWidget *parent)
    : QGraphicsView(scene, parent), m_model(model), m_selectionEffect(selection)
{
    setObjectName(QStringLiteral("m_layoutView"));
    m_items.reserve(kReservedEntries);
    m_selectionOrder.reserve(kReservedEntries);
    // Bulk moves of thousands of items would keep a spatial index busy; the canvas finds
    // what it needs itself (see commitSelection).
    scene->setItemIndexMethod(QGraphicsScene::NoIndex);
    setRenderHint(QPainter::Antialiasing, false);
    setViewportUpdateMode(QGraphicsView::SmartViewportUpdate);
    setTransformationAnchor(QGraphicsView::NoAnchor);
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    m_zoomInCursor = zoomCursor(QStringLiteral(":/images/icons/zoom_in.png"));
    m_zoomOutCursor = zoomCursor(QStringLiteral(":/images/icons/zoom_out.png"));

    if (m_selectionEffect)
        connect(m_selectionEffect, &SelectionEffect::lightSelectionChanged, this,
                &LayoutView::handleLightSelectionChanged);
    connect(m_model, &MapModel::newLight, this, &LayoutView::addItem);
    connect(m_model, &MapModel::deletedLight, this, &LayoutView::removeItem);
    connect(m_model, &MapModel::updatedLightPosition, this,
            &LayoutView::handleLightPositionChanged);
    connect(m_model, &MapModel::clearedMap, this, &LayoutView::handleClearedMap);
    connect(m_model, &MapModel::updatedLight, this, [this](quint64 uid) {
        if (LayoutViewLight *item = m_items.value(uid))
            item->refreshToolTip();
    });
    setContextMenuPolicy(Qt::CustomContextMenu);
    connect(this, &QWidget::customContextMenuRequested, this, &LayoutView::handleContextMenu);
    buildPopupMenu();
    buildItems();
}

LayoutView::~LayoutView() = default;

void LayoutView::buildPopupMenu()
{
    m_popupMenu = new QMenu(QStringLiteral("Popup Menu"), this);
    const std::pair<const char *, void (LayoutView::*)()> entries[] = {
        {"Edit Light(s)...", &LayoutView::handleEditLights},
        {nullptr, nullptr},
        {"Create Group from Selection...", &LayoutView::handleCreateGroupFromSelection},
        {"Create Group Interactively...", &LayoutView::handleCreateGroupInteractively},
        {nullptr, nullptr},
        {"Delete Selection", &LayoutView::handleDeleteSelection},
        {nullptr, nullptr},
        {"Rotate Selection CW", &LayoutView::handleRotateSelectionCW},
        {"Rotate Selection CCW", &LayoutView::handleRotateSelectionCCW},
        {nullptr, nullptr},
        {"Flip Selection Vertically", &LayoutView::handleFlipSelectionVertically},
        {"Flip Selection Horizontally", &LayoutView::handleFlipSelectionHorizontally},
    };
    for (const auto &[text, slot] : entries) {
        if (!text) {
            m_popupMenu->addSeparator();
            continue;
        }
        QAction *action = m_popupMenu->addAction(QString::fromLatin1(text));
        connect(action, &QAction::triggered, this, slot);
    }
}

void LayoutView::buildItems()
{
    m_suppressRepaint = true;
    for (auto it = m_model->lightHash().cbegin(); it != m_model->lightHash().cend(); ++it)
        addItem(it.key());
    m_suppressRepaint = false;
}

void LayoutView::addItem(quint64 uid)
{
    const Light *light = m_model->light(uid);
    if (!light || m_items.contains(uid))
        return;
    auto *item = new LayoutViewLight(*m_model, uid);
    item->setPos(light->x(), light->y());
    item->setSupplyHighlighted(m_highlightedSupply && light->dataSupply() == m_highlightedSupply);
    if (m_selectionEffect && m_selectionEffect->isSelected(uid)) {
        item->setLightSelected(true);
        m_selectionOrder.insert(uid, ++m_selectionCounter);
    }
    scene()->addItem(item);
    m_items.insert(uid, item);
}

void LayoutView::removeItem(quint64 uid)
{
    delete m_items.take(uid);
    m_selectionOrder.remove(uid);
}

void LayoutView::handleClearedMap()
{
    qDeleteAll(m_items);
    m_items.clear();
    m_selectionOrder.clear();
    m_previousSelection.clear();
    m_interactiveGroup = false;
    viewport()->update();
}

void LayoutView::handleLightPositionChanged(quint64 uid)
{
    LayoutViewLight *item = m_items.value(uid);
    const Light *light = m_model->light(uid);
    if (!item || !light)
        return;
    item->setPos(light->x(), light->y());
    if (!m_suppressRepaint)
        item->update();
    emit setDirty(true);
}

Placement LayoutView::moveLightItem(quint64 uid, const Placement &placement)
{
    LayoutViewLight *item = m_items.value(uid);
    if (!item)
        return placement;
    Placement previous = placement;
    previous.x = item->x();
    previous.y = item->y();
    item->setPos(placement.x, placement.y);
    return previous;
}

void LayoutView::setGridSize(int size)
{
    if (size > 0)
        m_gridSize = size;
    viewport()->update();
}

void LayoutView::setShowGrid(bool on)
{
    m_showGrid = on;
    resetCachedContent();
    viewport()->update();
}

void LayoutView::setCanvasSize(int width, int height)
{
    scene()->setSceneRect(0, 0, std::max(1, width), std::max(1, height));
}

void LayoutView::setEmptyHint(const QString &text)
{
    m_emptyHint = text;
    viewport()->update();
}

bool LayoutView::setBackgroundImage(const QString &path)
{
    delete m_background;
    m_background = nullptr;
    if (path.isEmpty())
        return true;
    const QPixmap image(path);
    if (image.isNull())
        return false;
    m_background = scene()->addPixmap(image);
    m_background->setZValue(-1);
    m_background->setAcceptedMouseButtons(Qt::NoButton);
    return true;
}

QList<quint64> LayoutView::selection() const
{
    QVector<QPair<quint64, quint64>> ordered;
    ordered.reserve(m_selectionOrder.size());
    for (auto it = m_selectionOrder.cbegin(); it != m_selectionOrder.cend(); ++it)
        ordered.append({it.value(), it.key()});
    std::sort(ordered.begin(), ordered.end());
    QList<quint64> uids;
    uids.reserve(ordered.size());
    for (const auto &entry : qAsConst(ordered))
        uids.append(entry.second);
    return uids;
}

double LayoutView::zoomFactor() const
{
    return transform().m11();
}

void LayoutView::handleLightSelectionChanged(quint64 uid, bool selected)
{
    LayoutViewLight *item = m_items.value(uid);
    if (selected) {
        if (!m_selectionOrder.contains(uid))
            m_selectionOrder.insert(uid, ++m_selectionCounter);
    } else {
        m_selectionOrder.remove(uid);
    }
    if (item)
        item->setLightSelected(selected);
}

void LayoutView::selectLight(quint64 uid, bool selected)
{
    if (m_selectionEffect)
        m_selectionEffect->setLightSelected(uid, selected);
    else
        handleLightSelectionChanged(uid, selected);
}

void LayoutView::clearSelection()
{
    for (const quint64 uid : m_selectionOrder.keys())
        selectLight(uid, false);
}

void LayoutView::selectAll()
{
    for (auto it = m_items.cbegin(); it != m_items.cend(); ++it)
        if (!m_selectionOrder.contains(it.key()))
            selectLight(it.key(), true);
}

void LayoutView::setHighlightedSupply(quint64 supplyUid)
{
    if (supplyUid == m_highlightedSupply)
        return;
    m_highlightedSupply = supplyUid;
    for (auto it = m_items.cbegin(); it != m_items.cend(); ++it) {
        const Light *light = m_model->light(it.key());
        it.value()->setSupplyHighlighted(supplyUid && light && light->dataSupply() == supplyUid);
    }
}

void LayoutView::zoomIn()
{
    const int h = horizontalScrollBar()->value();
    const int v = verticalScrollBar()->value();
    scale(kZoomInFactor, kZoomInFactor);
    horizontalScrollBar()->setValue(h);
    verticalScrollBar()->setValue(v);
}

void LayoutView::zoomOut()
{
    const int h = horizontalScrollBar()->value();
    const int v = verticalScrollBar()->value();
    scale(kZoomOutFactor, kZoomOutFactor);
    horizontalScrollBar()->setValue(h);
    verticalScrollBar()->setValue(v);
}

void LayoutView::scaleAbout(double factor, const QPoint &viewPoint)
{
    const QPointF anchor = mapToScene(viewPoint);
    scale(factor, factor);
    // Scroll so that the scene point under the cursor stays under it.
    const QPointF moved = mapFromScene(anchor);
    horizontalScrollBar()->setValue(horizontalScrollBar()->value() +
                                    int(std::lround(moved.x() - viewPoint.x())));
    verticalScrollBar()->setValue(verticalScrollBar()->value() +
                                  int(std::lround(moved.y() - viewPoint.y())));
}

void LayoutView::zoomInAt(const QPoint &viewPoint)
{
    scaleAbout(kZoomInFactor, viewPoint);
}

void LayoutView::zoomOutAt(const QPoint &viewPoint)
{
    scaleAbout(kZoomOutFactor, viewPoint);
}

void LayoutView::zoomToFit()
{
    double left = std::numeric_limits<double>::max(), top = left;
    double right = std::numeric_limits<double>::lowest(), bottom = right;
    for (auto it = m_model->lightHash().cbegin(); it != m_model->lightHash().cend(); ++it) {
        const Light *light = it.value();
        left = std::min(left, light->x());
        right = std::max(right, light->x());
        top = std::min(top, light->y());
        bottom = std::max(bottom, light->y());
    }
    if (m_model->lightCount() == 0 || (left == 0 && right == 0 && top == 0 && bottom == 0))
        return;
    const QRectF bounds = QRectF(QPointF(left, top), QPointF(right, bottom))
                              .adjusted(-m_gridSize, -m_gridSize, m_gridSize, m_gridSize);
    const QRectF visible = viewport()->rect();
    const double factor =
        std::min(visible.width() / bounds.width(), visible.height() / bounds.height());
    resetTransform();
    scale(factor, factor);
    fitInView(bounds, Qt::KeepAspectRatio);
}

void LayoutView::handleContextMenu(const QPoint &pos)
{
    Q_UNUSED(pos)
}

LayoutViewLight *LayoutView::lightAt(const QPoint &viewPoint) const
{
    for (QGraphicsItem *item : items(viewPoint))
        if (item->type() == LayoutViewLight::Type && item->acceptedMouseButtons() != Qt::NoButton)
            return static_cast<LayoutViewLight *>(item);
    return nullptr;
}

void LayoutView::mousePressEvent(QMouseEvent *event)
{
    setFocus();
    m_panning = false;
    m_zoomClick = false;
    m_moved = false;
    m_pressScenePoint = mapToScene(event->pos());
    if (m_interactiveGroup) {
        finishStroke();
        return;
    }
    if (m_spaceHeld && !m_ctrlHeld) {
        m_panning = true;
        m_lastGlobal = event->globalPos();
        return;
    }
    if (m_ctrlHeld && m_spaceHeld) {
        m_zoomClick = true;
        if (event->button() == Qt::LeftButton) {
            if (m_altHeld)
                zoomOutAt(event->pos());
            else
                zoomInAt(event->pos());
        }
        return;
    }
    if (event->button() != Qt::LeftButton && event->button() != Qt::RightButton)
        return;
    m_pressCtrl = event->modifiers() & Qt::ControlModifier;
    m_pressAlt = event->modifiers() & Qt::AltModifier;
    m_pressShift = event->modifiers() & Qt::ShiftModifier;
    LayoutViewLight *hit = lightAt(event->pos());
    m_pressHitLight = hit != nullptr;
    m_pressLight = hit ? hit->uid() : 0;
    m_lastScene = m_pressScenePoint.toPoint();
    const bool extend = m_pressCtrl || m_pressShift;
    m_previousSelection = extend && !m_selectionOrder.isEmpty() ? selection() : QList<quint64>();

    if (!hit) {
        if (event->button() == Qt::LeftButton && !extend)
            clearSelection();
    } else if (extend) {
        if (isSelected(m_pressLight)) {
            if (m_pressCtrl)
                selectLight(m_pressLight, false);
        } else {
            selectLight(m_pressLight, true);
        }
    } else if (!isSelected(m_pressLight)) {
        clearSelection();
        selectLight(m_pressLight, true);
    }
    m_dragOrigins.clear();
    if (hit)
        for (auto it = m_selectionOrder.cbegin(); it != m_selectionOrder.cend(); ++it)
            if (const LayoutViewLight *item = m_items.value(it.key()))
                m_dragOrigins.insert(it.key(), item->pos());
    if (event->button() == Qt::RightButton)
        m_popupMenu->popup(event->globalPos());
}

void LayoutView::mouseMoveEvent(QMouseEvent *event)
{
    if (m_panning) {
        const QPoint delta = m_lastGlobal - event->globalPos();
        horizontalScrollBar()->setValue(horizontalScrollBar()->value() + delta.x());
        verticalScrollBar()->setValue(verticalScrollBar()->value() + delta.y());
        m_lastGlobal = event->globalPos();
        return;
    }
    if (m_interactiveGroup) {
        updateStroke(mapToScene(event->pos()));
        return;
    }
    if (m_zoomClick || !(event->buttons() & Qt::LeftButton)) {
        QGraphicsView::mouseMoveEvent(event); // hover: tooltips
        return;
    }
    const QPoint current = mapToScene(event->pos()).toPoint();
    if (m_pressHitLight) {
        if (current != m_lastScene) {
            dragSelectionTo(current);
            m_lastScene = current;
            m_moved = true;
        }
    } else {
        updateRubberBand(current);
    }
}

void LayoutView::mouseReleaseEvent(QMouseEvent *event)
{
    if (m_rubberBand) {
        delete m_rubberBand;
        m_rubberBand = nullptr;
    }
    if (m_pressHitLight && m_moved && event->button() == Qt::LeftButton) {
        if (commitSelection())
            emit setDirty(true);
    }
    m_moved = false;
    m_pressHitLight = false;
}

void LayoutView::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (LayoutViewLight *hit = lightAt(event->pos()))
        emit lightDoubleClicked(hit->uid());
}

void LayoutView::updateRubberBand(const QPointF &current)
{
    const QRectF band = QRectF(m_pressScenePoint, current).normalized();
    if (!m_rubberBand) {
        m_rubberBand = scene()->addRect(band, QPen(QColor(0, 120, 215), 0, Qt::DashLine),
                                        QColor(0, 120, 215, 40));
        m_rubberBand->setZValue(10);
        m_rubberBand->setAcceptedMouseButtons(Qt::NoButton);
    } else {
        m_rubberBand->setRect(band);
    }
    QSet<quint64> inside;
    for (QGraphicsItem *item : scene()->items(band, Qt::IntersectsItemShape))
        if (item->type() == LayoutViewLight::Type)
            inside.insert(static_cast<LayoutViewLight *>(item)->uid());
    QList<quint64> wanted;
    for (const quint64 uid : qAsConst(m_previousSelection))
        if (!inside.contains(uid))
            wanted.append(uid);
    const QSet<quint64> before(m_previousSelection.cbegin(), m_previousSelection.cend());
    for (const quint64 uid : qAsConst(inside))
        if (!before.contains(uid))
            wanted.append(uid);
    // Rebuilt at each move, changing only what differs from the last move.
    const QSet<quint64> wantedSet(wanted.cbegin(), wanted.cend());
    for (const quint64 uid : m_selectionOrder.keys())
        if (!wantedSet.contains(uid))
            selectLight(uid, false);
    for (const quint64 uid : qAsConst(wanted))
        if (!isSelected(uid))
            selectLight(uid, true);
}

void LayoutView::updateStroke(const QPointF &current)
{
    const QLineF line(m_pressScenePoint, current);
    if (!m_strokeLine) {
        QPen pen(QColor(0, 120, 215), 2);
        pen.setCosmetic(true);
        m_strokeLine = scene()->addLine(line, pen);
        m_strokeArea = scene()->addPolygon(QPolygonF(), QPen(Qt::NoPen), QColor(0, 120, 215, 40));
        for (QGraphicsItem *overlay : {static_cast<QGraphicsItem *>(m_strokeLine),
                                       static_cast<QGraphicsItem *>(m_strokeArea)}) {
            overlay->setZValue(10);
            overlay->setAcceptedMouseButtons(Qt::NoButton);
        }
    }
    m_strokeLine->setLine(line);
    // The swept area: the line widened by half a grid step on either side.
    const QPointF normal = line.length() > 0
                               ? QPointF(-line.dy(), line.dx()) / line.length() * (m_gridSize / 2.0)
                               : QPointF(m_gridSize / 2.0, 0);
    m_strokeArea->setPolygon(QPolygonF(
        {line.p1() + normal, line.p2() + normal, line.p2() - normal, line.p1() - normal}));
}

void LayoutView::finishStroke()
{
    m_interactiveGroup = false;
    if (!m_strokeLine)
        return;
    const QLineF line = m_strokeLine->line();
    QVector<QPair<quint64, QPointF>> swept;
    for (QGraphicsItem *item : m_strokeArea->collidingItems())
        if (item->type() == LayoutViewLight::Type)
            swept.append({static_cast<LayoutViewLight *>(item)->uid(), item->pos()});
    delete m_strokeLine;
    delete m_strokeArea;
    m_strokeLine = nullptr;
    m_strokeArea = nullptr;
    for (const quint64 uid : LayoutGeometry::orderAlongLine(line.p1(), line.p2(), swept))
        if (!isSelected(uid))
            selectLight(uid, true);
    if (!m_selectionOrder.isEmpty())
        handleCreateGroupFromSelection();
}

void LayoutView::wheelEvent(QWheelEvent *event)
{
    if (event->modifiers() != Qt::ControlModifier) {
        QGraphicsView::wheelEvent(event);
        return;
    }
    event->accept();
    if (event->angleDelta().isNull())
        return;
    const QPoint at = event->position().toPoint();
    if (LayoutGeometry::wheelSteps(event->angleDelta().y()) < 1)
        zoomOutAt(at);
    else
        zoomInAt(at);
}

void LayoutView::keyPressEvent(QKeyEvent *event)
{
    if (!event->isAutoRepeat()) {
        if (event->key() == Qt::Key_Control)
            m_ctrlHeld = true;
        else if (event->key() == Qt::Key_Space)
            m_spaceHeld = true;
        else if (event->key() == Qt::Key_Alt)
            m_altHeld = true;
    }
    updateCursor();
    if (event->key() != Qt::Key_Space)
        QGraphicsView::keyPressEvent(event);
}

void LayoutView::keyReleaseEvent(QKeyEvent *event)
{
    if (!event->isAutoRepeat()) {
        if (event->key() == Qt::Key_Control)
            m_ctrlHeld = false;
        else if (event->key() == Qt::Key_Space)
            m_spaceHeld = false;
        else if (event->key() == Qt::Key_Alt)
            m_altHeld = false;
    }
    updateCursor();
    QGraphicsView::keyReleaseEvent(event);
}

void LayoutView::updateCursor()
{
    if (m_ctrlHeld && m_spaceHeld && m_altHeld)
        viewport()->setCursor(m_zoomOutCursor);
    else if (m_ctrlHeld && m_spaceHeld)
        viewport()->setCursor(m_zoomInCursor);
    else if (m_spaceHeld)
        viewport()->setCursor(Qt::PointingHandCursor);
    else
        viewport()->unsetCursor();
}

void LayoutView::drawBackground(QPainter *painter, const QRectF &rect)
{
    painter->fillRect(rect, QColor(246, 246, 244));
    const QRectF canvas = sceneRect();
    painter->fillRect(rect.intersected(canvas), Qt::white);
    if (!m_showGrid || m_gridSize <= 0)
        return;
    // A line every grid step, thinned out when steps get closer than 6 pixels on screen.
    int step = m_gridSize;
    while (step * zoomFactor() < 6)
        step *= 4;
    const QRectF area = rect.intersected(canvas);
    QPen pen(QColor(226, 230, 236));
    pen.setCosmetic(true);
    painter->setPen(pen);
    QVector<QLineF> lines;
    for (double x = std::floor(area.left() / step) * step; x <= area.right(); x += step)
        lines.append(QLineF(x, area.top(), x, area.bottom()));
    for (double y = std::floor(area.top() / step) * step; y <= area.bottom(); y += step)
        lines.append(QLineF(area.left(), y, area.right(), y));
    painter->drawLines(lines);
}

void LayoutView::drawForeground(QPainter *painter, const QRectF &rect)
{
    Q_UNUSED(rect)
    if (m_emptyHint.isEmpty() || !m_items.isEmpty())
        return;
    // Drawn in viewport coordinates so it reads the same at every zoom.
    painter->save();
    painter->resetTransform();
    // A card in the middle of the canvas, its steps read from the left.
    const QRect area = viewport()->rect().adjusted(24, 24, -24, -24);
    const QRect text = painter->boundingRect(area, Qt::AlignLeft | Qt::TextWordWrap, m_emptyHint);
    QRect card = text.adjusted(-16, -12, 16, 12);
    card.moveCenter(viewport()->rect().center());
    painter->setPen(QColor(200, 205, 212));
    painter->setBrush(QColor(255, 255, 255, 235));
    painter->drawRoundedRect(card, 6, 6);
    painter->setPen(QColor(50, 50, 50));
    painter->drawText(card.adjusted(16, 12, -16, -12), Qt::AlignLeft | Qt::TextWordWrap,
                      m_emptyHint);
    painter->restore();
}

void LayoutView::repaintScene()
{
    if (!m_suppressRepaint)
        viewport()->update();
}

void LayoutView::updateCanvas()
{
    // Every frame of live play comes here; most frames change no colour.
    const quint64 changes = LightOutput::colourChanges();
    if (m_updatePaused || !isVisible() || changes == m_drawnColourChanges)
        return;
    m_drawnColourChanges = changes;
    viewport()->update();
}
