#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// The colour names Qt knows: the 148 SVG 1.0 / CSS colour keywords, each an 8-bit sRGB triple.
// Kept as a table of our own so that the core needs no QtGui.
namespace ColourNames {

struct Rgb8
{
    int red = 0;
    int green = 0;
    int blue = 0;
};

// Case-insensitive; spaces and tabs inside the name are ignored ("Light Blue" is "lightblue").
// Only the keywords: "transparent" and the "#..." forms are the caller's business.
std::optional<Rgb8> lookup(const QString &name);

// All names, lower case, in alphabetical order.
QStringList names();

} // namespace ColourNames
