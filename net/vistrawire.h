#pragma once

#include <QtGlobal>

// Wire constants of the Vistra lighting protocol. Every datagram in both directions starts with
// a 12-byte header: magic (4), version (2), type (2), sequence or address (4). Header integers
// and payload integers are little-endian; IPv4 addresses travel in network order (the first
// dotted-quad part first); the RDM payload inside it is big-endian (ANSI E1.20).
namespace VistraWire {

constexpr quint32 kMagic = 0x4ADC0104; // bytes 04 01 DC 4A on the wire
constexpr int kHeaderSize = 12;
constexpr quint16 kVersion = 1;
constexpr quint16 kRdmVersion = 3;
constexpr int kDmxMaxLength = 512;

enum class RequestType : quint16 {
    Discover = 0x0001,
    DiscoverPorts = 0x000A,
    DmxOut = 0x0101,
    GetDeviceVariable = 0x0105,
    PortOut = 0x0108,
    Sync = 0x0109,
    BlinkScan = 0x0201,
    BlinkEERead = 0x0203,
    BlinkScan2 = 0x0207,
    RdmGet = 0x0303,
};

enum class ReplyType : quint16 {
    Discover = 0x0002,
    DiscoverPorts = 0x000B,
    DiscoverEO = 0x000D,
    DiscoverV3 = 0x000F,
    DeviceVariable = 0x0106,
    GetArray = 0x010B,
    GetByteArray = 0x010E,
    BlinkScan = 0x0202,
    ReadByte = 0x0204,
    BEBlinkScan = 0x0205,
    CAScan = 0x0206,
    BlinkScan2 = 0x0208,
    ExtPromToken = 0x020A,
    RdmGet = 0x0304,
};

// Explicit byte order, never packed structs. Callers check bounds before reading.
inline quint16 readU16Le(const uchar *p)
{
    return quint16(p[0] | (p[1] << 8));
}

inline quint32 readU32Le(const uchar *p)
{
    return quint32(p[0]) | (quint32(p[1]) << 8) | (quint32(p[2]) << 16) | (quint32(p[3]) << 24);
}

inline quint64 readU64Le(const uchar *p)
{
    return quint64(readU32Le(p)) | (quint64(readU32Le(p + 4)) << 32);
}

inline quint16 readU16Be(const uchar *p)
{
    return quint16((p[0] << 8) | p[1]);
}

inline quint32 readU32Be(const uchar *p)
{
    return (quint32(p[0]) << 24) | (quint32(p[1]) << 16) | (quint32(p[2]) << 8) | quint32(p[3]);
}

inline void writeU16Le(uchar *p, quint16 v)
{
    p[0] = uchar(v);
    p[1] = uchar(v >> 8);
}

inline void writeU32Le(uchar *p, quint32 v)
{
    writeU16Le(p, quint16(v));
    writeU16Le(p + 2, quint16(v >> 16));
}

inline void writeU16Be(uchar *p, quint16 v)
{
    p[0] = uchar(v >> 8);
    p[1] = uchar(v);
}

inline void writeU32Be(uchar *p, quint32 v)
{
    writeU16Be(p, quint16(v >> 16));
    writeU16Be(p + 2, quint16(v));
}

} // namespace VistraWire
