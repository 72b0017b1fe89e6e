#pragma once

#include "model/datasupply.h"
#include "model/light.h"

#include <QElapsedTimer>
#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QTimer>

class DiscoveryEngine;

// Reads the stored data of many lights without flooding the network or freezing the window:
// a bounded number of lights is read at a time, and a light whose read stalls (a request or
// its answer was lost) is asked again from where it stopped, up to a bounded number of
// attempts. What never answers ends as NoAnswer; nothing waits forever.
class LightDataReader final : public QObject
{
    Q_OBJECT
public:
    // Incomplete: the light answered every step but what the map needs of it, a valid DMX
    // start address, was not among the answers (an RDM fixture refused it, or the stored
    // value is out of range).
    enum class State { Waiting, Reading, Read, NoAnswer, Incomplete };
    Q_ENUM(State)

    explicit LightDataReader(DiscoveryEngine &engine, QObject *parent = nullptr);

    // Lights read at the same time. Replies to a burst of requests must fit the receive
    // buffers of both ends.
    void setWindow(int lights) { m_window = qMax(1, lights); }
    // How long one request may go unanswered before it is asked again.
    void setRequestTimeoutMs(int ms) { m_timeoutMs = qMax(1, ms); }
    // Requests per step of a light's read, the first included; a light that moves on to its
    // next step starts counting again.
    void setMaxAttempts(int attempts) { m_maxAttempts = qMax(1, attempts); }

    void start(const QList<Light *> &lights);
    // Reads again the lights that ended without an answer.
    void retryUnfinished();
    // Stops reading; what was read stays, the rest ends as NoAnswer.
    void cancel();
    bool isRunning() const { return m_check.isActive(); }

    State state(quint64 lightUid) const { return m_states.value(lightUid, State::Waiting); }
    int total() const { return m_states.size(); }
    int readCount() const { return m_read; }
    int failedCount() const { return m_failed; }
    int incompleteCount() const { return m_incomplete; }
    // Requests sent again because an answer did not come in time (a measure of loss).
    int resendCount() const { return m_resends; }
    QList<quint64> unfinished() const;

signals:
    void lightStateChanged(quint64 lightUid, LightDataReader::State state);
    void progress(int done, int total);
    void finished();

private:
    struct InFlight
    {
        QPointer<Light> light;
        qint64 deadline = 0;
        int attempts = 0; // requests for the current step
        int step = 0;     // the engine's progress when the step began
    };

    void begin(const QList<Light *> &lights);
    void fillWindow();
    void launch(Light *light);
    void setState(quint64 uid, State state);
    void handleComplete(quint64 lightUid);
    void handleCheck();
    void finishIfDone();
    int doneCount() const { return m_read + m_failed + m_incomplete; }

    DiscoveryEngine &m_engine;
    int m_window = 128;
    int m_timeoutMs = 300;
    int m_maxAttempts = 12;
    QList<QPointer<Light>> m_queue;
    QHash<quint64, InFlight> m_inFlight;
    QHash<quint64, State> m_states;
    QHash<quint64, QPointer<Light>> m_lights;
    int m_read = 0;
    int m_failed = 0;
    int m_incomplete = 0;
    int m_resends = 0;
    QElapsedTimer m_clock;
    QTimer m_check;
};
