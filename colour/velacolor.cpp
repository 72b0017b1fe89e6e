#include "colour/velacolor.h"

#include "colour/colourlogging.h"
#include "colour/colournames.h"
#include "colour/colourspace.h"

#include <QHashFunctions>

#include <algorithm>
#include <iterator>
#include <limits>

namespace {

// Longer than any text form we write (the longest, 16 channels with extreme V and R fields,
// is under 150 characters); anything longer is refused before it is split.
constexpr int kMaxTextLength = 512;

// Qt's global colours in enum order, as QColor defines them (color0 is white, color1 black:
// the pixel values of a bitmap).
struct GlobalColourEntry
{
    quint8 red;
    quint8 green;
    quint8 blue;
    quint8 alpha;
};
constexpr GlobalColourEntry kGlobalColours[] = {
    {255, 255, 255, 255}, {0, 0, 0, 255},       {0, 0, 0, 255},       {255, 255, 255, 255},
    {128, 128, 128, 255}, {160, 160, 164, 255}, {192, 192, 192, 255}, {255, 0, 0, 255},
    {0, 255, 0, 255},     {0, 0, 255, 255},     {0, 255, 255, 255},   {255, 0, 255, 255},
    {255, 255, 0, 255},   {128, 0, 0, 255},     {0, 128, 0, 255},     {0, 0, 128, 255},
    {0, 128, 128, 255},   {128, 0, 128, 255},   {128, 128, 0, 255},   {0, 0, 0, 0},
};
static_assert(std::size(kGlobalColours) == size_t(Qt::transparent) + 1,
              "one entry per Qt::GlobalColor");

quint16 to16(double unit)
{
    return quint16(qRound(qBound(0.0, unit, 1.0) * 65535.0));
}

bool inUnitRange(double v)
{
    return v >= 0.0 && v <= 1.0; // false for NaN
}

ColourSpace::Yxy yxyFromRgb16(quint16 r, quint16 g, quint16 b)
{
    using namespace ColourSpace;
    return yxyFromXyz(xyzFromLinearRgb(
        {srgbToLinear(r / 65535.0), srgbToLinear(g / 65535.0), srgbToLinear(b / 65535.0)}));
}

std::array<quint16, 3> rgb16FromYxy(double Y, double x, double y)
{
    using namespace ColourSpace;
    const LinearRgb rgb = linearRgbFromXyz(xyzFromYxy({Y, x, y}));
    return {to16(linearToSrgb(rgb.r)), to16(linearToSrgb(rgb.g)), to16(linearToSrgb(rgb.b))};
}

// A decimal integer: optional '-', 1 to 10 digits, nothing else (no blanks, no '+').
std::optional<qint64> parseDecimal(const QStringRef &field, bool allowSign)
{
    int i = allowSign && field.startsWith(QLatin1Char('-')) ? 1 : 0;
    const bool negative = i == 1;
    if (field.size() == i || field.size() - i > 10)
        return std::nullopt;
    qint64 value = 0;
    for (; i < field.size(); ++i) {
        const ushort c = field.at(i).unicode();
        if (c < '0' || c > '9')
            return std::nullopt;
        value = value * 10 + (c - '0');
    }
    return negative ? -value : value;
}

bool isAnyInt(const QStringRef &field)
{
    const std::optional<qint64> value = parseDecimal(field, true);
    return value && *value >= std::numeric_limits<int>::min() &&
           *value <= std::numeric_limits<int>::max();
}

std::optional<quint16> parse16(const QStringRef &field)
{
    const std::optional<qint64> value = parseDecimal(field, false);
    if (!value || *value > 0xFFFF)
        return std::nullopt;
    return quint16(*value);
}

std::optional<double> parseUnit(const QStringRef &field)
{
    bool ok = false;
    const double value = field.toDouble(&ok);
    if (!ok || !inUnitRange(value))
        return std::nullopt;
    return value;
}

// `digits` hexadecimal digits of text from `from`; -1 when one is not a hex digit.
int hexValue(const QStringRef &text, int from, int digits)
{
    int value = 0;
    for (int i = from; i < from + digits; ++i) {
        const ushort c = text.at(i).unicode();
        int digit;
        if (c >= '0' && c <= '9')
            digit = c - '0';
        else if (c >= 'a' && c <= 'f')
            digit = c - 'a' + 10;
        else if (c >= 'A' && c <= 'F')
            digit = c - 'A' + 10;
        else
            return -1;
        value = value * 16 + digit;
    }
    return value;
}

// "#" then 3, 6, 8, 9 or 12 hex digits, widened to 16 bits the way QColor does it.
std::optional<VelaColor> colourFromHexName(const QStringRef &name)
{
    const int digits = name.size() - 1;
    int a = 0xFFFF;
    int r = -1;
    int g = -1;
    int b = -1;
    if (digits == 3) {
        r = hexValue(name, 1, 1) * 0x1111;
        g = hexValue(name, 2, 1) * 0x1111;
        b = hexValue(name, 3, 1) * 0x1111;
    } else if (digits == 6 || digits == 8) {
        const int first = digits == 8 ? 3 : 1;
        if (digits == 8)
            a = hexValue(name, 1, 2) * 0x101;
        r = hexValue(name, first, 2) * 0x101;
        g = hexValue(name, first + 2, 2) * 0x101;
        b = hexValue(name, first + 4, 2) * 0x101;
    } else if (digits == 9 || digits == 12) {
        const int width = digits / 3;
        int *components[3] = {&r, &g, &b};
        for (int i = 0; i < 3; ++i) {
            const int v = hexValue(name, 1 + i * width, width);
            // 12 bits are widened by repeating their top bits: 0xFFF -> 0xFFFF.
            *components[i] = v < 0 || width == 4 ? v : (v << 4) | (v >> 8);
        }
    }
    if (a < 0 || r < 0 || g < 0 || b < 0)
        return std::nullopt;
    return VelaColor::fromRgb16(quint16(r), quint16(g), quint16(b), quint16(a));
}

} // namespace

