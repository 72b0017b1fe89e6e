#pragma once

#include <QHash>
#include <QList>
#include <QTreeWidget>

class DeviceDictionary;
class MapModel;
class QTimer;

// The map's lights listed by the kind of device their serial number identifies: one
// top-level item per kind, one child per light with its label, its channel counted from 1
// and the name of its supply. Lights of unknown kind are listed as "Vela Fixture".
//
// The tree follows the model. Changes come by the thousand while a map loads, so the tree
// is rebuilt at most once per turn of the event loop; a light that keeps its kind is
// updated in place. A selected kind stands for all of its lights.
class DeviceView final : public QTreeWidget
{
    Q_OBJECT
public:
    enum Column { LabelColumn, ChannelColumn, SupplyColumn, ColumnCount };
    // The light uid of a child item (qulonglong); kinds hold none.
    static constexpr int UidRole = Qt::UserRole + 1;
    // Below this many lights the kinds are shown expanded.
    static constexpr int kAutoExpandLightCount = 1000;

    // Uses the program's device dictionary.
    explicit DeviceView(MapModel &model, QWidget *parent = nullptr);
    DeviceView(MapModel &model, const DeviceDictionary &dictionary, QWidget *parent = nullptr);

    // The kind item for a device name, or null.
    QTreeWidgetItem *kindItem(const QString &name) const { return m_kinds.value(name); }
    QTreeWidgetItem *lightItem(quint64 uid) const { return m_lightItems.value(uid); }
    // Lights of the selected children and of the selected kinds, each once, in tree order.
    QList<quint64> selectedLightUids() const;
    // True while a rebuild is waiting for the event loop or for the view to be shown.
    bool isRebuildPending() const;
    // A view in a tab that is not shown leaves its rebuild until it is shown: sorting
    // tens of thousands of rows nobody looks at would hold up the window after every
    // creation or deletion.
    void setRebuildOnlyWhenShown(bool onlyWhenShown);

public slots:
    // Rebuilds the tree from the map's lights now.
    void rebuild();
    void handleDeviceSelectionChanged();

signals:
    void updatedSelection(const QList<quint64> &lightUids);

protected:
    void showEvent(QShowEvent *event) override;

private:
    void scheduleRebuild();
    void handleUpdatedLight(quint64 uid);
    void handleUpdatedDataSupply(quint64 uid);
    void fillLightItem(QTreeWidgetItem *item, quint64 uid) const;
    QString kindOf(quint64 lightUid) const;

    MapModel &m_model;
    const DeviceDictionary &m_dictionary;
    QTimer *m_rebuildTimer = nullptr;
    bool m_rebuildOnlyWhenShown = false;
    bool m_staleWhileHidden = false;
    QHash<QString, QTreeWidgetItem *> m_kinds;
    QHash<quint64, QTreeWidgetItem *> m_lightItems;
};
