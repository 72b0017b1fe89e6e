#include "model/lightoutput.h"

#include <QHash>

#include <algorithm>
#include <cstring>

namespace {

struct EncodingKey
{
    VelaColor color;
    quint64 format = 0;

    bool operator==(const EncodingKey &other) const
    {
        return format == other.format && color == other.color;
    }
};

uint qHash(const EncodingKey &key, uint seed = 0)
{
    return qHash(key.color, seed) ^ ::qHash(key.format, seed);
}

struct EncodedBytes
{
    std::array<uchar, LightOutput::kMaxEncodedBytes> bytes{};
    quint8 length = 0;
};

// Colours repeat across thousands of lights and from frame to frame, so encodings are
// shared by the whole process for the whole run. A fade through millions of colours must
// not exhaust memory: past this many entries new encodings are no longer remembered.
constexpr int kSharedCacheLimit = 1 << 16;

QHash<EncodingKey, EncodedBytes> &sharedCache()
{
    static QHash<EncodingKey, EncodedBytes> cache;
    return cache;
}

quint64 g_encodeCount = 0;
quint64 g_layoutEpoch = 1;

} // namespace

int LightChannelFormat::footprint() const
{
    const int block = layout.channels * layout.bytesPerChannel;
    return std::min((doubled ? 2 : 1) * block, LightOutput::kMaxEncodedBytes);
}

void LightOutput::applyContribution(const VelaColor &color, int priority)
{
    if (m_freshFrame || m_frame != s_frame) {
        m_freshFrame = false;
        m_frame = s_frame;
        setColor(color);
        m_contributions = 1;
    } else if (m_priority > priority) {
        return;
    } else if (m_priority == priority) {
        const int n = m_contributions;
        m_contributions = n + 1;
        // Weight 1/2 for the second contribution, 1/3 for the third...: a running average.
        setColor(m_color.mixed(color, 1.0 - double(n) / double(n + 1)));
    } else {
        // A higher priority takes over, but the count of the frame's contributions goes on.
        setColor(color);
    }
    m_priority = priority;
}

void LightOutput::resetFrameState()
{
    m_freshFrame = true;
    m_contributions = 1;
    m_priority = 0;
    setColor(VelaColor(Qt::black));
}

void LightOutput::setFormat(const LightChannelFormat &format)
{
    if (format.cacheKey == m_format.cacheKey && format.outputEnabled == m_format.outputEnabled)
        return;
    m_format = format;
    m_footprint = format.footprint();
    m_outputEnabled = format.outputEnabled;
    m_haveEncoded = false;
}

void LightOutput::encodeInto(uchar *buffer, int bufferSize, int firstChannel)
{
    if (!m_outputEnabled)
        return;
    if (firstChannel < 0 || firstChannel + m_footprint > bufferSize)
        return;
    if (m_haveEncoded && !m_colorChanged) {
        std::memcpy(buffer + firstChannel, m_encoded.data(), m_encodedLength);
        return;
    }
    m_colorChanged = false;
    m_haveEncoded = true;
    QHash<EncodingKey, EncodedBytes> &cache = sharedCache();
    const EncodingKey key{m_color, m_format.cacheKey};
    const auto hit = cache.constFind(key);
    if (hit != cache.cend()) {
        m_encoded = hit->bytes;
        m_encodedLength = hit->length;
    } else {
        m_encoded.fill(0);
        m_encodedLength = quint8(encodeFresh(m_encoded));
        if (cache.size() < kSharedCacheLimit)
            cache.insert(key, EncodedBytes{m_encoded, m_encodedLength});
    }
    std::memcpy(buffer + firstChannel, m_encoded.data(), m_encodedLength);
}

int LightOutput::encodeFresh(std::array<uchar, kMaxEncodedBytes> &bytes) const
{
    ++g_encodeCount;
    const ChannelLayout &layout = m_format.layout;
    const int bpc = layout.bytesPerChannel;
    const int block = std::min(layout.channels * bpc, kMaxEncodedBytes);
    std::array<uchar, 2 * kMaxEncodedBytes> scratch{};
    encodeChannels(m_color, layout, scratch.data());
    const int code = m_format.outputCode;
    if ((code == LightChannelFormat::kZeroLastChannel ||
         code == LightChannelFormat::kZeroLastChannelAlternate) &&
        block >= bpc)
        std::fill_n(scratch.data() + block - bpc, bpc, uchar(0));
    int length = block;
    if (m_format.doubled) {
        length = m_format.footprint();
        if (code == LightChannelFormat::kRepeatThirdChannel) {
            // Channels 4 and 5 repeat channel 3; the rest of the doubled block stays dark.
            for (int channel = 3; channel <= 4; ++channel)
                if ((channel + 1) * bpc <= length)
                    std::memcpy(scratch.data() + channel * bpc, scratch.data() + 2 * bpc,
                                size_t(bpc));
        } else {
            std::memcpy(scratch.data() + block, scratch.data(), size_t(length - block));
        }
    }
    std::memcpy(bytes.data(), scratch.data(), size_t(length));
    return length;
}

int LightOutput::sharedCacheSize()
{
    return sharedCache().size();
}

quint64 LightOutput::encodeCount()
{
    return g_encodeCount;
}

quint64 LightOutput::layoutEpoch()
{
    return g_layoutEpoch;
}

void LightOutput::touchLayout()
{
    ++g_layoutEpoch;
}
