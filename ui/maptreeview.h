#pragma once

#include <QModelIndexList>

class QTreeView;

// What the map's tree panes (lights, groups) have in common.
namespace MapTreeView {

// Many rows, selected as whole rows, names edited in place, the first column stretching.
void configure(QTreeView &view);

// Rows of a two-level tree in the order the view shows them.
QModelIndexList inTreeOrder(QModelIndexList rows);

} // namespace MapTreeView
