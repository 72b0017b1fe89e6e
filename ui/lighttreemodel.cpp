#include "ui/lighttreemodel.h"

#include "model/serialtext.h"
#include "devices/devicepresentation.h"
#include "devices/dmxaddress.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"

#include <QFont>
#include <QIcon>

#include <algorithm>

namespace {

const QIcon &supplyIcon()
{
    static const QIcon icon(QStringLiteral(":/images/icons/interface.png"));
    return icon;
}

const QIcon &lightIcon()
{
    static const QIcon icon(QStringLiteral(":/images/icons/light.png"));
    return icon;
}

} // namespace

bool LightTreeModel::LightKey::operator<(const LightKey &other) const
{
    return std::tie(port, lightNumber, uid) < std::tie(other.port, other.lightNumber, other.uid);
}

bool LightTreeModel::LightKey::operator==(const LightKey &other) const
{
    return port == other.port && lightNumber == other.lightNumber && uid == other.uid;
}

LightTreeModel::LightTreeModel(MapModel &model, QObject *parent)
    : QAbstractItemModel(parent), m_model(model)
{
    m_placeOfLight.reserve(MapModel::kReservedEntries);
    connect(&model, &MapModel::newDataSupply, this, &LightTreeModel::handleNewDataSupply);
    connect(&model, &MapModel::updatedDataSupply, this, &LightTreeModel::handleUpdatedDataSupply);
    connect(&model, &MapModel::newLight, this, &LightTreeModel::handleNewLight);
    connect(&model, &MapModel::updatedLight, this, &LightTreeModel::handleUpdatedLight);
    connect(&model, &MapModel::updatedLightProperty, this,
            &LightTreeModel::handleUpdatedLightProperty);
    connect(&model, &MapModel::updatedLightProperties, this,
            &LightTreeModel::handleUpdatedLightProperty);
    connect(&model, &MapModel::deletedLight, this, &LightTreeModel::handleDeletedLight);
    connect(&model, &MapModel::clearedMap, this, &LightTreeModel::handleClearedMap);

    // Show what the model already holds.
    for (const DataSupply *supply : model.dataSupplies())
        handleNewDataSupply(supply->uid());
    for (const Light *light : model.lights())
        handleNewLight(light->uid());
}

LightTreeModel::~LightTreeModel() = default;

QModelIndex LightTreeModel::index(int row, int column, const QModelIndex &parent) const
{
    if (row < 0 || column < 0 || column >= ColumnCount)
        return {};
    if (!parent.isValid()) {
        if (row >= static_cast<int>(m_supplies.size()))
            return {};
        return createIndex(row, column, nullptr);
    }
    if (parent.internalPointer() || parent.row() >= static_cast<int>(m_supplies.size()))
        return {};
    SupplyNode *node = m_supplies[static_cast<size_t>(parent.row())].get();
    if (row >= node->lights.size())
        return {};
    return createIndex(row, column, node);
}

QModelIndex LightTreeModel::parent(const QModelIndex &child) const
{
    const auto *node = static_cast<const SupplyNode *>(child.internalPointer());
    if (!child.isValid() || !node)
        return {};
    return createIndex(node->row, 0, nullptr);
}

int LightTreeModel::rowCount(const QModelIndex &parent) const
{
    if (!parent.isValid())
        return static_cast<int>(m_supplies.size());
    if (parent.column() != 0 || parent.internalPointer())
        return 0;
    return m_supplies[static_cast<size_t>(parent.row())]->lights.size();
}

int LightTreeModel::columnCount(const QModelIndex &) const
{
    return ColumnCount;
}

LightTreeModel::RowKind LightTreeModel::rowKind(const QModelIndex &index) const
{
    if (!index.isValid() || index.model() != this)
        return RowKind::None;
    if (index.internalPointer())
        return RowKind::Light;
    return m_supplies[static_cast<size_t>(index.row())].get() == m_unassigned ? RowKind::Unassigned
                                                                              : RowKind::DataSupply;
}

