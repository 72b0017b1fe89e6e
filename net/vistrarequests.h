#pragma once

#include <QByteArray>

// Builders for every request of the lighting protocol: plain values in, the datagram out.
// Addresses are host-order IPv4 values (as parseDottedQuad gives them); they are written in
// network order. Bytes no field covers are zero.
namespace VistraRequests {

// The discover request's target: the given address outside the subnet mask, our own address
// inside it. With the usual mask of 0 that is the given address itself.
quint32 discoverTarget(quint32 address, quint32 ownAddress, quint32 subnetMask);

QByteArray discover(quint32 targetAddress);
QByteArray discoverPorts(quint32 controller);
// data may be null when length is 0; the caller keeps length within 512.
QByteArray dmxOut(quint8 startCode, quint16 timerValue, const uchar *data, int length);
QByteArray getDeviceVariable(quint16 variableId);
QByteArray portOut(quint32 universe, quint8 port, quint16 flags, quint16 startCode,
                   const uchar *data, int length);
QByteArray sync();
QByteArray blinkScan(quint32 controller);
QByteArray blinkEERead(quint32 serial, quint16 memoryAddress);
QByteArray blinkScan2(quint32 controller);
// An E1.20 GET without parameter data from sourceUid to destinationUid (48 bits each).
QByteArray rdmGet(quint64 destinationUid, quint16 pid, quint64 sourceUid);

} // namespace VistraRequests
