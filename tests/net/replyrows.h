#pragma once

// Hand-built reply datagrams shared by the parser and the protocol object tests, each with the
// description of what it must yield. Bytes come straight from the wire tables: header
// 04 01 DC 4A, version, type, address; payload little-endian, addresses in network order,
// RDM big-endian. Every datagram is as short as it can be, so any shorter prefix is truncated.
#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

struct ReplyRow
{
    const char *name;
    QByteArray datagram;
    QString expected; // one line per signal, in order
};

inline QByteArray hex(const QByteArray &text)
{
    return QByteArray::fromHex(text); // spaces are skipped
}

// An RDM GET response from 1234:5678ABCD to our source UID, acknowledged, with the given
// parameter id and data; no checksum is needed.
inline QByteArray rdmReply(const QByteArray &pid, const QByteArray &data,
                           const QByteArray &responseType = "00")
{
    const QByteArray parameterData = hex(data);
    const QByteArray length =
        QByteArray::number(24 + parameterData.size(), 16).rightJustified(2, '0');
    const QByteArray pdl = QByteArray::number(parameterData.size(), 16).rightJustified(2, '0');
    return hex("0401dc4a 0100 0403 00000000 cc 01" + length + "7ff0 4f525259 1234 5678abcd 00" +
               responseType + "00 0000 21" + pid + pdl) +
           parameterData;
}

inline QString ipText(quint32 ip)
{
    return QStringLiteral("%1.%2.%3.%4")
        .arg(ip >> 24)
        .arg((ip >> 16) & 0xFF)
        .arg((ip >> 8) & 0xFF)
        .arg(ip & 0xFF);
}

template <typename Container> QString joined(const Container &values, int base = 10)
{
    QStringList parts;
    for (const auto value : values)
        parts.append((base == 16 ? QStringLiteral("0x") : QString()) +
                     QString::number(value, base));
    return parts.join(QLatin1Char(','));
}

