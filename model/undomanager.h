#pragma once

#include "model/undoaction.h"

#include <QObject>

class MapModel;

// The window's undo and redo: two stacks of gestures (UndoActionList), the top first. A new
// gesture empties the redo stack; undo applies the top gesture's actions in their order and
// moves it to the redo stack, redo the other way round. There is no depth limit: gestures
// accumulate until the map is replaced (clear()). The manager owns every list it holds.
class UndoManager final : public QObject
{
    Q_OBJECT
public:
    explicit UndoManager(MapModel *model, QObject *parent = nullptr);
    ~UndoManager() override;

    void setLayoutView(PlacementView *view) { m_view = view; }
    bool canUndo() const { return !m_undo.isEmpty(); }
    bool canRedo() const { return !m_redo.isEmpty(); }
    int undoCount() const { return m_undo.size(); }
    int redoCount() const { return m_redo.size(); }

public slots:
    // Takes ownership of the list; an empty list is deleted and ignored.
    void addUndoActionList(UndoActionList *list);
    void undo();
    void redo();
    // Forgets both stacks (a new or opened map).
    void clear();

signals:
    void undoEnabled(bool enabled);
    void redoEnabled(bool enabled);
    void updatedLight(quint64 uid);

private:
    void move(QList<UndoActionList *> &from, QList<UndoActionList *> &to);
    void reportEnabled();
    static void deleteLists(QList<UndoActionList *> &lists);

    MapModel *m_model = nullptr;
    PlacementView *m_view = nullptr;
    QList<UndoActionList *> m_undo;
    QList<UndoActionList *> m_redo;
};
