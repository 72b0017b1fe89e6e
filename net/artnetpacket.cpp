#include "net/artnetpacket.h"

#include <cstring>

namespace {

// Offsets into ArtDmx. The OpCode is the one little-endian integer of the packet; the protocol
// version and the data length are big-endian.
constexpr int kId = 0;        // 8 bytes, "Art-Net" and a NUL
constexpr int kOpCode = 8;    // u16 little-endian, OpDmx 0x5000
constexpr int kProtVer = 10;  // u16 big-endian, 14
constexpr int kSequence = 12; // u8, 1..255; 0 disables reordering at the receiver
constexpr int kPhysical = 13; // u8, the input port the data came from (informational)
constexpr int kSubUni = 14;   // u8, low byte of the port address: Sub-Net and Universe
constexpr int kNet = 15;      // u8, bits 14..8 of the port address
constexpr int kLength = 16;   // u16 big-endian, even, 2..512; the data follow

constexpr char kIdentifier[8] = {'A', 'r', 't', '-', 'N', 'e', 't', 0};
constexpr quint16 kOpDmx = 0x5000;
constexpr quint16 kProtocolVersion = 14;
constexpr int kMinLength = 2;

} // namespace

namespace ArtNetPacket {

static_assert(kLength + 2 == kHeaderLength);

QByteArray artDmx(quint16 portAddress, quint8 sequence, quint8 physical, const QByteArray &dmx)
{
    if (portAddress > kMaxPortAddress)
        return {};
    const int used = qMin(dmx.size(), kMaxLength);
    const int length = qMax(kMinLength, used + (used & 1));
    uchar header[kHeaderLength] = {};
    std::memcpy(header + kId, kIdentifier, sizeof kIdentifier);
    header[kOpCode] = uchar(kOpDmx);
    header[kOpCode + 1] = uchar(kOpDmx >> 8);
    header[kProtVer] = uchar(kProtocolVersion >> 8);
    header[kProtVer + 1] = uchar(kProtocolVersion);
    header[kSequence] = sequence;
    header[kPhysical] = physical;
    header[kSubUni] = uchar(portAddress);
    header[kNet] = uchar(portAddress >> 8);
    header[kLength] = uchar(length >> 8);
    header[kLength + 1] = uchar(length);

    QByteArray packet;
    packet.reserve(kHeaderLength + length);
    packet.append(reinterpret_cast<const char *>(header), kHeaderLength);
    packet.append(dmx.constData(), used);
    if (length > used)
        packet.append(length - used, '\0');
    return packet;
}

} // namespace ArtNetPacket
