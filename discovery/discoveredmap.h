#pragma once

#include <QList>

class DataSupply;
class DiscoveryEngine;
class Light;
class MapModel;

// Puts what discovery found into the map. Supplies whose serial the map already holds are
// reused rather than added twice, and lights whose serial it holds are left out; new objects
// get fresh uids, lights point at their supply's map uid, join its light list, and are laid
// out on the grid in one row per supply and port, below whatever the map already shows.
struct DiscoveredMapResult
{
    int suppliesAdded = 0;
    int lightsAdded = 0;
};

DiscoveredMapResult addDiscoveredToMap(MapModel &model, DiscoveryEngine &engine,
                                       const QList<DataSupply *> &supplies,
                                       const QList<Light *> &lights, int gridStep = 12);

// The light's DMX start address (DMX_OFFSET + 1, 1..512), or 0 when not known.
int dmxAddressOf(const Light &light);
