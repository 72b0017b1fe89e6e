#pragma once

#include <QString>
#include <QtGlobal>

#include <functional>

class MapModel;

// An installation at the scale the program is built for: 15,000 lights on 100 supplies (two
// ports of 75 each, in rows on the grid, with DMX offsets and LED chemistry) and 300 groups of
// 50 lights.
namespace BenchInstallation {

constexpr int kSupplies = 100;
constexpr int kLightsPerSupply = 150;
constexpr int kGroups = 300;
constexpr int kGroupSize = 50;

// Serial number of light `light` (0..149) of supply `supply` (0..99).
using SerialOf = std::function<quint64(int supply, int light)>;

// How the supplies are built: two ports of protocol version 1 on 10.40.x.y by default.
struct Layout
{
    int portsPerSupply = 2;
    int version = 1;
    // The supplies' addresses: firstAddress, then one up for each supply.
    QString firstAddress;
};

// Live output at installation scale: 100 port-addressed supplies (protocol version 2) of
// four ports each, 400 ports in all, on 127.1.0.1 and up so that frames stay on loop-back.
Layout portAddressedOnLoopback();

// Light serials default to one fixture kind ("Vela Graze RGB series 1").
void fill(MapModel &model, const SerialOf &serialOf = {}, const Layout &layout = {});
// Writes the installation as a map file; false when it cannot be saved.
bool save(const QString &path, const SerialOf &serialOf = {}, const Layout &layout = {});

} // namespace BenchInstallation
