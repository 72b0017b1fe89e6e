#include "net/sacnpacket.h"

#include <cstring>

namespace {

// Offsets into the data packet. Each layer starts with a flags-and-length word: 0x7 in the top
// four bits, below them the number of bytes from that word to the end of the packet.
//
// Root layer
constexpr int kPreambleSize = 0;     // u16, 0x0010
constexpr int kPostambleSize = 2;    // u16, 0x0000
constexpr int kPacketIdentifier = 4; // 12 bytes, "ASC-E1.17" and three NULs
constexpr int kRootFlagsLength = 16; // u16
constexpr int kRootVector = 18;      // u32, VECTOR_ROOT_E131_DATA
constexpr int kCid = 22;             // 16 bytes, the sender's component identifier
// Framing layer
constexpr int kFramingFlagsLength = 38; // u16
constexpr int kFramingVector = 40;      // u32, VECTOR_E131_DATA_PACKET
constexpr int kSourceName = 44;         // 64 bytes, UTF-8, NUL terminated
constexpr int kPriority = 108;          // u8, 0..200
constexpr int kSyncAddress = 109;       // u16, 0: not synchronised
constexpr int kSequence = 111;          // u8
constexpr int kOptions = 112;           // u8
constexpr int kUniverse = 113;          // u16
// DMP layer
constexpr int kDmpFlagsLength = 115;   // u16
constexpr int kDmpVector = 117;        // u8, VECTOR_DMP_SET_PROPERTY
constexpr int kAddressDataType = 118;  // u8, 0xA1
constexpr int kFirstAddress = 119;     // u16, 0
constexpr int kAddressIncrement = 121; // u16, 1
constexpr int kValueCount = 123;       // u16, start code plus slots
constexpr int kStartCode = 125;        // u8, 0 for dimmer data; the slots follow

constexpr quint32 kVectorRootData = 0x00000004;
constexpr quint32 kVectorFramingData = 0x00000002;
constexpr quint8 kVectorDmpSetProperty = 0x02;
constexpr quint8 kAddressAndDataType = 0xA1;
constexpr quint16 kFlags = 0x7000;
constexpr char kIdentifier[12] = {'A', 'S', 'C', '-', 'E', '1', '.', '1', '7', 0, 0, 0};

void writeU16(uchar *p, quint16 value)
{
    p[0] = uchar(value >> 8);
    p[1] = uchar(value);
}

void writeU32(uchar *p, quint32 value)
{
    writeU16(p, quint16(value >> 16));
    writeU16(p + 2, quint16(value));
}

// Writes text as UTF-8 into at most capacity bytes, never splitting a character; the rest of
// the field stays as it is (zero). Encoded by hand so that a send allocates nothing but its
// packet.
void writeUtf8(uchar *out, int capacity, const QString &text)
{
    int used = 0;
    const int size = text.size();
    for (int i = 0; i < size; ++i) {
        uint code = text.at(i).unicode();
        if (QChar::isHighSurrogate(code) && i + 1 < size && text.at(i + 1).isLowSurrogate())
            code = QChar::surrogateToUcs4(ushort(code), text.at(++i).unicode());
        else if (QChar::isSurrogate(code))
            code = 0xFFFD; // an unpaired half cannot be encoded
        uchar bytes[4];
        int length = 0;
        if (code < 0x80) {
            bytes[length++] = uchar(code);
        } else if (code < 0x800) {
            bytes[length++] = uchar(0xC0 | (code >> 6));
            bytes[length++] = uchar(0x80 | (code & 0x3F));
        } else if (code < 0x10000) {
            bytes[length++] = uchar(0xE0 | (code >> 12));
            bytes[length++] = uchar(0x80 | ((code >> 6) & 0x3F));
            bytes[length++] = uchar(0x80 | (code & 0x3F));
        } else {
            bytes[length++] = uchar(0xF0 | (code >> 18));
            bytes[length++] = uchar(0x80 | ((code >> 12) & 0x3F));
            bytes[length++] = uchar(0x80 | ((code >> 6) & 0x3F));
            bytes[length++] = uchar(0x80 | (code & 0x3F));
        }
        if (used + length > capacity)
            return;
        std::memcpy(out + used, bytes, size_t(length));
        used += length;
    }
}

} // namespace

namespace SacnPacket {

static_assert(kStartCode + 1 == kHeaderLength);

QByteArray dataPacket(const QByteArray &cid, const QString &sourceName, quint8 priority,
                      quint16 universe, quint8 sequence, const QByteArray &dmx)
{
    if (cid.size() != kCidLength || universe < kMinUniverse || universe > kMaxUniverse)
        return {};
    const int slotCount = qMin(dmx.size(), kMaxSlots);
    const int length = kHeaderLength + slotCount;
    // The header is built on the stack and the packet allocated once, at its final size.
    uchar header[kHeaderLength] = {};

    writeU16(header + kPreambleSize, 0x0010);
    writeU16(header + kPostambleSize, 0x0000);
    std::memcpy(header + kPacketIdentifier, kIdentifier, sizeof kIdentifier);
    writeU16(header + kRootFlagsLength, quint16(kFlags | (length - kRootFlagsLength)));
    writeU32(header + kRootVector, kVectorRootData);
    std::memcpy(header + kCid, cid.constData(), kCidLength);

    writeU16(header + kFramingFlagsLength, quint16(kFlags | (length - kFramingFlagsLength)));
    writeU32(header + kFramingVector, kVectorFramingData);
    writeUtf8(header + kSourceName, kSourceNameLength - 1, sourceName);
    header[kPriority] = priority;
    writeU16(header + kSyncAddress, 0);
    header[kSequence] = sequence;
    header[kOptions] = 0;
    writeU16(header + kUniverse, universe);

    writeU16(header + kDmpFlagsLength, quint16(kFlags | (length - kDmpFlagsLength)));
    header[kDmpVector] = kVectorDmpSetProperty;
    header[kAddressDataType] = kAddressAndDataType;
    writeU16(header + kFirstAddress, 0);
    writeU16(header + kAddressIncrement, 1);
    writeU16(header + kValueCount, quint16(1 + slotCount));
    header[kStartCode] = 0;

    QByteArray packet;
    packet.reserve(length);
    packet.append(reinterpret_cast<const char *>(header), kHeaderLength);
    packet.append(dmx.constData(), slotCount);
    return packet;
}

QHostAddress multicastGroup(quint16 universe)
{
    if (universe < kMinUniverse || universe > kMaxUniverse)
        return {};
    return QHostAddress((239u << 24) | (255u << 16) | universe);
}

} // namespace SacnPacket