// The sender is 127.0.0.1: the ip of replies that do not carry one.
inline QVector<ReplyRow> replyRows()
{
    QVector<ReplyRow> rows;
    const QByteArray discoverBody = "0a200111 001c420b0102 0300 1100a201 07000000";
    rows.append({"discover",
                 hex("0401dc4a 0100 0200 00000000" + discoverBody + "312e322e3300 4e6f72746800"),
                 "discover mac=001c420b0102 ip=10.32.1.17 sn=0x1a20011 ver=3 uni=7 "
                 "version='1.2.3' id='North'"});
    rows.append({"discover EO", hex("0401dc4a 0100 0d00 00000000" + discoverBody + "3900 4100"),
                 "discoverEO mac=001c420b0102 ip=10.32.1.17 sn=0x1a20011 ver=3 uni=7 "
                 "version='9' id='A'"});
    rows.append({"discover, empty version: id at 33",
                 hex("0401dc4a 0100 0200 00000000" + discoverBody + "00 41726361646500"),
                 "discover mac=001c420b0102 ip=10.32.1.17 sn=0x1a20011 ver=3 uni=7 "
                 "version='' id='Arcade'"});
    const QByteArray v3Body = "c0a80105 0a0b0c0d0e0f 0400 bc9a785634120000 00000000 02000000";
    rows.append({"discover V3", hex("0401dc4a 0100 0f00 00000000" + v3Body + "332e3100 5600"),
                 "discoverV3 mac=0a0b0c0d0e0f ip=192.168.1.5 sn=0x123456789abc ver=4 uni=2 "
                 "version='3.1' id='V'"});
    rows.append({"discover V3, empty version: id at 41",
                 hex("0401dc4a 0100 0f00 00000000" + v3Body + "00 5600"),
                 "discoverV3 mac=0a0b0c0d0e0f ip=192.168.1.5 sn=0x123456789abc ver=4 uni=2 "
                 "version='' id='V'"});
    rows.append({"discover, both texts empty",
                 hex("0401dc4a 0100 0200 00000000" + discoverBody + "00 00"),
                 "discover mac=001c420b0102 ip=10.32.1.17 sn=0x1a20011 ver=3 uni=7 "
                 "version='' id=''"});
    rows.append({"discover ports",
                 hex("0401dc4a 0100 0b00 c0a80114 02 000000"
                     "01 05 000000000000 02 06 000000000000"),
                 "ports ip=192.168.1.20 count=2 numbers=1,2 types=5,6"});
    rows.append({"discover ports, none", hex("0401dc4a 0100 0b00 c0a80114 00 000000"),
                 "ports ip=192.168.1.20 count=0 numbers= types="});
    rows.append({"device variable", hex("0401dc4a 0100 0601 00000000 0201 0000 78563412"),
                 "variable ip=127.0.0.1 id=0x102 value=0x12345678"});
    rows.append({"get array",
                 hex("0401dc4a 0100 0b01 00000000 0500 00000000 0200"
                     "01000000 ffffffff"),
                 "array ip=127.0.0.1 id=5 values=1,4294967295"});
    rows.append({"get array, empty", hex("0401dc4a 0100 0b01 00000000 0500 00000000 0000"),
                 "array ip=127.0.0.1 id=5 values="});
    rows.append({"get byte array", hex("0401dc4a 0100 0e01 00000000 0600 00000000 0300 0a0b0c"),
                 "bytes ip=127.0.0.1 id=6 values=10,11,12"});
    rows.append({"blink scan", hex("0401dc4a 0100 0202 c0a80114 1100a201"),
                 "blinkScan ip=192.168.1.20 sn=0x1a20011"});
    rows.append({"read byte, selector 0: EE read",
                 hex("0401dc4a 0100 0402 00000000 1100a201 40 00 12"),
                 "eeRead ip=127.0.0.1 sn=0x1a20011 addr=64 b=18"});
    rows.append({"read byte, selector 1: pixel",
                 hex("0401dc4a 0100 0402 00000000 1100a201 21 01 ff"),
                 "pixelToken ip=127.0.0.1 addr=0x1a20011 pixel=1 token=33 byte=255"});
    rows.append({"read byte, selector 9: pixel",
                 hex("0401dc4a 0100 0402 00000000 1100a201 22 09 07"),
                 "pixelToken ip=127.0.0.1 addr=0x1a20011 pixel=9 token=34 byte=7"});
    rows.append({"read byte, selector 11: telemetry",
                 hex("0401dc4a 0100 0402 00000000 1100a201 03 0b 64"),
                 "telemetry ip=127.0.0.1 addr=0x1a20011 id=3 byte=100"});
    rows.append({"read byte, selector 255: telemetry",
                 hex("0401dc4a 0100 0402 00000000 1100a201 04 ff 65"),
                 "telemetry ip=127.0.0.1 addr=0x1a20011 id=4 byte=101"});
    rows.append({"BE blink scan", hex("0401dc4a 0100 0502 c0a80114 03 00 010203040506"),
                 "beBlinkScan ip=192.168.1.20 port=3 sn=0x10203040506"});
    rows.append({"CA scan", hex("0401dc4a 0100 0602 c0a80114 04 07"),
                 "caScan ip=192.168.1.20 port1=4 port2=7"});
    rows.append({"blink scan 2, serials",
                 hex("0401dc4a 0100 0802 0a000005 01 00 0000"
                     "01 01 08 00 1100a201 2200a201"),
                 "scan2 ip=10.0.0.5 entries=1 more=0 bytes=010108001100a2012200a201\n"
                 "scan2SN ip=10.0.0.5 port=1 count=2 list=0x1a20011,0x1a20022"});
    rows.append({"blink scan 2, serials, skipped type, counts",
                 hex("0401dc4a 0100 0802 0a000005 03 01 0000"
                     "01 01 04 00 11000000 02 05 02 00 ffff 02 02 08 00 0c000000 03000000"),
                 "scan2 ip=10.0.0.5 entries=3 more=1 "
                 "bytes=010104001100000002050200ffff020208000c00000003000000\n"
                 "scan2SN ip=10.0.0.5 port=1 count=1 list=0x11\n"
                 "scan2CA ip=10.0.0.5 port=2 count=2 list=0xc,0x3"});
    rows.append({"blink scan 2, type 0 skipped",
                 hex("0401dc4a 0100 0802 0a000005 01 00 0000"
                     "01 00 02 00 aaaa"),
                 "scan2 ip=10.0.0.5 entries=1 more=0 bytes=01000200aaaa"});
    rows.append(
        {"blink scan 2, RDM UIDs type 3",
         hex("0401dc4a 0100 0802 0a000005 02 00 0000"
             "03 03 00 00 aaaa 78563412 3412"
             "bbbb 01000000 f07f"),
         "scan2 ip=10.0.0.5 entries=2 more=0 bytes=03030000aaaa785634123412bbbb01000000f07f\n"
         "scan2XRDM ip=10.0.0.5 port=3 list=0x123412345678,0x7ff000000001"});
    rows.append({"blink scan 2, RDM UIDs type 4 ends parsing",
                 hex("0401dc4a 0100 0802 0a000005 02 00 0000"
                     "04 04 00 00 78563412 3412 01000000 f07f"),
                 "scan2 ip=10.0.0.5 entries=2 more=0 bytes=0404000078563412341201000000f07f\n"
                 "scan2XRDM ip=10.0.0.5 port=4 list=0x123412345678,0x7ff000000001"});
    rows.append({"blink scan 2, no entries", hex("0401dc4a 0100 0802 0a000005 00 00 0000"),
                 "scan2 ip=10.0.0.5 entries=0 more=0 bytes="});
    rows.append({"ext prom token read", hex("0401dc4a 0100 0a02 00000000 1100a201 3412 7f"),
                 "extProm ip=127.0.0.1 sn=0x1a20011 token=0x1234 byte=127"});
    // DEVICE_INFO: protocol 0100, model 04d2 (1234), category 0101, software 00020a0f,
    // footprint 0003, personality 0101, start 0001, sub-devices 0000, sensors 00.
    rows.append({"rdm DEVICE_INFO",
                 rdmReply("0060", "0100 04d2 0101 00020a0f 0003 0101 0001 0000 00"),
                 "rdm ip=127.0.0.1 uid=0x12345678abcd pid=0x60 text='D.1234-P.0101-F.0A0F'"});
    rows.append({"rdm DEVICE_INFO, small model, big version",
                 rdmReply("0060", "0100 0007 7101 ffffbeef 0003 0101 0001 0000 00"),
                 "rdm ip=127.0.0.1 uid=0x12345678abcd pid=0x60 text='D.0007-P.7101-F.BEEF'"});
    rows.append({"rdm DEVICE_INFO, five-digit model",
                 rdmReply("0060", "0100 ffff 0000 00000000 0003 0101 0001 0000 00"),
                 "rdm ip=127.0.0.1 uid=0x12345678abcd pid=0x60 text='D.65535-P.0000-F.0000'"});
    rows.append({"rdm model description", rdmReply("0080", "5374726970203630 0000"),
                 "rdm ip=127.0.0.1 uid=0x12345678abcd pid=0x80 text='Strip 60'"});
    rows.append({"rdm model description, empty", rdmReply("0080", ""),
                 "rdm ip=127.0.0.1 uid=0x12345678abcd pid=0x80 text=''"});
    rows.append({"rdm 0x8600", rdmReply("8600", "c8"),
                 "rdm ip=127.0.0.1 uid=0x12345678abcd pid=0x8600 text='200'"});
    rows.append({"rdm 0x8602", rdmReply("8602", "00 ff"),
                 "rdm ip=127.0.0.1 uid=0x12345678abcd pid=0x8602 text='0'"});
    rows.append({"rdm 0x8606", rdmReply("8606", "07"),
                 "rdm ip=127.0.0.1 uid=0x12345678abcd pid=0x8606 text='7'"});
    rows.append({"rdm 0x0343 curve", rdmReply("0343", "03 05"),
                 "rdm ip=127.0.0.1 uid=0x12345678abcd pid=0x343 text='3'"});
    rows.append({"rdm 0x9F02", rdmReply("9f02", "1234"),
                 "rdm ip=127.0.0.1 uid=0x12345678abcd pid=0x9f02 text='4660'"});
    rows.append({"rdm 0xA040", rdmReply("a040", "0001abcd"),
                 "rdm ip=127.0.0.1 uid=0x12345678abcd pid=0xa040 text='0001ABCD'"});
    rows.append({"rdm DMX start address", rdmReply("00f0", "01 ff"),
                 "rdm ip=127.0.0.1 uid=0x12345678abcd pid=0xf0 text='511'"});
    rows.append({"rdm other parameter", rdmReply("00e0", "0001"),
                 "rdm ip=127.0.0.1 uid=0x12345678abcd pid=0xe0 text=''"});
    rows.append({"rdm refused", rdmReply("0080", "0000", "02"),
                 "rdm refused ip=127.0.0.1 uid=0x12345678abcd pid=0x80 reason=0x0"});
    rows.append({"rdm refused, data out of range", rdmReply("00f0", "0006", "02"),
                 "rdm refused ip=127.0.0.1 uid=0x12345678abcd pid=0xf0 reason=0x6"});
    return rows;
}

