#include "ui/grouptreemodel.h"

#include "model/group.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "ui/lighttreemodel.h"

#include <QBrush>
#include <QFont>
#include <QIcon>
#include <QPalette>

namespace {

const QIcon &groupIcon()
{
    static const QIcon icon(QStringLiteral(":/images/icons/group.png"));
    return icon;
}

const QIcon &lightIcon()
{
    static const QIcon icon(QStringLiteral(":/images/icons/light.png"));
    return icon;
}

} // namespace

GroupTreeModel::GroupTreeModel(MapModel &model, QObject *parent)
    : QAbstractItemModel(parent), m_model(model)
{
    connect(&model, &MapModel::newGroup, this, &GroupTreeModel::handleNewGroup);
    connect(&model, &MapModel::updatedGroup, this, &GroupTreeModel::handleUpdatedGroup);
    connect(&model, &MapModel::deletedGroup, this, &GroupTreeModel::handleDeletedGroup);
    connect(&model, &MapModel::updatedLightProperty, this,
            &GroupTreeModel::handleUpdatedLightProperty);
    connect(&model, &MapModel::updatedLightProperties, this,
            &GroupTreeModel::handleUpdatedLightProperty);
    connect(&model, &MapModel::clearedMap, this, &GroupTreeModel::handleClearedMap);
    for (const Group *group : model.groups())
        handleNewGroup(group->uid());
}

GroupTreeModel::~GroupTreeModel() = default;

QModelIndex GroupTreeModel::index(int row, int column, const QModelIndex &parent) const
{
    if (row < 0 || column < 0 || column >= ColumnCount)
        return {};
    if (!parent.isValid()) {
        if (row >= static_cast<int>(m_groups.size()))
            return {};
        return createIndex(row, column, nullptr);
    }
    if (parent.internalPointer() || parent.row() >= static_cast<int>(m_groups.size()))
        return {};
    GroupNode *node = m_groups[static_cast<size_t>(parent.row())].get();
    if (row >= node->members.size())
        return {};
    return createIndex(row, column, node);
}

QModelIndex GroupTreeModel::parent(const QModelIndex &child) const
{
    const auto *node = static_cast<const GroupNode *>(child.internalPointer());
    if (!child.isValid() || !node)
        return {};
    return createIndex(node->row, 0, nullptr);
}

int GroupTreeModel::rowCount(const QModelIndex &parent) const
{
    if (!parent.isValid())
        return static_cast<int>(m_groups.size());
    if (parent.column() != 0 || parent.internalPointer())
        return 0;
    return m_groups[static_cast<size_t>(parent.row())]->members.size();
}

int GroupTreeModel::columnCount(const QModelIndex &) const
{
    return ColumnCount;
}

GroupTreeModel::RowKind GroupTreeModel::rowKind(const QModelIndex &index) const
{
    if (!index.isValid() || index.model() != this)
        return RowKind::None;
    return index.internalPointer() ? RowKind::Member : RowKind::Group;
}

quint64 GroupTreeModel::uidAt(const QModelIndex &index) const
{
    switch (rowKind(index)) {
    case RowKind::Member:
        return static_cast<const GroupNode *>(index.internalPointer())->members.at(index.row());
    case RowKind::Group:
        return m_groups[static_cast<size_t>(index.row())]->uid;
    case RowKind::None:
        break;
    }
    return 0;
}

quint64 GroupTreeModel::groupUidAt(const QModelIndex &index) const
{
    switch (rowKind(index)) {
    case RowKind::Member:
        return static_cast<const GroupNode *>(index.internalPointer())->uid;
    case RowKind::Group:
        return m_groups[static_cast<size_t>(index.row())]->uid;
    case RowKind::None:
        break;
    }
    return 0;
}

QModelIndex GroupTreeModel::indexForGroup(quint64 uid, int column) const
{
    const GroupNode *node = m_groupNodes.value(uid);
    return node ? nodeIndex(node, column) : QModelIndex();
}

QVariant GroupTreeModel::data(const QModelIndex &index, int role) const
{
    switch (rowKind(index)) {
    case RowKind::Member:
        return memberData(uidAt(index), index.column(), role);
    case RowKind::Group:
        return groupData(*m_groups[static_cast<size_t>(index.row())], index.column(), role);
    case RowKind::None:
        break;
    }
    return {};
}

