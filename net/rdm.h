#pragma once

#include <QString>

#include <optional>

// The ANSI E1.20 (RDM) part of the lighting protocol: GET requests wrapped in Vistra type
// 0x0303 and their responses in 0x0304. RDM integers are big-endian.
namespace Rdm {

// Our own source UID for RDM requests: manufacturer 0x7FF0 lies in the range E1.20 keeps for
// prototypes and experiments, so it names no real maker; "4F525259" is "ORRY" in ASCII.
inline constexpr char kSourceUidText[] = "7FF04F525259";

constexpr quint8 kStartCode = 0xCC;
constexpr quint8 kSubStartCode = 0x01;
constexpr quint8 kGetCommand = 0x20;
constexpr quint8 kResponseAck = 0x00;
constexpr quint8 kResponseNack = 0x02;
// Start code through parameter data length; the parameter data follows, then the checksum.
constexpr int kMessageHeaderSize = 24;
constexpr quint64 kUidMask = 0xFFFFFFFFFFFFull;

enum Pid : quint16 {
    DeviceInfo = 0x0060,
    DeviceModelDescription = 0x0080,
    DmxStartAddress = 0x00F0,
    Curve = 0x0343,
    MakerByte0 = 0x8600,
    MakerByte2 = 0x8602,
    MakerByte6 = 0x8606,
    MakerWord = 0x9F02,
    MakerBuildId = 0xA040,
};

// The source UID above as a 48-bit number: the first four hex digits are the manufacturer id
// (bits 47..32), the other eight the device id.
quint64 sourceUid();

// E1.20 checksum: the 16-bit sum of every byte from the start code to the end of the
// parameter data.
quint16 checksum(const uchar *bytes, int length);

// "D.dddd-P.hhhh-F.hhhh", the form device definitions use for their product codes:
// D = device model id in decimal, P = product category in hexadecimal, F = the low 16 bits of
// the software version id in hexadecimal; each part at least 4 digits, zero-padded, hex in
// upper case. Example: model 1234, category 0x0101, software 0x00020A0F → "D.1234-P.0101-F.0A0F".
QString productCode(quint16 deviceModelId, quint16 productCategory, quint32 softwareVersionId);

// The text a GET response's parameter data stands for:
//  DEVICE_INFO (0x0060, 19 bytes)      the product code above from its model id (bytes 2-3),
//                                      product category (4-5) and software version id (6-9);
//  DEVICE_MODEL_DESCRIPTION (0x0080)   the text carried, up to the first NUL (Latin-1);
//  0x8600, 0x8602, 0x8606              the first byte in decimal;
//  CURVE (0x0343, E1.37-1)             the current curve number (first byte) in decimal;
//  0x9F02                              a 16-bit big-endian value in decimal;
//  0xA040                              a 32-bit big-endian value as 8 upper-case hex digits;
//  any other parameter                 an empty text.
// std::nullopt when the data is too short for its reader.
std::optional<QString> valueText(quint16 pid, const uchar *data, int length);

} // namespace Rdm
