#include "discovery/discoveredmap.h"

#include "devices/dmxaddress.h"
#include "discovery/discoveryengine.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"

#include <QHash>
#include <QSet>

#include <algorithm>

int dmxAddressOf(const Light &light)
{
    return DmxAddress::addressFromText(light.deviceProperty(QStringLiteral("DMX_OFFSET")));
}

DataSupply *mapSupplyMatching(const MapModel &model, const DiscoveryEngine &engine,
                              const DataSupply &found)
{
    DataSupply *moved = nullptr;
    for (DataSupply *supply : model.dataSupplies()) {
        if (supply->serialNumber() != found.serialNumber())
            continue;
        if (supply->ipAddress() == found.ipAddress())
            return supply;
        const DataSupply *atItsAddress = engine.supplyAt(supply->ipAddress().toIPv4Address());
        const bool answeredThere =
            atItsAddress && atItsAddress->serialNumber() == supply->serialNumber();
        if (!answeredThere && !moved)
            moved = supply;
    }
    return moved;
}

namespace {

QSet<quint64> lightSerials(const MapModel &model)
{
    QSet<quint64> serials;
    for (const Light *l : model.lights())
        serials.insert(l->serialNumber());
    return serials;
}

double lowestRow(const MapModel &model)
{
    double bottom = 0;
    for (const Light *l : model.lights())
        bottom = std::max(bottom, l->y());
    return bottom;
}

} // namespace

DiscoveredMapResult addDiscoveredToMap(MapModel &model, DiscoveryEngine &engine,
                                       const QList<DataSupply *> &supplies,
                                       const QList<Light *> &lights, int gridStep)
{
    DiscoveredMapResult result;
    QHash<quint64, DataSupply *> mapSupplyFor; // discovered uid -> supply in the map
    for (DataSupply *found : supplies) {
        if (DataSupply *existing = mapSupplyMatching(model, engine, *found)) {
            mapSupplyFor.insert(found->uid(), existing);
            continue;
        }
        const quint64 discoveredUid = found->uid();
        std::unique_ptr<DataSupply> owned = engine.takeSupply(found);
        if (!owned)
            continue;
        owned->setUid(model.newUid());
        DataSupply *raw = owned.get();
        if (model.addDataSupply(std::move(owned))) {
            mapSupplyFor.insert(discoveredUid, raw);
            ++result.suppliesAdded;
        }
    }

    // A light the map already holds stays where the user put it; adding it again would
    // give one device two places and two names.
    const QSet<quint64> inMap = lightSerials(model);
    QList<Light *> ordered;
    for (Light *light : lights) {
        if (light && !inMap.contains(light->serialNumber()))
            ordered << light;
    }
    std::sort(ordered.begin(), ordered.end(), [](const Light *a, const Light *b) {
        return std::make_tuple(a->dataSupply(), a->portNumber(), a->lightNumber(), a->serialNumber())
               < std::make_tuple(b->dataSupply(), b->portNumber(), b->lightNumber(), b->serialNumber());
    });

    const double step = 2.0 * gridStep;
    double y = lowestRow(model) + (model.lightCount() > 0 ? 2 * step : step);
    QPair<quint64, unsigned int> row{~0ULL, ~0U};
    int column = 0;
    for (Light *found : qAsConst(ordered)) {
        DataSupply *supply = mapSupplyFor.value(found->dataSupply());
        if (!supply)
            continue;
        const QPair<quint64, unsigned int> key{found->dataSupply(), found->portNumber()};
        if (key != row) {
            if (row.first != ~0ULL)
                y += step;
            row = key;
            column = 0;
        }
        std::unique_ptr<Light> light = engine.takeLight(found);
        if (!light)
            continue;
        light->setUid(model.newUid());
        light->setDataSupply(supply->uid());
        light->setName(QStringLiteral("%1 P%2-%3")
                           .arg(supply->name())
                           .arg(light->portNumber() + 1)
                           .arg(light->lightNumber() + 1));
        light->setPosition(step * (column + 1), y, 0);
        if (const int address = dmxAddressOf(*light))
            light->setChannel(address - 1);
        ++column;
        const quint64 uid = light->uid();
        if (model.addLight(std::move(light))) {
            supply->addLight(uid);
            ++result.lightsAdded;
        }
    }
    return result;
}