// Datagrams that must give nothing, whole as they are.
inline QVector<ReplyRow> ignoredRows()
{
    const QByteArray discoverBody = "0a200111 001c420b0102 0300 1100a201 07000000";
    QVector<ReplyRow> rows;
    rows.append({"empty", QByteArray(), QString()});
    rows.append({"header only", hex("0401dc4a 0100 0202 c0a80114"), QString()});
    rows.append({"wrong magic", hex("0401dc4b 0100 0202 c0a80114 1100a201"), QString()});
    rows.append({"unknown type", hex("0401dc4a 0100 0300 c0a80114 1100a201"), QString()});
    rows.append({"a request type", hex("0401dc4a 0100 0102 c0a80114 00000000"), QString()});
    rows.append({"read byte, selector 10", hex("0401dc4a 0100 0402 00000000 1100a201 40 0a 12"),
                 QString()});
    rows.append({"discover, id text unterminated",
                 hex("0401dc4a 0100 0200 00000000" + discoverBody + "3100 4e6f"), QString()});
    rows.append({"discover, version text runs to the end",
                 hex("0401dc4a 0100 0200 00000000" + discoverBody + "312e32"), QString()});
    rows.append({"discover ports, count beyond entries",
                 hex("0401dc4a 0100 0b00 c0a80114 03 000000"
                     "01 05 000000000000 02 06 000000000000"),
                 QString()});
    rows.append({"get array, count beyond values",
                 hex("0401dc4a 0100 0b01 00000000 0500 00000000 ffff 01000000"), QString()});
    rows.append({"blink scan 2, entry data beyond the end",
                 hex("0401dc4a 0100 0802 0a000005 01 00 0000 01 01 08 00 1100a201"), QString()});
    rows.append({"blink scan 2, fewer entries than counted",
                 hex("0401dc4a 0100 0802 0a000005 02 00 0000 01 01 04 00 1100a201"), QString()});
    rows.append({"blink scan 2, RDM UIDs fewer than entries",
                 hex("0401dc4a 0100 0802 0a000005 03 00 0000 04 04 00 00 78563412 3412"),
                 QString()});
    rows.append({"rdm refused without a reason", rdmReply("0060", "00", "02"), QString()});
    rows.append({"rdm answer comes later (ACK_TIMER)", rdmReply("0060", "0005", "01"), QString()});
    rows.append({"rdm DEVICE_INFO too short",
                 rdmReply("0060", "0100 04d2 0101 00020a0f 0003 0101 0001 0000"), QString()});
    rows.append({"rdm 0x9F02 too short", rdmReply("9f02", "12"), QString()});
    rows.append({"rdm 0xA040 too short", rdmReply("a040", "0001ab"), QString()});
    rows.append({"rdm data length beyond the end", rdmReply("0080", "41424344").left(12 + 24 + 3),
                 QString()});
    return rows;
}
