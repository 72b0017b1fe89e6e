// Map file speed and memory at installation scale: 15,000 lights on 100 supplies with 300
// groups of 50. Saving and loading are compared with `xmllint --noout` parsing the same file
// in the same run, so the figures mean the same on a fast or a slow machine.
//
//   bench_mapfile                          run the benchmarks and print the summary
//   bench_mapfile --rss-after-load FILE    (internal) load FILE, print resident memory in kB
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

constexpr int kSupplies = 100;
constexpr int kLightsPerSupply = 150;
constexpr int kGroups = 300;
constexpr int kGroupSize = 50;

std::map<std::string, double> g_secondsPerRun;
QString g_mapPath;

void fillInstallation(MapModel &model)
{
    QList<quint64> lightUids;
    for (int s = 0; s < kSupplies; ++s) {
        auto supply = std::make_unique<DataSupply>(DataSupply::VistraIp);
        supply->setUid(model.newUid());
        supply->setName(QStringLiteral("Supply %1").arg(s));
        supply->setSerialNumber(0x01A20000 + s);
        supply->setIpAddress(QHostAddress(QStringLiteral("10.40.%1.%2").arg(s / 200).arg(s % 200 + 1)));
        supply->setMacAddress(QStringLiteral("00:1C:42:0B:%1:%2")
                                  .arg(s / 256, 2, 16, QLatin1Char('0'))
                                  .arg(s % 256, 2, 16, QLatin1Char('0'))
                                  .toUpper());
        supply->setPortCount(2);
        supply->setPort(0, {1, 1, 0});
        supply->setPort(1, {2, 1, 0});
        supply->setDMXBufSize(512);
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
            light->setChannel(3 * (i % 75));
            light->setSerialNumber(0x10100000 + s * 1000 + i);
            light->setDeviceProperty(QStringLiteral("DMX_OFFSET"), QString::number(3 * (i % 75)));
            light->setDeviceProperty(QStringLiteral("LED_CHEMISTRY"), QStringLiteral("RGB"));
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

void record(benchmark::State &state, const char *name, double seconds)
{
    g_secondsPerRun[name] = seconds / static_cast<double>(state.iterations());
}

void BM_Save(benchmark::State &state)
{
    MapModel model;
    fillInstallation(model);
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
        if (!model.loadFromFile(g_mapPath) || model.lightCount() != kSupplies * kLightsPerSupply)
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
        const int status = QProcess::execute(QStringLiteral("xmllint"),
                                             {QStringLiteral("--noout"), g_mapPath});
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
    {
        MapModel model;
        fillInstallation(model);
        if (!model.saveToFile(g_mapPath))
            return 1;
    }

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();

    QProcess child;
    child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--rss-after-load"), g_mapPath});
    child.waitForFinished(-1);
    const double rssMb = child.readAllStandardOutput().trimmed().toDouble() / 1024.0;

    const double xmllint = g_secondsPerRun["xmllint"];
    std::printf("\nmap file: %lld bytes, %d lights, %d supplies, %d groups\n",
                static_cast<long long>(QFile(g_mapPath).size()), kSupplies * kLightsPerSupply,
                kSupplies, kGroups);
    std::printf("load / xmllint = %.2f  (goal <= 2.5)\n", g_secondsPerRun["load"] / xmllint);
    std::printf("save / xmllint = %.2f  (goal <= 2.0)\n", g_secondsPerRun["save"] / xmllint);
    std::printf("resident memory after load = %.1f MB  (goal < 150)\n", rssMb);
    return 0;
}
