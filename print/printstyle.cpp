#include "print/printstyle.h"

#include <QPaintDevice>

#include <cmath>

namespace {

QFont font(double points, bool bold = false)
{
    QFont f;
    f.setStyleHint(QFont::SansSerif);
    f.setPointSizeF(points);
    f.setBold(bold);
    return f;
}

} // namespace

PrintStyle::PrintStyle(const QPaintDevice &device)
    : title(font(16, true)), heading(font(11.5, true)), strong(font(9, true)), body(font(9)),
      small(font(7.5)), label(font(4.5)), m_device(&device),
      m_unitsPerPoint(device.logicalDpiY() / 72.0)
{
}

QColor PrintStyle::supplyColour(int index)
{
    // Steps of the golden angle keep any run of neighbouring supplies far apart in hue.
    const double hue = std::fmod(0.58 + index * 0.381966, 1.0);
    // Alternate two depths as well, so that similar hues differ in lightness too.
    return QColor::fromHsvF(hue, 0.8, index % 2 ? 0.62 : 0.85);
}
