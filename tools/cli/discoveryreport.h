#pragma once

#include <QList>
#include <QStringList>

class DataSupply;
class DiscoveryEngine;
class Light;
class LightDataReader;
class LightSearch;
class SupplySearch;

// What one "discover", "scan" or "read" run found, and how it is told: text or JSON on
// standard output, and the problems (what never answered, what could not be sent) that make
// the command exit with status 1.
struct DiscoveryResult
{
    enum class Depth { Discover, Scan, Read };

    Depth depth = Depth::Discover;
    const DiscoveryEngine *engine = nullptr;
    const SupplySearch *supplies = nullptr;
    const LightSearch *lightSearch = nullptr; // scan and read
    const LightDataReader *reader = nullptr;  // read
    QList<Light *> lights;                    // in installation order
    QStringList sendFailures;

    bool scanned() const { return depth != Depth::Discover; }
    // Supply, then port, then position on the port; supplies in the order they answered.
    void sortLights();
    // One line per thing that never answered or could not be done, for people.
    QStringList problems() const;
};

void printDiscoveryText(const DiscoveryResult &result);
void printDiscoveryJson(const DiscoveryResult &result);