static_assert(sizeof(VelaColor) <= 64, "VelaColor is copied per light and frame: keep it small");

VelaColor::VelaColor(Qt::GlobalColor color)
{
    if (color < 0 || color > Qt::transparent)
        return;
    const GlobalColourEntry &e = kGlobalColours[color];
    *this = fromRgb16(quint16(e.red * 257), quint16(e.green * 257), quint16(e.blue * 257),
                      quint16(e.alpha * 257));
}

VelaColor VelaColor::fromRgb16(quint16 r, quint16 g, quint16 b, quint16 a)
{
    VelaColor c;
    c.m_spec = Spec::Rgb;
    c.m_count = 3;
    c.m_values[0] = r;
    c.m_values[1] = g;
    c.m_values[2] = b;
    c.m_alpha = a;
    return c;
}

VelaColor VelaColor::fromRgb(int r, int g, int b, int a)
{
    const auto in8 = [](int v) { return v >= 0 && v <= 255; };
    if (!in8(r) || !in8(g) || !in8(b) || !in8(a)) {
        qCWarning(lcColour, "VelaColor::fromRgb: RGB parameters out of range");
        return {};
    }
    return fromRgb16(quint16(r * 257), quint16(g * 257), quint16(b * 257), quint16(a * 257));
}

VelaColor VelaColor::fromRgbF(double r, double g, double b, double a)
{
    if (!inUnitRange(r) || !inUnitRange(g) || !inUnitRange(b) || !inUnitRange(a)) {
        qCWarning(lcColour, "VelaColor::fromRgbF: RGB parameters out of range");
        return {};
    }
    return fromRgb16(to16(r), to16(g), to16(b), to16(a));
}

VelaColor VelaColor::fromYxy(double Y, double x, double y, quint16 alpha)
{
    if (!inUnitRange(Y) || !inUnitRange(x) || !inUnitRange(y)) {
        qCWarning(lcColour, "VelaColor::fromYxy: Yxy parameters out of range");
        return {};
    }
    return makeYxy(Y, x, y, alpha);
}

VelaColor VelaColor::makeYxy(double Y, double x, double y, quint16 alpha)
{
    VelaColor c;
    c.m_spec = Spec::Yxy;
    // Adding +0.0 turns -0.0 into 0.0, so equal colours also hash equal.
    c.m_luminance = qBound(0.0, Y, 1.0) + 0.0;
    c.m_x = qBound(0.0, x, 1.0) + 0.0;
    c.m_y = qBound(0.0, y, 1.0) + 0.0;
    c.m_alpha = alpha;
    return c;
}

