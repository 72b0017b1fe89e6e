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

std::optional<int> offsetFromText(const QString &text)
{
    const QString trimmed = text.trimmed();
    bool ok = false;
    const uint offset = trimmed.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)
                            ? trimmed.mid(2).toUInt(&ok, 16)
                            : trimmed.toUInt(&ok, 10);
    if (!ok || offset > uint(kMaxOffset))
        return std::nullopt;
    return int(offset);
}

int addressFromText(const QString &text)
{
    const std::optional<int> offset = offsetFromText(text);
    return offset ? *offset + 1 : 0;
}

} // namespace DmxAddress
