#include "model/datasupply.h"

#include "model/modellogging.h"

#include "model/light.h"

#include <QIODevice>
#include <QStringList>

#include <algorithm>

DataSupply::DataSupply(unsigned int type, QObject *parent) : QObject(parent), m_type(type) {}

void DataSupply::setType(unsigned int type)
{
    if (type == m_type)
        return;
    m_type = type;
    layoutChanged();
}

void DataSupply::setName(const QString &name)
{
    if (name == m_name)
        return;
    m_name = name;
    changed();
}

void DataSupply::setPortCount(quint8 count)
{
    if (count == m_portCount && m_ports.size() == count)
        return;
    m_portCount = count;
    m_ports.resize(count);
    layoutChanged();
}

void DataSupply::setPort(int index, const SupplyPort &port)
{
    if (index < 0 || index >= m_ports.size() || m_ports.at(index) == port)
        return;
    m_ports[index] = port;
    layoutChanged();
}

void DataSupply::setMacAddress(const QString &mac)
{
    if (mac == m_macAddress)
        return;
    m_macAddress = mac;
    changed();
}

void DataSupply::setIpAddress(const QHostAddress &address)
{
    m_ipAddress = address;
    // 0.0.0.0 is what an unconfigured supply reports: it counts as "no address".
    m_hasAddress = !address.isNull() && address != QHostAddress(QHostAddress::AnyIPv4);
    m_ipText = address.toString().toLatin1().left(kMaxIpTextLength);
    m_ipString = m_ipText.isEmpty() ? QStringLiteral("0.0.0.0") : QString::fromLatin1(m_ipText);
    changed();
}

void DataSupply::setSerialNumber(quint64 serial)
{
    if (serial == m_serialNumber)
        return;
    m_serialNumber = serial;
    changed();
}

void DataSupply::setVersion(int version)
{
    if (version == m_version)
        return;
    m_version = version;
    layoutChanged();
}

void DataSupply::setUniverse(unsigned int universe)
{
    if (universe == m_universe)
        return;
    m_universe = universe;
    changed();
}

void DataSupply::setVersionString(const QString &text)
{
    if (text == m_versionString)
        return;
    m_versionString = text;
    changed();
}

void DataSupply::setFamily(const QString &family)
{
    if (family == m_family)
        return;
    m_family = family;
    changed();
}

void DataSupply::setDeviceProperty(const QString &name, const QString &value)
{
    auto it = m_properties.find(name);
    if (it != m_properties.end() && it.value() == value)
        return;
    m_properties.insert(name, value);
    emit updatedDataSupplyProperty(m_uid, name, value);
    if (name == QLatin1String("TINTLOCK_ENABLE"))
        setUsesLedProfiles(value.toInt() != 0);
}

bool DataSupply::isAddressProperty(const QString &name)
{
    // DEVICE_VARIABLE_<id> is how discovery stores the variables a supply reports.
    return name == QLatin1String("IPV4_IP_ADDRESS") ||
           name.startsWith(QLatin1String("DEVICE_VARIABLE_"));
}

void DataSupply::forgetAddressData()
{
    m_ipText.clear();
    QStringList dropped;
    for (auto it = m_properties.begin(); it != m_properties.end();) {
        if (isAddressProperty(it.key())) {
            dropped.append(it.key());
            it = m_properties.erase(it);
        } else {
            ++it;
        }
    }
    for (const QString &name : qAsConst(dropped))
        emit updatedDataSupplyProperty(m_uid, name, QString());
    changed();
}

void DataSupply::addLight(quint64 lightUid)
{
    m_lights.append(lightUid);
    layoutChanged();
}

void DataSupply::removeLight(quint64 lightUid)
{
    if (m_lights.removeAll(lightUid) > 0)
        layoutChanged();
}

void DataSupply::setDMXBufSize(int size)
{
    const int clamped = std::clamp(size, 0, kMaxDmxBufferSize);
    if (clamped != size)
        qCWarning(lcModel) << "DMX buffer size" << size << "out of range, using" << clamped;
    m_dmxBufSize = clamped;
    m_dmxBuffer = QByteArray(clamped, '\0');
    changed();
}

int DataSupply::protocolKind() const
{
    switch (m_type) {
    case Sacn:
    case SacnAlternate:
    case AttachedDevice:
        return 0;
    default:
        // A network supply whose ports were set to stream (sACN, Art-Net) streams them all.
        for (const SupplyPort &port : m_ports)
            if (port.type == kSacnPort || port.type == kArtNetPort)
                return 0;
        return m_version;
    }
}

