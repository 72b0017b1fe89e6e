#pragma once

#include <QColor>
#include <QFont>
#include <QFontMetricsF>

class QPaintDevice;

// Fonts, lengths and colours of the printed map, measured on the device it is painted on,
// so a PDF at 1200 dpi and a printer at 600 dpi lay out the same page.
class PrintStyle final
{
public:
    explicit PrintStyle(const QPaintDevice &device);

    // Device units for a length in typographic points (1/72 inch).
    double pt(double points) const { return points * m_unitsPerPoint; }
    QFontMetricsF metrics(const QFont &font) const { return QFontMetricsF(font, m_device); }

    // The colour a supply's lights and heading carry: well apart for neighbouring indices,
    // dark enough to show on paper and in grey print.
    static QColor supplyColour(int index);
    // Lights that belong to no supply.
    static QColor noSupplyColour() { return QColor(150, 150, 150); }

    QFont title;   // the map's name on the first page
    QFont heading; // a supply's name
    QFont strong;  // port headings, column titles
    QFont body;    // table rows
    QFont small;   // page header and footer, legend
    QFont label;   // light names on the drawing

    QColor ink{25, 25, 25};
    QColor muted{105, 105, 105};
    QColor rule{170, 170, 170};
    QColor headerFill{225, 228, 232};
    QColor stripe{243, 244, 246};
    QColor warning{170, 20, 20};

private:
    const QPaintDevice *m_device;
    double m_unitsPerPoint = 1;
};
