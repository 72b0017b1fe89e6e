#include "ui/groupview.h"

#include "ui/grouptreemodel.h"
#include "ui/maptreeview.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QMenu>

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

    m_editGroupAction = new QAction(QStringLiteral("Edit Group..."), this);
    m_editGroupAction->setObjectName(QStringLiteral("editGroupAction"));
    connect(m_editGroupAction, &QAction::triggered, this,
            [this] { emit editGroupRequested(m_menuGroup); });
    m_highlightAction = new QAction(QStringLiteral("Highlight as Chase"), this);
    m_highlightAction->setObjectName(QStringLiteral("highlightGroupAction"));
    m_highlightAction->setToolTip(
        QStringLiteral("Light the group's members one after the other, in the group's order"));
    connect(m_highlightAction, &QAction::triggered, this,
            [this] { emit highlightGroupRequested(m_menuGroup); });
}

void GroupView::showSelectedLights(const QList<quint64> &uids)
{
    const QSet<quint64> wanted(uids.cbegin(), uids.cend());
    QItemSelection selection;
    const int lastColumn = m_model->columnCount() - 1;
    for (int g = 0; g < m_model->rowCount(); ++g) {
        const QModelIndex group = m_model->index(g, 0);
        const int members = m_model->rowCount(group);
        // Runs of selected members as one range each.
        for (int m = 0; m < members;) {
            if (!wanted.contains(m_model->uidAt(m_model->index(m, 0, group)))) {
                ++m;
                continue;
            }
            int end = m;
            while (end + 1 < members &&
                   wanted.contains(m_model->uidAt(m_model->index(end + 1, 0, group))))
                ++end;
            selection.select(m_model->index(m, 0, group), m_model->index(end, lastColumn, group));
            m = end + 1;
        }
    }
    selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
}

void GroupView::contextMenuEvent(QContextMenuEvent *event)
{
    const QModelIndex index = indexAt(event->pos());
    if (!index.isValid() || m_model->rowKind(index) != GroupTreeModel::RowKind::Group)
        return;
    m_menuGroup = m_model->uidAt(index);
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(m_editGroupAction);
    menu->addAction(m_highlightAction);
    menu->popup(event->globalPos());
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
