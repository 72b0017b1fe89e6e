#pragma once

#include <QtGlobal>

#include <functional>

// Uids come from one counter for the whole process. It starts at a random value (the C
// library's rand(), which MapModel seeds) so that uids of separate runs rarely collide when
// maps are merged by hand, and then only grows.
namespace UidAllocator {

// Seeds rand() with the millisecond part of the time of day.
void seedRandom();

// Advances the counter by one, and further while isHeld() says the value is taken.
quint64 next(const std::function<bool(quint64)> &isHeld);

} // namespace UidAllocator
