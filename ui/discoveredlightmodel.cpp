#include "ui/discoveredlightmodel.h"

#include "model/serialtext.h"
#include "devices/devicedictionary.h"
#include "discovery/discoveredmap.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"

#include <QBrush>
#include <QColor>

#include <algorithm>

namespace {

constexpr quint64 kClassicSerialLimit = 0xFFFFFFFFULL;

} // namespace

DiscoveredLightModel::DiscoveredLightModel(const MapModel &map, QObject *parent)
    : QAbstractTableModel(parent), m_map(map)
{
}

QString DiscoveredLightModel::serialText(quint64 serial)
{
    return SerialText::of(serial);
}

QString DiscoveredLightModel::stateText(LightDataReader::State state)
{
    switch (state) {
    case LightDataReader::State::Waiting:
        return tr("Waiting");
    case LightDataReader::State::Reading:
        return tr("Reading...");
    case LightDataReader::State::Read:
        return tr("Read");
    case LightDataReader::State::NoAnswer:
        return tr("No answer");
    case LightDataReader::State::Incomplete:
        return tr("No DMX address");
    }
    return {};
}

void DiscoveredLightModel::clear()
{
    beginResetModel();
    m_rows.clear();
    m_rowOfUid.clear();
    m_serialsInMap.clear();
    for (const Light *light : m_map.lights())
        m_serialsInMap.insert(light->serialNumber());
    endResetModel();
    emit checkedCountChanged(0);
}

void DiscoveredLightModel::addLight(Light *light)
{
    addLights({light});
}

void DiscoveredLightModel::addLights(const QList<Light *> &lights)
{
    QVector<Row> added;
    for (Light *light : lights) {
        if (!light || m_rowOfUid.contains(light->uid()))
            continue;
        Row row;
        row.light = light;
        row.uid = light->uid();
        row.inMap = m_serialsInMap.contains(light->serialNumber());
        row.checked = !row.inMap;
        added << row;
    }
    if (added.isEmpty())
        return;
    beginInsertRows({}, m_rows.size(), m_rows.size() + added.size() - 1);
    for (const Row &row : qAsConst(added)) {
        m_rowOfUid.insert(row.uid, m_rows.size());
        m_rows << row;
    }
    endInsertRows();
    emit checkedCountChanged(checkedCount());
}

void DiscoveredLightModel::setReadState(quint64 lightUid, LightDataReader::State state)
{
    const int row = rowOfLight(lightUid);
    if (row < 0)
        return;
    m_rows[row].hasState = true;
    m_rows[row].state = state;
    emit dataChanged(index(row, Status), index(row, DmxAddress));
}

void DiscoveredLightModel::refresh()
{
    if (!m_rows.isEmpty())
        emit dataChanged(index(0, 0), index(m_rows.size() - 1, ColumnCount - 1));
}

void DiscoveredLightModel::setAllChecked(bool checked)
{
    for (Row &row : m_rows)
        row.checked = checked && !row.inMap;
    if (!m_rows.isEmpty())
        emit dataChanged(index(0, Serial), index(m_rows.size() - 1, Serial), {Qt::CheckStateRole});
    emit checkedCountChanged(checkedCount());
}

QList<Light *> DiscoveredLightModel::checkedLights() const
{
    QList<Light *> list;
    for (const Row &row : m_rows) {
        if (row.checked && row.light && !row.inMap)
            list << row.light.data();
    }
    return list;
}

QList<Light *> DiscoveredLightModel::lights() const
{
    QList<Light *> list;
    for (const Row &row : m_rows) {
        if (row.light)
            list << row.light.data();
    }
    return list;
}

int DiscoveredLightModel::checkedCount() const
{
    return int(std::count_if(m_rows.cbegin(), m_rows.cend(),
                             [](const Row &row) { return row.checked && !row.inMap; }));
}

int DiscoveredLightModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_rows.size();
}

int DiscoveredLightModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QString DiscoveredLightModel::deviceText(const Light &light) const
{
    // RDM devices name themselves once read; classic ones are known by their serial range.
    const QString model = light.deviceProperty(QStringLiteral("RDM_DEVICE_MODEL_DESCRIPTION"));
    if (!model.isEmpty())
        return model;
    return DeviceDictionary::instance()->deviceNameForSerial(light.serialNumber());
}

QVariant DiscoveredLightModel::displayText(const Row &row, int column) const
{
    const Light &light = *row.light;
    switch (column) {
    case Serial:
        return serialText(light.serialNumber());
    case Interface: {
        const DataSupply *supply = m_map.dataSupply(light.dataSupply());
        return supply ? supply->name() : tr("(unknown)");
    }
    case Port:
        return light.portNumber() + 1;
    case Device:
        return deviceText(light);
    case Kind:
        return light.serialNumber() > kClassicSerialLimit ? tr("RDM") : tr("Classic");
    case Status:
        if (row.inMap)
            return tr("In map");
        return row.hasState ? stateText(row.state) : tr("New");
    case DmxAddress: {
        const int address = dmxAddressOf(light);
        return address > 0 ? QVariant(address) : QVariant(QStringLiteral("-"));
    }
    default:
        return {};
    }
}

QVariant DiscoveredLightModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const Row &row = m_rows.at(index.row());
    if (!row.light)
        return role == Qt::DisplayRole && index.column() == Serial ? tr("(gone)") : QVariant();
    if (role == Qt::DisplayRole)
        return displayText(row, index.column());
    if (role == Qt::CheckStateRole && index.column() == Serial && m_checkable)
        return row.inMap ? Qt::Unchecked : (row.checked ? Qt::Checked : Qt::Unchecked);
    if (role == Qt::ForegroundRole && index.column() == Status) {
        if (row.inMap)
            return QBrush(QColor(0x60, 0x60, 0x60));
        if (row.hasState && (row.state == LightDataReader::State::NoAnswer ||
                             row.state == LightDataReader::State::Incomplete))
            return QBrush(QColor(0xB0, 0x20, 0x20));
        if (row.hasState && row.state == LightDataReader::State::Read)
            return QBrush(QColor(0x20, 0x80, 0x30));
    }
    if (role == Qt::TextAlignmentRole && (index.column() == Port || index.column() == DmxAddress))
        return int(Qt::AlignRight | Qt::AlignVCenter);
    return {};
}

QVariant DiscoveredLightModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case Serial:
        return tr("Serial");
    case Interface:
        return tr("Interface");
    case Port:
        return tr("Port");
    case Device:
        return tr("Device");
    case Kind:
        return tr("Kind");
    case Status:
        return tr("Status");
    case DmxAddress:
        return tr("DMX Address");
    default:
        return {};
    }
}

Qt::ItemFlags DiscoveredLightModel::flags(const QModelIndex &index) const
{
    Qt::ItemFlags result = QAbstractTableModel::flags(index);
    if (!index.isValid() || index.column() != Serial || !m_checkable)
        return result;
    if (m_rows.value(index.row()).inMap)
        return result & ~Qt::ItemIsEnabled;
    return result | Qt::ItemIsUserCheckable;
}

bool DiscoveredLightModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (!index.isValid() || role != Qt::CheckStateRole || index.column() != Serial ||
        !m_checkable || index.row() >= m_rows.size() || m_rows.at(index.row()).inMap)
        return false;
    m_rows[index.row()].checked = value.toInt() == Qt::Checked;
    emit dataChanged(index, index, {Qt::CheckStateRole});
    emit checkedCountChanged(checkedCount());
    return true;
}
