#pragma once

#include <QString>
#include <QtGlobal>

class VelaColor;
struct LedProfileMode;

// How a light's channels take a colour.
struct ChannelLayout
{
    // The LED chemistry: which LEDs the channels drive, in channel order. One of the kinds
    // LedProfileRegistry::isKnownChemistry accepts: "RGB", "RGBW", "RGBAW", "RGBA", the
    // white-only "WW" (warm), "NW" (neutral), "CW" (cool), amber-only "A", and "WWCW" (tunable
    // white: warm, cool). Anything else is driven as RGB.
    QString chemistry = QStringLiteral("RGB");
    int channels = 3;        // 1..16
    int bytesPerChannel = 1; // 1 (8 bit) or 2 (16 bit, big-endian: high byte first)
    double gamma = 1.0;      // exponent of each channel's curve; 1.0 = linear
};

// Encoding a colour into a light's channel bytes, in three steps.
//
// 1. Curve. Each component of the colour (sRGB red, green, blue as the colour holds them,
//    gamma-encoded; or the channels of an N-channel colour), taken as 0..1, is raised to
//    `gamma`. A light whose channels drive its LEDs linearly (PWM) wants about 2.2 here: the
//    sRGB values then become light output. 1.0 passes the values through, for lights that
//    apply their own curve. Whatever the gamma, 0 stays 0 and full stays full. A gamma that
//    is not a positive number counts as 1.0.
// 2. Mixing for the chemistry, on the curved levels (which stand for light output, so that
//    the LEDs add up to the colour):
//    - RGB: red, green, blue.
//    - RGBW: white takes the grey part, w = min(r, g, b), and r, g, b give it up.
//    - RGBA: amber (a red-green mix) takes the part of the red/green overlap that blue does
//      not balance, a = max(0, min(r, g) - b), and r, g give it up; whites stay on r, g, b.
//    - RGBAW: amber as for RGBA, then white as for RGBW. Channels r, g, b, a, w.
//    - WW, NW, CW, A: one channel of luminance, 0.2126 r + 0.7152 g + 0.0722 b.
//    - WWCW: the luminance split between warm (2700 K) and cool (6500 K) white by where the
//      colour's chromaticity falls between the two (projected onto the line joining them,
//      clamped to its ends), so that the sum stays the luminance. D65 white is all cool.
//    - N-channel colours skip the mixing: channel i goes to channel i, whatever the chemistry.
//    A layout with more channels than the chemistry has leaves the extra ones at 0; one with
//    fewer gets the first ones.
// 3. Alpha scales every level, then each becomes 0..255 or 0..65535 (rounded).
//
// An invalid colour gives all channels 0.

// Writes layout.channels * layout.bytesPerChannel bytes for colour into out and returns how
// many were written. At most 16 bytes are written: channels are clamped to 1..16 at 8 bits and
// 1..8 at 16 bits; a bytesPerChannel other than 2 counts as 1.
int encodeChannels(const VelaColor &colour, const ChannelLayout &layout, uchar *out);

// The layout of a light whose LED chemistry is given by its property-map code: 1 RGB, 2 RGBW,
// 3 RGBAW, 4 RGBA, 5 warm white, 6 neutral white, 7 cool white, 8 tunable white, 9 amber;
// anything else RGB. Linear curve.
ChannelLayout layoutForChemistryCode(int code, int bytesPerChannel);

// The layout of an LED profile mode from LedProfileRegistry: its chemistry, channel count and
// gamma.
ChannelLayout layoutForProfile(const LedProfileMode &mode, int bytesPerChannel);
