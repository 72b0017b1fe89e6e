#include "ui/supplylistmodel.h"

#include "model/serialtext.h"
#include "model/datasupply.h"

#include <QBrush>
#include <QColor>
#include <QFont>

SupplyListModel::SupplyListModel(QObject *parent) : QAbstractTableModel(parent)
{
}

QString SupplyListModel::serialText(quint64 serial)
{
    return SerialText::of(serial);
}

QString SupplyListModel::portsText(const DataSupply &supply)
{
    QStringList ports;
    bool numbered = false;
    for (const SupplyPort &port : supply.ports()) {
        ports << QString::number(port.number);
        numbered = numbered || port.number != 0;
    }
    // Supplies of the first generation have one port and report no number for it.
    if (!numbered)
        return QString::number(supply.portCount());
    return QStringLiteral("%1 (%2)").arg(supply.portCount()).arg(ports.join(QStringLiteral(", ")));
}

void SupplyListModel::clear()
{
    beginResetModel();
    m_rows.clear();
    endResetModel();
    emit checkedChanged();
}

int SupplyListModel::addSupply(DataSupply *supply, bool checked, const QString &status)
{
    if (const int existing = rowOf(supply); existing >= 0)
        return existing;
    beginInsertRows({}, m_rows.size(), m_rows.size());
    Row row;
    row.supply = supply;
    row.checked = checked;
    row.status = status;
    m_rows << row;
    endInsertRows();
    emit checkedChanged();
    return m_rows.size() - 1;
}

int SupplyListModel::rowOf(const DataSupply *supply) const
{
    for (int i = 0; i < m_rows.size(); ++i) {
        if (m_rows.at(i).supply == supply)
            return i;
    }
    return -1;
}

void SupplyListModel::setStatus(int row, const QString &status, bool emphasised)
{
    if (row < 0 || row >= m_rows.size())
        return;
    m_rows[row].status = status;
    m_rows[row].emphasised = emphasised;
    emit dataChanged(index(row, Status), index(row, Status));
}

void SupplyListModel::setPortsKnown(int row, bool known)
{
    if (row < 0 || row >= m_rows.size())
        return;
    m_rows[row].portsKnown = known;
    emit dataChanged(index(row, Ports), index(row, Ports));
}

void SupplyListModel::setChecked(int row, bool checked)
{
    if (row < 0 || row >= m_rows.size())
        return;
    m_rows[row].checked = checked;
    emit dataChanged(index(row, Name), index(row, Name), {Qt::CheckStateRole});
    emit checkedChanged();
}

void SupplyListModel::refreshRow(int row)
{
    if (row >= 0 && row < m_rows.size())
        emit dataChanged(index(row, 0), index(row, ColumnCount - 1));
}

QList<DataSupply *> SupplyListModel::checkedSupplies() const
{
    QList<DataSupply *> list;
    for (const Row &row : m_rows) {
        if (row.checked && row.supply)
            list << row.supply.data();
    }
    return list;
}

int SupplyListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_rows.size();
}

int SupplyListModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant SupplyListModel::displayText(const Row &row, int column) const
{
    const DataSupply &supply = *row.supply;
    switch (column) {
    case Name:
        return supply.name();
    case Serial:
        return serialText(supply.serialNumber());
    case IpAddress:
        return supply.ipAddress().toString();
    case MacAddress:
        return supply.macAddress();
    case Version:
        return supply.versionString().isEmpty()
                   ? QString::number(supply.version())
                   : QStringLiteral("%1 (%2)").arg(supply.version()).arg(supply.versionString());
    case Universe:
        return supply.universe();
    case Ports:
        return row.portsKnown ? portsText(supply) : QStringLiteral("?");
    case Status:
        return row.status;
    default:
        return {};
    }
}

QVariant SupplyListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const Row &row = m_rows.at(index.row());
    if (!row.supply)
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return displayText(row, index.column());
    case Qt::CheckStateRole:
        if (m_checkable && index.column() == Name)
            return row.checked ? Qt::Checked : Qt::Unchecked;
        return {};
    case Qt::ToolTipRole:
        return index.column() == Status ? QVariant(row.status) : QVariant();
    case Qt::ForegroundRole:
        if (index.column() == Status && row.emphasised)
            return QBrush(QColor(0xB0, 0x20, 0x20));
        return {};
    case Qt::FontRole:
        if (index.column() == Status && row.emphasised) {
            QFont font;
            font.setBold(true);
            return font;
        }
        return {};
    default:
        return {};
    }
}

QVariant SupplyListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    static const char *const kTitles[ColumnCount] = {
        "Name", "Serial", "IP Address", "MAC Address", "Version", "Universe", "Ports", "Status"};
    return section >= 0 && section < ColumnCount ? tr(kTitles[section]) : QVariant();
}

Qt::ItemFlags SupplyListModel::flags(const QModelIndex &index) const
{
    Qt::ItemFlags result = QAbstractTableModel::flags(index);
    if (m_checkable && index.isValid() && index.column() == Name)
        result |= Qt::ItemIsUserCheckable;
    return result;
}

bool SupplyListModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (!m_checkable || !index.isValid() || index.column() != Name || role != Qt::CheckStateRole ||
        index.row() >= m_rows.size())
        return false;
    setChecked(index.row(), value.toInt() == Qt::Checked);
    return true;
}
