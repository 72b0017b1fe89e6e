#pragma once

#include <QByteArray>
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

// Our definition files and property maps are tens of kilobytes; a file past this is not one
// of them, and reading it whole would only cost memory.
constexpr qint64 kMaxFileBytes = 1 << 20;

// The bytes of a device file, or nothing (logged) when it cannot be read or is larger than
// kMaxFileBytes; the reader then logs the file as empty or improperly formatted.
QByteArray readFile(const QString &path);

} // namespace JsonValues
