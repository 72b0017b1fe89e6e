#pragma once

#include <QByteArray>

#include <cstdint>

// The device side of the lighting protocol's framing: the 12-byte header every datagram
// starts with, the operation codes the simulated supplies understand or send, and explicit
// byte-order helpers. Written on its own from the wire tables so that the simulator never
// shares a misreading with the program's codec.
namespace SimWire {

constexpr quint16 kPort = 6038;
constexpr int kHeaderSize = 12;
// Magic 0x4ADC0104, sent little-endian: 04 01 DC 4A.
constexpr quint32 kMagic = 0x4ADC0104u;

enum Type : quint16 {
    Discover = 0x0001,
    DiscoverReply = 0x0002,
    DiscoverPorts = 0x000A,
    DiscoverPortsReply = 0x000B,
    DiscoverReplyV3 = 0x000F,
    DmxOut = 0x0101,
    GetDeviceVariable = 0x0105,
    DeviceVariableReply = 0x0106,
    PortOut = 0x0108,
    Sync = 0x0109,
    BlinkScan = 0x0201,
    BlinkScanReply = 0x0202,
    BlinkEERead = 0x0203,
    BlinkEEReadReply = 0x0204,
    BlinkScan2 = 0x0207,
    BlinkScan2Reply = 0x0208,
    RdmGet = 0x0303,
    RdmGetReply = 0x0304,
};

struct Header
{
    quint16 version = 0;
    quint16 type = 0;
    quint32 sequence = 0; // raw bytes [8..11] read little-endian
};

// Reads the header; false when the datagram is shorter than a header or the magic is wrong.
bool parseHeader(const QByteArray &datagram, Header *header);

// A zero-filled datagram of `size` bytes (at least a header) with magic, version and type
// filled in; [8..11] stay zero until the caller puts an address there.
QByteArray makeDatagram(quint16 type, int size, quint16 version = 1);

// Little-endian and big-endian integer access with bounds checks: readers return false
// when the field does not fit in the datagram; writers never grow the datagram and treat
// an offset past its end as a programmer error.
bool readLe16(const QByteArray &data, int offset, quint16 *value);
bool readLe32(const QByteArray &data, int offset, quint32 *value);
bool readBe16(const QByteArray &data, int offset, quint16 *value);
bool readBe32(const QByteArray &data, int offset, quint32 *value);
bool readBe48(const QByteArray &data, int offset, quint64 *value);

void putLe16(QByteArray &data, int offset, quint16 value);
void putLe32(QByteArray &data, int offset, quint32 value);
void putLe64(QByteArray &data, int offset, quint64 value);
void putBe16(QByteArray &data, int offset, quint16 value);
void putBe32(QByteArray &data, int offset, quint32 value);
void putBe48(QByteArray &data, int offset, quint64 value);

// IPv4 addresses travel in network byte order, i.e. the dotted quad a.b.c.d as the bytes
// a, b, c, d. `ipv4` is the host-order value (QHostAddress::toIPv4Address()).
void putAddress(QByteArray &data, int offset, quint32 ipv4);

} // namespace SimWire
