#pragma once

#include "discovery/lightdatareader.h"

#include <QAbstractTableModel>
#include <QHash>
#include <QPointer>
#include <QSet>
#include <QVector>

class Light;
class MapModel;

// The lights a discovery run found, one row each, for the pages of the light wizard: which
// supply and port they hang on, what kind of device their serial says they are, whether the
// map holds them already, whether they are chosen, and how reading their data went.
// Installations have thousands of lights, so this is a table model rather than widget items.
class DiscoveredLightModel final : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { Serial, Interface, Port, Device, Kind, Status, DmxAddress, ColumnCount };

    explicit DiscoveredLightModel(const MapModel &map, QObject *parent = nullptr);

    // Whether the first column carries a check box for choosing lights.
    void setCheckable(bool checkable) { m_checkable = checkable; }

    void clear();
    // Lights the map holds (same serial) are marked and start unchecked.
    void addLight(Light *light);
    void addLights(const QList<Light *> &lights);
    void setReadState(quint64 lightUid, LightDataReader::State state);
    // Re-reads what the rows show from their lights (DMX addresses after reading).
    void refresh();

    bool isInMap(int row) const { return m_rows.value(row).inMap; }
    void setAllChecked(bool checked);
    QList<Light *> checkedLights() const;
    QList<Light *> lights() const;
    int checkedCount() const;
    int rowOfLight(quint64 lightUid) const { return m_rowOfUid.value(lightUid, -1); }
    Light *lightAt(int row) const { return m_rows.value(row).light; }

    static QString stateText(LightDataReader::State state);
    static QString serialText(quint64 serial);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;

signals:
    void checkedCountChanged(int count);

private:
    struct Row
    {
        QPointer<Light> light;
        quint64 uid = 0;
        bool inMap = false;
        bool checked = true;
        bool hasState = false;
        LightDataReader::State state = LightDataReader::State::Waiting;
    };

    QVariant displayText(const Row &row, int column) const;
    QString deviceText(const Light &light) const;

    const MapModel &m_map;
    bool m_checkable = false;
    QVector<Row> m_rows;
    QHash<quint64, int> m_rowOfUid;
    QSet<quint64> m_serialsInMap;
};
