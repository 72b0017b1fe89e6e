#pragma once

class MapModel;

// An installation at the scale the program is built for: 15,000 lights on 100 supplies (two
// ports of 75 each, in rows on the grid, with DMX offsets and LED chemistry) and 300 groups of
// 50 lights.
namespace BenchInstallation {

constexpr int kSupplies = 100;
constexpr int kLightsPerSupply = 150;
constexpr int kGroups = 300;
constexpr int kGroupSize = 50;

void fill(MapModel &model);

} // namespace BenchInstallation
