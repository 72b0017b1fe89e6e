#pragma once

#include "sim/simsupply.h"

#include <QByteArray>

#include <optional>

// The RDM responder of the simulated lights. Inside the lighting protocol's RDM datagrams
// (0x0303 request, 0x0304 reply) sits a complete ANSI E1.20 message starting at byte 12,
// big-endian, with its 16-bit additive checksum:
//
//   +0 start code 0xCC   +1 sub-start 0x01   +2 message length (24 + PDL, checksum excluded)
//   +3 destination UID (6)   +9 source UID (6)   +15 transaction number
//   +16 port id (request) / response type (reply)   +17 message count   +18 sub-device (2)
//   +20 command class   +21 parameter id (2)   +23 parameter data length   +24 data
//   then the checksum: sum of all bytes from the start code through the data.
namespace SimRdm {

constexpr int kMessageOffset = 12;
constexpr quint8 kStartCode = 0xCC;
constexpr quint8 kSubStartCode = 0x01;
constexpr quint8 kGetCommand = 0x20;
constexpr quint8 kGetCommandResponse = 0x21;
constexpr quint8 kResponseAck = 0x00;
constexpr quint8 kResponseNack = 0x02;

constexpr quint16 kDeviceInfo = 0x0060;
constexpr quint16 kDeviceModelDescription = 0x0080;
constexpr quint16 kSoftwareVersionLabel = 0x00C0;
constexpr quint16 kDmxStartAddress = 0x00F0;

constexpr quint16 kNackUnknownPid = 0x0000;
constexpr quint16 kNackUnsupportedCommandClass = 0x0005;
constexpr quint16 kNackSubDeviceOutOfRange = 0x0009;

// Sum of the bytes [from, from + length) of `data`, as the E1.20 checksum.
quint16 checksum(const QByteArray &data, int from, int length);

// The 19 bytes of DEVICE_INFO: protocol version 1.0, device model id, product category,
// software version id, footprint, current personality and count, DMX start address
// (DMX offset + 1), sub-device count, sensor count.
QByteArray deviceInfo(const SimLight &light);

// The 0x0304 datagram answering an RDM GET addressed to one of the supply's lights, or
// nothing when the request is malformed, fails its checksum or names no light of the supply.
std::optional<QByteArray> answer(const SimSupply &supply, const QByteArray &request);

} // namespace SimRdm
