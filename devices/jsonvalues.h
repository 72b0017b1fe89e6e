#pragma once

#include <QJsonValue>
#include <QStringList>

// Conversions of JSON values as the device files use them. Definition files are data from
// outside the program: every conversion is total (no value makes it fail or overflow) and
// anything that is not what was asked for gives the neutral value.
namespace JsonValues {

// A JSON number as a whole number, truncated toward zero and clamped to the 64-bit range;
// anything that is not a finite number gives 0.
qint64 toInteger(const QJsonValue &value);

// A string gives a one-element list; an array gives its string elements in order (other
// elements are left out); anything else gives an empty list.
QStringList toStringList(const QJsonValue &value);

} // namespace JsonValues