quint64 LightTreeModel::uidAt(const QModelIndex &index) const
{
    switch (rowKind(index)) {
    case RowKind::Light:
        return static_cast<const SupplyNode *>(index.internalPointer())->lights.at(index.row()).uid;
    case RowKind::DataSupply:
        return m_supplies[static_cast<size_t>(index.row())]->uid;
    case RowKind::Unassigned:
    case RowKind::None:
        break;
    }
    return 0;
}

QModelIndex LightTreeModel::indexForLight(quint64 uid, int column) const
{
    const auto it = m_placeOfLight.constFind(uid);
    if (it == m_placeOfLight.cend())
        return {};
    return createIndex(rowOf(*it), column, it->node);
}

QModelIndex LightTreeModel::indexForDataSupply(quint64 uid, int column) const
{
    const SupplyNode *node = m_supplyNodes.value(uid);
    return node ? nodeIndex(node, column) : QModelIndex();
}

QVariant LightTreeModel::data(const QModelIndex &index, int role) const
{
    switch (rowKind(index)) {
    case RowKind::Light:
        return lightData(uidAt(index), index.column(), role);
    case RowKind::DataSupply:
    case RowKind::Unassigned:
        return supplyData(*m_supplies[static_cast<size_t>(index.row())], index.column(), role);
    case RowKind::None:
        break;
    }
    return {};
}

QVariant LightTreeModel::supplyData(const SupplyNode &node, int column, int role) const
{
    if (role == UidRole)
        return node.uid;
    if (&node == m_unassigned) {
        if (column == NameColumn && role == Qt::DisplayRole)
            return QStringLiteral("Lights without an interface");
        if (role == Qt::FontRole) {
            QFont font;
            font.setItalic(true);
            return font;
        }
        if (role == Qt::ToolTipRole)
            return QStringLiteral("Lights whose interface is not in this map");
        return {};
    }
    const DataSupply *supply = m_model.dataSupply(node.uid);
    if (!supply)
        return {};
    switch (role) {
    case Qt::DisplayRole:
        if (column == NameColumn)
            return supply->hasAddress() ? QStringLiteral("%1 (%2)").arg(
                                              supply->name(), supply->ipAddress().toString())
                                        : supply->name();
        if (column == SerialColumn)
            return serialText(supply->serialNumber());
        return {};
    case Qt::EditRole:
        return column == NameColumn ? QVariant(supply->name()) : QVariant();
    case Qt::DecorationRole:
        return column == NameColumn ? QVariant(supplyIcon()) : QVariant();
    case Qt::ToolTipRole: {
        QStringList lines{supplyTypeText(supply->type())};
        lines << (supply->hasAddress()
                      ? QStringLiteral("IP address: ") + supply->ipAddress().toString()
                      : QStringLiteral("No IP address"));
        lines << QStringLiteral("MAC address: ") + supply->macAddress();
        lines << QStringLiteral("Ports: %1").arg(supply->portCount());
        if (!supply->versionString().isEmpty())
            lines << QStringLiteral("Firmware: ") + supply->versionString();
        lines << QStringLiteral("Lights: %1").arg(node.lights.size());
        return lines.join(QLatin1Char('\n'));
    }
    default:
        return {};
    }
}