void DataSupply::setLightLookup(SupplyFrameTable::LightLookup lookup)
{
    m_lookup = std::move(lookup);
    m_builtEpoch = 0;
}

void DataSupply::setUsesLedProfiles(bool on)
{
    if (on == m_usesLedProfiles)
        return;
    m_usesLedProfiles = on;
    layoutChanged();
}

void DataSupply::setAttachedDevice(QIODevice *device, quint64 deviceId)
{
    m_attachedDevice = device;
    m_attachedDeviceId = deviceId;
}

bool DataSupply::channelsAssigned() const
{
    return m_builtEpoch == LightOutput::layoutEpoch();
}

void DataSupply::rebuildChannels()
{
    m_frames.rebuild(m_lights, m_ports, m_lookup, m_usesLedProfiles);
    // Assigning channels may itself move the epoch on (a light's channel changed); the table
    // already reflects that.
    m_builtEpoch = LightOutput::layoutEpoch();
}

bool DataSupply::updateLights()
{
    if (!channelsAssigned())
        rebuildChannels();
    if ((m_type != AttachedDevice && m_lights.isEmpty()) || m_ports.isEmpty())
        return false;
    m_frames.clearBuffers();
    for (const SupplyFrameTable::Slot &slot : m_frames.entries()) {
        if (!slot.output || !slot.driven)
            continue;
        if (slot.portIndex >= 0)
            slot.output->encodeInto(m_frames.buffer(slot.portIndex),
                                    SupplyFrameTable::kFrameSize, slot.channel);
        slot.output->beginFrame();
    }
    switch (m_outputMode) {
    case NetworkOutput:
        sendNetworkFrames();
        return true;
    case DeviceOutput:
        streamToDevice();
        return true;
    default:
        emit msg(QStringLiteral("updateLights: Unknown DataSupply mode"));
        return false;
    }
}

void DataSupply::sendNetworkFrames()
{
    const int portCount = m_frames.portCount();
    const bool gated = m_held || !m_live;
    switch (protocolKind()) {
    case 0:
        for (int i = 0; i < portCount; ++i) {
            m_emittingPort = i;
            if (m_type == AttachedDevice)
                emit signalSendBufferByUSBPortIndex(m_attachedDeviceId, i, m_frames.usedFrame(i));
            else if (m_ports.at(i).type == kSacnPort)
                emit signalSendSACNData(m_ipString, m_frames.usedFrame(i));
            else if (m_ports.at(i).type == kArtNetPort)
                emit signalSendArtNetData(m_ipString, m_frames.usedFrame(i));
        }
        break;
    case 1:
        m_emittingPort = 0;
        if (m_type == VistraBroadcast) {
            if (!gated)
                emit signalSendBroadcastDmxFrame(m_universe, 0, 0, m_frames.frame(0));
        } else if (m_frames.usedLength(0) != 0 && !gated) {
            emit signalSendDmxFrame(m_ipString, 0, 0, m_frames.usedFrame(0));
        }
        break;
    case 2:
    case 3:
        for (int i = 0; i < portCount; ++i) {
            m_emittingPort = i;
            const SupplyPort &port = m_ports.at(i);
            if (m_type != VistraBroadcast) {
                if (m_frames.usedLength(i) != 0)
                    emit signalSendPortOut(m_ipString, kNoUniverse, quint8(port.number),
                                           quint16((m_portFlagsNibble << 4) | port.flags),
                                           m_frames.startCode(i), m_frames.usedFrame(i));
            } else if (!gated) {
                // The broadcast form leaves the flag nibble out; installations rely on it.
                emit signalSendBroadcastPortOut(kNoUniverse, quint8(port.number), port.flags,
                                                m_frames.startCode(i), m_frames.frame(i));
            }
        }
        break;
    default:
        break;
    }
    m_emittingPort = -1;
}

void DataSupply::streamToDevice()
{
    if (!m_attachedDevice)
        return;
    for (const SupplyFrameTable::Slot &slot : m_frames.entries()) {
        if (!slot.light) {
            emit msg(QStringLiteral("writeFrame: unknown light in list"));
            continue;
        }
        LightOutput &output = slot.light->output();
        const VelaColor &color = output.color();
        const char rgb[3] = {char(color.red16() >> 8), char(color.green16() >> 8),
                             char(color.blue16() >> 8)};
        m_attachedDevice->write(rgb, sizeof rgb);
        output.resetFrameState();
    }
    ++m_frameCount;
}
