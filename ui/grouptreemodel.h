#pragma once

#include <QAbstractItemModel>
#include <QHash>
#include <QList>

#include <memory>
#include <vector>

class MapModel;

// The "Groups" pane as an item model: one top-level row per group in the order the groups
// arrived, its member lights below in the group's own order. The canvas's working selection
// group is not part of the installation and is not shown.
//
// Membership changes are applied as the smallest run of removed and inserted rows that turns
// the old member list into the new one, so appending a light to a group of thousands is one
// inserted row, not a rebuilt group.
class GroupTreeModel final : public QAbstractItemModel
{
    Q_OBJECT
public:
    enum Column { NameColumn, DmxAddressColumn, ColumnCount };
    enum class RowKind { None, Group, Member };
    static constexpr int UidRole = Qt::UserRole + 1;

    explicit GroupTreeModel(MapModel &model, QObject *parent = nullptr);
    ~GroupTreeModel() override;

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &child) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

    RowKind rowKind(const QModelIndex &index) const;
    // The group's uid for a group row, the light's uid for a member row.
    quint64 uidAt(const QModelIndex &index) const;
    // The group a member row belongs to.
    quint64 groupUidAt(const QModelIndex &index) const;
    QModelIndex indexForGroup(quint64 uid, int column = NameColumn) const;

    void refreshAll();

signals:
    // The user renamed a group here.
    void setDirty(bool dirty);

private:
    struct GroupNode
    {
        quint64 uid = 0;
        int row = 0;
        QList<quint64> members;
    };

    void handleNewGroup(quint64 uid);
    void handleUpdatedGroup(quint64 uid);
    void handleDeletedGroup(quint64 uid);
    void handleUpdatedLightProperty(quint64 lightUid);
    void handleClearedMap();

    void appendGroup(quint64 uid);
    void removeGroupRow(GroupNode *node);
    void syncMembers(GroupNode *node, const QList<quint64> &members);
    void renumberGroups();
    QModelIndex nodeIndex(const GroupNode *node, int column = NameColumn) const;
    QVariant groupData(const GroupNode &node, int column, int role) const;
    QVariant memberData(quint64 lightUid, int column, int role) const;

    MapModel &m_model;
    std::vector<std::unique_ptr<GroupNode>> m_groups;
    QHash<quint64, GroupNode *> m_groupNodes;
};
