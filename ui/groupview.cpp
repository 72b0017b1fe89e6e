#include "ui/groupview.h"

#include "ui/grouptreemodel.h"

#include <QHeaderView>

#include <QSet>

#include <algorithm>
#include <utility>

namespace {

// Rows of a two-level tree in the order the view shows them.
QModelIndexList inTreeOrder(QModelIndexList rows)
{
    auto key = [](const QModelIndex &index) {
        const QModelIndex parent = index.parent();
        return parent.isValid() ? std::make_pair(parent.row(), index.row())
                                : std::make_pair(index.row(), -1);
    };
    std::sort(rows.begin(), rows.end(),
              [&key](const QModelIndex &a, const QModelIndex &b) { return key(a) < key(b); });
    return rows;
}

} // namespace

GroupView::GroupView(MapModel &model, QWidget *parent)
    : QTreeView(parent), m_model(new GroupTreeModel(model, this))
{
    setObjectName(QStringLiteral("m_groupView"));
    setModel(m_model);
    setUniformRowHeights(true);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(QAbstractItemView::EditKeyPressed | QAbstractItemView::SelectedClicked);
    setAlternatingRowColors(true);
    setAllColumnsShowFocus(true);
    header()->setStretchLastSection(false);
    header()->setSectionResizeMode(GroupTreeModel::NameColumn, QHeaderView::Stretch);
    const QFontMetrics metrics = header()->fontMetrics();
    header()->resizeSection(GroupTreeModel::DmxAddressColumn,
                            metrics.horizontalAdvance(QStringLiteral("000")) +
                                4 * metrics.averageCharWidth());

    connect(m_model, &GroupTreeModel::setDirty, this, &GroupView::setDirty);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &GroupView::updatedSelection);
    connect(m_model, &QAbstractItemModel::modelReset, this, &GroupView::updatedSelection);
}

QList<quint64> GroupView::selectedGroupUids() const
{
    const QModelIndexList rows = inTreeOrder(selectionModel()->selectedRows());
    QList<quint64> uids;
    for (const QModelIndex &row : rows) {
        if (m_model->rowKind(row) == GroupTreeModel::RowKind::Group)
            uids.append(m_model->uidAt(row));
    }
    return uids;
}

QList<quint64> GroupView::selectedLightUids() const
{
    const QModelIndexList rows = inTreeOrder(selectionModel()->selectedRows());
    QList<quint64> uids;
    QSet<quint64> seen;
    for (const QModelIndex &row : rows) {
        const quint64 uid = m_model->uidAt(row);
        if (m_model->rowKind(row) == GroupTreeModel::RowKind::Member && !seen.contains(uid)) {
            seen.insert(uid);
            uids.append(uid);
        }
    }
    return uids;
}
