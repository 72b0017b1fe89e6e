#include "sim/simsupply.h"

bool SimPort::operator==(const SimPort &other) const
{
    return number == other.number && type == other.type && answersScan == other.answersScan &&
           lights == other.lights;
}

const SimLight *SimSupply::findClassicLight(quint32 serialNumber) const
{
    for (const SimPort &port : ports) {
        for (const SimLight &light : port.lights) {
            if (!light.isRdm() && light.serial == serialNumber)
                return &light;
        }
    }
    return nullptr;
}

const SimLight *SimSupply::findRdmLight(quint64 uid) const
{
    for (const SimPort &port : ports) {
        for (const SimLight &light : port.lights) {
            if (light.isRdm() && light.serial == uid)
                return &light;
        }
    }
    return nullptr;
}

int SimSupply::lightCount() const
{
    int count = 0;
    for (const SimPort &port : ports)
        count += port.lights.size();
    return count;
}

bool SimSupply::operator==(const SimSupply &other) const
{
    return address == other.address && mac == other.mac && serial == other.serial &&
           wideSerial == other.wideSerial && version == other.version &&
           universe == other.universe && versionText == other.versionText &&
           idText == other.idText && rdmEntryType == other.rdmEntryType &&
           variables == other.variables && ports == other.ports;
}
