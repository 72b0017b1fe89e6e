#pragma once

#include "print/patchpagination.h"

#include <QRectF>
#include <QString>

class PrintStyle;
class QPainter;
struct PatchList;

// Paints the patch list's pages: supply headings, port headings, and per port a table of
// name, serial, port, DMX address range, channels (and a check column when some light's
// range overlaps the one before, runs past 512 or is missing).
class PatchPagePainter final
{
public:
    PatchPagePainter(const PatchList &list, const PrintStyle &style, double width);

    // The heights pagination needs, for a page of the given content height.
    PatchPagination::Heights heights(double pageHeight) const;

    // Paints one page's blocks with their tops at top.
    void paint(QPainter &painter, const PatchPagination::Page &page, double top) const;

private:
    enum Column { Name, Serial, Port, Dmx, Channels, Check, ColumnCount };

    void paintSupplyHeading(QPainter &painter, int supply, double y) const;
    void paintPortHeading(QPainter &painter, const PatchPagination::Block &block, double y,
                          bool opensPage) const;
    void paintTableHeader(QPainter &painter, double y) const;
    void paintRows(QPainter &painter, const PatchPagination::Block &block, double y) const;
    void paintEmptyPort(QPainter &painter, const PatchPagination::Block &block, double y) const;
    QRectF cell(Column column, double y, double height) const;

    const PatchList &m_list;
    const PrintStyle &m_style;
    double m_width;
    double m_rowHeight;
    double m_padding;
    double m_left[ColumnCount] = {};
    double m_columnWidth[ColumnCount] = {};
};
