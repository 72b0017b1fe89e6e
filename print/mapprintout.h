#pragma once

#include "report/patchlist.h"

#include <QDateTime>
#include <QString>

class MapModel;
class QPagedPaintDevice;

// The printed map: page 1 the layout fitted to the page under the map's name and the date,
// then the patch list, supply by supply, a table per port that breaks across pages with its
// header repeated, "Page n of N" in every footer. Painted on any paged device, so a PDF file
// (QPdfWriter) and a printer or its preview (QPrinter) get the very same pages.
class MapPrintout final
{
public:
    // title: what the pages are headed with, usually the map's file name.
    MapPrintout(const MapModel &model, const QString &title, const QDateTime &printedAt);

    const PatchList &patchList() const { return m_list; }

    // The layout page turned to suit the map (landscape for a wide map), the patch list
    // pages as the device is set up. Off by default: a printer's pages follow the print
    // dialog's choice.
    void setLayoutPageFollowsMap(bool on) { m_layoutPageFollowsMap = on; }

    // Paints pages fromPage to toPage (counted from 1; 0 for the first or the last page) and
    // returns how many were painted; 0 when the device cannot be painted on.
    int paint(QPagedPaintDevice &device, int fromPage = 0, int toPage = 0) const;

private:
    const MapModel &m_model;
    QString m_title;
    QString m_date;
    PatchList m_list;
    bool m_layoutPageFollowsMap = false;
};
