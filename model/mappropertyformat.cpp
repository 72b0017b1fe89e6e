#include "model/mappropertyformat.h"

#include "model/datasupply.h"
#include "model/light.h"

namespace {

template<typename Map>
PropertyList toList(const Map &map)
{
    PropertyList list;
    list.reserve(map.size());
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        list.append({it.key(), it.value()});
    return list;
}

} // namespace

PropertyList MapPropertyFormat::lightPropertiesToWrite(const Light &light) const
{
    return toList(light.deviceProperties());
}

PropertyList MapPropertyFormat::supplyPropertiesToWrite(const DataSupply &supply) const
{
    return toList(supply.deviceProperties());
}

QStringList MapPropertyFormat::readLightProperties(Light &light,
                                                   const PropertyList &properties) const
{
    for (const auto &p : properties)
        light.setDeviceProperty(p.first, p.second);
    return {};
}

QStringList MapPropertyFormat::readSupplyProperties(DataSupply &supply,
                                                    const PropertyList &properties) const
{
    for (const auto &p : properties)
        supply.setDeviceProperty(p.first, p.second);
    return {};
}
