#include "sim/simwire.h"

namespace SimWire {

namespace {

const uchar *bytes(const QByteArray &data)
{
    return reinterpret_cast<const uchar *>(data.constData());
}

bool fits(const QByteArray &data, int offset, int width)
{
    return offset >= 0 && width >= 0 && data.size() - width >= offset;
}

void putByte(QByteArray &data, int offset, quint64 value)
{
    data[offset] = static_cast<char>(value & 0xFFu);
}

} // namespace

bool parseHeader(const QByteArray &datagram, Header *header)
{
    quint32 magic = 0;
    if (!readLe32(datagram, 0, &magic) || magic != kMagic)
        return false;
    readLe16(datagram, 4, &header->version);
    readLe16(datagram, 6, &header->type);
    readLe32(datagram, 8, &header->sequence);
    return true;
}

QByteArray makeDatagram(quint16 type, int size, quint16 version)
{
    QByteArray datagram(qMax(size, kHeaderSize), '\0');
    putLe32(datagram, 0, kMagic);
    putLe16(datagram, 4, version);
    putLe16(datagram, 6, type);
    return datagram;
}

bool readLe16(const QByteArray &data, int offset, quint16 *value)
{
    if (!fits(data, offset, 2))
        return false;
    const uchar *b = bytes(data) + offset;
    *value = static_cast<quint16>(b[0] | (b[1] << 8));
    return true;
}

bool readLe32(const QByteArray &data, int offset, quint32 *value)
{
    if (!fits(data, offset, 4))
        return false;
    const uchar *b = bytes(data) + offset;
    *value = quint32(b[0]) | (quint32(b[1]) << 8) | (quint32(b[2]) << 16) | (quint32(b[3]) << 24);
    return true;
}

bool readBe16(const QByteArray &data, int offset, quint16 *value)
{
    if (!fits(data, offset, 2))
        return false;
    const uchar *b = bytes(data) + offset;
    *value = static_cast<quint16>((b[0] << 8) | b[1]);
    return true;
}

bool readBe32(const QByteArray &data, int offset, quint32 *value)
{
    if (!fits(data, offset, 4))
        return false;
    const uchar *b = bytes(data) + offset;
    *value = (quint32(b[0]) << 24) | (quint32(b[1]) << 16) | (quint32(b[2]) << 8) | quint32(b[3]);
    return true;
}

bool readBe48(const QByteArray &data, int offset, quint64 *value)
{
    quint16 high = 0;
    quint32 low = 0;
    if (!readBe16(data, offset, &high) || !readBe32(data, offset + 2, &low))
        return false;
    *value = (quint64(high) << 32) | low;
    return true;
}

void putLe16(QByteArray &data, int offset, quint16 value)
{
    Q_ASSERT(fits(data, offset, 2));
    for (int i = 0; i < 2; ++i)
        putByte(data, offset + i, value >> (8 * i));
}

void putLe32(QByteArray &data, int offset, quint32 value)
{
    Q_ASSERT(fits(data, offset, 4));
    for (int i = 0; i < 4; ++i)
        putByte(data, offset + i, value >> (8 * i));
}

void putLe64(QByteArray &data, int offset, quint64 value)
{
    Q_ASSERT(fits(data, offset, 8));
    for (int i = 0; i < 8; ++i)
        putByte(data, offset + i, value >> (8 * i));
}

void putBe16(QByteArray &data, int offset, quint16 value)
{
    Q_ASSERT(fits(data, offset, 2));
    putByte(data, offset, value >> 8);
    putByte(data, offset + 1, value);
}

void putBe32(QByteArray &data, int offset, quint32 value)
{
    Q_ASSERT(fits(data, offset, 4));
    for (int i = 0; i < 4; ++i)
        putByte(data, offset + i, value >> (8 * (3 - i)));
}

void putBe48(QByteArray &data, int offset, quint64 value)
{
    Q_ASSERT(fits(data, offset, 6));
    for (int i = 0; i < 6; ++i)
        putByte(data, offset + i, value >> (8 * (5 - i)));
}

void putAddress(QByteArray &data, int offset, quint32 ipv4)
{
    putBe32(data, offset, ipv4);
}

} // namespace SimWire
