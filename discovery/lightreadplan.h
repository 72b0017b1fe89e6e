#pragma once

#include <QVector>

class Light;

// What a read run asks a light for beyond its DMX address, and what the answers mean. The
// engine itself knows only the DMX address (memory 64 and 65); the device definitions know
// the rest of a kind's memory map and turn bytes into properties.
class LightReadPlan
{
public:
    virtual ~LightReadPlan() = default;

    // Memory addresses to read after 64 and 65, in reading order.
    virtual QVector<quint16> furtherAddresses(const Light &light) const;
    // RDM parameter ids to get after DEVICE_INFO, in order.
    virtual QVector<quint16> furtherRdmParameters(const Light &light) const;
    // One byte of the light's memory arrived: set whatever property it belongs to.
    virtual void applyMemoryByte(Light &light, quint16 address, quint8 value) const;
    // An RDM parameter's value arrived, in the protocol layer's text form.
    virtual void applyRdmValue(Light &light, quint16 parameterId, const QString &text) const;
};
