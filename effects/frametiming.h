#pragma once

#include <QtGlobal>

// The arithmetic of the effect engine's self-correcting frame timer, kept apart from the
// timer so that it can be checked number by number.
//
// Each frame corrects one fifth of its own lateness and one fifth of the lateness
// accumulated so far (the drift), and never waits less than a quarter or more than twice
// the interval. So the average rate holds at one frame per interval even when single
// frames come late. Drift beyond 200 intervals is thrown away as a stall (a suspended
// laptop, a debugger), drift beyond 100 intervals is capped; the first threshold lies above
// the second on purpose.
struct FrameTiming
{
    qint32 interval = 100;
    qint32 drift = 0;
    qint32 minDelay = 25;
    qint32 maxDelay = 200;
    qint32 maxDrift = 10000;

    explicit FrameTiming(qint32 intervalMs = 100) { setInterval(intervalMs); }

    void setInterval(qint32 ms)
    {
        interval = ms;
        drift = 0;
        minDelay = ms / 4;
        maxDelay = 2 * ms;
        maxDrift = 100 * ms;
    }

    // Takes the time since the last frame and returns how long to wait for the next one,
    // updating the drift.
    qint32 nextDelay(qint64 elapsedMs);
};
