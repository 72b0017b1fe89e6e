#include "discovery/lightreadplan.h"

#include "model/light.h"

namespace {

constexpr quint16 kDeviceInfo = 0x0060;
constexpr quint16 kDeviceModelDescription = 0x0080;
constexpr quint16 kDmxStartAddress = 0x00F0;

} // namespace

QVector<quint16> LightReadPlan::furtherAddresses(const Light &) const
{
    return {};
}

QVector<quint16> LightReadPlan::furtherRdmParameters(const Light &) const
{
    return {kDeviceModelDescription, kDmxStartAddress};
}

void LightReadPlan::applyMemoryByte(Light &, quint16, quint8) const {}

void LightReadPlan::applyRdmValue(Light &light, quint16 parameterId, const QString &text) const
{
    switch (parameterId) {
    case kDeviceInfo:
        light.setDeviceProperty(QStringLiteral("RDM_DEVICE_INFO"), text);
        break;
    case kDeviceModelDescription:
        light.setDeviceProperty(QStringLiteral("RDM_DEVICE_MODEL_DESCRIPTION"), text);
        break;
    case kDmxStartAddress: {
        // RDM reports the start address itself (1..512); the map keeps every light's DMX
        // setting as the offset, address - 1, whatever the protocol.
        bool ok = false;
        const int address = text.toInt(&ok);
        light.setDeviceProperty(QStringLiteral("RDM_DMX_ADDRESS"), text);
        if (ok && address >= 1 && address <= 512)
            light.setDeviceProperty(QStringLiteral("DMX_OFFSET"), QString::number(address - 1));
        break;
    }
    default:
        light.setDeviceProperty(QStringLiteral("RDM_PID_%1").arg(parameterId, 4, 16, QLatin1Char('0')).toUpper(), text);
        break;
    }
}
