#pragma once

// Request datagrams built by hand, byte by byte, from the protocol's wire tables, as the
// program sends them; and small readers for the replies. Deliberately independent of the
// simulator's own encoder.

#include <QByteArray>
#include <QHostAddress>

namespace SimRequests {

inline QByteArray header(quint16 type, quint16 version = 1)
{
    QByteArray bytes = QByteArray::fromHex("0401dc4a");
    bytes.append(char(version & 0xFF)).append(char(version >> 8));
    bytes.append(char(type & 0xFF)).append(char(type >> 8));
    return bytes;
}

inline QByteArray le(quint64 value, int width)
{
    QByteArray bytes;
    for (int i = 0; i < width; ++i)
        bytes.append(char((value >> (8 * i)) & 0xFF));
    return bytes;
}

inline QByteArray be(quint64 value, int width)
{
    QByteArray bytes;
    for (int i = width - 1; i >= 0; --i)
        bytes.append(char((value >> (8 * i)) & 0xFF));
    return bytes;
}

inline QByteArray address(const QString &text)
{
    return be(QHostAddress(text).toIPv4Address(), 4);
}

inline QByteArray discover()
{
    return header(0x0001) + le(0, 4) + address(QStringLiteral("10.1.1.222"));
}

inline QByteArray discoverPorts(const QString &controller)
{
    return header(0x000A) + address(controller) + le(0, 4);
}

inline QByteArray blinkScan(const QString &controller)
{
    return header(0x0201) + address(controller) + le(0, 4);
}

inline QByteArray blinkScan2(const QString &controller)
{
    return header(0x0207) + address(controller) + le(0, 4);
}

inline QByteArray eeRead(quint32 serial, quint16 memoryAddress)
{
    return header(0x0203) + le(0, 4) + le(serial, 4) + le(memoryAddress, 2) + le(0, 2);
}

inline QByteArray getDeviceVariable(quint16 id)
{
    return header(0x0105) + le(0, 4) + le(id, 2) + le(0, 2);
}

// An E1.20 GET (big-endian, additive checksum) inside a version-3 0x0303 datagram.
inline QByteArray rdmGet(quint64 uid, quint16 pid, quint8 commandClass = 0x20,
                         quint16 subDevice = 0)
{
    QByteArray rdm = QByteArray::fromHex("cc0118");
    rdm += be(uid, 6) + QByteArray::fromHex("4f52ae000001"); // destination, source
    rdm += QByteArray::fromHex("2aff00");                    // transaction, port, count
    rdm += be(subDevice, 2) + char(commandClass) + be(pid, 2) + char(0);
    quint16 sum = 0;
    for (char c : rdm)
        sum = quint16(sum + quint8(c));
    return header(0x0303, 3) + le(0, 4) + rdm + be(sum, 2);
}

inline QByteArray portOut(quint8 port, const QByteArray &data, quint32 universe = 0xFFFFFFFF,
                          quint16 flags = 0, quint16 startCode = 0)
{
    return header(0x0108) + le(0, 4) + le(universe, 4) + char(port) + char(0) + le(flags, 2) +
           le(data.size(), 2) + le(startCode, 2) + data;
}

inline QByteArray dmxOut(const QByteArray &data, quint8 startCode = 0)
{
    return header(0x0101) + le(0, 4) + le(0, 2) + le(0, 2) + le(0xFFFFFFFF, 4) + char(startCode) +
           data;
}

inline quint16 typeOf(const QByteArray &reply)
{
    return reply.size() >= 8 ? quint16(quint8(reply.at(6)) | (quint8(reply.at(7)) << 8)) : 0;
}

inline quint64 readLe(const QByteArray &data, int at, int width)
{
    quint64 value = 0;
    for (int i = width - 1; i >= 0; --i)
        value = (value << 8) | quint8(data.at(at + i));
    return value;
}

inline quint64 readBe(const QByteArray &data, int at, int width)
{
    quint64 value = 0;
    for (int i = 0; i < width; ++i)
        value = (value << 8) | quint8(data.at(at + i));
    return value;
}

} // namespace SimRequests
