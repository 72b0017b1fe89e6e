#include "model/serialtext.h"

namespace SerialText {

namespace {

constexpr quint64 kUnknownSerial = 0xFFFFFFFFull;

} // namespace

QString of(quint64 serial)
{
    const int digits = serial > 0xFFFFFFFFull ? 12 : 8;
    return QStringLiteral("%1").arg(serial, digits, 16, QLatin1Char('0')).toUpper();
}

QString ofKnown(quint64 serial)
{
    return serial == kUnknownSerial ? QString() : of(serial);
}

} // namespace SerialText
