#include "devices/definitionpropertyformat.h"

#include "devices/propertymapper.h"
#include "model/datasupply.h"
#include "model/light.h"

#include <QSet>

const QString DefinitionPropertyFormat::kLedChemistry = QStringLiteral("LED_CHEMISTRY");
const QString DefinitionPropertyFormat::kDefaultLedChemistryText = QStringLiteral("RGB");

DefinitionPropertyFormat::DefinitionPropertyFormat()
    : DefinitionPropertyFormat(*DeviceDictionary::instance(), *PropertyMapper::instance())
{
}

DefinitionPropertyFormat::DefinitionPropertyFormat(const DeviceDictionary &dictionary,
                                                   const PropertyMapper &mapper)
    : m_dictionary(dictionary), m_mapper(mapper)
{
}

QList<DeviceDictionary::EntryPointer>
DefinitionPropertyFormat::entriesForSerial(quint64 serial) const
{
    if (DeviceDictionary::EntryPointer entry = m_dictionary.entryForSerial(serial))
        return {entry};
    return m_dictionary.productCodeEntriesForSerial(serial);
}

PropertyList DefinitionPropertyFormat::lightPropertiesToWrite(const Light &light) const
{
    return propertiesToWrite(light.serialNumber(), light.deviceProperties(), true);
}

PropertyList DefinitionPropertyFormat::supplyPropertiesToWrite(const DataSupply &supply) const
{
    return propertiesToWrite(supply.serialNumber(), supply.deviceProperties(), false);
}

PropertyList DefinitionPropertyFormat::propertiesToWrite(quint64 serial,
                                                         const QMap<QString, QString> &held,
                                                         bool isLight) const
{
    const QList<DeviceDictionary::EntryPointer> entries = entriesForSerial(serial);
    PropertyList list;
    QSet<QString> written;
    for (const DeviceDictionary::EntryPointer &entry : entries) {
        for (auto it = entry->memoryMap().cbegin(); it != entry->memoryMap().cend(); ++it) {
            const QString &token = it.key();
            if (written.contains(token))
                continue;
            written.insert(token);
            if (isLight && token == kLedChemistry)
                list.append({token, toText(token, ledChemistryValue(entries, held))});
            else if (held.contains(token))
                list.append({token, toText(token, held.value(token))});
            else if (entry->hasStaticValue(token))
                list.append({token, toText(token, QString::number(entry->staticValue(token)))});
            else
                list.append({token, QString()});
        }
    }
    if (isLight && !written.contains(kLedChemistry)) {
        written.insert(kLedChemistry);
        list.append({kLedChemistry, toText(kLedChemistry, ledChemistryValue(entries, held))});
    }
    for (auto it = held.cbegin(); it != held.cend(); ++it) {
        if (!written.contains(it.key()))
            list.append({it.key(), toText(it.key(), it.value())});
    }
    return list;
}

QString
DefinitionPropertyFormat::ledChemistryValue(const QList<DeviceDictionary::EntryPointer> &entries,
                                            const QMap<QString, QString> &held) const
{
    if (held.contains(kLedChemistry))
        return held.value(kLedChemistry);
    for (const DeviceDictionary::EntryPointer &entry : entries) {
        if (entry->hasStaticValue(kLedChemistry))
            return QString::number(entry->staticValue(kLedChemistry));
    }
    for (const DeviceDictionary::EntryPointer &entry : entries) {
        const std::optional<MemoryMapEntry> item = entry->memoryMapEntry(kLedChemistry);
        if (item && item->hasDefaultValue())
            return QString::number(item->defaultValue());
    }
    const QString value = m_mapper.textToValue(kLedChemistry, kDefaultLedChemistryText);
    return value == PropertyMapper::kUnsupportedMapping ? kDefaultLedChemistryText : value;
}

QString DefinitionPropertyFormat::toText(const QString &token, const QString &value) const
{
    const QString text = m_mapper.valueToText(token, value);
    return text == PropertyMapper::kUnsupportedMapping ? value : text;
}

PropertyList DefinitionPropertyFormat::toValues(const PropertyList &properties) const
{
    PropertyList values;
    values.reserve(properties.size());
    for (const auto &property : properties) {
        if (property.second.isEmpty())
            continue;
        const QString value = m_mapper.textToValue(property.first, property.second);
        values.append({property.first,
                       value == PropertyMapper::kUnsupportedMapping ? property.second : value});
    }
    return values;
}

void DefinitionPropertyFormat::readLightProperties(Light &light,
                                                   const PropertyList &properties) const
{
    for (const auto &property : toValues(properties))
        light.setDeviceProperty(property.first, property.second);
}

void DefinitionPropertyFormat::readSupplyProperties(DataSupply &supply,
                                                    const PropertyList &properties) const
{
    for (const auto &property : toValues(properties))
        supply.setDeviceProperty(property.first, property.second);
}
