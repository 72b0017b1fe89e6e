#pragma once

#include <QByteArray>

// The Art-Net DMX packet (ArtDmx), protocol version 14: plain values in, the datagram out.
namespace ArtNetPacket {

// Port addresses are 15 bits: Net (7 bits), Sub-Net (4 bits) and Universe (4 bits).
constexpr quint16 kMaxPortAddress = 0x7FFF;
constexpr int kHeaderLength = 18;
constexpr int kMaxLength = 512;

// One ArtDmx packet for the port address carrying dmx, cut to 512 bytes. The data length on
// the wire must be even and at least 2, so an odd length gains one zero byte and empty data
// is sent as two zero slots. Sequence 0 tells receivers not to reorder; the caller chooses.
// Empty when the port address is above 32767.
QByteArray artDmx(quint16 portAddress, quint8 sequence, quint8 physical, const QByteArray &dmx);

} // namespace ArtNetPacket
