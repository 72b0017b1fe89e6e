// Discovery at scale against the simulated installation on loop-back:
//  1. 200 supplies answer one discover request in a single burst: how many are found, and
//     how long until the last one;
//  2. the DMX addresses of 10,000 lights (200 supplies x 50) are read: time, light reads per
//     second, and requests sent again because an answer was lost.
// Run inside a private network namespace: unshare -n bash -c 'ip link set lo up; bench_discovery'
#include "discovery/discoveryengine.h"
#include "discovery/lightdatareader.h"
#include "discovery/lightsearch.h"
#include "net/ksocket.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>

namespace {

constexpr int kSupplies = 200;
constexpr int kLightsPerSupply = 50;

QByteArray installation()
{
    QJsonArray supplies;
    for (int s = 0; s < kSupplies; ++s) {
        const QJsonObject run{{"serial", QString::number(0x10310000 + s * 0x100, 16).toUpper()},
                              {"count", kLightsPerSupply},
                              {"dmxOffset", 0}};
        const QJsonObject port{{"number", 1}, {"type", 1}, {"lights", QJsonArray{run}}};
        supplies.append(QJsonObject{
            {"address", QStringLiteral("127.0.2.%1").arg(s + 1)},
            {"mac", QStringLiteral("02:4C:00:00:02:%1").arg(s % 256, 2, 16, QLatin1Char('0'))},
            {"serial", QString::number(0x01A20000 + s, 16).toUpper()},
            {"version", 2},
            {"idText", QStringLiteral("Bench Supply %1").arg(s + 1)},
            {"ports", QJsonArray{port}}});
    }
    return QJsonDocument(QJsonObject{{"supplies", supplies}}).toJson();
}

void waitUntil(const std::function<bool()> &done, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < timeoutMs)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    // The protocol object broadcasts as soon as it exists: keep everything on loop-back.
    KSocket::setLoopbackOnly(true);
    KSocket::setDefaultBroadcastAddress(QHostAddress(QStringLiteral("127.255.255.255")));

    QTemporaryDir dir;
    const QString config = dir.filePath(QStringLiteral("bench.json"));
    QFile file(config);
    file.open(QIODevice::WriteOnly);
    file.write(installation());
    file.close();

    QProcess sim;
    sim.setProcessChannelMode(QProcess::MergedChannels);
    sim.start(QCoreApplication::applicationDirPath() + QStringLiteral("/../tools/sim/orrery-sim"),
              {QStringLiteral("--config"), config, QStringLiteral("--run-for"), QStringLiteral("120000")});
    QByteArray started;
    while (!started.contains("port 6038") && sim.waitForReadyRead(10000))
        started += sim.readAll();
    if (!started.contains("port 6038")) {
        std::fprintf(stderr, "simulator did not start: %s\n", started.constData());
        return 1;
    }

    DiscoveryEngine engine;
    QList<DataSupply *> supplies;
    QObject::connect(&engine, &DiscoveryEngine::discoveredController,
                     [&](DataSupply *s) { supplies << s; });
    QElapsedTimer timer;
    timer.start();
    engine.discoverControllers(); // one request, no repeats
    qint64 lastAnswer = 0;
    QObject::connect(&engine, &DiscoveryEngine::discoveredController,
                     [&](DataSupply *) { lastAnswer = timer.elapsed(); });
    waitUntil([&] { return supplies.size() == kSupplies; }, 3000);
    std::printf("discover burst: %d of %d supplies answered one request, last after %lld ms\n",
                int(supplies.size()), kSupplies, static_cast<long long>(lastAnswer));

    LightSearch search(engine);
    search.start(supplies, 1500);
    waitUntil([&] { return !search.isRunning(); }, 5000);
    const QList<Light *> lights = search.lights();
    std::printf("scan: %d lights found\n", int(lights.size()));

    LightDataReader reader(engine);
    timer.restart();
    reader.start(lights);
    waitUntil([&] { return !reader.isRunning(); }, 120000);
    const double seconds = timer.nsecsElapsed() / 1e9;
    std::printf("read DMX addresses: %d read, %d without answer in %.2f s = %.0f light reads/s, "
                "%d requests sent again\n",
                reader.readCount(), reader.failedCount(), seconds, reader.readCount() / seconds,
                reader.resendCount());
    sim.kill();
    sim.waitForFinished();
    return 0;
}
