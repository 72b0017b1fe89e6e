// Map file speed and memory at installation scale: 15,000 lights on 100 supplies with 300
// groups of 50. Saving and loading are compared with `xmllint --noout` parsing the same file
// in the same run, so the figures mean the same on a fast or a slow machine.
//
//   bench_mapfile                          run the benchmarks and print the summary
//   bench_mapfile --rss-after-load FILE    (internal) load FILE, print resident memory in kB
#include "benchinstallation.h"
#include "model/datasupply.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapmodel.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>

namespace {

std::map<std::string, double> g_secondsPerRun;
QString g_mapPath;

void record(benchmark::State &state, const char *name, double seconds)
{
    g_secondsPerRun[name] = seconds / static_cast<double>(state.iterations());
}

void BM_Save(benchmark::State &state)
{
    MapModel model;
    BenchInstallation::fill(model);
    const QString path = g_mapPath + QStringLiteral(".saved");
    QElapsedTimer timer;
    double seconds = 0;
    for (auto _ : state) {
        timer.start();
        if (!model.saveToFile(path))
            state.SkipWithError("save failed");
        seconds += timer.nsecsElapsed() / 1e9;
    }
    record(state, "save", seconds);
}

void BM_Load(benchmark::State &state)
{
    QElapsedTimer timer;
    double seconds = 0;
    for (auto _ : state) {
        MapModel model;
        timer.start();
        if (!model.loadFromFile(g_mapPath) ||
            model.lightCount() !=
                BenchInstallation::kSupplies * BenchInstallation::kLightsPerSupply)
            state.SkipWithError("load failed");
        seconds += timer.nsecsElapsed() / 1e9;
    }
    record(state, "load", seconds);
}

void BM_XmllintParse(benchmark::State &state)
{
    QElapsedTimer timer;
    double seconds = 0;
    for (auto _ : state) {
        timer.start();
        const int status =
            QProcess::execute(QStringLiteral("xmllint"), {QStringLiteral("--noout"), g_mapPath});
        seconds += timer.nsecsElapsed() / 1e9;
        if (status != 0)
            state.SkipWithError("xmllint failed (is libxml2-utils installed?)");
    }
    record(state, "xmllint", seconds);
}

long residentKilobytes()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toLong();
    }
    return -1;
}

} // namespace

BENCHMARK(BM_Save)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Load)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_XmllintParse)->Unit(benchmark::kMillisecond)->MinTime(2.0);

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc == 3 && std::string(argv[1]) == "--rss-after-load") {
        MapModel model;
        if (!model.loadFromFile(QString::fromLocal8Bit(argv[2])))
            return 1;
        std::printf("%ld\n", residentKilobytes());
        return 0;
    }

    QTemporaryDir dir;
    g_mapPath = dir.filePath(QStringLiteral("installation.map"));
    if (!BenchInstallation::save(g_mapPath))
        return 1;

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();

    QProcess child;
    child.start(QCoreApplication::applicationFilePath(),
                {QStringLiteral("--rss-after-load"), g_mapPath});
    child.waitForFinished(-1);
    const double rssMb = child.readAllStandardOutput().trimmed().toDouble() / 1024.0;

    const double xmllint = g_secondsPerRun["xmllint"];
    std::printf("\nmap file: %lld bytes, %d lights, %d supplies, %d groups\n",
                static_cast<long long>(QFile(g_mapPath).size()),
                BenchInstallation::kSupplies * BenchInstallation::kLightsPerSupply,
                BenchInstallation::kSupplies, BenchInstallation::kGroups);
    std::printf("load / xmllint = %.2f  (goal <= 2.5)\n", g_secondsPerRun["load"] / xmllint);
    std::printf("save / xmllint = %.2f  (goal <= 2.0)\n", g_secondsPerRun["save"] / xmllint);
    std::printf("resident memory after load = %.1f MB  (goal < 150)\n", rssMb);
    return 0;
}