QVariant GroupTreeModel::groupData(const GroupNode &node, int column, int role) const
{
    if (role == UidRole)
        return node.uid;
    const Group *group = m_model.group(node.uid);
    if (!group || column != NameColumn)
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return QStringLiteral("%1 (%2)").arg(group->name()).arg(node.members.size());
    case Qt::EditRole:
        return group->name();
    case Qt::DecorationRole:
        return groupIcon();
    case Qt::ToolTipRole:
        return node.members.size() == 1
                   ? QStringLiteral("%1: 1 light").arg(group->name())
                   : QStringLiteral("%1: %2 lights").arg(group->name()).arg(node.members.size());
    default:
        return {};
    }
}

QVariant GroupTreeModel::memberData(quint64 lightUid, int column, int role) const
{
    if (role == UidRole)
        return lightUid;
    const Light *light = m_model.light(lightUid);
    if (!light) {
        // A group may name a light the map no longer (or never) had, e.g. in a hand-edited file.
        if (role == Qt::DisplayRole && column == NameColumn)
            return QStringLiteral("Missing light %1").arg(QString::number(lightUid, 16).toUpper());
        if (role == Qt::FontRole) {
            QFont font;
            font.setItalic(true);
            return font;
        }
        if (role == Qt::ForegroundRole)
            return QPalette().brush(QPalette::Disabled, QPalette::Text);
        return {};
    }
    switch (role) {
    case Qt::DisplayRole:
        if (column == NameColumn)
            return light->name();
        if (column == DmxAddressColumn)
            return LightTreeModel::dmxAddressText(
                light->deviceProperty(QStringLiteral("DMX_OFFSET")));
        return {};
    case Qt::DecorationRole:
        return column == NameColumn ? QVariant(lightIcon()) : QVariant();
    case Qt::ToolTipRole: {
        const QString serial = LightTreeModel::serialText(light->serialNumber());
        return serial.isEmpty()
                   ? light->name()
                   : QStringLiteral("%1\nSerial number: %2").arg(light->name(), serial);
    }
    case Qt::TextAlignmentRole:
        if (column == DmxAddressColumn)
            return static_cast<int>(Qt::AlignRight | Qt::AlignVCenter);
        return {};
    default:
        return {};
    }
}

bool GroupTreeModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    const QString name = value.toString().trimmed();
    if (role != Qt::EditRole || rowKind(index) != RowKind::Group || index.column() != NameColumn ||
        name.isEmpty() || name == Group::selectionGroupName())
        return false;
    Group *group = m_model.group(uidAt(index));
    if (!group || group->name() == name)
        return false;
    group->setName(name);
    emit setDirty(true);
    return true;
}

QVariant GroupTreeModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::DisplayRole)
        return section == NameColumn ? QStringLiteral("Name") : QStringLiteral("DMX");
    if (role == Qt::ToolTipRole)
        return section == NameColumn
                   ? QStringLiteral("Group, or light in the group")
                   : QStringLiteral("DMX address: the light's first channel (blank when not "
                                    "read from the light)");
    return {};
}

Qt::ItemFlags GroupTreeModel::flags(const QModelIndex &index) const
{
    const RowKind kind = rowKind(index);
    if (kind == RowKind::None)
        return Qt::NoItemFlags;
    Qt::ItemFlags result = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (kind == RowKind::Member)
        result |= Qt::ItemNeverHasChildren;
    else if (index.column() == NameColumn)
        result |= Qt::ItemIsEditable;
    return result;
}

void GroupTreeModel::refreshAll()
{
    for (const auto &node : m_groups) {
        const QModelIndex parent = nodeIndex(node.get());
        emit dataChanged(parent, nodeIndex(node.get(), ColumnCount - 1));
        if (!node->members.isEmpty())
            emit dataChanged(index(0, 0, parent),
                             index(node->members.size() - 1, ColumnCount - 1, parent));
    }
}

