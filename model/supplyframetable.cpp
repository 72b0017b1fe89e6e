#include "model/supplyframetable.h"

#include "colour/ledprofileregistry.h"
#include "model/datasupply.h"
#include "model/light.h"

#include <algorithm>
#include <cstring>
#include <optional>

namespace {

const QString kDmxOffset = QStringLiteral("DMX_OFFSET");
const QString kLedChemistry = QStringLiteral("LED_CHEMISTRY");
const QString kInputResolution = QStringLiteral("INPUT_RESOLUTION");

// The light's stored DMX start: decimal, or hexadecimal written "0x..", within 0..511.
std::optional<int> dmxOffsetOf(const Light &light)
{
    const QString text = light.deviceProperty(kDmxOffset).trimmed();
    bool ok = false;
    const int value = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)
                          ? text.midRef(2).toInt(&ok, 16)
                          : text.toInt(&ok, 10);
    if (!ok || value < 0 || value >= SupplyFrameTable::kFrameSize)
        return std::nullopt;
    return value;
}

int intProperty(const Light &light, const QString &name, int fallback)
{
    bool ok = false;
    const int value = light.deviceProperty(name).toInt(&ok);
    return ok ? value : fallback;
}

} // namespace

void SupplyFrameTable::resizePorts(int portCount)
{
    m_buffers.resize(portCount);
    for (QByteArray &buffer : m_buffers)
        if (buffer.size() != kFrameSize)
            buffer = QByteArray(kFrameSize, '\0');
    m_usedLengths.resize(portCount);
    m_startCodes.resize(portCount);
}

LightChannelFormat SupplyFrameTable::formatFor(const Light &light, bool useLedProfiles)
{
    LightChannelFormat format;
    // INPUT_RESOLUTION: 0 = 8-bit channels, 1 = 16-bit.
    const int bytesPerChannel = intProperty(light, kInputResolution, 0) == 1 ? 2 : 1;
    const int chemistry = intProperty(light, kLedChemistry, 1);
    std::optional<LedProfileMode> profile;
    if (useLedProfiles)
        profile = LedProfileRegistry::instance().mode(light.tintlockProfileId(),
                                                      light.tintlockIoMode());
    format.layout = profile ? layoutForProfile(*profile, bytesPerChannel)
                            : layoutForChemistryCode(chemistry, bytesPerChannel);
    quint64 key = quint64(format.layout.channels & 0x1F) | quint64(bytesPerChannel & 0x3) << 5 |
                  quint64(format.doubled) << 7 | quint64(format.outputCode & 0xFF) << 8;
    if (profile)
        key |= quint64(1) << 24 | quint64(profile->profileId & 0xFFFF) << 25 |
               quint64(profile->inputMode & 0xFF) << 41;
    else
        key |= quint64(chemistry & 0xFF) << 16;
    format.cacheKey = key;
    return format;
}

void SupplyFrameTable::rebuild(const QList<quint64> &lightUids, const QVector<SupplyPort> &ports,
                               const LightLookup &lookup, bool useLedProfiles)
{
    resizePorts(ports.size());
    std::fill(m_usedLengths.begin(), m_usedLengths.end(), 0);
    m_slots.clear();
    m_slots.reserve(lightUids.size());
    for (const quint64 uid : lightUids) {
        Light *light = lookup ? lookup(uid) : nullptr;
        if (!light) {
            m_slots.append(Slot{});
            continue;
        }
        const LightChannelFormat format = formatFor(*light, useLedProfiles);
        light->output().setFormat(format);
        const int footprint = format.footprint();
        const int channel = dmxOffsetOf(*light).value_or(light->lightNumber() * footprint);
        light->assignChannel(channel);
        // The model numbers a supply's ports from 0 in the order the supply reported them.
        const int portIndex = int(light->portNumber()) < ports.size() ? int(light->portNumber())
                                                                      : -1;
        if (portIndex >= 0 && channel >= 0 && channel + footprint <= kFrameSize)
            m_usedLengths[portIndex] = std::max(m_usedLengths[portIndex], channel + footprint);
        const bool driven = light->lightNumber() <= kHighestLightNumber;
        m_slots.append(Slot{light, &light->output(), portIndex, channel, driven});
    }
}

void SupplyFrameTable::clearBuffers()
{
    // Growing back from a used length keeps the allocation when nobody shares the buffer.
    for (QByteArray &buffer : m_buffers) {
        buffer.resize(kFrameSize);
        std::memset(buffer.data(), 0, kFrameSize);
    }
}

const QByteArray &SupplyFrameTable::usedFrame(int port)
{
    m_buffers[port].resize(m_usedLengths.at(port));
    return m_buffers.at(port);
}

void SupplyFrameTable::setStartCode(int port, quint16 code)
{
    if (port >= 0 && port < m_startCodes.size())
        m_startCodes[port] = code;
}
