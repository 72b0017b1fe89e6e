#pragma once

#include "model/undoaction.h"

#include <QList>

#include <memory>
#include <vector>

class DataSupply;
class Light;

// Undo of a creation: the lights one creation made, taken out of the map as one step and
// put back with the same uids, supply, port, number, place and properties on redo. An
// interface the creation made goes with them, unless other lights have been put on it since.
class CreationUndoAction final : public UndoAction
{
public:
    explicit CreationUndoAction(const QList<quint64> &lightUids, quint64 createdSupplyUid = 0);
    ~CreationUndoAction() override;

    int lightCount() const { return m_uids.size(); }
    bool lightsInMap() const { return m_removed.empty(); }
    // Removes the lights when they are in the map, puts them back when they are not.
    quint64 apply(MapModel &model, PlacementView *view) override;

private:
    QList<quint64> m_uids;
    quint64 m_createdSupplyUid = 0;
    std::vector<std::unique_ptr<Light>> m_removed;
    std::unique_ptr<DataSupply> m_removedSupply;
};
