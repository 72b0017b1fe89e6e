#pragma once

#include <QString>

// How serial numbers are written for people: upper-case hexadecimal of 8 digits for classic
// devices (32-bit serials) and 12 for RDM devices (48-bit unique ids).
namespace SerialText {

QString of(quint64 serial);
// The same, but empty for the "not known" serial 0xFFFFFFFF that hand-made objects carry.
QString ofKnown(quint64 serial);

} // namespace SerialText
