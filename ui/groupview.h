#pragma once

#include <QTreeView>

class GroupTreeModel;
class MapModel;

// The "Groups" pane: the map's groups and their member lights. Group names can be edited in
// place. The selection is offered by uid for the live highlight and the group editor.
class GroupView final : public QTreeView
{
    Q_OBJECT
public:
    explicit GroupView(MapModel &model, QWidget *parent = nullptr);

    GroupTreeModel *groupModel() const { return m_model; }
    // Selected group rows, and selected member rows (a light in two selected rows counts once).
    QList<quint64> selectedGroupUids() const;
    QList<quint64> selectedLightUids() const;

signals:
    void setDirty(bool dirty);
    void updatedSelection();

private:
    GroupTreeModel *m_model;
};
