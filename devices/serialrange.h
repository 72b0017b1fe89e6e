#pragma once

#include <QString>

#include <tuple>

// A range of serial numbers that identifies a kind of device; both bounds are inclusive.
// Serials are 32-bit for the maker's own devices and 48-bit RDM unique ids (manufacturer
// id in the top 16 bits) for RDM devices.
struct SerialRange
{
    quint64 start = 0;
    quint64 end = 0;

    bool contains(quint64 serial) const { return start <= serial && serial <= end; }
    friend bool operator<(const SerialRange &a, const SerialRange &b)
    {
        return std::tie(a.start, a.end) < std::tie(b.start, b.end);
    }
    friend bool operator==(const SerialRange &a, const SerialRange &b)
    {
        return a.start == b.start && a.end == b.end;
    }
};

// A serial range that applies only to devices reporting a given product code
// ("D.dddd-P.dddd-F.dddd": device model, product category, software version), as RDM
// devices do. Such a range is never used to find a device by serial alone.
struct ProductCodeRange
{
    quint64 start = 0;
    quint64 end = 0;
    QString productCode;

    bool contains(quint64 serial) const { return start <= serial && serial <= end; }
    friend bool operator<(const ProductCodeRange &a, const ProductCodeRange &b)
    {
        return std::tie(a.start, a.end, a.productCode) < std::tie(b.start, b.end, b.productCode);
    }
    friend bool operator==(const ProductCodeRange &a, const ProductCodeRange &b)
    {
        return a.start == b.start && a.end == b.end && a.productCode == b.productCode;
    }
};
