#pragma once

#include <QTreeView>

class LightTreeModel;
class QAction;
class MapModel;

// The "Lights/Interfaces" pane: supplies and their lights. Names can be edited in place
// (F2 or a click on a selected name). The selection is offered by uid so that the live
// highlight and the editors can follow it.
class LightView final : public QTreeView
{
    Q_OBJECT
public:
    // Below this many lights a newly filled supply is shown expanded.
    static constexpr int kAutoExpandLightCount = 1000;

    explicit LightView(MapModel &model, QWidget *parent = nullptr);

    LightTreeModel *lightModel() const { return m_model; }
    // Selected light rows and supply rows, in the order they are shown.
    QList<quint64> selectedLightUids() const;
    QList<quint64> selectedDataSupplyUids() const;
    // Selects the supply's row alone and scrolls to it.
    void selectDataSupply(quint64 uid);
    // Shows a selection made elsewhere: exactly these lights' rows selected.
    void showSelectedLights(const QList<quint64> &uids);

    // "Edit Interface...": asks to edit the current supply row; enabled only on one.
    QAction *editInterfaceAction() const { return m_editInterfaceAction; }
    QAction *editLightsAction() const { return m_editLightsAction; }

    QList<int> columnWidths() const;
    void setColumnWidths(const QList<int> &widths);

signals:
    void setDirty(bool dirty);
    void updatedSelection();
    // The user asked for the Interface Editor on a supply (double-click or context menu).
    void editDataSupplyRequested(quint64 uid);
    // "Edit Light(s)..." on the selected lights' rows.
    void editLightsRequested(const QList<quint64> &lightUids);

protected:
    void contextMenuEvent(QContextMenuEvent *event) override;

private:
    void handleRowsInserted(const QModelIndex &parent, int first, int last);
    void handleDoubleClicked(const QModelIndex &index);
    void handleEditInterfaceAction();
    void updateEditInterfaceAction();
    bool isSupplyRow(const QModelIndex &index) const;

    LightTreeModel *m_model;
    QAction *m_editLightsAction = nullptr;
    QAction *m_editInterfaceAction = nullptr;
};