QVariant LightTreeModel::lightData(quint64 uid, int column, int role) const
{
    if (role == UidRole)
        return uid;
    const Light *light = m_model.light(uid);
    if (!light)
        return {};
    switch (role) {
    case Qt::DisplayRole:
        switch (column) {
        case NameColumn:
            return light->name();
        case SerialColumn:
            return serialText(light->serialNumber());
        case PortColumn:
            // Lights count their port from 0; installers count from 1, as the labels do.
            return QString::number(static_cast<qulonglong>(light->portNumber()) + 1);
        case DmxAddressColumn:
            return dmxAddressText(light->deviceProperty(QStringLiteral("DMX_OFFSET")));
        }
        return {};
    case Qt::EditRole:
        return column == NameColumn ? QVariant(light->name()) : QVariant();
    case Qt::DecorationRole:
        return column == NameColumn ? QVariant(lightIcon()) : QVariant();
    case Qt::TextAlignmentRole:
        if (column == PortColumn || column == DmxAddressColumn)
            return static_cast<int>(Qt::AlignRight | Qt::AlignVCenter);
        return {};
    case Qt::ToolTipRole: {
        QStringList lines{light->name()};
        lines << QStringLiteral("Light %1 on port %2")
                     .arg(light->lightNumber() + 1)
                     .arg(static_cast<qulonglong>(light->portNumber()) + 1);
        const QString chemistry = light->deviceProperty(QStringLiteral("LED_CHEMISTRY"));
        if (!chemistry.isEmpty())
            lines << QStringLiteral("LED chemistry: ") + chemistry;
        lines << QStringLiteral("Position: %1, %2").arg(light->x()).arg(light->y());
        return lines.join(QLatin1Char('\n'));
    }
    default:
        return {};
    }
}

bool LightTreeModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    const QString name = value.toString().trimmed();
    if (role != Qt::EditRole || index.column() != NameColumn || name.isEmpty())
        return false;
    const quint64 uid = uidAt(index);
    switch (rowKind(index)) {
    case RowKind::Light:
        if (Light *light = m_model.light(uid); light && light->name() != name) {
            light->setName(name);
            emit setDirty(true);
            return true;
        }
        return false;
    case RowKind::DataSupply:
        if (DataSupply *supply = m_model.dataSupply(uid); supply && supply->name() != name) {
            supply->setName(name);
            emit setDirty(true);
            return true;
        }
        return false;
    case RowKind::Unassigned:
    case RowKind::None:
        break;
    }
    return false;
}

QVariant LightTreeModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    // Short titles keep the name column wide in a narrow pane; the tool tips spell them out.
    static const char *const titles[ColumnCount] = {"Name", "Serial", "Port", "DMX"};
    static const char *const tips[ColumnCount] = {
        "Name of the interface or light", "Serial number of the device",
        "Output port of the interface that drives the light",
        "DMX address: the light's first channel (blank when not read from the light)"};
    if (section < 0 || section >= ColumnCount)
        return {};
    if (role == Qt::DisplayRole)
        return QString::fromLatin1(titles[section]);
    if (role == Qt::ToolTipRole)
        return QString::fromLatin1(tips[section]);
    return {};
}

Qt::ItemFlags LightTreeModel::flags(const QModelIndex &index) const
{
    const RowKind kind = rowKind(index);
    if (kind == RowKind::None)
        return Qt::NoItemFlags;
    Qt::ItemFlags result = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (kind == RowKind::Light)
        result |= Qt::ItemNeverHasChildren;
    if (index.column() == NameColumn && (kind == RowKind::Light || kind == RowKind::DataSupply))
        result |= Qt::ItemIsEditable;
    return result;
}

void LightTreeModel::refreshAll()
{
    for (const auto &node : m_supplies) {
        const QModelIndex parent = nodeIndex(node.get());
        emit dataChanged(parent, nodeIndex(node.get(), ColumnCount - 1));
        if (!node->lights.isEmpty())
            emit dataChanged(index(0, 0, parent),
                             index(node->lights.size() - 1, ColumnCount - 1, parent));
    }
}

QString LightTreeModel::serialText(quint64 serial)
{
    return SerialText::ofKnown(serial);
}

QString LightTreeModel::dmxAddressText(const QString &dmxOffset)
{
    // Devices store the 0-based offset; the address people set on a desk starts at 1.
    const int address = DmxAddress::addressFromText(dmxOffset);
    return address > 0 ? QString::number(address) : QString();
}

