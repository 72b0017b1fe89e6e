#include "colour/colourspace.h"

#include <array>
#include <cmath>

namespace ColourSpace {

namespace {

using Matrix = std::array<std::array<double, 3>, 3>;

constexpr Matrix inverse(const Matrix &m)
{
    const double det = m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
                       m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
                       m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
    Matrix r{};
    r[0][0] = (m[1][1] * m[2][2] - m[1][2] * m[2][1]) / det;
    r[0][1] = (m[0][2] * m[2][1] - m[0][1] * m[2][2]) / det;
    r[0][2] = (m[0][1] * m[1][2] - m[0][2] * m[1][1]) / det;
    r[1][0] = (m[1][2] * m[2][0] - m[1][0] * m[2][2]) / det;
    r[1][1] = (m[0][0] * m[2][2] - m[0][2] * m[2][0]) / det;
    r[1][2] = (m[0][2] * m[1][0] - m[0][0] * m[1][2]) / det;
    r[2][0] = (m[1][0] * m[2][1] - m[1][1] * m[2][0]) / det;
    r[2][1] = (m[0][1] * m[2][0] - m[0][0] * m[2][1]) / det;
    r[2][2] = (m[0][0] * m[1][1] - m[0][1] * m[1][0]) / det;
    return r;
}

// The RGB -> XYZ matrix of a display from its primaries and white point: each column is a
// primary's XYZ at Y = 1, scaled so that the three together give the white at Y = 1.
// Deriving it instead of copying a rounded table keeps the matrix and its inverse exact
// inverses of each other, so RGB -> Yxy -> RGB comes back to the same 16-bit values.
constexpr Matrix rgbToXyzMatrix()
{
    constexpr double primaries[3][2] = {{0.64, 0.33}, {0.30, 0.60}, {0.15, 0.06}};
    Matrix p{};
    for (int i = 0; i < 3; ++i) {
        const double x = primaries[i][0];
        const double y = primaries[i][1];
        p[0][i] = x / y;
        p[1][i] = 1.0;
        p[2][i] = (1.0 - x - y) / y;
    }
    const double white[3] = {kWhiteX / kWhiteY, 1.0, (1.0 - kWhiteX - kWhiteY) / kWhiteY};
    const Matrix pInv = inverse(p);
    Matrix m{};
    for (int i = 0; i < 3; ++i) {
        const double scale = pInv[i][0] * white[0] + pInv[i][1] * white[1] + pInv[i][2] * white[2];
        for (int row = 0; row < 3; ++row)
            m[row][i] = p[row][i] * scale;
    }
    return m;
}

// Roughly 0.4124 0.3576 0.1805 / 0.2126 0.7152 0.0722 / 0.0193 0.1192 0.9505.
constexpr Matrix kRgbToXyz = rgbToXyzMatrix();
constexpr Matrix kXyzToRgb = inverse(kRgbToXyz);

double clamp01(double v)
{
    return v < 0.0 ? 0.0 : (v > 1.0 ? 1.0 : v);
}

} // namespace

double srgbToLinear(double encoded)
{
    const double c = clamp01(encoded);
    return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}

double linearToSrgb(double linear)
{
    const double c = clamp01(linear);
    return c <= 0.0031308 ? c * 12.92 : 1.055 * std::pow(c, 1.0 / 2.4) - 0.055;
}

Xyz xyzFromLinearRgb(const LinearRgb &rgb)
{
    const Matrix &m = kRgbToXyz;
    return {m[0][0] * rgb.r + m[0][1] * rgb.g + m[0][2] * rgb.b,
            m[1][0] * rgb.r + m[1][1] * rgb.g + m[1][2] * rgb.b,
            m[2][0] * rgb.r + m[2][1] * rgb.g + m[2][2] * rgb.b};
}

LinearRgb linearRgbFromXyz(const Xyz &xyz)
{
    const Matrix &m = kXyzToRgb;
    return {m[0][0] * xyz.X + m[0][1] * xyz.Y + m[0][2] * xyz.Z,
            m[1][0] * xyz.X + m[1][1] * xyz.Y + m[1][2] * xyz.Z,
            m[2][0] * xyz.X + m[2][1] * xyz.Y + m[2][2] * xyz.Z};
}

Yxy yxyFromXyz(const Xyz &xyz)
{
    const double sum = xyz.X + xyz.Y + xyz.Z;
    if (!(sum > 0.0))
        return {0.0, kWhiteX, kWhiteY};
    return {xyz.Y, xyz.X / sum, xyz.Y / sum};
}

Xyz xyzFromYxy(const Yxy &yxy)
{
    if (!(yxy.y > 0.0))
        return {};
    const double scale = yxy.Y / yxy.y;
    return {yxy.x * scale, yxy.Y, (1.0 - yxy.x - yxy.y) * scale};
}

} // namespace ColourSpace
