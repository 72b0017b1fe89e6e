#pragma once

#include "colour/channelencoding.h"
#include "colour/velacolor.h"

#include <QtGlobal>

#include <array>

// How one light's channels are laid out in its port's DMX frame: how many colour channels,
// at 8 or 16 bits, whether the block is sent twice (fixtures that take two identical
// channel blocks), and an output code for fixtures with a special last channel.
struct LightChannelFormat
{
    // Output codes 251 and 252 mark fixtures whose last channel is a control channel that
    // must stay at zero; 254 marks doubled fixtures that repeat their third channel instead
    // of the whole block.
    static constexpr int kZeroLastChannel = 251;
    static constexpr int kZeroLastChannelAlternate = 252;
    static constexpr int kRepeatThirdChannel = 254;

    ChannelLayout layout;      // chemistry, channel count, bytes per channel, curve
    bool doubled = false;
    int outputCode = 0;
    bool outputEnabled = true;
    // Identifies the layout in the process-wide encoding cache; equal formats, equal keys.
    quint64 cacheKey = 0;

    int channelCount() const { return layout.channels; }
    int bytesPerChannel() const { return layout.bytesPerChannel; }
    // Bytes the light occupies in its frame.
    int footprint() const;
};

// What a light shows live and how it writes that into its port's DMX frame.
//
// Effects hand the light colour contributions with a priority each frame: the first
// contribution of a frame replaces the colour, later ones of a higher priority replace it
// too, equal priorities average, lower ones are ignored. The frame writer then encodes the
// colour into the port buffer. Encoding is cached twice: per light (the last colour and the
// bytes it gave) and process-wide (colour and format to bytes), so an unchanged or repeated
// colour costs one copy.
class LightOutput final
{
public:
    static constexpr int kMaxEncodedBytes = 16;

    const VelaColor &color() const { return m_color; }
    int priority() const { return m_priority; }
    int contributions() const { return m_contributions; }
    bool isFreshFrame() const { return m_freshFrame || m_frame != s_frame; }

    void applyContribution(const VelaColor &color, int priority);
    // Starts the next frame: the next contribution replaces the colour whatever its priority.
    void beginFrame() { m_freshFrame = true; }
    // Starts the next frame for every light at once, also for lights no supply writes (no
    // supply, live play off): the model calls it after each frame.
    static void nextFrame() { ++s_frame; }
    // Forgets the frame's contributions altogether (streaming to an attached device).
    void resetFrameState();

    const LightChannelFormat &format() const { return m_format; }
    void setFormat(const LightChannelFormat &format);
    // Bytes the light occupies in its frame (the format's footprint).
    int footprint() const { return m_footprint; }

    // Writes the light's bytes at firstChannel of a buffer of bufferSize bytes. Nothing is
    // written while output is disabled or when the bytes would run past the buffer's end.
    void encodeInto(uchar *buffer, int bufferSize, int firstChannel);

    // Encodings the process-wide cache holds, and how many encodings were computed rather
    // than copied from a cache, for benchmarks and tests.
    static int sharedCacheSize();
    static quint64 encodeCount();

    // Frame tables depend on lights' ports, numbers and properties and on supplies' ports.
    // Anything that changes one of them moves this counter on; a supply whose table was
    // built at another count rebuilds it before its next frame.
    static quint64 layoutEpoch();
    static void touchLayout();
    // Moves on whenever any light's colour changes: views that draw live colours redraw
    // only when it moved.
    static quint64 colourChanges() { return s_colourChanges; }

private:
    int encodeFresh(std::array<uchar, kMaxEncodedBytes> &bytes) const;
    void setColor(const VelaColor &color)
    {
        if (color == m_color)
            return;
        m_color = color;
        m_colorChanged = true;
        ++s_colourChanges;
    }

    static inline quint64 s_colourChanges = 0;
    static inline quint64 s_frame = 1;

    // What every frame touches comes first: 15,000 lights a frame are walked twice.
    VelaColor m_color{Qt::black};
    int m_priority = 0;
    int m_contributions = 0;
    bool m_freshFrame = true;
    // The frame of the last contribution.
    quint64 m_frame = 0;
    // The colour differs from the one the cached bytes were encoded from.
    bool m_colorChanged = true;
    bool m_haveEncoded = false;
    bool m_outputEnabled = true;
    quint8 m_encodedLength = 0;
    int m_footprint = 3;
    std::array<uchar, kMaxEncodedBytes> m_encoded{};

    LightChannelFormat m_format;
};