QString LightTreeModel::supplyTypeText(unsigned int type)
{
    return DevicePresentation::interfaceTypeText(type);
}

void LightTreeModel::handleNewDataSupply(quint64 uid)
{
    if (m_supplyNodes.contains(uid) || !m_model.dataSupply(uid))
        return;
    const int row = m_unassigned ? m_unassigned->row : static_cast<int>(m_supplies.size());
    beginInsertRows({}, row, row);
    auto node = std::make_unique<SupplyNode>();
    node->uid = uid;
    SupplyNode *raw = node.get();
    m_supplies.insert(m_supplies.begin() + row, std::move(node));
    m_supplyNodes.insert(uid, raw);
    renumberSupplies();
    endInsertRows();
    adoptUnassignedLights(raw);
}

void LightTreeModel::removeSupplyNode(quint64 uid)
{
    SupplyNode *node = m_supplyNodes.value(uid);
    if (!node)
        return;
    // Lights left behind belong to no supply now.
    while (!node->lights.isEmpty()) {
        const LightKey key = node->lights.constLast();
        moveLight(key.uid, ensureUnassignedNode(), key);
    }
    const int row = node->row;
    beginRemoveRows({}, row, row);
    m_supplyNodes.remove(uid);
    m_supplies.erase(m_supplies.begin() + row);
    renumberSupplies();
    endRemoveRows();
}

void LightTreeModel::handleUpdatedDataSupply(quint64 uid)
{
    // A supply the model no longer holds was taken out of the map.
    if (!m_model.dataSupply(uid)) {
        removeSupplyNode(uid);
        return;
    }
    if (const SupplyNode *node = m_supplyNodes.value(uid))
        emit dataChanged(nodeIndex(node), nodeIndex(node, ColumnCount - 1));
}

void LightTreeModel::handleNewLight(quint64 uid)
{
    if (m_placeOfLight.contains(uid)) {
        handleUpdatedLight(uid);
        return;
    }
    const Light *light = m_model.light(uid);
    if (!light)
        return;
    SupplyNode *node = nodeFor(light->dataSupply());
    insertLight(uid, node, {light->portNumber(), light->lightNumber(), uid});
}

void LightTreeModel::handleUpdatedLight(quint64 uid)
{
    const auto it = m_placeOfLight.constFind(uid);
    const Light *light = m_model.light(uid);
    if (it == m_placeOfLight.cend() || !light) {
        if (light)
            handleNewLight(uid);
        return;
    }
    const LightKey key{light->portNumber(), light->lightNumber(), uid};
    SupplyNode *target = nodeFor(light->dataSupply());
    if (target == it->node && key == it->key) {
        const int row = rowOf(*it);
        emit dataChanged(createIndex(row, 0, it->node),
                         createIndex(row, ColumnCount - 1, it->node));
        return;
    }
    moveLight(uid, target, key);
}

void LightTreeModel::handleUpdatedLightProperty(quint64 uid)
{
    const auto it = m_placeOfLight.constFind(uid);
    if (it == m_placeOfLight.cend())
        return;
    const int row = rowOf(*it);
    emit dataChanged(createIndex(row, 0, it->node), createIndex(row, ColumnCount - 1, it->node));
}

void LightTreeModel::handleDeletedLight(quint64 uid)
{
    const auto it = m_placeOfLight.find(uid);
    if (it == m_placeOfLight.end())
        return;
    SupplyNode *node = it->node;
    const int row = rowOf(*it);
    beginRemoveRows(nodeIndex(node), row, row);
    node->lights.remove(row);
    m_placeOfLight.erase(it);
    endRemoveRows();
    if (node == m_unassigned)
        dropUnassignedNodeIfEmpty();
}

void LightTreeModel::handleClearedMap()
{
    beginResetModel();
    m_supplies.clear();
    m_supplyNodes.clear();
    m_unassigned = nullptr;
    m_placeOfLight.clear();
    m_placeOfLight.reserve(MapModel::kReservedEntries);
    endResetModel();
}

