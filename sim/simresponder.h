#pragma once

#include "sim/simframe.h"
#include "sim/simsupply.h"

#include <QByteArray>
#include <QVector>

#include <optional>

// What one simulated supply does with a request datagram addressed to it: the reply
// datagrams it sends back (in order) and, for live output, the frame it received. Pure:
// bytes in, bytes out, no sockets. Requests whose version, size or fixed fields do not match
// the wire tables are ignored, so a malformed request from the program shows up as a missing
// reply rather than being silently accepted.
namespace SimResponder {

// Blink scan 2 packing. An entry's data length is one byte, so a serial-list entry holds at
// most 63 serials and an RDM entry at most 42 ids (type 4) or 31 (type 3); a reply datagram
// carries entries up to kMaxBlinkScan2Size bytes.
constexpr int kMaxSerialsPerEntry = 63;
constexpr int kMaxBlinkScan2Size = 1024;

struct Answer
{
    bool accepted = false; // the request was understood
    QVector<QByteArray> replies;
    std::optional<SimFrame> frame;
};

Answer answer(const SimSupply &supply, const QByteArray &request);

QByteArray discoverReply(const SimSupply &supply);
QByteArray discoverPortsReply(const SimSupply &supply);
QVector<QByteArray> blinkScanReplies(const SimSupply &supply);
QVector<QByteArray> blinkScan2Replies(const SimSupply &supply);

// Live output (0x0101, 0x0108); nothing for any other or a malformed datagram.
std::optional<SimFrame> parseFrame(const QByteArray &request);

// The controller address a request carries at [8] (discover ports, blink scans), host order.
std::optional<quint32> targetAddress(const QByteArray &request);

} // namespace SimResponder
