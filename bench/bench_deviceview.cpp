// The device view at installation scale: 15,000 lights on 100 supplies, of three known
// kinds and one unknown. Measures a whole map load with the view attached (against the bare
// model), one rebuild of the tree (the longest the view holds up the event loop), and one
// light edit followed in place.
//
//   bench_deviceview       run on the offscreen platform unless QT_QPA_PLATFORM is set
#include "devices/devicedictionary.h"
#include "devices/deviceresources.h"
#include "benchinstallation.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "ui/deviceview.h"

#include <QApplication>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace {

// Graze RGB series 1, Graze RGB, Graze RGBW, and a range no definition covers.
constexpr quint64 kKindBases[] = {0x10100000, 0x10110000, 0x10120000, 0x0F000000};

QString g_mapPath;

quint64 serialOfKind(int supply, int light)
{
    return kKindBases[(supply + light) % 4] + supply * 1000 + light;
}

struct ShownView
{
    explicit ShownView(MapModel &model) : view(model)
    {
        view.resize(500, 700);
        view.show();
        QCoreApplication::processEvents();
    }
    // Lets the coalesced rebuild run and the result paint.
    void settle()
    {
        while (view.isRebuildPending())
            QCoreApplication::processEvents();
        view.repaint();
    }
    DeviceView view;
};

void BM_LoadBareModel(benchmark::State &state)
{
    for (auto _ : state) {
        MapModel model;
        if (!model.loadFromFile(g_mapPath))
            state.SkipWithError("load failed");
    }
}

void BM_LoadWithDeviceView(benchmark::State &state)
{
    for (auto _ : state) {
        MapModel model;
        ShownView shown(model);
        if (!model.loadFromFile(g_mapPath))
            state.SkipWithError("load failed");
        shown.settle();
        int rows = 0;
        for (int k = 0; k < shown.view.topLevelItemCount(); ++k)
            rows += shown.view.topLevelItem(k)->childCount();
        if (rows != BenchInstallation::kSupplies * BenchInstallation::kLightsPerSupply)
            state.SkipWithError("view incomplete");
    }
}

void BM_Rebuild(benchmark::State &state)
{
    MapModel model;
    ShownView shown(model);
    model.loadFromFile(g_mapPath);
    shown.settle();
    for (auto _ : state) {
        shown.view.rebuild();
        shown.view.repaint();
    }
}

void BM_RenameOneLight(benchmark::State &state)
{
    MapModel model;
    ShownView shown(model);
    model.loadFromFile(g_mapPath);
    shown.settle();
    Light *light =
        model.lights().at(BenchInstallation::kSupplies * BenchInstallation::kLightsPerSupply / 2);
    int round = 0;
    for (auto _ : state) {
        light->setName(QStringLiteral("Renamed %1").arg(++round));
        QCoreApplication::processEvents();
    }
    if (shown.view.isRebuildPending())
        state.SkipWithError("a rename rebuilt the tree");
}

} // namespace

BENCHMARK(BM_LoadBareModel)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_LoadWithDeviceView)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Rebuild)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_RenameOneLight)->Unit(benchmark::kMicrosecond);

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    DeviceResources::registerResources();
    QTemporaryDir dir;
    g_mapPath = dir.filePath(QStringLiteral("installation.map"));
    if (!BenchInstallation::save(g_mapPath, serialOfKind))
        return 1;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
