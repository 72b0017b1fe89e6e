#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

#include <array>
#include <optional>
#include <variant>

// Parsers for every reply of the lighting protocol: the received datagram in, plain values
// out. A parser reads only bytes it has checked are there; a reply that is short, truncated,
// not of this protocol (wrong magic) or of an unknown type gives std::nullopt, never a partial
// result. Every ip below is a host-order IPv4 value: from the datagram where the reply carries
// it, else the sender's address handed in by the caller.
namespace VistraReplies {

// The text fields of discover replies are kept within 511 bytes, as the program holds them in
// 512-byte NUL-terminated buffers.
constexpr int kTextLimit = 511;

struct DiscoverReply
{
    quint16 type = 0; // 0x0002, 0x000D or 0x000F (64-bit serial)
    std::array<char, 6> mac{};
    quint32 ip = 0;
    quint64 serial = 0;
    quint16 version = 0;
    quint32 universe = 0;
    QByteArray versionText;
    QByteArray idText;
};

struct PortsReply
{
    quint32 ip = 0;
    QVector<uchar> portNumbers;
    QVector<uchar> portTypes;
};

struct DeviceVariableReply
{
    quint32 ip = 0;
    quint16 variableId = 0;
    quint32 value = 0;
};

struct GetArrayReply
{
    quint32 ip = 0;
    quint16 id = 0;
    QVector<quint32> values;
};

struct GetByteArrayReply
{
    quint32 ip = 0;
    quint16 id = 0;
    QVector<quint8> values;
};

struct BlinkScanReply
{
    quint32 ip = 0;
    quint32 serial = 0;
};

// 0x0204: one byte read from a light, sorted by the selector byte.
struct ReadByteReply
{
    enum Kind { EERead, PixelToken, Telemetry };
    Kind kind = EERead;
    quint32 ip = 0;
    quint32 serial = 0;
    quint8 address = 0;  // memory address, or token
    quint8 selector = 0; // 0 EE read, 1-9 pixel number, 11 and above telemetry
    quint8 value = 0;
};

struct BEBlinkScanReply
{
    quint32 ip = 0;
    quint8 port = 0;
    quint64 serial = 0; // 48 bits, big-endian on the wire
};

struct CAScanReply
{
    quint32 ip = 0;
    quint8 port1 = 0;
    quint8 port2 = 0;
};

struct BlinkScan2Entry
{
    enum Kind { Serials = 1, ChainCounts = 2, RdmUids = 3 };
    Kind kind = Serials;
    quint8 port = 0;
    QVector<quint64> values;
};

struct BlinkScan2Reply
{
    quint32 ip = 0;
    quint8 entryCount = 0;
    quint8 more = 0;
    QByteArray entryBytes;            // the raw entries that were parsed
    QVector<BlinkScan2Entry> entries; // in datagram order; skipped types left out
};

// 0x020A. The fields are known by position only: a light serial number, a token and the byte
// read.
struct ExtPromTokenReply
{
    quint32 ip = 0;
    quint32 serial = 0;
    quint16 token = 0;
    quint8 value = 0;
};

struct RdmGetReply
{
    quint32 ip = 0;
    quint64 sourceUid = 0;
    quint16 pid = 0;
    QString text;
    // A device may refuse a parameter (response type NACK) instead of answering it; the text is
    // then empty and nackReason holds the E1.20 reason code.
    bool refused = false;
    quint16 nackReason = 0;
};

using Reply = std::variant<DiscoverReply, PortsReply, DeviceVariableReply, GetArrayReply,
                           GetByteArrayReply, BlinkScanReply, ReadByteReply, BEBlinkScanReply,
                           CAScanReply, BlinkScan2Reply, ExtPromTokenReply, RdmGetReply>;

// Any reply, dispatched on the header's type field. For 0x0204 the selector byte decides the
// kind; selector 10 gives std::nullopt as nothing is reported for it. RDM responses carry a
// value when acknowledged (response type ACK) and a refusal when not (NACK, with its reason);
// ACK_TIMER and ACK_OVERFLOW give std::nullopt, so the request is simply asked again.
std::optional<Reply> parseReply(const QByteArray &datagram, quint32 senderIp);

} // namespace VistraReplies
