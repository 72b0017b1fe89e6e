#include "devices/memorymapentry.h"

#include "devices/deviceslogging.h"
#include "devices/jsonvalues.h"

#include <QJsonArray>

#include <limits>

const QString MemoryMapEntry::kUnknownTokenName = QStringLiteral("UNKNOWN_TOKEN_NAME");

namespace {

quint16 low16(const QJsonValue &value)
{
    return static_cast<quint16>(static_cast<quint64>(JsonValues::toInteger(value)) & 0xFFFF);
}

int toInt(const QJsonValue &value)
{
    const qint64 number = JsonValues::toInteger(value);
    if (number < std::numeric_limits<int>::min() || number > std::numeric_limits<int>::max())
        return 0;
    return static_cast<int>(number);
}

} // namespace

QVector<quint16> MemoryMapEntry::parseAddresses(const QJsonValue &value)
{
    QVector<quint16> addresses;
    if (!value.isArray()) {
        // A single 0 means "no location": the token exists for the kind but its value
        // comes from elsewhere (a static value, another message).
        if (const quint16 address = low16(value); address != 0)
            addresses.append(address);
        return addresses;
    }
    const QJsonArray array = value.toArray();
    addresses.reserve(array.size());
    for (const QJsonValue &element : array)
        addresses.append(low16(element));
    return addresses;
}

MemoryMapEntry MemoryMapEntry::fromJson(const QJsonObject &object)
{
    MemoryMapEntry entry;
    if (object.contains(QLatin1String("name")))
        entry.m_name = object.value(QLatin1String("name")).toString();

    const bool hasAddress = object.contains(QLatin1String("address"));
    const bool hasRead = object.contains(QLatin1String("readAddress"));
    const bool hasWrite = object.contains(QLatin1String("writeAddress"));
    if (hasAddress && !hasRead && !hasWrite) {
        entry.m_readAddresses = parseAddresses(object.value(QLatin1String("address")));
        entry.m_writeAddresses = entry.m_readAddresses;
    } else if (hasRead && hasWrite) {
        entry.m_readAddresses = parseAddresses(object.value(QLatin1String("readAddress")));
        entry.m_writeAddresses = parseAddresses(object.value(QLatin1String("writeAddress")));
        entry.m_sharedAddress = false;
    } else {
        qCDebug(lcDevices) << "Json file missing read/write addresses or is invalid";
    }

    entry.m_userConfigurable = object.value(QLatin1String("userConfigurable")).toBool();
    entry.m_readOnly = object.value(QLatin1String("readOnly")).toBool();
    if (object.contains(QLatin1String("access")))
        entry.m_access = toInt(object.value(QLatin1String("access")));
    entry.m_categories = JsonValues::toStringList(object.value(QLatin1String("category")));
    // Only "defaultValue" counts; a few files write "default", and those items have no
    // default on purpose.
    if (object.contains(QLatin1String("defaultValue"))) {
        entry.m_defaultValue =
            static_cast<qint16>(low16(object.value(QLatin1String("defaultValue"))));
        entry.m_hasDefaultValue = true;
    }
    entry.m_values = PropertyValues::fromJson(object.value(QLatin1String("values")));
    return entry;
}

quint64 MemoryMapEntry::valueFromBytes(const QVector<quint8> &bytes)
{
    quint64 value = 0;
    for (quint8 byte : bytes)
        value = (value << 8) | byte;
    return value;
}

QVector<QPair<quint16, quint8>> MemoryMapEntry::bytesToWrite(quint64 value) const
{
    QVector<QPair<quint16, quint8>> writes;
    const int count = m_writeAddresses.size();
    writes.reserve(count);
    for (int i = 0; i < count; ++i) {
        const int shift = 8 * (count - 1 - i);
        const quint8 byte = shift < 64 ? static_cast<quint8>((value >> shift) & 0xFF) : 0;
        writes.append({m_writeAddresses.at(i), byte});
    }
    return writes;
}
