#pragma once

#include "model/undoaction.h"

#include <QList>

#include <memory>
#include <vector>

class Light;

// Undo of a creation: the lights one creation made, taken out of the map as one step and
// put back with the same uids, supply, port, number, place and properties on redo. The
// supply they were made on stays: other lights may have been put on it since.
class CreationUndoAction final : public UndoAction
{
public:
    explicit CreationUndoAction(const QList<quint64> &lightUids);
    ~CreationUndoAction() override;

    int lightCount() const { return m_uids.size(); }
    bool lightsInMap() const { return m_removed.empty(); }
    // Removes the lights when they are in the map, puts them back when they are not.
    quint64 apply(MapModel &model, PlacementView *view) override;

private:
    QList<quint64> m_uids;
    std::vector<std::unique_ptr<Light>> m_removed;
};