void GroupTreeModel::handleNewGroup(quint64 uid)
{
    const Group *group = m_model.group(uid);
    if (!group || group->isSelectionGroup() || m_groupNodes.contains(uid))
        return;
    appendGroup(uid);
}

void GroupTreeModel::handleUpdatedGroup(quint64 uid)
{
    const Group *group = m_model.group(uid);
    GroupNode *node = m_groupNodes.value(uid);
    if (!group) {
        if (node)
            removeGroupRow(node);
        return;
    }
    // A group renamed to or from the selection group's name enters or leaves the pane.
    if (!node) {
        if (!group->isSelectionGroup())
            appendGroup(uid);
        return;
    }
    if (group->isSelectionGroup()) {
        removeGroupRow(node);
        return;
    }
    syncMembers(node, group->children());
}

void GroupTreeModel::handleDeletedGroup(quint64 uid)
{
    if (GroupNode *node = m_groupNodes.value(uid))
        removeGroupRow(node);
}

void GroupTreeModel::handleUpdatedLightProperty(quint64 lightUid)
{
    const QList<quint64> groupUids = m_model.groupsOfLight(lightUid);
    for (quint64 groupUid : groupUids) {
        GroupNode *node = m_groupNodes.value(groupUid);
        if (!node)
            continue;
        for (int row = 0; row < node->members.size(); ++row) {
            if (node->members.at(row) == lightUid)
                emit dataChanged(createIndex(row, 0, node),
                                 createIndex(row, ColumnCount - 1, node));
        }
    }
}

void GroupTreeModel::handleClearedMap()
{
    beginResetModel();
    m_groups.clear();
    m_groupNodes.clear();
    endResetModel();
}

void GroupTreeModel::appendGroup(quint64 uid)
{
    const Group *group = m_model.group(uid);
    const int row = static_cast<int>(m_groups.size());
    beginInsertRows({}, row, row);
    auto node = std::make_unique<GroupNode>();
    node->uid = uid;
    node->row = row;
    node->members = group->children();
    m_groupNodes.insert(uid, node.get());
    m_groups.push_back(std::move(node));
    endInsertRows();
}

void GroupTreeModel::removeGroupRow(GroupNode *node)
{
    const int row = node->row;
    beginRemoveRows({}, row, row);
    m_groupNodes.remove(node->uid);
    m_groups.erase(m_groups.begin() + row);
    renumberGroups();
    endRemoveRows();
}

void GroupTreeModel::syncMembers(GroupNode *node, const QList<quint64> &members)
{
    const QModelIndex parent = nodeIndex(node);
    const QList<quint64> &old = node->members;
    int prefix = 0;
    while (prefix < old.size() && prefix < members.size() && old.at(prefix) == members.at(prefix))
        ++prefix;
    int suffix = 0;
    while (suffix < old.size() - prefix && suffix < members.size() - prefix &&
           old.at(old.size() - 1 - suffix) == members.at(members.size() - 1 - suffix))
        ++suffix;
    const int removed = old.size() - prefix - suffix;
    const int inserted = members.size() - prefix - suffix;
    if (removed > 0) {
        beginRemoveRows(parent, prefix, prefix + removed - 1);
        node->members.erase(node->members.begin() + prefix,
                            node->members.begin() + prefix + removed);
        endRemoveRows();
    }
    if (inserted > 0) {
        beginInsertRows(parent, prefix, prefix + inserted - 1);
        const QList<quint64> added = members.mid(prefix, inserted);
        for (int i = 0; i < added.size(); ++i)
            node->members.insert(prefix + i, added.at(i));
        endInsertRows();
    }
    emit dataChanged(parent, nodeIndex(node, ColumnCount - 1));
    // A member's own change is also announced through its group; refresh the members' texts.
    if (removed == 0 && inserted == 0 && !node->members.isEmpty())
        emit dataChanged(index(0, 0, parent),
                         index(node->members.size() - 1, ColumnCount - 1, parent));
}

void GroupTreeModel::renumberGroups()
{
    for (size_t row = 0; row < m_groups.size(); ++row)
        m_groups[row]->row = static_cast<int>(row);
}

QModelIndex GroupTreeModel::nodeIndex(const GroupNode *node, int column) const
{
    return createIndex(node->row, column, nullptr);
}
