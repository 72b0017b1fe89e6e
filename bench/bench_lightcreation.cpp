// Creating lights through the window, on a map that already holds 5,000 lights: a 1,000-light
// string on 6 ports and a 10,000-light tile on the 59 ports it needs, each with the progress
// dialog shown and the light and device panes and the canvas following. Reports the time per
// creation, the longest gap a 10 ms timer saw while it ran (max_gap_ms): how long the
// window's event loop was kept waiting, and how long the event-loop turn right after it took
// (last_turn_ms).
//
//   unshare -n bash -c 'ip link set lo up; ORRERY_PRIVATE_NETNS=1 bench_lightcreation'
//   (the window's discovery engine announces itself)
#include "app/kestrel.h"
#include "app/lightcreation.h"
#include "app/scriptedprompts.h"
#include "layout/creationrules.h"
#include "layout/lightcreator.h"
#include "model/mapmodel.h"
#include "ui/deviceview.h"
#include "support/netnamespace.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QSpinBox>
#include <QTabWidget>
#include <QTimer>

#include <benchmark/benchmark.h>

#include <cstdio>

namespace {

constexpr int kExistingLights = 5000;

std::unique_ptr<Kestrel> windowWithLights(ScriptedPrompts *&prompts)
{
    auto owned = std::make_unique<ScriptedPrompts>();
    prompts = owned.get();
    auto window = std::make_unique<Kestrel>(std::move(owned));
    window->resize(1280, 800);
    window->show();
    CreationRequest request;
    request.properties.insert(QStringLiteral("LED_CHEMISTRY"), QStringLiteral("1"));
    request.ports = 30;
    request.positions = CreationRules::runPositions(kExistingLights,
                                                    CreationRules::RunDirection::Horizontal, 12,
                                                    QRectF());
    LightCreator creator(window->model(), request);
    if (!creator.prepare())
        creator.run(kExistingLights, {});
    QCoreApplication::processEvents();
    return window;
}

// The longest wait between two ticks of a 10 ms timer while it runs.
struct GapMeter
{
    GapMeter()
    {
        timer.setInterval(10);
        QObject::connect(&timer, &QTimer::timeout, [this] {
            worstMs = std::max(worstMs, clock.restart());
        });
        clock.start();
        timer.start();
    }
    QTimer timer;
    QElapsedTimer clock;
    qint64 worstMs = 0;
};

void BM_CreateString(benchmark::State &state)
{
    const int rows = int(state.range(0));
    const int columns = int(state.range(1));
    const int ports = int(state.range(2));
    const bool devicesShown = state.range(3) != 0;
    qint64 worstGap = 0;
    qint64 worstAfter = 0;
    for (auto _ : state) {
        state.PauseTiming();
        ScriptedPrompts *prompts = nullptr;
        auto window = windowWithLights(prompts);
        if (devicesShown) {
            // The devices tab in front: its tree of every light is rebuilt and sorted too.
            window->lightTabs()->setCurrentWidget(window->deviceView());
            QCoreApplication::processEvents();
        }
        prompts->dialogScripts.enqueue([=](QDialog &d) {
            d.findChild<QAbstractButton *>(QStringLiteral("m_tileButton"))->click();
            d.findChild<QSpinBox *>(QStringLiteral("m_rowsSpinBox"))->setValue(rows);
            d.findChild<QSpinBox *>(QStringLiteral("m_columnsSpinBox"))->setValue(columns);
            d.findChild<QSpinBox *>(QStringLiteral("m_portsSpinBox"))->setValue(ports);
            d.findChild<QAbstractButton *>(QStringLiteral("m_addBelowButton"))->click();
            return d.result();
        });
        GapMeter meter;
        state.ResumeTiming();
        window->ui().addStringAction->trigger();
        state.PauseTiming();
        worstGap = std::max(worstGap, meter.worstMs);
        // The turn that follows, in which the panes show the last lights, counts too.
        QCoreApplication::processEvents();
        worstAfter = std::max(worstAfter, meter.clock.elapsed());
        if (window->model().lightCount() != kExistingLights + rows * columns)
            state.SkipWithError("not every light was made");
        window.reset();
        state.ResumeTiming();
    }
    state.counters["max_gap_ms"] = double(worstGap);
    state.counters["last_turn_ms"] = double(worstAfter);
}
BENCHMARK(BM_CreateString)
    ->ArgNames({"rows", "columns", "ports", "devicesShown"})
    ->Args({1, 1000, 6, 0})
    ->Args({100, 100, 59, 0})
    ->Args({1, 1000, 6, 1})
    ->Args({100, 100, 59, 1})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);

// The same creations on the model alone (no window): what the creation rules themselves cost.
void BM_CreateStringModelOnly(benchmark::State &state)
{
    const int rows = int(state.range(0));
    const int columns = int(state.range(1));
    for (auto _ : state) {
        state.PauseTiming();
        MapModel model;
        CreationRequest request;
        request.properties.insert(QStringLiteral("LED_CHEMISTRY"), QStringLiteral("1"));
        request.ports = 255;
        request.positions = CreationRules::runPositions(
            kExistingLights, CreationRules::RunDirection::Horizontal, 12, QRectF());
        LightCreator existing(model, request);
        if (!existing.prepare())
            existing.run(kExistingLights, {});
        const CreationRules::ShapeRaster raster{rows, columns, 0};
        request.positions = CreationRules::stringPositions(raster, 12, QPoint(12, 48));
        request.numbering = CreationRules::numberingSequence(raster, {});
        state.ResumeTiming();
        LightCreator creator(model, request);
        if (!creator.prepare())
            creator.run(CreationRules::progressInterval(raster.count()), {});
        benchmark::DoNotOptimize(creator.createdLights().size());
    }
}
BENCHMARK(BM_CreateStringModelOnly)
    ->Args({1, 1000})
    ->Args({100, 100})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3);

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("orrery.*.debug=false"));
    const QString why = NetNamespace::enterOwn();
    if (!why.isEmpty()) {
        std::fprintf(stderr, "bench_lightcreation: %s\n", qPrintable(why));
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
