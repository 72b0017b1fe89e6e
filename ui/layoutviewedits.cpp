#include "ui/layoutview.h"

#include "editing/groupedit.h"
#include "effects/selectioneffect.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "ui/groupeditordialog.h"
#include "ui/layoutgeometry.h"
#include "ui/layoutviewlight.h"
#include "ui/userprompts.h"

#include <QApplication>
#include <QGraphicsScene>
#include <QHash>
#include <QMessageBox>
#include <QProgressDialog>

#include <algorithm>
#include <cmath>

// The canvas's edits of the selection: moving (with the commit check that puts everything
// back when one light would overlap another or leave the canvas), turning, flipping,
// deleting and making groups. The view itself, its items, zoom and mouse are in
// layoutview.cpp.

namespace {

// Squares of one side that overlap: closer than a side in both directions.
bool overlapping(const QPointF &a, const QPointF &b)
{
    return std::abs(a.x() - b.x()) < LayoutViewLight::kSize &&
           std::abs(a.y() - b.y()) < LayoutViewLight::kSize;
}

// Cell of a spatial hash with cells of one light's side (coordinates a hand-edited map made
// absurd fall into the outermost cells).
QPair<int, int> cellOf(const QPointF &p)
{
    const auto cell = [](double c) {
        const double v = std::floor(c / LayoutViewLight::kSize);
        return std::isfinite(v) ? int(std::clamp(v, -1e9, 1e9)) : 0;
    };
    return {cell(p.x()), cell(p.y())};
}

} // namespace

QPointF LayoutView::snapped(const QPointF &point) const
{
    if (!m_snapToGrid)
        return point;
    return QPointF(LayoutGeometry::snap(point.x(), m_gridSize),
                   LayoutGeometry::snap(point.y(), m_gridSize));
}

void LayoutView::moveSelection(const QPoint &delta)
{
    m_suppressRepaint = true;
    for (auto it = m_selectionOrder.cbegin(); it != m_selectionOrder.cend(); ++it)
        if (LayoutViewLight *item = m_items.value(it.key()))
            item->setPos(snapped(item->pos() + delta));
    m_suppressRepaint = false;
    repaintScene();
}

void LayoutView::dragSelectionTo(const QPointF &scenePoint)
{
    const QPointF delta = QPointF(scenePoint.toPoint()) - QPointF(m_pressScenePoint.toPoint());
    m_suppressRepaint = true;
    for (auto it = m_dragOrigins.cbegin(); it != m_dragOrigins.cend(); ++it)
        if (LayoutViewLight *item = m_items.value(it.key()))
            item->setPos(snapped(it.value() + delta));
    m_suppressRepaint = false;
    repaintScene();
}

bool LayoutView::commitSelection()
{
    const QList<quint64> chosen = selection();
    // Everything that stays put, in a spatial hash of one light's side: each moved item is
    // then checked against the cells around it and the other moved items, so the check
    // grows with the number of lights, not with its square.
    QHash<QPair<int, int>, QVector<QPointF>> cells;
    cells.reserve(m_items.size());
    for (auto it = m_items.cbegin(); it != m_items.cend(); ++it) {
        const QPointF p = it.value()->pos();
        cells[cellOf(p)].append(p);
    }
    const QRectF canvas = sceneRect();
    bool acceptable = true;
    QHash<QPair<int, int>, int> movedCells;
    for (const quint64 uid : chosen) {
        const LayoutViewLight *item = m_items.value(uid);
        if (!item)
            continue;
        const QPointF p = item->pos();
        if (!std::isfinite(p.x()) || !std::isfinite(p.y()) || p.x() < 0 || p.y() < 0 ||
            int(p.x()) > canvas.width() || int(p.y()) > canvas.height()) {
            acceptable = false;
            break;
        }
        const QPair<int, int> cell = cellOf(p);
        int overlaps = 0;
        for (int dx = -1; dx <= 1 && acceptable; ++dx)
            for (int dy = -1; dy <= 1; ++dy)
                for (const QPointF &other : cells.value({cell.first + dx, cell.second + dy}))
                    overlaps += overlapping(p, other) ? 1 : 0;
        // The item finds itself once.
        if (overlaps > 1) {
            acceptable = false;
            break;
        }
    }
    m_suppressRepaint = true;
    if (!acceptable) {
        for (const quint64 uid : chosen)
            if (const Light *light = m_model->light(uid))
                if (LayoutViewLight *item = m_items.value(uid))
                    item->setPos(light->x(), light->y());
        m_suppressRepaint = false;
        repaintScene();
        emit msg(QStringLiteral("Lights cannot overlap other lights or leave the canvas."));
        return false;
    }
    auto *undo = new UndoActionList;
    undo->reserve(chosen.size());
    LayoutViewLight *last = nullptr;
    for (const quint64 uid : chosen) {
        Light *light = m_model->light(uid);
        LayoutViewLight *item = m_items.value(uid);
        if (!light || !item)
            continue;
        item->setPos(snapped(item->pos()));
        const Placement before = Placement::of(*light);
        if (before.x == item->x() && before.y == item->y())
            continue;
        undo->append(new PlacementUndoAction(uid, before));
        light->setPosition(item->x(), item->y(), light->z());
        last = item;
    }
    m_suppressRepaint = false;
    if (last)
        ensureVisible(last, 50, 50);
    repaintScene();
    emit addUndoActionList(undo);
    return true;
}

