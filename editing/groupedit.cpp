#include "editing/groupedit.h"

#include "model/group.h"
#include "model/mapmodel.h"

#include <memory>

GroupState GroupState::of(const Group &group)
{
    GroupState state;
    state.uid = group.uid();
    state.name = group.name();
    state.type = group.type();
    state.oValue = group.oValue();
    state.lightsPerStep = group.lightsPerStep();
    state.members = group.children();
    return state;
}

bool GroupState::operator==(const GroupState &other) const
{
    return uid == other.uid && name == other.name && type == other.type && oValue == other.oValue &&
           lightsPerStep == other.lightsPerStep && members == other.members;
}

void applyGroupState(MapModel &model, const GroupState &state)
{
    Group *group = model.group(state.uid);
    if (!group) {
        auto made = std::make_unique<Group>();
        made->setUid(state.uid);
        made->setName(state.name);
        if (!model.addGroup(std::move(made)))
            return;
        group = model.group(state.uid);
    }
    group->setName(state.name);
    group->setType(state.type);
    group->setOValue(state.oValue);
    group->setLightsPerStep(state.lightsPerStep);
    model.setGroupMembers(state.uid, state.members);
}

GroupEditCommand::GroupEditCommand(quint64 uid, std::optional<GroupState> recorded)
    : UndoAction(GroupEditKind), m_uid(uid), m_recorded(std::move(recorded))
{
}

GroupEditCommand *GroupEditCommand::created(quint64 groupUid)
{
    return new GroupEditCommand(groupUid, std::nullopt);
}

GroupEditCommand *GroupEditCommand::changed(const GroupState &before)
{
    return new GroupEditCommand(before.uid, before);
}

quint64 GroupEditCommand::apply(MapModel &model, PlacementView *)
{
    const Group *group = model.group(m_uid);
    std::optional<GroupState> current =
        group ? std::optional<GroupState>(GroupState::of(*group)) : std::nullopt;
    if (m_recorded)
        applyGroupState(model, *m_recorded);
    else if (group)
        model.removeGroup(m_uid);
    m_recorded = std::move(current);
    return 0;
}
