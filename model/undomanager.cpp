#include "model/undomanager.h"

#include "model/mapmodel.h"

UndoManager::UndoManager(MapModel *model, QObject *parent) : QObject(parent), m_model(model)
{
    if (model)
        connect(this, &UndoManager::updatedLight, model, &MapModel::updatedLight);
}

UndoManager::~UndoManager()
{
    deleteLists(m_undo);
    deleteLists(m_redo);
}

void UndoManager::deleteLists(QList<UndoActionList *> &lists)
{
    for (UndoActionList *list : qAsConst(lists)) {
        qDeleteAll(*list);
        delete list;
    }
    lists.clear();
}

void UndoManager::addUndoActionList(UndoActionList *list)
{
    if (!list)
        return;
    if (list->isEmpty()) {
        delete list;
        return;
    }
    deleteLists(m_redo);
    m_undo.prepend(list);
    reportEnabled();
}

void UndoManager::move(QList<UndoActionList *> &from, QList<UndoActionList *> &to)
{
    if (from.isEmpty() || !m_model) {
        reportEnabled();
        return;
    }
    UndoActionList *list = from.takeFirst();
    for (UndoAction *action : qAsConst(*list))
        if (const quint64 uid = action->apply(*m_model, m_view))
            emit updatedLight(uid);
    to.prepend(list);
    reportEnabled();
}

void UndoManager::undo()
{
    move(m_undo, m_redo);
}

void UndoManager::redo()
{
    move(m_redo, m_undo);
}

void UndoManager::clear()
{
    deleteLists(m_undo);
    deleteLists(m_redo);
    reportEnabled();
}

void UndoManager::reportEnabled()
{
    emit undoEnabled(!m_undo.isEmpty());
    emit redoEnabled(!m_redo.isEmpty());
}
