#include "net/vistrarequests.h"

#include "net/rdm.h"
#include "net/vistrawire.h"

#include <array>
#include <cstring>

using namespace VistraWire;

namespace VistraRequests {

namespace {

constexpr int kShortRequestSize = 16;
constexpr int kDmxOutHeaderSize = 21;
constexpr int kPortOutHeaderSize = 24;
constexpr int kBlinkEEReadSize = 20;
constexpr int kRdmGetSize = 38;

void writeHeader(uchar *p, RequestType type, quint16 version)
{
    writeU32Le(p, kMagic);
    writeU16Le(p + 4, version);
    writeU16Le(p + 6, quint16(type));
}

// A zero-filled datagram of the given size with its header written.
QByteArray request(RequestType type, int size)
{
    QByteArray datagram(size, '\0');
    writeHeader(reinterpret_cast<uchar *>(datagram.data()), type, kVersion);
    return datagram;
}

uchar *bytes(QByteArray &datagram)
{
    return reinterpret_cast<uchar *>(datagram.data());
}

QByteArray addressed(RequestType type, quint32 controller)
{
    QByteArray datagram = request(type, kShortRequestSize);
    writeU32Be(bytes(datagram) + 8, controller);
    return datagram;
}

} // namespace

quint32 discoverTarget(quint32 address, quint32 ownAddress, quint32 subnetMask)
{
    return (address & ~subnetMask) | (ownAddress & subnetMask);
}

QByteArray discover(quint32 targetAddress)
{
    QByteArray datagram = request(RequestType::Discover, kShortRequestSize);
    writeU32Be(bytes(datagram) + 12, targetAddress);
    return datagram;
}

QByteArray discoverPorts(quint32 controller)
{
    return addressed(RequestType::DiscoverPorts, controller);
}

QByteArray dmxOut(quint8 startCode, quint16 timerValue, const uchar *data, int length)
{
    QByteArray datagram = request(RequestType::DmxOut, kDmxOutHeaderSize + length);
    uchar *p = bytes(datagram);
    writeU16Le(p + 14, timerValue);
    writeU32Le(p + 16, 0xFFFFFFFF);
    p[20] = startCode;
    if (length > 0)
        std::memcpy(p + kDmxOutHeaderSize, data, size_t(length));
    return datagram;
}

QByteArray getDeviceVariable(quint16 variableId)
{
    QByteArray datagram = request(RequestType::GetDeviceVariable, kShortRequestSize);
    writeU16Le(bytes(datagram) + 12, variableId);
    return datagram;
}

QByteArray portOut(quint32 universe, quint8 port, quint16 flags, quint16 startCode,
                   const uchar *data, int length)
{
    QByteArray datagram = request(RequestType::PortOut, kPortOutHeaderSize + length);
    uchar *p = bytes(datagram);
    writeU32Le(p + 12, universe);
    p[16] = port;
    writeU16Le(p + 18, flags);
    writeU16Le(p + 20, quint16(length));
    writeU16Le(p + 22, startCode);
    if (length > 0)
        std::memcpy(p + kPortOutHeaderSize, data, size_t(length));
    return datagram;
}

QByteArray sync()
{
    return request(RequestType::Sync, kShortRequestSize);
}

QByteArray blinkScan(quint32 controller)
{
    return addressed(RequestType::BlinkScan, controller);
}

QByteArray blinkEERead(quint32 serial, quint16 memoryAddress)
{
    QByteArray datagram = request(RequestType::BlinkEERead, kBlinkEEReadSize);
    writeU32Le(bytes(datagram) + 12, serial);
    writeU16Le(bytes(datagram) + 16, memoryAddress);
    return datagram;
}

QByteArray blinkScan2(quint32 controller)
{
    return addressed(RequestType::BlinkScan2, controller);
}

QByteArray rdmGet(quint64 destinationUid, quint16 pid, quint64 sourceUid)
{
    std::array<uchar, kRdmGetSize> datagram{};
    writeHeader(datagram.data(), RequestType::RdmGet, kRdmVersion);
    uchar *rdm = datagram.data() + kHeaderSize;
    rdm[0] = Rdm::kStartCode;
    rdm[1] = Rdm::kSubStartCode;
    rdm[2] = Rdm::kMessageHeaderSize;
    writeU16Be(&rdm[3], quint16(destinationUid >> 32));
    writeU32Be(&rdm[5], quint32(destinationUid));
    writeU16Be(&rdm[9], quint16(sourceUid >> 32));
    writeU32Be(&rdm[11], quint32(sourceUid));
    // [15] transaction number 0
    rdm[16] = 0xFF; // port id
    // [17] message count 0, [18] sub-device 0 (root)
    rdm[20] = Rdm::kGetCommand;
    writeU16Be(&rdm[21], pid);
    // [23] parameter data length 0
    writeU16Be(&rdm[24], Rdm::checksum(rdm, Rdm::kMessageHeaderSize));
    return QByteArray(reinterpret_cast<const char *>(datagram.data()), kRdmGetSize);
}

} // namespace VistraRequests
