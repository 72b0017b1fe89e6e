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
// empty. Every light also gets LED_CHEMISTRY: the light's own, else the kind's static
// value, else the definition's default, else "RGB". Properties the model holds that the
// definition does not name are written after these, so nothing read from a device or a
// file is lost. A value the property map cannot show is written as it stands.
//
// Reading: each element's text is mapped back to the value; text the property map cannot
// map is kept as it stands, and empty elements set nothing.
//
// Serials that no plain range covers take the tokens of the product-code entries that hold
// them (RDM devices, whose kind is only certain with their product code).
class DefinitionPropertyFormat final : public MapPropertyFormat
{
public:
    static const QString kLedChemistry;
    static const QString kDefaultLedChemistryText;

    // Uses the program's dictionary and property map.
    DefinitionPropertyFormat();
    DefinitionPropertyFormat(const DeviceDictionary &dictionary, const PropertyMapper &mapper);

    PropertyList lightPropertiesToWrite(const Light &light) const override;
    PropertyList supplyPropertiesToWrite(const DataSupply &supply) const override;
    void readLightProperties(Light &light, const PropertyList &properties) const override;
    void readSupplyProperties(DataSupply &supply, const PropertyList &properties) const override;

    // The tokens known for a serial, in writing order, and the entries that name them.
    QList<DeviceDictionary::EntryPointer> entriesForSerial(quint64 serial) const;

private:
    PropertyList propertiesToWrite(quint64 serial, const QMap<QString, QString> &held,
                                   bool isLight) const;
    QString ledChemistryValue(const QList<DeviceDictionary::EntryPointer> &entries,
                              const QMap<QString, QString> &held) const;
    QString toText(const QString &token, const QString &value) const;
    PropertyList toValues(const PropertyList &properties) const;

    const DeviceDictionary &m_dictionary;
    const PropertyMapper &m_mapper;
};
