#pragma once

#include <QList>

class DataSupply;
class DiscoveryEngine;
class Light;
class MapModel;

// The supply of the map that a discovered supply is: the one with its serial at its address,
// else one with its serial whose own address did not answer with that serial (a supply that
// moved). Null when the map does not hold it: two units sharing a serial at two addresses are
// two supplies.
DataSupply *mapSupplyMatching(const MapModel &model, const DiscoveryEngine &engine,
                              const DataSupply &found);

// Puts what discovery found into the map. Supplies the map already holds (see above) are
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