VelaColor VelaColor::fromChannels(const QVector<quint16> &channels, quint16 alpha)
{
    if (channels.isEmpty() || channels.size() > kMaxChannels) {
        qCWarning(lcColour, "VelaColor::fromChannels: channel count out of range");
        return {};
    }
    VelaColor c;
    c.m_spec = Spec::NChannel;
    c.m_count = quint8(channels.size());
    std::copy(channels.cbegin(), channels.cend(), c.m_values.begin());
    c.m_alpha = alpha;
    return c;
}

std::optional<VelaColor> VelaColor::fromString(const QString &text)
{
    if (text.size() > kMaxTextLength)
        return std::nullopt;
    const QString trimmed = text.trimmed();
    const QVector<QStringRef> fields = trimmed.splitRef(QLatin1Char(';'));
    if (fields.size() < 4 || !isAnyInt(fields.at(1)) || !isAnyInt(fields.at(2)))
        return std::nullopt;
    const QStringRef &form = fields.at(0);
    if (form == QLatin1String("aRgb")) {
        const QStringRef &hex = fields.at(3);
        if (fields.size() != 4 || hex.size() != 17 || !hex.startsWith(QLatin1Char('#')))
            return std::nullopt;
        int argb[4];
        for (int i = 0; i < 4; ++i) {
            argb[i] = hexValue(hex, 1 + 4 * i, 4);
            if (argb[i] < 0)
                return std::nullopt;
        }
        return fromRgb16(quint16(argb[1]), quint16(argb[2]), quint16(argb[3]), quint16(argb[0]));
    }
    if (form == QLatin1String("aYxy")) {
        if (fields.size() != 7)
            return std::nullopt;
        const std::optional<quint16> alpha = parse16(fields.at(3));
        const std::optional<double> Y = parseUnit(fields.at(4));
        const std::optional<double> x = parseUnit(fields.at(5));
        const std::optional<double> y = parseUnit(fields.at(6));
        if (!alpha || !Y || !x || !y)
            return std::nullopt;
        return makeYxy(*Y, *x, *y, *alpha);
    }
    if (form == QLatin1String("aNchannel")) {
        const int count = fields.size() - 4;
        const std::optional<quint16> alpha = parse16(fields.at(3));
        if (!alpha || count < 1 || count > kMaxChannels)
            return std::nullopt;
        VelaColor c;
        c.m_spec = Spec::NChannel;
        c.m_count = quint8(count);
        c.m_alpha = *alpha;
        for (int i = 0; i < count; ++i) {
            const std::optional<quint16> value = parse16(fields.at(4 + i));
            if (!value)
                return std::nullopt;
            c.m_values[i] = *value;
        }
        return c;
    }
    return std::nullopt;
}

QString VelaColor::toString() const
{
    switch (m_spec) {
    case Spec::Rgb:
        return QString::asprintf("aRgb;%d;%d;#%04x%04x%04x%04x", kTextVersion, kTextReserved,
                                 uint(m_alpha), uint(m_values[0]), uint(m_values[1]),
                                 uint(m_values[2]));
    case Spec::Yxy:
        return QString::asprintf("aYxy;%d;%d;%u;%f;%f;%f", kTextVersion, kTextReserved,
                                 uint(m_alpha), m_luminance, m_x, m_y);
    case Spec::NChannel: {
        QString text =
            QString::asprintf("aNchannel;%d;%d;%u", kTextVersion, kTextReserved, uint(m_alpha));
        for (int i = 0; i < m_count; ++i)
            text += QString::asprintf(";%u", uint(m_values[i]));
        return text;
    }
    case Spec::Invalid:
        break;
    }
    return {};
}

bool VelaColor::setNamedColor(const QString &name)
{
    *this = VelaColor();
    if (name.isEmpty())
        return false;
    std::optional<VelaColor> named;
    if (name.startsWith(QLatin1Char('#'))) {
        named = colourFromHexName(QStringRef(&name));
    } else if (QString(name)
                   .remove(QLatin1Char(' '))
                   .remove(QLatin1Char('\t'))
                   .compare(QLatin1String("transparent"), Qt::CaseInsensitive) == 0) {
        named = fromRgb16(0, 0, 0, 0);
    } else if (const std::optional<ColourNames::Rgb8> rgb = ColourNames::lookup(name)) {
        named = fromRgb(rgb->red, rgb->green, rgb->blue);
    }
    if (!named) {
        qCWarning(lcColour, "VelaColor::setNamedColor: Unknown color name '%s'", qPrintable(name));
        return false;
    }
    *this = *named;
    return true;
}

