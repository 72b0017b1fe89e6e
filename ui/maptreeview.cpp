#include "ui/maptreeview.h"

#include <QHeaderView>
#include <QTreeView>

#include <algorithm>
#include <utility>

namespace MapTreeView {

void configure(QTreeView &view)
{
    // Every row has the same height: lets the view lay out 15,000 rows without measuring each.
    view.setUniformRowHeights(true);
    view.setSelectionMode(QAbstractItemView::ExtendedSelection);
    view.setSelectionBehavior(QAbstractItemView::SelectRows);
    view.setEditTriggers(QAbstractItemView::EditKeyPressed | QAbstractItemView::SelectedClicked);
    view.setAlternatingRowColors(true);
    view.setAllColumnsShowFocus(true);
    view.header()->setStretchLastSection(false);
}

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

} // namespace MapTreeView
