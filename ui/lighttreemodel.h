#pragma once

#include <QAbstractItemModel>
#include <QHash>
#include <QVector>

#include <memory>
#include <vector>

class MapModel;

// The "Lights/Interfaces" pane as an item model: one top-level row per data supply, its
// lights below in port and chain order. Lights whose supply is not in the map are collected
// under a last row that exists only while it has lights.
//
// Rows follow the model's signals one change at a time (insert, move, remove, data changed),
// so installations of 15,000 lights stay responsive and the view keeps its expansion and
// selection across edits. Rows carry uids only; texts are read from the model when asked.
class LightTreeModel final : public QAbstractItemModel
{
    Q_OBJECT
public:
    enum Column { NameColumn, SerialColumn, PortColumn, DmxAddressColumn, ColumnCount };
    enum class RowKind { None, DataSupply, Light, Unassigned };
    // The uid of the supply or light a row shows (qulonglong); 0 for the unassigned row.
    static constexpr int UidRole = Qt::UserRole + 1;

    explicit LightTreeModel(MapModel &model, QObject *parent = nullptr);
    ~LightTreeModel() override;

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
    quint64 uidAt(const QModelIndex &index) const;
    QModelIndex indexForLight(quint64 uid, int column = NameColumn) const;
    QModelIndex indexForDataSupply(quint64 uid, int column = NameColumn) const;
    int lightRowCount() const { return m_placeOfLight.size(); }

    // Re-reads every row (after the device properties of the map were recompiled).
    void refreshAll();

    // Display texts shared with other views.
    static QString serialText(quint64 serial);
    static QString dmxAddressText(const QString &dmxOffset);
    static QString supplyTypeText(unsigned int type);

signals:
    // The user renamed a supply or a light here.
    void setDirty(bool dirty);

private:
    struct LightKey
    {
        unsigned int port = 0;
        int lightNumber = 0;
        quint64 uid = 0;
        bool operator<(const LightKey &other) const;
        bool operator==(const LightKey &other) const;
    };
    struct SupplyNode
    {
        quint64 uid = 0; // 0 for the unassigned node
        int row = 0;
        QVector<LightKey> lights; // sorted
    };
    struct LightPlace
    {
        SupplyNode *node = nullptr;
        LightKey key;
    };

    void handleNewDataSupply(quint64 uid);
    void removeSupplyNode(quint64 uid);
    void handleUpdatedDataSupply(quint64 uid);
    void handleNewLight(quint64 uid);
    void handleUpdatedLight(quint64 uid);
    void handleUpdatedLightProperty(quint64 uid);
    void handleDeletedLight(quint64 uid);
    void handleClearedMap();

    SupplyNode *nodeFor(quint64 supplyUid);
    SupplyNode *ensureUnassignedNode();
    void dropUnassignedNodeIfEmpty();
    QModelIndex nodeIndex(const SupplyNode *node, int column = NameColumn) const;
    int rowOf(const LightPlace &place) const;
    void insertLight(quint64 uid, SupplyNode *node, const LightKey &key);
    void moveLight(quint64 uid, SupplyNode *target, const LightKey &key);
    void adoptUnassignedLights(SupplyNode *node);
    void renumberSupplies();

    QVariant supplyData(const SupplyNode &node, int column, int role) const;
    QVariant lightData(quint64 uid, int column, int role) const;

    MapModel &m_model;
    std::vector<std::unique_ptr<SupplyNode>> m_supplies; // row order; unassigned last
    QHash<quint64, SupplyNode *> m_supplyNodes;
    SupplyNode *m_unassigned = nullptr;
    QHash<quint64, LightPlace> m_placeOfLight;
};
