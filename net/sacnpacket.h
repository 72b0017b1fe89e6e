#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QString>

// Streaming DMX over ACN: the E1.31 data packet, plain values in, the datagram out. Every
// integer on the wire is big-endian (network order).
namespace SacnPacket {

constexpr quint16 kMinUniverse = 1;
constexpr quint16 kMaxUniverse = 63999;
constexpr int kCidLength = 16;
// The source name field holds at most 63 bytes of UTF-8 and always ends in a NUL.
constexpr int kSourceNameLength = 64;
constexpr int kMaxSlots = 512;
// Root, framing and DMP layers up to and including the DMX start code.
constexpr int kHeaderLength = 126;

// One data packet carrying the DMX start code 0 followed by dmx (cut to 512 bytes). The
// source name is cut to 63 bytes at a character boundary. Options and the synchronisation
// address are 0. Empty when the CID is not 16 bytes or the universe is outside 1..63999.
QByteArray dataPacket(const QByteArray &cid, const QString &sourceName, quint8 priority,
                      quint16 universe, quint8 sequence, const QByteArray &dmx);

// The universe's multicast group 239.255.{hi}.{lo}; null outside 1..63999.
QHostAddress multicastGroup(quint16 universe);

} // namespace SacnPacket
