#pragma once

#include <QRectF>

class MapModel;
class PrintStyle;
class QPainter;
struct PatchList;

// The first page's picture of the installation: every light as a small square at its
// place on the canvas, filled with its supply's colour, its name beside it where the name
// fits without touching another, and a legend of the supplies' colours underneath.
namespace LayoutDrawing {

// The canvas rectangle the lights of the list cover (empty when there are none).
QRectF bounds(const MapModel &model, const PatchList &list);

void draw(QPainter &painter, const PrintStyle &style, const MapModel &model, const PatchList &list,
          const QRectF &area);

} // namespace LayoutDrawing
