#pragma once

#include "effects/frametiming.h"

#include <QDateTime>
#include <QList>
#include <QObject>

#include <memory>

class Effect;
class MapModel;
class QTimer;

// Plays the installation live: at every frame each effect, in ascending priority, gives the
// lights it covers a colour, and then the model writes and sends every supply's frames.
//
// The frame timer is a single-shot precise timer restarted after each frame with a delay
// that corrects the lateness of the frames (see FrameTiming), so the average rate stays at
// one frame per interval. Effects are not owned.
class EffectEngine final : public QObject
{
    Q_OBJECT
public:
    // A null model is a programming error and aborts.
    EffectEngine(MapModel *model, const QList<Effect *> &effects = {}, qint32 intervalMs = 100,
                 QObject *parent = nullptr);
    ~EffectEngine() override;

    void addEffect(Effect *effect);
    const QList<Effect *> &effects() const { return m_effects; }

    qint32 interval() const { return m_timing.interval; }
    void setInterval(qint32 ms);
    const FrameTiming &timing() const { return m_timing; }
    quint32 frameCount() const { return m_frameCount; }
    bool isPaused() const { return m_paused; }
    QTimer *timer() const { return m_timer.get(); }

    // Stops the timer, or resumes it with the drift forgotten.
    void pause(bool paused);
    // Renders and sends one frame for the given time, without touching the timer.
    void renderFrame(const QDateTime &now);

public slots:
    void handleTimer();

signals:
    void EngineTick(const QDateTime &now);
    void propertiesCompiled();
    // Views that follow the live colours: stop and resume drawing them with the engine.
    void pauseUpdate(bool paused);
    // A frame was rendered; views that show live colours redraw.
    void updateNow();

private:
    void sortEffects();

    MapModel *m_model = nullptr;
    QList<Effect *> m_effects;
    quint32 m_frameCount = 0;
    FrameTiming m_timing;
    std::unique_ptr<QTimer> m_timer;
    QDateTime m_lastFrame = QDateTime::currentDateTime();
    bool m_paused = false;
};
