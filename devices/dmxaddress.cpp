#include "devices/dmxaddress.h"

namespace DmxAddress {

int offsetFromBytes(quint8 high, quint8 low)
{
    return qBound(kMinOffset, (int(high) << 8) | int(low), kMaxOffset);
}

std::pair<quint8, quint8> bytesForOffset(int offset)
{
    const int limited = qBound(kMinOffset, offset, kMaxOffset);
    return {static_cast<quint8>(limited >> 8), static_cast<quint8>(limited & 0xFF)};
}

int addressFromOffset(int offset)
{
    return qBound(kMinOffset, offset, kMaxOffset) + 1;
}

int offsetFromAddress(int address)
{
    return qBound(kMinAddress, address, kMaxAddress) - 1;
}

} // namespace DmxAddress
