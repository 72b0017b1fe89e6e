#pragma once

#include "devices/propertyvalues.h"

#include <QJsonObject>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QVector>

// Where one token lives on one kind of device, read from an item of a definition's
// "MemoryMap" array. Addresses are one-byte memory locations (for RDM kinds, parameter
// ids). A value spread over several locations is big-endian: the first address holds the
// most significant byte, as DMX_OFFSET at 64 (high) and 65 (low).
class MemoryMapEntry
{
public:
    static const QString kUnknownTokenName;

    // Reads one memory-map item. An item without a usable address form logs
    // "Json file missing read/write addresses or is invalid" and is still created.
    static MemoryMapEntry fromJson(const QJsonObject &object);

    // The locations named by an "address", "readAddress" or "writeAddress" value: a number
    // is one location (0 meaning none), an array lists its locations in order with zeros
    // kept; every number keeps its low 16 bits.
    static QVector<quint16> parseAddresses(const QJsonValue &value);

    QString name() const { return m_name; }
    const QVector<quint16> &readAddresses() const { return m_readAddresses; }
    const QVector<quint16> &writeAddresses() const { return m_writeAddresses; }
    // True when the item gave one "address" for both directions.
    bool sharedAddress() const { return m_sharedAddress; }
    bool userConfigurable() const { return m_userConfigurable; }
    bool readOnly() const { return m_readOnly; }
    int access() const { return m_access; }
    qint16 defaultValue() const { return m_defaultValue; }
    bool hasDefaultValue() const { return m_hasDefaultValue; }
    const QStringList &categories() const { return m_categories; }
    const PropertyValues &values() const { return m_values; }

    // Combines bytes read from the read addresses, in address order, into one number
    // (big-endian). Of a longer list the last eight bytes count.
    static quint64 valueFromBytes(const QVector<quint8> &bytes);
    // The (address, byte) pairs that store a value at the write addresses, big-endian:
    // the last address gets the least significant byte.
    QVector<QPair<quint16, quint8>> bytesToWrite(quint64 value) const;

private:
    QString m_name = kUnknownTokenName;
    QVector<quint16> m_readAddresses;
    QVector<quint16> m_writeAddresses;
    bool m_sharedAddress = true;
    bool m_userConfigurable = false;
    bool m_readOnly = false;
    int m_access = -1;
    qint16 m_defaultValue = 0;
    bool m_hasDefaultValue = false;
    QStringList m_categories;
    PropertyValues m_values;
};
