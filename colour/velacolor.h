#pragma once

#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QVector>
#include <Qt>

#include <array>
#include <cstring>
#include <optional>

// The colour of a light, in one of three forms:
//  - Rgb: sRGB with alpha, 16 bits per component. The components are gamma-encoded sRGB, as
//    in QColor (0x8080 is the grey a colour picker calls 50 %), not linear light.
//  - Yxy: CIE 1931 luminance Y (0..1, the D65 white at full is 1) and chromaticity x, y.
//  - NChannel: 1 to 16 independent channels of 16 bits, sent to a light's channels as they
//    are, for lights whose channels are not a colour model (or to drive each LED directly).
// Every form has a 16-bit alpha, which scales the light's intensity when it is encoded.
//
// Conversions between the forms go through sRGB and CIE XYZ with the D65 white point
// (colour/colourspace.h). An NChannel colour seen as RGB is its first three channels.
//
// A small value type (64 bytes, no heap): it is copied and compared per light and frame.
// Equality is exact: same form, same alpha, same stored values. All invalid colours are equal.
//
// Text form, where colours are saved (the selection effect's "fgcolor" and "bgcolor"):
//   aRgb;V;R;#aaaarrrrggggbbbb           alpha, red, green, blue: 4 lower-case hex digits each
//   aYxy;V;R;alpha;Y;x;y                 alpha decimal 0..65535; Y, x, y with 6 decimals
//   aNchannel;V;R;alpha;c1[;c2...]       alpha then each channel, decimal 0..65535
// V is the text-form version, written as 1; R is reserved, written as 0. Readers accept any
// decimal integer in both (a later version may give them meaning) and ignore them. The
// channel count of the N-channel form is the number of fields after alpha (1..16).
class VelaColor
{
public:
    enum class Spec : quint8 { Invalid, Rgb, Yxy, NChannel };

    static constexpr int kMaxChannels = 16;
    static constexpr int kTextVersion = 1;
    static constexpr int kTextReserved = 0;

    VelaColor() = default;
    // Qt's global colours as QColor has them (Qt::red is 0xFFFF,0,0; Qt::transparent is black
    // with alpha 0). Implicit, like QColor's, so Qt::red can stand where a colour is expected.
    VelaColor(Qt::GlobalColor color);

    static VelaColor fromRgb16(quint16 r, quint16 g, quint16 b, quint16 a = 0xFFFF);
    // 8-bit components, 0..255 (0xFF becomes 0xFFFF); out of range is reported and Invalid.
    static VelaColor fromRgb(int r, int g, int b, int a = 255);
    // Components 0.0..1.0; out of range (or NaN) is reported and gives Invalid.
    static VelaColor fromRgbF(double r, double g, double b, double a = 1.0);
    // Y, x and y each 0.0..1.0; out of range (or not finite) is reported and gives Invalid.
    static VelaColor fromYxy(double Y, double x, double y, quint16 alpha = 0xFFFF);
    // 1..16 channels; any other count is reported and gives Invalid.
    static VelaColor fromChannels(const QVector<quint16> &channels, quint16 alpha = 0xFFFF);

    // Reads the text form (surrounding white space allowed). Anything malformed, truncated,
    // out of range or longer than any text form can be gives nullopt.
    static std::optional<VelaColor> fromString(const QString &text);
    // The text form; empty for an invalid colour.
    QString toString() const;

    // Qt's colour names: the SVG/CSS keywords (case-insensitive, spaces ignored), "transparent",
    // "#RGB", "#RRGGBB", "#AARRGGBB", "#RRRGGGBBB", "#RRRRGGGGBBBB". Gives an Rgb colour and
    // true; an unknown name is reported and leaves the colour invalid, an empty name too
    // (without a report).
    bool setNamedColor(const QString &name);
    // The SVG/CSS keywords, lower case, alphabetical.
    static QStringList colorNames();

    Spec spec() const { return m_spec; }
    bool isValid() const { return m_spec != Spec::Invalid; }

    quint16 alpha16() const { return m_alpha; }
    // 0..65535; out of range is reported and changes nothing. An invalid colour stays invalid
    // and returns false.
    bool setAlpha16(int a);

    // sRGB components (gamma-encoded), converted from any form; 0 for an invalid colour.
    quint16 red16() const;
    quint16 green16() const;
    quint16 blue16() const;
    double redF() const { return red16() / 65535.0; }
    double greenF() const { return green16() / 65535.0; }
    double blueF() const { return blue16() / 65535.0; }
    double alphaF() const { return m_alpha / 65535.0; }

    // CIE Yxy, converted from any form. Black (and an invalid colour) has Y 0 and the white
    // point's chromaticity.
    double luminanceY() const;
    double chromaX() const;
    double chromaY() const;

    // The NChannel form's channels; for the other forms red, green, blue; empty when invalid.
    QVector<quint16> channels() const;
    // The same without building a vector: count, and channel i (0 past the end).
    int channelCount() const;
    quint16 channel(int index) const;

    VelaColor toRgb() const;
    VelaColor toYxy() const;

    // Moves towards other by weight: 0 (or less, or NaN) gives *this, 1 (or more) gives other
    // as it is. Between, each component of *this's form moves linearly towards the same
    // component of other converted to that form, alpha too (N-channel colours of different
    // counts are padded with 0 channels). An invalid side contributes nothing: the result is
    // the other side. This is how a light averages the contributions of several effects.
    VelaColor mixed(const VelaColor &other, double weight) const;

    // Inline: live output compares every light's colour with its last one every frame.
    bool operator==(const VelaColor &other) const
    {
        if (m_spec != other.m_spec || m_alpha != other.m_alpha || m_count != other.m_count ||
            m_luminance != other.m_luminance || m_x != other.m_x || m_y != other.m_y)
            return false;
        // The channel array as four 64-bit words: no library call on the hot path.
        static_assert(sizeof(m_values) == 4 * sizeof(quint64), "four words of channels");
        quint64 a[4], b[4];
        std::memcpy(a, m_values.data(), sizeof a);
        std::memcpy(b, other.m_values.data(), sizeof b);
        return a[0] == b[0] && a[1] == b[1] && a[2] == b[2] && a[3] == b[3];
    }
    bool operator!=(const VelaColor &other) const { return !(*this == other); }

private:
    // Builds a Yxy colour from values known to be in range (results of our own conversions).
    static VelaColor makeYxy(double Y, double x, double y, quint16 alpha);

    // Rgb: r, g, b in [0..2]; NChannel: the channels. Unused entries stay 0 so that
    // comparison and hashing can look at whole arrays.
    std::array<quint16, kMaxChannels> m_values{};
    double m_luminance = 0.0;
    double m_x = 0.0;
    double m_y = 0.0;
    quint16 m_alpha = 0xFFFF;
    quint8 m_count = 0;
    Spec m_spec = Spec::Invalid;
};

uint qHash(const VelaColor &c, uint seed = 0);

Q_DECLARE_METATYPE(VelaColor)
