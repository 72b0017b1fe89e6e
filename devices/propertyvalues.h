#pragma once

#include <QJsonValue>
#include <QPair>
#include <QString>
#include <QVector>

#include <optional>

// The allowed values of a device setting, as both the property map and the memory maps
// write them in their "values" arrays: either named options ({"name": text, "value": n})
// in display order, or a range given by {"min": n} and {"max": n} elements, or nothing.
struct PropertyValues
{
    QVector<QPair<QString, qint64>> options;
    qint64 min = 0;
    qint64 max = 0;
    bool hasMin = false;
    bool hasMax = false;

    // Reads a "values" array. Element keys are compared without regard to case; an element
    // with both a name and a value adds an option, "min" and "max" set the bounds (a later
    // bound replaces an earlier one). Anything else is skipped.
    static PropertyValues fromJson(const QJsonValue &values);

    bool hasOptions() const { return !options.isEmpty(); }
    bool hasBounds() const { return hasMin || hasMax; }
    bool isEmpty() const { return !hasOptions() && !hasBounds(); }

    // The option's display text for a value, and the value of a display text. Display texts
    // are matched exactly first, then without regard to case, so that typed text is
    // accepted in any case but always maps to the option written in the property map.
    std::optional<QString> optionText(qint64 value) const;
    std::optional<qint64> optionValue(const QString &text) const;

    // True when the value lies inside the bounds that were given.
    bool inBounds(qint64 value) const;
};
