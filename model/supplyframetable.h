#pragma once

#include "model/lightoutput.h"

#include <QByteArray>
#include <QList>
#include <QVector>

#include <functional>

class Light;
struct SupplyPort;

// The frame-writing state of one supply: a 512-byte DMX buffer per output port with the
// number of bytes actually used and the start code to send, and the table that says which
// port each of the supply's lights writes into and at which channel.
//
// The table is rebuilt when something it depends on changed (lights added or removed, a
// light's port, number or properties, the supply's ports): that is when each light's first
// channel is assigned. A light starts at its stored DMX start (DMX_OFFSET, 0-based) when it
// has one; otherwise lights are packed along the chain in light-number order, as a
// chain-addressed port numbers them.
class SupplyFrameTable final
{
public:
    static constexpr int kFrameSize = 512;
    // Lights further down a chain than this are not driven: a port carries at most 512
    // channels, so no light number past this can have any.
    static constexpr int kHighestLightNumber = kFrameSize - 1;

    struct Slot
    {
        Light *light = nullptr; // null where the supply lists a light the map does not hold
        LightOutput *output = nullptr;
        int portIndex = -1;
        int channel = 0;
        // Not past the highest light number a chain carries.
        bool driven = false;
    };

    using LightLookup = std::function<Light *(quint64 uid)>;

    void resizePorts(int portCount);
    int portCount() const { return m_buffers.size(); }

    void rebuild(const QList<quint64> &lightUids, const QVector<SupplyPort> &ports,
                 const LightLookup &lookup, bool useLedProfiles);
    const QVector<Slot> &entries() const { return m_slots; }

    // Zeroes every port's 512 bytes for the next frame.
    void clearBuffers();
    uchar *buffer(int port) { return reinterpret_cast<uchar *>(m_buffers[port].data()); }
    // The port's whole frame, or cut to its used length. A frame handed on this way is
    // shared, not copied; a receiver that keeps it keeps its own copy once the next frame is
    // written (copy on write).
    const QByteArray &frame(int port) const { return m_buffers.at(port); }
    const QByteArray &usedFrame(int port);
    int usedLength(int port) const { return m_usedLengths.value(port); }
    quint16 startCode(int port) const { return m_startCodes.value(port); }
    void setStartCode(int port, quint16 code);

    // The channel layout a light takes on a supply with or without LED profiles.
    static LightChannelFormat formatFor(const Light &light, bool useLedProfiles);

private:
    QVector<QByteArray> m_buffers;
    QVector<int> m_usedLengths;
    QVector<quint16> m_startCodes;
    QVector<Slot> m_slots;
};
