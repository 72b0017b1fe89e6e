// The two left panes at installation scale: 15,000 lights on 100 supplies with 300 groups of
// 50. Measures a whole map load and a clear with the panes' item models and tree views
// attached (against the bare model), and one light edit with the panes following it.
//
//   bench_lighttree        run on the offscreen platform unless QT_QPA_PLATFORM is set
#include "benchinstallation.h"
#include "model/datasupply.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "ui/groupview.h"
#include "ui/lighttreemodel.h"
#include "ui/lightview.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QHBoxLayout>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdio>

namespace {

QString g_mapPath;

// The two panes as the main window shows them, on screen, every supply and group expanded
// (the worst case for the views).
struct Panes
{
    explicit Panes(MapModel &model) : lights(new LightView(model)), groups(new GroupView(model))
    {
        auto *layout = new QHBoxLayout(&window);
        layout->addWidget(lights);
        layout->addWidget(groups);
        window.resize(900, 700);
        window.show();
        QCoreApplication::processEvents();
    }
    void expandAndPaint()
    {
        lights->expandAll();
        groups->expandAll();
        window.repaint();
        QCoreApplication::processEvents();
    }
    QWidget window;
    LightView *lights;
    GroupView *groups;
};

void BM_LoadBareModel(benchmark::State &state)
{
    for (auto _ : state) {
        MapModel model;
        if (!model.loadFromFile(g_mapPath))
            state.SkipWithError("load failed");
    }
}

void BM_LoadWithPanes(benchmark::State &state)
{
    for (auto _ : state) {
        MapModel model;
        Panes panes(model);
        if (!model.loadFromFile(g_mapPath))
            state.SkipWithError("load failed");
        panes.expandAndPaint();
        if (panes.lights->lightModel()->lightRowCount() !=
            BenchInstallation::kSupplies * BenchInstallation::kLightsPerSupply)
            state.SkipWithError("pane incomplete");
    }
}

void BM_ClearWithPanes(benchmark::State &state)
{
    for (auto _ : state) {
        state.PauseTiming();
        auto model = std::make_unique<MapModel>();
        auto panes = std::make_unique<Panes>(*model);
        model->loadFromFile(g_mapPath);
        panes->expandAndPaint();
        state.ResumeTiming();
        model->clear();
        QCoreApplication::processEvents();
        state.PauseTiming();
        panes.reset();
        model.reset();
        state.ResumeTiming();
    }
}

void BM_RenameOneLightWithPanes(benchmark::State &state)
{
    MapModel model;
    Panes panes(model);
    model.loadFromFile(g_mapPath);
    panes.expandAndPaint();
    Light *light =
        model.lights().at(BenchInstallation::kSupplies * BenchInstallation::kLightsPerSupply / 2);
    int round = 0;
    for (auto _ : state) {
        light->setName(QStringLiteral("Renamed %1").arg(++round));
        QCoreApplication::processEvents();
    }
}

void BM_MoveOneLightToAnotherPortWithPanes(benchmark::State &state)
{
    MapModel model;
    Panes panes(model);
    model.loadFromFile(g_mapPath);
    panes.expandAndPaint();
    Light *light =
        model.lights().at(BenchInstallation::kSupplies * BenchInstallation::kLightsPerSupply / 2);
    for (auto _ : state) {
        light->setPortNumber(light->portNumber() == 0 ? 1 : 0);
        QCoreApplication::processEvents();
    }
}

} // namespace

BENCHMARK(BM_LoadBareModel)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_LoadWithPanes)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_ClearWithPanes)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_RenameOneLightWithPanes)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_MoveOneLightToAnotherPortWithPanes)->Unit(benchmark::kMicrosecond);

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir dir;
    g_mapPath = dir.filePath(QStringLiteral("installation.map"));
    if (!BenchInstallation::save(g_mapPath))
        return 1;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
