#include "discovery/supplysearch.h"

#include "discovery/discoveryengine.h"
#include "model/datasupply.h"

#include <algorithm>

SupplySearch::SupplySearch(DiscoveryEngine &engine, QObject *parent)
    : QObject(parent), m_engine(engine)
{
    m_deadline.setSingleShot(true);
    connect(&m_repeat, &QTimer::timeout, this, &SupplySearch::handleTick);
    connect(&m_deadline, &QTimer::timeout, this, &SupplySearch::finish);
    connect(&m_engine, &DiscoveryEngine::discoveredController, this,
            &SupplySearch::handleDiscoveredController);
    connect(&m_engine, &DiscoveryEngine::discoveredPorts, this,
            &SupplySearch::handleDiscoveredPorts);
}

void SupplySearch::start(int listenMs)
{
    m_found.clear();
    m_portsKnown.clear();
    // Four or more tries within the listening time, at most one every half second.
    m_repeat.start(std::clamp(listenMs / 4, 50, 500));
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
    return supply && m_portsKnown.contains(supply->uid());
}

void SupplySearch::handleTick()
{
    m_engine.repeatDiscover();
    for (DataSupply *supply : qAsConst(m_found)) {
        if (!m_portsKnown.contains(supply->uid()))
            m_engine.discoverPorts(supply);
    }
}

void SupplySearch::handleDiscoveredController(DataSupply *supply)
{
    if (!isRunning())
        return;
    m_found << supply;
    emit supplyFound(supply);
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
    m_deadline.stop();
    emit finished();
}
