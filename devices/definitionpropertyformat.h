#pragma once

#include "devices/devicedictionary.h"
#include "model/mappropertyformat.h"

#include <QStringList>

class PropertyMapper;

// The device properties a map file carries, driven by the device definitions.
//
// Writing: one element per token that the definition of the object's serial number names
// (its memory map, in token order), the element tag being the token as the property map
// names it and the text the property map's text form of the value ("RGB", "12"). The value
// is what the model holds, else the kind's static value; a token with neither is written
// empty. Every light also gets LED_CHEMISTRY: the light's own, else what its definition
// gives (a static value, else the item's default), else empty: a chemistry never read and
// named by no definition is not made up. For RDM lights the definition is the one of the
// product code the light reported (RDM_DEVICE_INFO), else those whose product-code ranges
// hold the serial, and only then the plain range (a generic RDM kind). Properties the model
// holds that the definition does not name are written after these, so nothing read from a
// device or a file is lost. A value the property map cannot show is written as it stands.
//
// Reading: each element's text is mapped back to the value. Empty elements set nothing. A
// value outside the range of a ranged property (a DMX_OFFSET of 600) is not taken; text that
// is not one of a property's options is kept as it stands; both are noted. A light whose
// file gives no chemistry takes its definition's, as the writer would write it, so a loaded
// map saves and loads back to itself.
//
// Serials that no plain range covers take the tokens of the product-code entries that hold
// them (RDM devices, whose kind is only certain with their product code).
class DefinitionPropertyFormat final : public MapPropertyFormat
{
public:
    static const QString kLedChemistry;
    // Where an RDM light keeps the product code its DEVICE_INFO reply gave.
    static const QString kRdmDeviceInfo;

    // Uses the program's dictionary and property map.
    DefinitionPropertyFormat();
    DefinitionPropertyFormat(const DeviceDictionary &dictionary, const PropertyMapper &mapper);

    PropertyList lightPropertiesToWrite(const Light &light) const override;
    PropertyList supplyPropertiesToWrite(const DataSupply &supply) const override;
    QStringList readLightProperties(Light &light, const PropertyList &properties) const override;
    QStringList readSupplyProperties(DataSupply &supply,
                                     const PropertyList &properties) const override;

    // The tokens known for a serial, in writing order, and the entries that name them.
    QList<DeviceDictionary::EntryPointer> entriesForSerial(quint64 serial) const;
    // The definitions that decide a light's LED chemistry, the most specific first.
    QList<DeviceDictionary::EntryPointer> chemistryEntries(const Light &light) const;
    // The chemistry value the light's definition gives, or an empty string.
    QString definitionChemistry(const Light &light) const;

private:
    PropertyList propertiesToWrite(quint64 serial, const QMap<QString, QString> &held,
                                   const Light *light) const;
    QString toText(const QString &token, const QString &value) const;
    PropertyList toValues(const PropertyList &properties, QStringList &notes) const;

    const DeviceDictionary &m_dictionary;
    const PropertyMapper &m_mapper;
};
