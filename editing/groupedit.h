#pragma once

#include "model/undoaction.h"

#include <QList>
#include <QString>

#include <optional>

class Group;

// Everything the group editor can change about a group.
struct GroupState
{
    quint64 uid = 0;
    QString name;
    int type = 0;
    int oValue = 40;
    int lightsPerStep = 1;
    QList<quint64> members;

    static GroupState of(const Group &group);
    bool operator==(const GroupState &other) const;
    bool operator!=(const GroupState &other) const { return !(*this == other); }
};

// Gives a group of the model this state, creating the group when the model lacks it.
// Members that are no longer lights of the map are left out.
void applyGroupState(MapModel &model, const GroupState &state);

// One change to one group as a step of the undo stacks: a group made, changed or removed.
// Applying it exchanges the recorded state (the group, or its absence) with the model's.
class GroupEditCommand final : public UndoAction
{
public:
    // Undoes the making of the group (it is in the model now).
    static GroupEditCommand *created(quint64 groupUid);
    // Undoes a change; `before` is the group's state before the editor changed it.
    static GroupEditCommand *changed(const GroupState &before);

    quint64 groupUid() const { return m_uid; }
    quint64 apply(MapModel &model, PlacementView *view) override;

private:
    GroupEditCommand(quint64 uid, std::optional<GroupState> recorded);

    quint64 m_uid;
    std::optional<GroupState> m_recorded; // empty: the group is absent in the recorded state
};