void LayoutView::rotateSelection(double degrees)
{
    const QList<quint64> chosen = selection();
    if (chosen.isEmpty())
        return;
    double minX = std::numeric_limits<double>::max(), minY = minX;
    double maxX = std::numeric_limits<double>::lowest(), maxY = maxX;
    for (const quint64 uid : chosen)
        if (const LayoutViewLight *item = m_items.value(uid)) {
            minX = std::min(minX, item->x());
            maxX = std::max(maxX, item->x());
            minY = std::min(minY, item->y());
            maxY = std::max(maxY, item->y());
        }
    const QPointF centre((maxX - minX) * 0.5 + minX, (maxY - minY) * 0.5 + minY);
    for (const quint64 uid : chosen)
        if (LayoutViewLight *item = m_items.value(uid)) {
            const QPointF turned = LayoutGeometry::rotated(item->pos(), centre, degrees);
            item->setPos(snapped(QPointF(LayoutGeometry::roundForRotation(turned.x()),
                                         LayoutGeometry::roundForRotation(turned.y()))));
        }
    commitSelection();
    emit setDirty(true);
}

void LayoutView::handleRotateSelectionCW()
{
    rotateSelection(90);
}

void LayoutView::handleRotateSelectionCCW()
{
    rotateSelection(-90);
}

void LayoutView::flipSelection(Qt::Orientation orientation)
{
    const QList<quint64> chosen = selection();
    if (chosen.isEmpty())
        return;
    const bool vertical = orientation == Qt::Vertical;
    // The span starts at (canvas size, 0) on purpose: a selection wholly at negative
    // coordinates mirrors about the span from its minimum to 0.
    double low = vertical ? sceneRect().height() : sceneRect().width();
    double high = 0.0;
    for (const quint64 uid : chosen)
        if (const LayoutViewLight *item = m_items.value(uid)) {
            const double c = vertical ? item->y() : item->x();
            low = std::min(low, c);
            high = std::max(high, c);
        }
    for (const quint64 uid : chosen)
        if (LayoutViewLight *item = m_items.value(uid)) {
            if (vertical)
                item->setY(LayoutGeometry::mirrored(item->y(), low, high));
            else
                item->setX(LayoutGeometry::mirrored(item->x(), low, high));
        }
    const bool snap = m_snapToGrid;
    m_snapToGrid = false;
    commitSelection();
    m_snapToGrid = snap;
    emit setDirty(true);
}

void LayoutView::handleFlipSelectionVertically()
{
    flipSelection(Qt::Vertical);
}

void LayoutView::handleFlipSelectionHorizontally()
{
    flipSelection(Qt::Horizontal);
}

void LayoutView::handleEditLights()
{
    emit editLightsRequested(selection());
}

void LayoutView::handleDeleteSelection()
{
    const QList<quint64> chosen = selection();
    if (chosen.isEmpty() || !m_prompts)
        return;
    if (m_prompts->message(this, QMessageBox::Question, QStringLiteral("Confirm Light Deletion"),
                           QStringLiteral("Are you sure that you wish to permanently delete the "
                                          "selected lights?"),
                           QMessageBox::Yes | QMessageBox::No) != QMessageBox::Yes)
        return;
    m_deleteProgress = new QProgressDialog(QStringLiteral("Deleting Lights"),
                                           QStringLiteral("Cancel"), 0, chosen.size(), this);
    m_deleteProgress->setWindowTitle(QStringLiteral("Deleting Lights"));
    m_deleteProgress->setWindowModality(Qt::WindowModal);
    m_deleteProgress->setMinimumDuration(0);
    m_suppressRepaint = true;
    int done = 0;
    for (const quint64 uid : chosen) {
        if (m_deleteProgress->wasCanceled())
            break;
        m_model->removeLight(uid);
        m_deleteProgress->setValue(++done);
    }
    m_deleteProgress->setValue(chosen.size());
    delete m_deleteProgress;
    m_suppressRepaint = false;
    clearSelection();
    repaintScene();
    emit setDirty(true);
}

void LayoutView::handleCreateGroupFromSelection()
{
    const QList<quint64> chosen = selection();
    auto group = std::make_unique<Group>();
    const quint64 uid = m_model->newUid();
    group->setUid(uid);
    group->setType(Group::SelectionType);
    group->setName(QStringLiteral("New Group"));
    if (!m_model->addGroup(std::move(group)))
        return;
    for (const quint64 light : chosen)
        m_model->addLightToGroup(uid, light);
    GroupEditorDialog editor(
        *m_model, GroupState::of(*m_model->group(uid)), [this] { return selection(); }, this);
    const bool accepted = m_prompts ? m_prompts->runDialog(editor) == QDialog::Accepted
                                    : editor.exec() == QDialog::Accepted;
    if (!accepted) {
        m_model->removeGroup(uid);
    } else {
        applyGroupState(*m_model, editor.state());
        // Undo takes the whole group away again.
        emit addUndoActionList(new UndoActionList{GroupEditCommand::created(uid)});
    }
    emit setDirty(true);
}

void LayoutView::handleCreateGroupInteractively()
{
    m_interactiveGroup = true;
    clearSelection();
    emit msg(QStringLiteral("Draw a line across the lights of the new group, in their order; "
                            "click to finish."));
}