QStringList VelaColor::colorNames()
{
    return ColourNames::names();
}

bool VelaColor::setAlpha16(int a)
{
    if (a < 0 || a > 0xFFFF) {
        qCWarning(lcColour, "VelaColor::setAlpha16: value out of range");
        return false;
    }
    if (!isValid())
        return false;
    m_alpha = quint16(a);
    return true;
}

quint16 VelaColor::red16() const
{
    return channel(0);
}

quint16 VelaColor::green16() const
{
    return channel(1);
}

quint16 VelaColor::blue16() const
{
    return channel(2);
}

double VelaColor::luminanceY() const
{
    return toYxy().m_luminance;
}

double VelaColor::chromaX() const
{
    return m_spec == Spec::Invalid ? ColourSpace::kWhiteX : toYxy().m_x;
}

double VelaColor::chromaY() const
{
    return m_spec == Spec::Invalid ? ColourSpace::kWhiteY : toYxy().m_y;
}

QVector<quint16> VelaColor::channels() const
{
    QVector<quint16> list(channelCount());
    for (int i = 0; i < list.size(); ++i)
        list[i] = channel(i);
    return list;
}

int VelaColor::channelCount() const
{
    switch (m_spec) {
    case Spec::Invalid:
        return 0;
    case Spec::NChannel:
        return m_count;
    case Spec::Rgb:
    case Spec::Yxy:
        break;
    }
    return 3;
}

quint16 VelaColor::channel(int index) const
{
    if (index < 0 || index >= channelCount())
        return 0;
    if (m_spec == Spec::Yxy)
        return rgb16FromYxy(m_luminance, m_x, m_y)[index];
    return m_values[index];
}

VelaColor VelaColor::toRgb() const
{
    switch (m_spec) {
    case Spec::Invalid:
    case Spec::Rgb:
        return *this;
    case Spec::Yxy: {
        const std::array<quint16, 3> rgb = rgb16FromYxy(m_luminance, m_x, m_y);
        return fromRgb16(rgb[0], rgb[1], rgb[2], m_alpha);
    }
    case Spec::NChannel:
        break;
    }
    return fromRgb16(m_values[0], m_values[1], m_values[2], m_alpha);
}

VelaColor VelaColor::toYxy() const
{
    if (m_spec == Spec::Invalid || m_spec == Spec::Yxy)
        return *this;
    const ColourSpace::Yxy yxy = yxyFromRgb16(m_values[0], m_values[1], m_values[2]);
    return makeYxy(yxy.Y, yxy.x, yxy.y, m_alpha);
}

VelaColor VelaColor::mixed(const VelaColor &other, double weight) const
{
    if (!other.isValid() || !(weight > 0.0))
        return *this;
    if (!isValid() || weight >= 1.0)
        return other;
    const auto mix16 = [weight](quint16 from, quint16 to) {
        return quint16(qRound(from + (double(to) - from) * weight));
    };
    VelaColor result = *this;
    result.m_alpha = mix16(m_alpha, other.m_alpha);
    if (m_spec == Spec::Yxy) {
        const VelaColor o = other.toYxy();
        result.m_luminance = m_luminance + (o.m_luminance - m_luminance) * weight;
        result.m_x = m_x + (o.m_x - m_x) * weight;
        result.m_y = m_y + (o.m_y - m_y) * weight;
        return result;
    }
    if (m_spec == Spec::NChannel)
        result.m_count = quint8(std::max(channelCount(), other.channelCount()));
    for (int i = 0; i < result.m_count; ++i)
        result.m_values[i] = mix16(m_values[i], other.channel(i));
    return result;
}


uint qHash(const VelaColor &c, uint seed)
{
    seed ^= uint(c.spec()) << 16 | c.alpha16();
    if (c.spec() == VelaColor::Spec::Yxy) {
        seed = qHash(c.luminanceY(), seed);
        seed = qHash(c.chromaX(), seed);
        return qHash(c.chromaY(), seed);
    }
    quint16 values[VelaColor::kMaxChannels];
    const int count = c.channelCount();
    for (int i = 0; i < count; ++i)
        values[i] = c.channel(i);
    return qHashBits(values, sizeof(quint16) * size_t(count), seed);
}
