#pragma once

#include <QString>
#include <QtGlobal>

#include <optional>

#include <utility>

// The DMX start address of a fixture, stored in the device as DMX_OFFSET: a 16-bit
// big-endian number at memory locations 64 (high byte) and 65 (low byte), limited to
// 0..511. DMX address = DMX_OFFSET + 1, so addresses run from 1 to 512.
namespace DmxAddress {

constexpr quint16 kOffsetHighAddress = 64;
constexpr quint16 kOffsetLowAddress = 65;
constexpr int kMinOffset = 0;
constexpr int kMaxOffset = 511;
constexpr int kMinAddress = 1;
constexpr int kMaxAddress = 512;

// The offset held by the two bytes, limited to 0..511.
int offsetFromBytes(quint8 high, quint8 low);
// The (high, low) bytes that store an offset, limited to 0..511 first.
std::pair<quint8, quint8> bytesForOffset(int offset);

// DMX address from offset and back, each limited to its range.
int addressFromOffset(int offset);
int offsetFromAddress(int address);

// The offset a light's DMX_OFFSET property holds: decimal, or hexadecimal written "0x...";
// none when the text is empty, not a number or outside 0..511.
std::optional<int> offsetFromText(const QString &text);
// The DMX address of that property (offset + 1), or 0 when it holds no valid offset.
int addressFromText(const QString &text);

} // namespace DmxAddress