LightTreeModel::SupplyNode *LightTreeModel::nodeFor(quint64 supplyUid)
{
    if (SupplyNode *node = m_supplyNodes.value(supplyUid))
        return node;
    return ensureUnassignedNode();
}

LightTreeModel::SupplyNode *LightTreeModel::ensureUnassignedNode()
{
    if (m_unassigned)
        return m_unassigned;
    const int row = static_cast<int>(m_supplies.size());
    beginInsertRows({}, row, row);
    m_supplies.push_back(std::make_unique<SupplyNode>());
    m_unassigned = m_supplies.back().get();
    m_unassigned->row = row;
    endInsertRows();
    return m_unassigned;
}

void LightTreeModel::dropUnassignedNodeIfEmpty()
{
    if (!m_unassigned || !m_unassigned->lights.isEmpty())
        return;
    const int row = m_unassigned->row;
    beginRemoveRows({}, row, row);
    m_supplies.erase(m_supplies.begin() + row);
    m_unassigned = nullptr;
    endRemoveRows();
}

QModelIndex LightTreeModel::nodeIndex(const SupplyNode *node, int column) const
{
    return createIndex(node->row, column, nullptr);
}

int LightTreeModel::rowOf(const LightPlace &place) const
{
    const QVector<LightKey> &lights = place.node->lights;
    const auto it = std::lower_bound(lights.cbegin(), lights.cend(), place.key);
    Q_ASSERT(it != lights.cend() && *it == place.key);
    return static_cast<int>(it - lights.cbegin());
}

void LightTreeModel::insertLight(quint64 uid, SupplyNode *node, const LightKey &key)
{
    QVector<LightKey> &lights = node->lights;
    const int row =
        static_cast<int>(std::lower_bound(lights.cbegin(), lights.cend(), key) - lights.cbegin());
    beginInsertRows(nodeIndex(node), row, row);
    lights.insert(row, key);
    m_placeOfLight.insert(uid, {node, key});
    endInsertRows();
}

void LightTreeModel::moveLight(quint64 uid, SupplyNode *target, const LightKey &key)
{
    LightPlace &place = m_placeOfLight[uid];
    SupplyNode *source = place.node;
    const int from = rowOf(place);
    QVector<LightKey> &targetLights = target->lights;
    int to = static_cast<int>(std::lower_bound(targetLights.cbegin(), targetLights.cend(), key) -
                              targetLights.cbegin());
    int destination = to;
    if (source == target) {
        // Row numbers of beginMoveRows count the moving row; the vector position does not.
        if (to > from)
            --to;
        destination = to > from ? to + 1 : to;
    }
    if (source == target && to == from) {
        source->lights[from] = key;
    } else {
        beginMoveRows(nodeIndex(source), from, from, nodeIndex(target), destination);
        source->lights.remove(from);
        target->lights.insert(to, key);
        endMoveRows();
    }
    place = {target, key};
    emit dataChanged(createIndex(to, 0, target), createIndex(to, ColumnCount - 1, target));
    if (source == m_unassigned)
        dropUnassignedNodeIfEmpty();
}

void LightTreeModel::adoptUnassignedLights(SupplyNode *node)
{
    if (!m_unassigned)
        return;
    QList<quint64> adopted;
    for (const LightKey &key : qAsConst(m_unassigned->lights)) {
        const Light *light = m_model.light(key.uid);
        if (light && light->dataSupply() == node->uid)
            adopted.append(key.uid);
    }
    for (quint64 uid : qAsConst(adopted)) {
        if (m_unassigned)
            moveLight(uid, node, m_placeOfLight.value(uid).key);
    }
}

void LightTreeModel::renumberSupplies()
{
    for (size_t row = 0; row < m_supplies.size(); ++row)
        m_supplies[row]->row = static_cast<int>(row);
}
