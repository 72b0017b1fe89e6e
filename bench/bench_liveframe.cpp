// One live frame at installation scale: 15,000 lights on 100 port-addressed supplies with
// 400 ports. A frame is the selection effect's colours for every light, every light's
// encoding into its port's buffer, the transport signals, and the port-out datagram built
// for each port (the send itself is left out; bench/highlight-load measures it end to end).
//
//   bench_liveframe                  the benchmarks
//   bench_liveframe --save-map FILE  writes the installation as a map and exits
#include "benchinstallation.h"
#include "effects/effectengine.h"
#include "effects/selectioneffect.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "net/vistrarequests.h"

#include <QCoreApplication>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <algorithm>
#include <cstring>

namespace {

struct LiveFrame
{
    LiveFrame()
    {
        BenchInstallation::fill(model, {}, BenchInstallation::portAddressedOnLoopback());
        // What the discovery engine does with a port out, short of the send.
        for (DataSupply *supply : model.dataSupplies())
            QObject::connect(supply, &DataSupply::signalSendPortOut, &model,
                             [this](const QString &, quint32 universe, quint8 port, quint16,
                                    quint16 startCode, const QByteArray &data) {
                                 QByteArray frame(512, '\0');
                                 std::memcpy(frame.data(), data.constData(),
                                             size_t(std::min(data.size(), 512)));
                                 bytes += VistraRequests::portOut(
                                              universe, port, 0, startCode,
                                              reinterpret_cast<const uchar *>(frame.constData()),
                                              frame.size())
                                              .size();
                                 ++datagrams;
                             });
        engine.pause(true);
        const QList<Light *> lights = model.lights();
        for (int i = 0; i < 1000; ++i)
            selection.setLightSelected(lights.at(i * 15)->uid(), true);
        engine.renderFrame(QDateTime::currentDateTime()); // assigns channels
        engine.renderFrame(QDateTime::currentDateTime());
    }

    MapModel model;
    SelectionEffect selection{&model};
    EffectEngine engine{&model, {&selection}, 10};
    qint64 bytes = 0;
    qint64 datagrams = 0;
};

void report(benchmark::State &state, const LiveFrame &live, quint64 encodesBefore)
{
    state.counters["datagrams/frame"] =
        benchmark::Counter(double(live.datagrams) / double(state.iterations()));
    state.counters["encodes/frame"] = benchmark::Counter(
        double(LightOutput::encodeCount() - encodesBefore) / double(state.iterations()));
}

// The same selection every frame: every light copies its cached bytes.
void BM_FrameUnchangingSelection(benchmark::State &state)
{
    LiveFrame live;
    const QDateTime now = QDateTime::currentDateTime();
    live.datagrams = 0;
    const quint64 encodes = LightOutput::encodeCount();
    for (auto _ : state)
        live.engine.renderFrame(now);
    report(state, live, encodes);
}
BENCHMARK(BM_FrameUnchangingSelection)->Unit(benchmark::kMicrosecond)->MinTime(1.0)->Repetitions(5)->DisplayAggregatesOnly(true);

// A new selection every frame: a block of 1,000 lights moves on by 1,000 each frame, so 2,000
// lights change colour; the shared cache still saves their encodings.
void BM_FrameChangingSelection(benchmark::State &state)
{
    LiveFrame live;
    const QList<quint64> uids = live.model.lightHash().keys();
    const QDateTime now = QDateTime::currentDateTime();
    live.selection.clearSelection();
    int block = 0;
    live.datagrams = 0;
    const quint64 encodes = LightOutput::encodeCount();
    for (auto _ : state) {
        state.PauseTiming();
        for (int i = 0; i < 1000; ++i)
            live.selection.setLightSelected(uids.at((block * 1000 + i) % uids.size()), false);
        ++block;
        for (int i = 0; i < 1000; ++i)
            live.selection.setLightSelected(uids.at((block * 1000 + i) % uids.size()), true);
        state.ResumeTiming();
        live.engine.renderFrame(now);
    }
    report(state, live, encodes);
}
BENCHMARK(BM_FrameChangingSelection)->Unit(benchmark::kMicrosecond)->MinTime(1.0)->Repetitions(5)->DisplayAggregatesOnly(true);

// A fresh colour every frame for every light (a fade): nothing can be copied from a cache
// for long; this is the encoding cost itself.
void BM_FrameFadingColour(benchmark::State &state)
{
    LiveFrame live;
    const QDateTime now = QDateTime::currentDateTime();
    int level = 0;
    live.datagrams = 0;
    const quint64 encodes = LightOutput::encodeCount();
    for (auto _ : state) {
        live.selection.setBgColor(VelaColor::fromRgb16(0, quint16(level), quint16(level * 7)));
        level = (level + 1) % 60000;
        live.engine.renderFrame(now);
    }
    report(state, live, encodes);
}
BENCHMARK(BM_FrameFadingColour)->Unit(benchmark::kMicrosecond)->MinTime(1.0)->Repetitions(5)->DisplayAggregatesOnly(true);

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc == 3 && std::strcmp(argv[1], "--save-map") == 0) {
        if (!BenchInstallation::save(QString::fromLocal8Bit(argv[2]), {},
                                     BenchInstallation::portAddressedOnLoopback())) {
            std::fprintf(stderr, "bench_liveframe: cannot write %s\n", argv[2]);
            return 1;
        }
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
