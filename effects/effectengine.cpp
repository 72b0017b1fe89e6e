#include "effects/effectengine.h"

#include "effects/effect.h"
#include "model/mapmodel.h"

#include <QTimer>

#include <algorithm>

EffectEngine::EffectEngine(MapModel *model, const QList<Effect *> &effects, qint32 intervalMs,
                           QObject *parent)
    : QObject(parent), m_model(model), m_timing(intervalMs), m_timer(std::make_unique<QTimer>())
{
    if (!model)
        qFatal("EffectEngine: a model is required");
    for (Effect *effect : effects)
        if (effect)
            m_effects.append(effect);
    sortEffects();
    m_timer->setInterval(intervalMs);
    m_timer->setSingleShot(true);
    m_timer->setTimerType(Qt::PreciseTimer);
    connect(m_timer.get(), &QTimer::timeout, this, &EffectEngine::handleTimer);
    m_timer->start();
}

EffectEngine::~EffectEngine() = default;

void EffectEngine::sortEffects()
{
    // Ascending priority; effects of equal priority keep the order they were added in.
    std::stable_sort(m_effects.begin(), m_effects.end(),
                     [](const Effect *a, const Effect *b) { return a->priority < b->priority; });
}

void EffectEngine::addEffect(Effect *effect)
{
    if (!effect)
        return;
    m_effects.append(effect);
    if (m_effects.size() > 1)
        sortEffects();
}

void EffectEngine::setInterval(qint32 ms)
{
    m_timing.setInterval(ms);
}

void EffectEngine::pause(bool paused)
{
    m_paused = paused;
    if (paused) {
        m_timer->stop();
    } else {
        m_timing.drift = 0;
        m_lastFrame = QDateTime::currentDateTime();
        m_timer->start(m_timing.interval);
    }
    emit pauseUpdate(paused);
}

void EffectEngine::renderFrame(const QDateTime &now)
{
    for (Effect *effect : qAsConst(m_effects))
        effect->render(now, m_frameCount);
    emit propertiesCompiled();
    m_model->updateLights();
    ++m_frameCount;
    emit EngineTick(now);
    emit updateNow();
}

void EffectEngine::handleTimer()
{
    const QDateTime now = QDateTime::currentDateTime();
    renderFrame(now);
    const qint64 elapsed = m_lastFrame.msecsTo(now);
    m_lastFrame = now;
    if (!m_paused)
        m_timer->start(m_timing.nextDelay(elapsed));
}
