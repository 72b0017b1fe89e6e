#include "colour/channelencoding.h"

#include "colour/colourspace.h"
#include "colour/ledprofileregistry.h"
#include "colour/velacolor.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr int kMaxEncodedBytes = 16;

// Chromaticities of the two whites of a tunable-white light: 2700 K on the Planckian locus and
// D65 (6500 K), the white point of sRGB.
constexpr double kWarmX = 0.4593;
constexpr double kWarmY = 0.4106;
constexpr double kCoolX = ColourSpace::kWhiteX;
constexpr double kCoolY = ColourSpace::kWhiteY;

enum class Chemistry { Rgb, Rgbw, Rgba, Rgbaw, SingleWhite, TunableWhite };

Chemistry chemistryOf(const QString &name)
{
    if (name == QLatin1String("RGBW"))
        return Chemistry::Rgbw;
    if (name == QLatin1String("RGBA"))
        return Chemistry::Rgba;
    if (name == QLatin1String("RGBAW"))
        return Chemistry::Rgbaw;
    if (name == QLatin1String("WW") || name == QLatin1String("NW") || name == QLatin1String("CW") ||
        name == QLatin1String("A"))
        return Chemistry::SingleWhite;
    if (name == QLatin1String("WWCW"))
        return Chemistry::TunableWhite;
    return Chemistry::Rgb;
}

double luminance(double r, double g, double b)
{
    return 0.2126 * r + 0.7152 * g + 0.0722 * b;
}

// 0 at warm white, 1 at cool white.
double coolShare(double x, double y)
{
    const double dx = kCoolX - kWarmX;
    const double dy = kCoolY - kWarmY;
    const double t = ((x - kWarmX) * dx + (y - kWarmY) * dy) / (dx * dx + dy * dy);
    return qBound(0.0, t, 1.0);
}

// Fills levels with the chemistry's channels for curved red, green, blue.
void mix(Chemistry chemistry, double r, double g, double b, const VelaColor &colour,
         std::array<double, kMaxEncodedBytes> &levels)
{
    switch (chemistry) {
    case Chemistry::Rgb:
        break;
    case Chemistry::Rgbw: {
        const double w = std::min({r, g, b});
        levels = {r - w, g - w, b - w, w};
        return;
    }
    case Chemistry::Rgba:
    case Chemistry::Rgbaw: {
        const double a = std::max(0.0, std::min(r, g) - b);
        r -= a;
        g -= a;
        if (chemistry == Chemistry::Rgba) {
            levels = {r, g, b, a};
            return;
        }
        const double w = std::min({r, g, b});
        levels = {r - w, g - w, b - w, a, w};
        return;
    }
    case Chemistry::SingleWhite:
        levels[0] = luminance(r, g, b);
        return;
    case Chemistry::TunableWhite: {
        const double level = luminance(r, g, b);
        const double cool = coolShare(colour.chromaX(), colour.chromaY());
        levels = {level * (1.0 - cool), level * cool};
        return;
    }
    }
    levels = {r, g, b};
}

} // namespace

int encodeChannels(const VelaColor &colour, const ChannelLayout &layout, uchar *out)
{
    const int bytes = layout.bytesPerChannel == 2 ? 2 : 1;
    const int channels = qBound(1, layout.channels, kMaxEncodedBytes / bytes);
    std::array<double, kMaxEncodedBytes> levels{};
    if (colour.isValid()) {
        const double gamma = layout.gamma > 0.0 && std::isfinite(layout.gamma) ? layout.gamma : 1.0;
        const auto curve = [gamma](quint16 value) {
            const double unit = value / 65535.0;
            return gamma == 1.0 ? unit : std::pow(unit, gamma);
        };
        if (colour.spec() == VelaColor::Spec::NChannel) {
            for (int i = 0; i < colour.channelCount(); ++i)
                levels[i] = curve(colour.channel(i));
        } else {
            const VelaColor rgb = colour.toRgb();
            mix(chemistryOf(layout.chemistry), curve(rgb.red16()), curve(rgb.green16()),
                curve(rgb.blue16()), colour, levels);
        }
    }
    const double scale = colour.alphaF() * (bytes == 2 ? 65535.0 : 255.0);
    for (int i = 0; i < channels; ++i) {
        const int value = qRound(qBound(0.0, levels[i], 1.0) * scale);
        if (bytes == 2) {
            *out++ = uchar(value >> 8);
            *out++ = uchar(value & 0xFF);
        } else {
            *out++ = uchar(value);
        }
    }
    return channels * bytes;
}

ChannelLayout layoutForChemistryCode(int code, int bytesPerChannel)
{
    static const struct
    {
        const char *chemistry;
        int channels;
    } kCodes[] = {
        {"RGB", 3}, {"RGB", 3}, {"RGBW", 4}, {"RGBAW", 5}, {"RGBA", 4},
        {"WW", 1},  {"NW", 1},  {"CW", 1},   {"WWCW", 2},  {"A", 1},
    };
    const auto &entry = code >= 1 && code <= 9 ? kCodes[code] : kCodes[1];
    ChannelLayout layout;
    layout.chemistry = QLatin1String(entry.chemistry);
    layout.channels = entry.channels;
    layout.bytesPerChannel = bytesPerChannel == 2 ? 2 : 1;
    layout.gamma = 1.0;
    return layout;
}

ChannelLayout layoutForProfile(const LedProfileMode &mode, int bytesPerChannel)
{
    ChannelLayout layout;
    layout.chemistry = mode.chemistry;
    layout.channels = mode.channels;
    layout.bytesPerChannel = bytesPerChannel == 2 ? 2 : 1;
    layout.gamma = mode.gamma;
    return layout;
}
