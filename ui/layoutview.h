#pragma once

#include "model/undoaction.h"

#include <QCursor>
#include <QGraphicsView>
#include <QHash>
#include <QPointer>
#include <QProgressDialog>

class LayoutViewLight;
class MapModel;
class QGraphicsLineItem;
class QGraphicsPixmapItem;
class QGraphicsPolygonItem;
class QGraphicsRectItem;
class QMenu;

class SelectionEffect;
class UserPrompts;

// The layout canvas: every light of the map as a small item at its position. The user selects
// (click, Ctrl/Shift-click, rubber band), drags, turns and flips the selection, deletes it,
// makes groups of it, zooms and pans. Every selection change goes to the selection effect,
// so the selected fixtures light up while they are selected, and a selection made elsewhere
// shows here. Moves, turns and flips are checked before they reach the model (no light on
// another, none outside the canvas) and recorded for undo, one gesture one list.
class LayoutView final : public QGraphicsView, public PlacementView
{
    Q_OBJECT
public:
    static constexpr int kReservedEntries = 15000;
    static constexpr double kZoomInFactor = 1.25;
    static constexpr double kZoomOutFactor = 0.8;

    LayoutView(MapModel *model, SelectionEffect *selection, QGraphicsScene *scene,
               QWidget *parent = nullptr);
    ~LayoutView() override;

    // Questions (delete, group editor) go through the window's prompts.
    void setPrompts(UserPrompts *prompts) { m_prompts = prompts; }

    bool snapToGrid() const { return m_snapToGrid; }
    void setSnapToGrid(bool on) { m_snapToGrid = on; }
    int gridSize() const { return m_gridSize; }
    void setGridSize(int size);
    bool showGrid() const { return m_showGrid; }
    void setShowGrid(bool on);
    void setCanvasSize(int width, int height);
    // Shown over an empty map (for instance the demonstration's first steps).
    void setEmptyHint(const QString &text);
    QString emptyHint() const { return m_emptyHint; }
    // The image under the lights, or none for an empty path. False when it cannot be read.
    bool setBackgroundImage(const QString &path);

    // The selection in the order it was made (the order a group made of it receives).
    QList<quint64> selection() const;
    bool isSelected(quint64 uid) const { return m_selectionOrder.contains(uid); }
    LayoutViewLight *itemFor(quint64 uid) const { return m_items.value(uid); }
    int itemCount() const { return m_items.size(); }
    QMenu *popupMenu() const { return m_popupMenu; }
    QProgressDialog *deleteProgress() const { return m_deleteProgress; }
    bool isInteractiveGroupMode() const { return m_interactiveGroup; }
    double zoomFactor() const;

    void zoomIn();
    void zoomOut();
    void zoomInAt(const QPoint &viewPoint);
    void zoomOutAt(const QPoint &viewPoint);
    void zoomToFit();
    void selectLight(quint64 uid, bool selected);
    void clearSelection();
    void selectAll();
    // Moves the selected items by a delta (snapped when snapping is on), not yet committed.
    void moveSelection(const QPoint &delta);
    // During a drag: every selected item at its place at the press plus the whole way the
    // mouse went, snapped (so a slow drag moves as far as a fast one).
    void dragSelectionTo(const QPointF &scenePoint);
    // Turns the selected items about their centre and commits.
    void rotateSelection(double degrees);
    // Checks and stores the selected items' positions, or puts them all back.
    bool commitSelection();
    // Outlines the lights of one supply (the one chosen in the light pane); 0 for none.
    void setHighlightedSupply(quint64 supplyUid);

    Placement moveLightItem(quint64 uid, const Placement &placement) override;

public slots:
    void handleLightSelectionChanged(quint64 uid, bool selected);
    void handleEditLights();
    void handleCreateGroupFromSelection();
    void handleCreateGroupInteractively();
    void handleDeleteSelection();
    void handleRotateSelectionCW();
    void handleRotateSelectionCCW();
    void handleFlipSelectionVertically();
    void handleFlipSelectionHorizontally();
    void setUpdatePaused(bool paused) { m_updatePaused = paused; }
    // Redraws the live colours (after each frame of the effect engine).
    void updateCanvas();

signals:
    void setDirty(bool dirty);
    void addUndoActionList(UndoActionList *list);
    void editLightsRequested(const QList<quint64> &uids);
    void lightDoubleClicked(quint64 uid);
    void msg(const QString &text);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void drawBackground(QPainter *painter, const QRectF &rect) override;
    void drawForeground(QPainter *painter, const QRectF &rect) override;

private:
    void buildPopupMenu();
    void buildItems();
    void addItem(quint64 uid);
    void removeItem(quint64 uid);
    void handleLightPositionChanged(quint64 uid);
    void handleClearedMap();
    void handleContextMenu(const QPoint &pos);
    void updateCursor();
    void updateRubberBand(const QPointF &current);
    void updateStroke(const QPointF &current);
    void finishStroke();
    void flipSelection(Qt::Orientation orientation);
    void scaleAbout(double factor, const QPoint &viewPoint);
    void repaintScene();
    QPointF snapped(const QPointF &point) const;
    LayoutViewLight *lightAt(const QPoint &viewPoint) const;

    MapModel *m_model = nullptr;
    SelectionEffect *m_selectionEffect = nullptr;
    UserPrompts *m_prompts = nullptr;

    QMenu *m_popupMenu = nullptr;

    QPointF m_pressScenePoint;
    QPoint m_lastGlobal;
    QPoint m_lastScene;
    quint64 m_pressLight = 0;
    bool m_pressHitLight = false;
    bool m_moved = false;

    bool m_pressCtrl = false;
    bool m_pressAlt = false;
    bool m_pressShift = false;
    bool m_ctrlHeld = false;
    bool m_altHeld = false;
    bool m_spaceHeld = false;

    bool m_interactiveGroup = false;
    bool m_panning = false;
    bool m_zoomClick = false;
    bool m_suppressRepaint = false;
    bool m_updatePaused = false;

    // uid -> order in which it was selected; the selection is these uids by that order.
    QHash<quint64, quint64> m_selectionOrder;
    quint64 m_selectionCounter = 0;
    QList<quint64> m_previousSelection;

    QGraphicsRectItem *m_rubberBand = nullptr;
    QGraphicsLineItem *m_strokeLine = nullptr;
    QGraphicsPolygonItem *m_strokeArea = nullptr;
    QGraphicsPixmapItem *m_background = nullptr;

    bool m_snapToGrid = true;
    int m_gridSize = 12;
    bool m_showGrid = true;
    QString m_emptyHint;
    QCursor m_zoomInCursor;
    QCursor m_zoomOutCursor;
    QHash<quint64, LayoutViewLight *> m_items;
    QPointer<QProgressDialog> m_deleteProgress;
    quint64 m_highlightedSupply = 0;
    quint64 m_drawnColourChanges = 0;
    QHash<quint64, QPointF> m_dragOrigins;
};
