#include "net/vistrareplies.h"

#include "net/rdm.h"
#include "net/vistrawire.h"

#include <cstring>

using namespace VistraWire;

namespace VistraReplies {

namespace {

// A received datagram with bounds-checked access. Every parser first asks has(n) for the bytes
// it is about to read.
class Datagram
{
public:
    explicit Datagram(const QByteArray &bytes)
        : m_bytes(reinterpret_cast<const uchar *>(bytes.constData())), m_size(bytes.size())
    {
    }

    bool has(qint64 size) const { return size <= m_size; }
    int size() const { return m_size; }
    const uchar *at(int offset) const { return m_bytes + offset; }
    quint8 u8(int offset) const { return m_bytes[offset]; }
    quint16 u16(int offset) const { return readU16Le(m_bytes + offset); }
    quint32 u32(int offset) const { return readU32Le(m_bytes + offset); }
    // IPv4 addresses travel in network order.
    quint32 ip(int offset) const { return readU32Be(m_bytes + offset); }

    // The offset of the first NUL from offset on, or -1 when the datagram ends first.
    int nul(int offset) const
    {
        if (offset >= m_size)
            return -1;
        const void *found = std::memchr(m_bytes + offset, 0, size_t(m_size - offset));
        return found ? int(static_cast<const uchar *>(found) - m_bytes) : -1;
    }

private:
    const uchar *m_bytes;
    int m_size;
};

QByteArray limitedText(const Datagram &d, int begin, int end)
{
    return QByteArray(reinterpret_cast<const char *>(d.at(begin)), qMin(end - begin, kTextLimit));
}

// 0x0002 and 0x000D: 32-bit serial, texts at [32]; 0x000F: 64-bit serial, texts at [40].
std::optional<DiscoverReply> parseDiscover(const Datagram &d, quint16 type)
{
    const bool v3 = type == quint16(ReplyType::DiscoverV3);
    const int textStart = v3 ? 40 : 32;
    if (!d.has(textStart))
        return std::nullopt;
    const int versionEnd = d.nul(textStart);
    const int idEnd = versionEnd < 0 ? -1 : d.nul(versionEnd + 1);
    if (idEnd < 0)
        return std::nullopt;
    DiscoverReply reply;
    reply.type = type;
    std::memcpy(reply.mac.data(), d.at(16), reply.mac.size());
    reply.ip = d.ip(12);
    reply.version = d.u16(22);
    reply.serial = v3 ? readU64Le(d.at(24)) : d.u32(24);
    reply.universe = d.u32(v3 ? 36 : 28);
    reply.versionText = limitedText(d, textStart, versionEnd);
    reply.idText = limitedText(d, versionEnd + 1, idEnd);
    return reply;
}

// Port entries are 8 bytes from [16]: port number, port type, six reserved bytes.
std::optional<PortsReply> parsePorts(const Datagram &d)
{
    constexpr int kEntries = 16;
    constexpr int kEntrySize = 8;
    if (!d.has(kEntries) || !d.has(kEntries + d.u8(12) * kEntrySize))
        return std::nullopt;
    PortsReply reply;
    reply.ip = d.ip(8);
    for (int i = 0; i < d.u8(12); ++i) {
        reply.portNumbers.append(d.u8(kEntries + i * kEntrySize));
        reply.portTypes.append(d.u8(kEntries + i * kEntrySize + 1));
    }
    return reply;
}

std::optional<DeviceVariableReply> parseDeviceVariable(const Datagram &d, quint32 senderIp)
{
    if (!d.has(20))
        return std::nullopt;
    return DeviceVariableReply{senderIp, d.u16(12), d.u32(16)};
}

// 0x010B and 0x010E: [12] id, [18] count, values from [20] of 4 or 1 bytes.
template <typename Reply, typename Value>
std::optional<Reply> parseArray(const Datagram &d, quint32 senderIp)
{
    constexpr int kValues = 20;
    if (!d.has(kValues) || !d.has(kValues + qint64(d.u16(18)) * qint64(sizeof(Value))))
        return std::nullopt;
    Reply reply;
    reply.ip = senderIp;
    reply.id = d.u16(12);
    const int count = d.u16(18);
    reply.values.reserve(count);
    for (int i = 0; i < count; ++i)
        reply.values.append(sizeof(Value) == 4 ? Value(d.u32(kValues + i * 4))
                                               : Value(d.u8(kValues + i)));
    return reply;
}

std::optional<ReadByteReply> parseReadByte(const Datagram &d, quint32 senderIp)
{
    constexpr quint8 kSilentSelector = 10;
    if (!d.has(19) || d.u8(17) == kSilentSelector)
        return std::nullopt;
    ReadByteReply reply;
    reply.selector = d.u8(17);
    reply.kind = reply.selector == 0   ? ReadByteReply::EERead
                 : reply.selector < 10 ? ReadByteReply::PixelToken
                                       : ReadByteReply::Telemetry;
    reply.ip = senderIp;
    reply.serial = d.u32(12);
    reply.address = d.u8(16);
    reply.value = d.u8(18);
    return reply;
}

std::optional<BEBlinkScanReply> parseBEBlinkScan(const Datagram &d)
{
    if (!d.has(20))
        return std::nullopt;
    BEBlinkScanReply reply{d.ip(8), d.u8(12), 0};
    for (int i = 14; i < 20; ++i)
        reply.serial = (reply.serial << 8) | d.u8(i);
    return reply;
}

std::optional<RdmGetReply> parseRdm(const Datagram &d, quint32 senderIp)
{
    const int data = kHeaderSize + Rdm::kMessageHeaderSize;
    if (!d.has(data) || !d.has(data + d.u8(kHeaderSize + 23)))
        return std::nullopt;
    const uchar *rdm = d.at(kHeaderSize);
    const quint16 pid = readU16Be(rdm + 21);
    const quint64 source = (quint64(readU16Be(rdm + 9)) << 32) | readU32Be(rdm + 11);
    if (rdm[16] == Rdm::kResponseNack) {
        // The reason is the parameter data's first 16 bits, big-endian.
        if (rdm[23] < 2)
            return std::nullopt;
        return RdmGetReply{senderIp, source, pid, QString(), true, readU16Be(d.at(data))};
    }
    if (rdm[16] != Rdm::kResponseAck)
        return std::nullopt;
    std::optional<QString> text = Rdm::valueText(pid, d.at(data), rdm[23]);
    if (!text)
        return std::nullopt;
    return RdmGetReply{senderIp, source, pid, *text};
}

} // namespace

namespace {

// Each entry starts with four bytes: port number, entry type, data length, reserved. Types 1
// (serial numbers) and 2 (chain-addressed light counts) carry data length / 4 u32 values.
// Types 3 and 4 carry as many RDM UIDs as the reply has entries — type 3 as (u16 unused,
// u32 low, u16 high), type 4 as (u32 low, u16 high) — and end the reply. Other types are
// skipped by their data length.
bool parseScan2Entry(const Datagram &d, int &offset, quint8 entryCount, BlinkScan2Reply &reply,
                     bool &last)
{
    if (!d.has(offset + 4))
        return false;
    const quint8 type = d.u8(offset + 1);
    const int length = d.u8(offset + 2);
    BlinkScan2Entry entry;
    entry.port = d.u8(offset);
    const int values = offset + 4;
    if (type == 3 || type == 4) {
        const int itemSize = type == 3 ? 8 : 6;
        const int lowAt = type == 3 ? 2 : 0;
        if (!d.has(values + entryCount * itemSize))
            return false;
        entry.kind = BlinkScan2Entry::RdmUids;
        for (int i = 0; i < entryCount; ++i) {
            const int item = values + i * itemSize;
            entry.values.append((quint64(d.u16(item + lowAt + 4)) << 32) | d.u32(item + lowAt));
        }
        offset = values + entryCount * itemSize;
        reply.entries.append(entry);
        last = true;
        return true;
    }
    if (!d.has(values + length))
        return false;
    offset = values + length;
    if (type != 1 && type != 2)
        return true;
    entry.kind = type == 1 ? BlinkScan2Entry::Serials : BlinkScan2Entry::ChainCounts;
    for (int i = 0; i < length / 4; ++i)
        entry.values.append(d.u32(values + i * 4));
    reply.entries.append(entry);
    return true;
}

std::optional<BlinkScan2Reply> parseBlinkScan2(const Datagram &d)
{
    constexpr int kEntries = 16;
    if (!d.has(kEntries))
        return std::nullopt;
    BlinkScan2Reply reply;
    reply.ip = d.ip(8);
    reply.entryCount = d.u8(12);
    reply.more = d.u8(13);
    int offset = kEntries;
    bool last = false;
    for (int i = 0; i < reply.entryCount && !last; ++i) {
        if (!parseScan2Entry(d, offset, reply.entryCount, reply, last))
            return std::nullopt;
    }
    reply.entryBytes =
        QByteArray(reinterpret_cast<const char *>(d.at(kEntries)), offset - kEntries);
    return reply;
}

template <typename T> std::optional<Reply> lift(std::optional<T> reply)
{
    if (!reply)
        return std::nullopt;
    return Reply(std::move(*reply));
}

} // namespace

std::optional<Reply> parseReply(const QByteArray &datagram, quint32 senderIp)
{
    const Datagram d(datagram);
    if (!d.has(kHeaderSize) || d.u32(0) != kMagic)
        return std::nullopt;
    const quint16 type = d.u16(6);
    switch (ReplyType(type)) {
    case ReplyType::Discover:
    case ReplyType::DiscoverEO:
    case ReplyType::DiscoverV3:
        return lift(parseDiscover(d, type));
    case ReplyType::DiscoverPorts:
        return lift(parsePorts(d));
    case ReplyType::DeviceVariable:
        return lift(parseDeviceVariable(d, senderIp));
    case ReplyType::GetArray:
        return lift(parseArray<GetArrayReply, quint32>(d, senderIp));
    case ReplyType::GetByteArray:
        return lift(parseArray<GetByteArrayReply, quint8>(d, senderIp));
    case ReplyType::BlinkScan:
        if (!d.has(16))
            return std::nullopt;
        return Reply(BlinkScanReply{d.ip(8), d.u32(12)});
    case ReplyType::ReadByte:
        return lift(parseReadByte(d, senderIp));
    case ReplyType::BEBlinkScan:
        return lift(parseBEBlinkScan(d));
    case ReplyType::CAScan:
        if (!d.has(14))
            return std::nullopt;
        return Reply(CAScanReply{d.ip(8), d.u8(12), d.u8(13)});
    case ReplyType::BlinkScan2:
        return lift(parseBlinkScan2(d));
    case ReplyType::ExtPromToken:
        if (!d.has(19))
            return std::nullopt;
        return Reply(ExtPromTokenReply{senderIp, d.u32(12), d.u16(16), d.u8(18)});
    case ReplyType::RdmGet:
        return lift(parseRdm(d, senderIp));
    default:
        return std::nullopt;
    }
}

} // namespace VistraReplies
