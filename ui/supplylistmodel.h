#pragma once

#include <QAbstractTableModel>
#include <QPointer>
#include <QVector>

class DataSupply;

// Supplies in a table, for the wizards and the sync dialog: what the supply told about itself
// (name, serial, IP and MAC address, version, universe, ports), an optional check box for
// choosing it, and a status text that the owner of the table sets (new / in map / what
// changed / no answer).
class SupplyListModel final : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column {
        Name,
        Serial,
        IpAddress,
        MacAddress,
        Version,
        Universe,
        Ports,
        Status,
        ColumnCount
    };

    explicit SupplyListModel(QObject *parent = nullptr);

    void setCheckable(bool checkable) { m_checkable = checkable; }

    void clear();
    // Returns the row. A supply shown already keeps its row.
    int addSupply(DataSupply *supply, bool checked = true, const QString &status = {});
    int rowOf(const DataSupply *supply) const;
    DataSupply *supplyAt(int row) const { return m_rows.value(row).supply; }
    void setStatus(int row, const QString &status, bool emphasised = false);
    QString status(int row) const { return m_rows.value(row).status; }
    // Ports not known yet show as "?".
    void setPortsKnown(int row, bool known);
    void setChecked(int row, bool checked);
    bool isChecked(int row) const { return m_rows.value(row).checked; }
    void refreshRow(int row);
    QList<DataSupply *> checkedSupplies() const;

    static QString serialText(quint64 serial);
    static QString portsText(const DataSupply &supply);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;

signals:
    void checkedChanged();

private:
    struct Row
    {
        QPointer<DataSupply> supply;
        bool checked = true;
        bool portsKnown = true;
        bool emphasised = false;
        QString status;
    };

    QVariant displayText(const Row &row, int column) const;

    bool m_checkable = false;
    QVector<Row> m_rows;
};
