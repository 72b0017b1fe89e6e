#include "devices/definitionpropertyformat.h"

#include "devices/propertymapper.h"
#include "model/datasupply.h"
#include "model/light.h"

#include <QSet>

#include <algorithm>

const QString DefinitionPropertyFormat::kLedChemistry = QStringLiteral("LED_CHEMISTRY");
const QString DefinitionPropertyFormat::kRdmDeviceInfo = QStringLiteral("RDM_DEVICE_INFO");

namespace {

QString rangeText(const PropertyValues &values)
{
    if (values.hasMin && values.hasMax)
        return QStringLiteral("from %1 to %2").arg(values.min).arg(values.max);
    return values.hasMin ? QStringLiteral("of at least %1").arg(values.min)
                         : QStringLiteral("of at most %1").arg(values.max);
}

} // namespace

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

QList<DeviceDictionary::EntryPointer>
DefinitionPropertyFormat::chemistryEntries(const Light &light) const
{
    // A generic RDM range holds every unique id of a maker; the product-code ranges inside
    // it say which fixture a light is, and the product code it reported says it exactly.
    const QString productCode = light.deviceProperty(kRdmDeviceInfo);
    QList<DeviceDictionary::EntryPointer> reported, others;
    for (const DeviceDictionary::EntryPointer &entry :
         m_dictionary.productCodeEntriesForSerial(light.serialNumber())) {
        const bool matches =
            !productCode.isEmpty() &&
            std::any_of(entry->productCodeRanges().cbegin(), entry->productCodeRanges().cend(),
                        [&](const ProductCodeRange &range) {
                            return range.productCode == productCode &&
                                   range.contains(light.serialNumber());
                        });
        (matches ? reported : others).append(entry);
    }
    QList<DeviceDictionary::EntryPointer> entries = reported + others;
    if (DeviceDictionary::EntryPointer plain = m_dictionary.entryForSerial(light.serialNumber()))
        entries.append(plain);
    return entries;
}

QString DefinitionPropertyFormat::definitionChemistry(const Light &light) const
{
    const QList<DeviceDictionary::EntryPointer> entries = chemistryEntries(light);
    // A static value is the kind's chemistry (kinds that cannot report it); a default is what
    // the kind leaves the factory with.
    for (const DeviceDictionary::EntryPointer &entry : entries) {
        if (entry->hasStaticValue(kLedChemistry))
            return QString::number(entry->staticValue(kLedChemistry));
    }
    for (const DeviceDictionary::EntryPointer &entry : entries) {
        const std::optional<MemoryMapEntry> item = entry->memoryMapEntry(kLedChemistry);
        if (item && item->hasDefaultValue())
            return QString::number(item->defaultValue());
    }
    return {};
}

PropertyList DefinitionPropertyFormat::lightPropertiesToWrite(const Light &light) const
{
    return propertiesToWrite(light.serialNumber(), light.deviceProperties(), &light);
}

PropertyList DefinitionPropertyFormat::supplyPropertiesToWrite(const DataSupply &supply) const
{
    return propertiesToWrite(supply.serialNumber(), supply.deviceProperties(), nullptr);
}

PropertyList DefinitionPropertyFormat::propertiesToWrite(quint64 serial,
                                                         const QMap<QString, QString> &held,
                                                         const Light *light) const
{
    const QList<DeviceDictionary::EntryPointer> entries = entriesForSerial(serial);
    // A chemistry nobody read and no definition names is written empty: the file then says
    // "not known" instead of a guess that would load as a fact.
    const QString chemistry =
        light ? toText(kLedChemistry, held.contains(kLedChemistry) ? held.value(kLedChemistry)
                                                                   : definitionChemistry(*light))
              : QString();
    PropertyList list;
    QSet<QString> written;
    for (const DeviceDictionary::EntryPointer &entry : entries) {
        for (auto it = entry->memoryMap().cbegin(); it != entry->memoryMap().cend(); ++it) {
            const QString &token = it.key();
            if (written.contains(token))
                continue;
            written.insert(token);
            if (light && token == kLedChemistry)
                list.append({token, chemistry});
            else if (held.contains(token))
                list.append({token, toText(token, held.value(token))});
            else if (entry->hasStaticValue(token))
                list.append({token, toText(token, QString::number(entry->staticValue(token)))});
            else
                list.append({token, QString()});
        }
    }
    if (light && !written.contains(kLedChemistry)) {
        written.insert(kLedChemistry);
        list.append({kLedChemistry, chemistry});
    }
    for (auto it = held.cbegin(); it != held.cend(); ++it) {
        if (!written.contains(it.key()))
            list.append({it.key(), toText(it.key(), it.value())});
    }
    return list;
}

QString DefinitionPropertyFormat::toText(const QString &token, const QString &value) const
{
    if (value.isEmpty())
        return value;
    const QString text = m_mapper.valueToText(token, value);
    return text == PropertyMapper::kUnsupportedMapping ? value : text;
}

PropertyList DefinitionPropertyFormat::toValues(const PropertyList &properties,
                                                QStringList &notes) const
{
    PropertyList values;
    values.reserve(properties.size());
    for (const auto &property : properties) {
        const QString &token = property.first;
        const QString &text = property.second;
        if (text.isEmpty())
            continue;
        const std::optional<PropertyEntry> entry = m_mapper.property(token);
        const QString value = m_mapper.textToValue(token, text);
        if (value != PropertyMapper::kUnsupportedMapping) {
            values.append({token, value});
        } else if (!entry ||
                   m_mapper.valueToText(token, text) != PropertyMapper::kUnsupportedMapping) {
            // No map describes the token, or the text is a value already (files written
            // before values were mapped to texts): kept as it stands.
            values.append({token, text});
        } else if (entry->values().hasBounds()) {
            // A number past a ranged setting's bounds would be used as it stands (a DMX
            // offset of 600 is address 601, which no frame has).
            notes << QStringLiteral("%1 \"%2\" is not a number %3; not kept")
                         .arg(token, text.left(40), rangeText(entry->values()));
        } else {
            notes << QStringLiteral("%1 \"%2\" is not one of its options; kept as it stands")
                         .arg(token, text.left(40));
            values.append({token, text});
        }
    }
    return values;
}

QStringList DefinitionPropertyFormat::readLightProperties(Light &light,
                                                          const PropertyList &properties) const
{
    QStringList notes;
    for (const auto &property : toValues(properties, notes))
        light.setDeviceProperty(property.first, property.second);
    if (!light.hasDeviceProperty(kLedChemistry)) {
        const QString chemistry = definitionChemistry(light);
        if (!chemistry.isEmpty())
            light.setDeviceProperty(kLedChemistry, chemistry);
    }
    return notes;
}

QStringList DefinitionPropertyFormat::readSupplyProperties(DataSupply &supply,
                                                           const PropertyList &properties) const
{
    QStringList notes;
    for (const auto &property : toValues(properties, notes))
        supply.setDeviceProperty(property.first, property.second);
    return notes;
}
