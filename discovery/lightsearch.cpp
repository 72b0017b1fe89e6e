#include "discovery/lightsearch.h"

#include "discovery/discoveryengine.h"
#include "discovery/supplysearch.h"
#include "model/datasupply.h"
#include "model/light.h"

#include <algorithm>

LightSearch::LightSearch(DiscoveryEngine &engine, QObject *parent)
    : QObject(parent), m_engine(engine)
{
    m_deadline.setSingleShot(true);
    connect(&m_repeat, &QTimer::timeout, this, &LightSearch::handleTick);
    connect(&m_deadline, &QTimer::timeout, this, &LightSearch::finish);
    connect(&m_engine, &DiscoveryEngine::discoveredLight, this,
            &LightSearch::handleDiscoveredLight);
    connect(&m_engine, &DiscoveryEngine::scannedPort, this, &LightSearch::handleScannedPort);
}

void LightSearch::start(const QList<DataSupply *> &supplies, int listenMs)
{
    m_found.clear();
    m_supplies.clear();
    m_scannedPorts.clear();
    m_repeat.start(SupplySearch::repeatIntervalMs(listenMs));
    m_deadline.start(listenMs);
    for (DataSupply *supply : supplies) {
        m_supplies << supply;
        m_engine.registerSupply(supply);
    }
}

void LightSearch::cancel()
{
    if (isRunning())
        finish();
}

QList<int> LightSearch::unansweredPorts(const DataSupply *supply) const
{
    QList<int> ports;
    if (!supply || supply->protocolKind() < 1 || supply->protocolKind() > 3)
        return ports;
    const QSet<int> scanned = m_scannedPorts.value(supply->uid());
    for (int i = 0; i < supply->ports().size(); ++i) {
        const SupplyPort &port = supply->ports().at(i);
        // Streaming ports carry a universe, not lights that answer scans.
        if (port.type == DataSupply::kSacnPort || port.type == DataSupply::kArtNetPort)
            continue;
        // Scan answers name ports by their wire number, counted from 1; a port of the map
        // without a number (made by hand, or by an older version) is taken by its place.
        if (!scanned.contains(port.number > 0 ? port.number - 1 : i))
            ports << i;
    }
    return ports;
}

void LightSearch::handleTick()
{
    for (const auto &supply : qAsConst(m_supplies)) {
        if (!supply)
            continue;
        m_engine.scanLights(supply);
        if (m_engine.portsPending(supply))
            m_engine.discoverPorts(supply);
    }
}

void LightSearch::handleDiscoveredLight(Light *light)
{
    if (!isRunning())
        return;
    const bool ours = std::any_of(m_supplies.cbegin(), m_supplies.cend(), [light](const auto &s) {
        return s && s->uid() == light->dataSupply();
    });
    if (!ours)
        return;
    m_found << light;
    emit lightFound(light);
}

void LightSearch::handleScannedPort(quint64 supplyUid, int port)
{
    if (isRunning())
        m_scannedPorts[supplyUid].insert(port);
}

void LightSearch::finish()
{
    m_repeat.stop();
    m_deadline.stop();
    emit finished();
}
