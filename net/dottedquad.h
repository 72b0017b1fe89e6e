#pragma once

#include <QString>

#include <optional>

// Address text as the lighting protocol uses it: exactly four decimal parts 0-255 separated by
// dots ("10.1.1.222"). Shorthand forms ("10.1"), octal or hexadecimal parts, signs and spaces
// are refused, so a typo never turns into some other host. Leading zeros are read as decimal.
// The value is host order (the first part in the top byte), as QHostAddress takes it.
std::optional<quint32> parseDottedQuad(const QString &text);
