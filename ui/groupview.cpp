#include "ui/groupview.h"

#include "ui/grouptreemodel.h"
#include "ui/maptreeview.h"

#include <QHeaderView>

#include <QSet>

#include <algorithm>
#include <utility>

GroupView::GroupView(MapModel &model, QWidget *parent)
    : QTreeView(parent), m_model(new GroupTreeModel(model, this))
{
    setObjectName(QStringLiteral("m_groupView"));
    setModel(m_model);
    MapTreeView::configure(*this);
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
    const QModelIndexList rows = MapTreeView::inTreeOrder(selectionModel()->selectedRows());
    QList<quint64> uids;
    for (const QModelIndex &row : rows) {
        if (m_model->rowKind(row) == GroupTreeModel::RowKind::Group)
            uids.append(m_model->uidAt(row));
    }
    return uids;
}

QList<quint64> GroupView::selectedLightUids() const
{
    const QModelIndexList rows = MapTreeView::inTreeOrder(selectionModel()->selectedRows());
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
