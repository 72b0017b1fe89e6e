#pragma once

#include "devices/deviceentry.h"
#include "devices/serialrange.h"

#include <QList>
#include <QMap>
#include <QObject>
#include <QString>

#include <memory>

// All device definitions, found by serial number. Filled once from the definition files
// compiled into the program and only read afterwards. Entries are shared, so a caller may
// keep one as long as it needs it.
class DeviceDictionary final : public QObject
{
    Q_OBJECT
public:
    using EntryPointer = std::shared_ptr<const DeviceEntry>;

    static const QString kDefinitionFolder;
    // What the name query returns for a serial that no definition covers.
    static const QString kUnknownDevice;

    // The program's instance, loaded from ":/DeviceConfigFiles" on the first call. The
    // resources must have been registered before (DeviceResources::registerResources()).
    static DeviceDictionary *instance();

    // An empty dictionary; tests and tools fill it with loadFolder() or addEntry().
    explicit DeviceDictionary(QObject *parent = nullptr);

    // Reads every "*.json" file below `folder`, subfolders included, in the order the
    // directory iterator gives them.
    void loadFolder(const QString &folder);
    // Registers an entry under each of its ranges. An identical plain range already held
    // logs "DeviceDictionary - Duplicated sn range" and is taken over by the new entry: the
    // file loaded last wins. Product-code ranges are replaced without a message.
    void addEntry(const EntryPointer &entry);

    // Every entry added, in loading order, unloadable files included.
    const QList<EntryPointer> &entries() const { return m_entries; }
    QList<EntryPointer> entriesOfType(DeviceType type) const;

    // The entry whose plain range holds the serial (bounds inclusive); where ranges overlap
    // the lower start, then the lower end, wins. Product-code ranges are not consulted.
    EntryPointer entryForSerial(quint64 serial) const;
    // Its device name, or "Unknown Device".
    QString deviceNameForSerial(quint64 serial) const;
    // Entries of the product-code ranges that hold the serial, in registry order.
    QList<EntryPointer> productCodeEntriesForSerial(quint64 serial) const;
    // True when a product-code entry holding the serial, or else the plain entry, is called
    // exactly `deviceName`.
    bool isDevice(quint64 serial, const QString &deviceName) const;

    // Registry keys in registry order (ascending start, end and product code).
    QList<SerialRange> serialRanges() const { return m_byRange.keys(); }
    QList<ProductCodeRange> productCodeRanges() const { return m_byProductCode.keys(); }

private:
    QList<EntryPointer> m_entries;
    QMap<SerialRange, EntryPointer> m_byRange;
    QMap<ProductCodeRange, EntryPointer> m_byProductCode;
};
