// The two left panes at installation scale: 15,000 lights on 100 supplies with 300 groups of
// 50. Measures a whole map load and a clear with the panes' item models and tree views
// attached (against the bare model), and one light edit with the panes following it.
//
//   bench_lighttree        run on the offscreen platform unless QT_QPA_PLATFORM is set
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

constexpr int kSupplies = 100;
constexpr int kLightsPerSupply = 150;
constexpr int kGroups = 300;
constexpr int kGroupSize = 50;

QString g_mapPath;

void fillInstallation(MapModel &model)
{
    QList<quint64> lightUids;
    for (int s = 0; s < kSupplies; ++s) {
        auto supply = std::make_unique<DataSupply>(DataSupply::VistraIp);
        supply->setUid(model.newUid());
        supply->setName(QStringLiteral("Supply %1").arg(s));
        supply->setSerialNumber(0x01A20000 + s);
        supply->setIpAddress(
            QHostAddress(QStringLiteral("10.40.%1.%2").arg(s / 200).arg(s % 200 + 1)));
        supply->setPortCount(2);
        const quint64 supplyUid = supply->uid();
        DataSupply *raw = supply.get();
        model.addDataSupply(std::move(supply));
        for (int i = 0; i < kLightsPerSupply; ++i) {
            auto light = std::make_unique<Light>();
            light->setUid(model.newUid());
            light->setName(QStringLiteral("S%1 L%2").arg(s).arg(i));
            light->setDataSupply(supplyUid);
            light->setPortNumber(i / 75);
            light->setLightNumber(i % 75);
            light->setPosition(24.0 * (i % 75), 24.0 * (s * 2 + i / 75), 0);
            light->setSerialNumber(0x10100000 + s * 1000 + i);
            light->setDeviceProperty(QStringLiteral("DMX_OFFSET"), QString::number(3 * (i % 75)));
            raw->addLight(light->uid());
            lightUids << light->uid();
            model.addLight(std::move(light));
        }
    }
    for (int g = 0; g < kGroups; ++g) {
        auto group = std::make_unique<Group>();
        group->setUid(model.newUid());
        group->setName(QStringLiteral("Group %1").arg(g));
        for (int m = 0; m < kGroupSize; ++m)
            group->appendChild(lightUids.at((g * kGroupSize + m) % lightUids.size()));
        model.addGroup(std::move(group));
    }
}

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
        if (panes.lights->lightModel()->lightRowCount() != kSupplies * kLightsPerSupply)
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
    Light *light = model.lights().at(kSupplies * kLightsPerSupply / 2);
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
    Light *light = model.lights().at(kSupplies * kLightsPerSupply / 2);
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
    {
        MapModel model;
        fillInstallation(model);
        if (!model.saveToFile(g_mapPath))
            return 1;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
