#include "model/uidallocator.h"

#include <QTime>

#include <cstdlib>

namespace UidAllocator {

void seedRandom()
{
    std::srand(static_cast<unsigned>(QTime::currentTime().msec()));
}

quint64 next(const std::function<bool(quint64)> &isHeld)
{
    // Function-local static: initialised exactly once, thread-safely, on first use.
    static quint64 counter = static_cast<quint64>(std::rand());
    ++counter;
    while (isHeld && isHeld(counter))
        ++counter;
    return counter;
}

} // namespace UidAllocator
