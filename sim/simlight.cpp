#include "sim/simlight.h"

bool SimRdmInfo::operator==(const SimRdmInfo &other) const
{
    return deviceModelId == other.deviceModelId && productCategory == other.productCategory &&
           softwareVersionId == other.softwareVersionId && personality == other.personality &&
           personalityCount == other.personalityCount && subDeviceCount == other.subDeviceCount &&
           sensorCount == other.sensorCount && modelDescription == other.modelDescription &&
           softwareVersionLabel == other.softwareVersionLabel && parameters == other.parameters &&
           refused == other.refused;
}

quint16 SimLight::dmxOffset() const
{
    return static_cast<quint16>((readMemory(kDmxOffsetHigh) << 8) | readMemory(kDmxOffsetLow));
}

void SimLight::setDmxOffset(quint16 offset)
{
    writeMemory(kDmxOffsetHigh, static_cast<quint8>(offset >> 8));
    writeMemory(kDmxOffsetLow, static_cast<quint8>(offset & 0xFF));
}

quint8 SimLight::readMemory(quint16 address) const
{
    return address < memory.size() ? static_cast<quint8>(memory.at(address)) : 0;
}

void SimLight::writeMemory(quint16 address, quint8 value)
{
    if (address >= memory.size())
        memory.append(QByteArray(address + 1 - memory.size(), '\0'));
    memory[address] = static_cast<char>(value);
}

bool SimLight::operator==(const SimLight &other) const
{
    return kind == other.kind && serial == other.serial && footprint == other.footprint &&
           memory == other.memory && rdm == other.rdm;
}
