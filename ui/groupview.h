#pragma once

#include <QTreeView>

class GroupTreeModel;
class QAction;
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

    // Shows a selection made elsewhere: the member rows of these lights selected, in every
    // group that holds them.
    void showSelectedLights(const QList<quint64> &uids);

    // "Highlight as Chase": runs a chase through the group under the context menu.
    QAction *highlightAction() const { return m_highlightAction; }
    QAction *editGroupAction() const { return m_editGroupAction; }

signals:
    void setDirty(bool dirty);
    void updatedSelection();
    void highlightGroupRequested(quint64 uid);
    // "Edit Group...": the Group Editor on the group under the context menu.
    void editGroupRequested(quint64 uid);

protected:
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    GroupTreeModel *m_model;
    QAction *m_editGroupAction = nullptr;
    QAction *m_highlightAction = nullptr;
    quint64 m_menuGroup = 0;
};
