#include "discovery/supplysearch.h"

#include "discovery/discoveryengine.h"
#include "model/datasupply.h"

#include <algorithm>

SupplySearch::SupplySearch(DiscoveryEngine &engine, QObject *parent)
    : QObject(parent), m_engine(engine)
{
    m_deadline.setSingleShot(true);
    connect(&m_repeat, &QTimer::timeout, this, &SupplySearch::handleTick);
    connect(&m_portRepeat, &QTimer::timeout, this, &SupplySearch::handlePortTick);
    connect(&m_deadline, &QTimer::timeout, this, &SupplySearch::finish);
    connect(&m_engine, &DiscoveryEngine::discoveredController, this,
            &SupplySearch::handleDiscoveredController);
    connect(&m_engine, &DiscoveryEngine::discoveredPorts, this,
            &SupplySearch::handleDiscoveredPorts);
}

int SupplySearch::repeatIntervalMs(int listenMs)
{
    return std::clamp(listenMs / 10, 50, 200);
}

void SupplySearch::start(int listenMs)
{
    m_found.clear();
    m_portsKnown.clear();
    m_repeat.start(repeatIntervalMs(listenMs));
    m_portRepeat.start(std::max(25, repeatIntervalMs(listenMs) / 2));
    m_deadline.start(listenMs);
    m_engine.discoverControllers();
}

void SupplySearch::cancel()
{
    if (isRunning())
        finish();
}

QList<DataSupply *> SupplySearch::supplies() const
{
    return m_found;
}

bool SupplySearch::portsKnown(const DataSupply *supply) const
{
    // An answer after the search ended (while lights are scanned) still counts.
    return supply && (m_portsKnown.contains(supply->uid()) || !m_engine.portsPending(supply));
}

QList<DataSupply *> SupplySearch::suppliesWithoutPorts() const
{
    QList<DataSupply *> list;
    for (DataSupply *supply : m_found) {
        if (!portsKnown(supply))
            list << supply;
    }
    return list;
}

QList<DataSupply *> SupplySearch::sharingSerial(const DataSupply *supply) const
{
    QList<DataSupply *> list;
    for (DataSupply *other : m_found) {
        if (supply && other != supply && other->serialNumber() == supply->serialNumber())
            list << other;
    }
    return list;
}

void SupplySearch::handleTick()
{
    m_engine.repeatDiscover();
}

void SupplySearch::handlePortTick()
{
    for (DataSupply *supply : qAsConst(m_found)) {
        if (m_engine.portsPending(supply))
            m_engine.discoverPorts(supply);
    }
}

void SupplySearch::handleDiscoveredController(DataSupply *supply)
{
    if (!isRunning())
        return;
    const QList<DataSupply *> twins = sharingSerial(supply);
    m_found << supply;
    emit supplyFound(supply);
    if (!twins.isEmpty())
        emit duplicateSerialFound(supply, twins.constFirst());
    m_engine.discoverPorts(supply);
}

void SupplySearch::handleDiscoveredPorts(quint64 uid, int portCount)
{
    Q_UNUSED(portCount)
    if (!isRunning() || m_portsKnown.contains(uid))
        return;
    const auto it = std::find_if(m_found.cbegin(), m_found.cend(),
                                 [uid](const DataSupply *s) { return s->uid() == uid; });
    if (it == m_found.cend())
        return;
    m_portsKnown.insert(uid);
    emit portsFound(*it);
}

void SupplySearch::finish()
{
    m_repeat.stop();
    m_portRepeat.stop();
    m_deadline.stop();
    emit finished();
}
