#pragma once

#include <QString>

#include <algorithm>
#include <functional>

// Long operations over many objects report progress every "step" items, with
// step = max(total / 100, 1): about a hundred updates whatever the size.
inline int progressStep(int total)
{
    return std::max(total / 100, 1);
}

// Where a long operation reports to; MapModel forwards these to its progress signals.
struct ProgressReporter
{
    std::function<void(int minimum, int maximum, const QString &text)> started;
    std::function<void(int value)> updated;
    std::function<void(const QString &text)> textChanged;
};
