#pragma once

// The colour science behind VelaColor: sRGB (IEC 61966-2-1) and CIE 1931 XYZ / xyY, all
// relative to the D65 white point, with the white's luminance Y = 1.
//
// RGB values are normalised to 0..1. "Encoded" values carry the sRGB transfer function (what
// a colour picker, a CSS name or QColor hold); "linear" values are proportional to light.
namespace ColourSpace {

// D65, the white point of sRGB, in CIE 1931 xy.
constexpr double kWhiteX = 0.3127;
constexpr double kWhiteY = 0.3290;

struct Xyz
{
    double X = 0.0;
    double Y = 0.0;
    double Z = 0.0;
};

struct LinearRgb
{
    double r = 0.0;
    double g = 0.0;
    double b = 0.0;
};

struct Yxy
{
    double Y = 0.0;
    double x = kWhiteX;
    double y = kWhiteY;
};

// The sRGB transfer function: linear segment below 0.04045 (encoded) / 0.0031308 (linear),
// exponent 2.4 with offset 0.055 above it. Input is clamped to 0..1.
double srgbToLinear(double encoded);
double linearToSrgb(double linear);

// Linear sRGB <-> XYZ through the matrix built from the sRGB primaries
// (R 0.64/0.33, G 0.30/0.60, B 0.15/0.06) and D65, so that RGB 1,1,1 is exactly the white
// point with Y = 1. The result of linearRgbFromXyz is not clamped: colours outside the sRGB
// gamut give components below 0 or above 1.
Xyz xyzFromLinearRgb(const LinearRgb &rgb);
LinearRgb linearRgbFromXyz(const Xyz &xyz);

// XYZ <-> xyY. Black has no chromaticity; it is given the white point's. A chromaticity with
// y <= 0 cannot carry light and gives black.
Yxy yxyFromXyz(const Xyz &xyz);
Xyz xyzFromYxy(const Yxy &yxy);

} // namespace ColourSpace
