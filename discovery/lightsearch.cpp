#include "discovery/lightsearch.h"

#include "discovery/discoveryengine.h"
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
}

void LightSearch::start(const QList<DataSupply *> &supplies, int listenMs)
{
    m_found.clear();
    m_supplies.clear();
    m_repeat.start(std::clamp(listenMs / 4, 50, 500));
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

void LightSearch::handleTick()
{
    for (const auto &supply : qAsConst(m_supplies)) {
        if (supply)
            m_engine.scanLights(supply);
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

void LightSearch::finish()
{
    m_repeat.stop();
    m_deadline.stop();
    emit finished();
}
