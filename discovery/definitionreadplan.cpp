#include "discovery/definitionreadplan.h"

#include "devices/devicedictionary.h"
#include "devices/deviceentry.h"
#include "devices/memorymapentry.h"
#include "model/light.h"

namespace {

// The DMX address is read by the engine itself, first, for every light.
bool isDmxOffsetAddress(quint16 address)
{
    return address == 64 || address == 65;
}

} // namespace

DefinitionReadPlan::DefinitionReadPlan(const DeviceDictionary &dictionary)
    : m_dictionary(dictionary)
{
}

// A lone 0 in a definition means "no location" and never reaches the list; a 0 inside an
// array is a real location and is read.
QVector<quint16> DefinitionReadPlan::furtherAddresses(const Light &light) const
{
    QVector<quint16> addresses;
    const auto entry = m_dictionary.entryForSerial(light.serialNumber());
    if (!entry)
        return addresses;
    for (const MemoryMapEntry &item : entry->memoryMap()) {
        for (quint16 address : item.readAddresses()) {
            if (!isDmxOffsetAddress(address) && !addresses.contains(address))
                addresses << address;
        }
    }
    return addresses;
}

void DefinitionReadPlan::applyMemoryByte(Light &light, quint16 address, quint8 value) const
{
    const auto entry = m_dictionary.entryForSerial(light.serialNumber());
    if (!entry)
        return;
    QHash<quint16, quint8> &bytes = m_bytes[light.serialNumber()];
    bytes.insert(address, value);
    for (const MemoryMapEntry &item : entry->memoryMap()) {
        const QVector<quint16> &addresses = item.readAddresses();
        if (!addresses.contains(address) || item.name() == QLatin1String("DMX_OFFSET"))
            continue;
        QVector<quint8> itemBytes;
        for (quint16 a : addresses)
            itemBytes << bytes.value(a);
        light.setDeviceProperty(item.name(),
                                QString::number(MemoryMapEntry::valueFromBytes(itemBytes)));
    }
}
