#include "effects/frametiming.h"

#include <algorithm>

qint32 FrameTiming::nextDelay(qint64 elapsedMs)
{
    const qint64 late = elapsedMs - interval;
    qint64 accumulated = qint64(drift) + late;
    if (accumulated > 2 * qint64(maxDrift))
        accumulated = 0;
    drift = qint32(std::max<qint64>(0, std::min<qint64>(accumulated, maxDrift)));
    // Integer division truncates toward zero, so an early frame (negative lateness)
    // lengthens the next wait.
    const qint64 next = qint64(interval) - late / 5 - drift / 5;
    return qint32(std::max<qint64>(minDelay, std::min<qint64>(next, maxDelay)));
}
