#pragma once

#include <QPair>
#include <QString>
#include <QStringList>
#include <QVector>

class DataSupply;
class Light;

using PropertyList = QVector<QPair<QString, QString>>;

// Decides which device properties a map file carries for a light or a supply and how their
// values are written and read. This default keeps exactly what the model holds; the device
// knowledge replaces it with one driven by the device definitions (the properties known for
// the object's serial number, in the property map's text form).
class MapPropertyFormat
{
public:
    virtual ~MapPropertyFormat() = default;

    // (element tag, text) pairs for the "properties" element, in writing order.
    virtual PropertyList lightPropertiesToWrite(const Light &light) const;
    virtual PropertyList supplyPropertiesToWrite(const DataSupply &supply) const;

    // Called once the whole object element has been read, with the children of its
    // "properties" element in file order (valid element names, each once). Returns a note
    // for each property not taken as it stands ("DMX_OFFSET \"600\" is ..."); the loader
    // reports them naming the object.
    virtual QStringList readLightProperties(Light &light, const PropertyList &properties) const;
    virtual QStringList readSupplyProperties(DataSupply &supply,
                                             const PropertyList &properties) const;
};
