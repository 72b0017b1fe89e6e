#include "discovery/lightdatareader.h"

#include "discovery/discoveredmap.h"
#include "discovery/discoveryengine.h"
#include "model/light.h"

LightDataReader::LightDataReader(DiscoveryEngine &engine, QObject *parent)
    : QObject(parent), m_engine(engine)
{
    m_check.setInterval(25);
    connect(&m_check, &QTimer::timeout, this, &LightDataReader::handleCheck);
    connect(&m_engine, &DiscoveryEngine::lightDataReadComplete, this,
            &LightDataReader::handleComplete);
}

void LightDataReader::start(const QList<Light *> &lights)
{
    m_states.clear();
    m_lights.clear();
    m_read = 0;
    m_failed = 0;
    m_incomplete = 0;
    m_resends = 0;
    begin(lights);
}

void LightDataReader::retryUnfinished()
{
    QList<Light *> again;
    for (auto it = m_states.cbegin(); it != m_states.cend(); ++it) {
        if (it.value() == State::NoAnswer && m_lights.value(it.key()))
            again << m_lights.value(it.key()).data();
    }
    m_failed -= again.size();
    begin(again);
}

void LightDataReader::begin(const QList<Light *> &lights)
{
    m_queue.clear();
    m_inFlight.clear();
    for (Light *light : lights) {
        m_lights.insert(light->uid(), light);
        m_queue << light;
        setState(light->uid(), State::Waiting);
    }
    // A read run starts on a fresh socket: nothing an earlier run left queued is read as an
    // answer to this one.
    m_engine.resetProtocolSocket();
    m_clock.start();
    m_check.start();
    fillWindow();
    emit progress(doneCount(), m_states.size());
    finishIfDone();
}

void LightDataReader::cancel()
{
    if (!isRunning())
        return;
    const QList<quint64> stopped = unfinished();
    m_queue.clear();
    m_inFlight.clear();
    for (quint64 uid : stopped) {
        ++m_failed;
        setState(uid, State::NoAnswer);
    }
    finishIfDone();
}

QList<quint64> LightDataReader::unfinished() const
{
    QList<quint64> list;
    for (auto it = m_states.cbegin(); it != m_states.cend(); ++it) {
        if (it.value() != State::Read)
            list << it.key();
    }
    return list;
}

void LightDataReader::setState(quint64 uid, State state)
{
    m_states.insert(uid, state);
    emit lightStateChanged(uid, state);
}

void LightDataReader::fillWindow()
{
    while (m_inFlight.size() < m_window && !m_queue.isEmpty()) {
        QPointer<Light> light = m_queue.takeFirst();
        if (light)
            launch(light);
    }
}

void LightDataReader::launch(Light *light)
{
    InFlight flight;
    flight.light = light;
    flight.attempts = 1;
    flight.deadline = m_clock.elapsed() + m_timeoutMs;
    m_inFlight.insert(light->uid(), flight);
    setState(light->uid(), State::Reading);
    m_engine.readLightData({light});
}

void LightDataReader::handleComplete(quint64 lightUid)
{
    if (!m_inFlight.remove(lightUid) && state(lightUid) != State::NoAnswer)
        return;
    if (state(lightUid) == State::NoAnswer)
        --m_failed; // a late answer still counts
    const Light *light = m_lights.value(lightUid);
    if (light && dmxAddressOf(*light) > 0) {
        ++m_read;
        setState(lightUid, State::Read);
    } else {
        ++m_incomplete;
        setState(lightUid, State::Incomplete);
    }
    emit progress(doneCount(), m_states.size());
    fillWindow();
    finishIfDone();
}

void LightDataReader::handleCheck()
{
    const qint64 now = m_clock.elapsed();
    QList<quint64> givenUp;
    for (auto it = m_inFlight.begin(); it != m_inFlight.end(); ++it) {
        if (it->deadline > now)
            continue;
        const int step = m_engine.readProgress(it->light);
        if (it->light && step > it->step) {
            // Answers came in since the last look: only a stalled step counts attempts.
            it->step = step;
            it->attempts = 1;
            it->deadline = now + m_timeoutMs;
            continue;
        }
        if (!it->light || it->attempts >= m_maxAttempts) {
            givenUp << it.key();
            continue;
        }
        ++it->attempts;
        ++m_resends;
        it->deadline = now + m_timeoutMs;
        m_engine.resumeLightData(it->light);
    }
    for (quint64 uid : qAsConst(givenUp)) {
        m_inFlight.remove(uid);
        ++m_failed;
        setState(uid, State::NoAnswer);
    }
    if (!givenUp.isEmpty()) {
        emit progress(doneCount(), m_states.size());
        fillWindow();
        finishIfDone();
    }
}

void LightDataReader::finishIfDone()
{
    if (!m_check.isActive() || !m_queue.isEmpty() || !m_inFlight.isEmpty())
        return;
    m_check.stop();
    // Lights that never answered would otherwise be asked again every half second forever.
    if (m_failed > 0)
        m_engine.abandonReads();
    emit finished();
}
