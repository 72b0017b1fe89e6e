#pragma once

#include <QList>
#include <QPair>
#include <QPointF>
#include <QVector>

// The arithmetic of the layout canvas, apart from any widget so it can be checked number by
// number. Positions are scene units, x to the right, y down.
namespace LayoutGeometry {

// The nearest grid line of a coordinate, halves going up: the remainder keeps the sign of
// the coordinate, so -5 on a 12 grid goes to 0, 17 to 12 and 18 to 24.
int snap(double coordinate, int grid);
// Whole numbers after a rotation: a fractional part of at least 0.5 goes up, anything else
// down (so negative values with any fraction go down).
double roundForRotation(double value);
// The point turned by degrees about a centre (positive degrees turn clockwise on screen).
QPointF rotated(const QPointF &point, const QPointF &centre, double degrees);
// Zoom steps of one wheel event: the eighths of a degree to degrees, to 15-degree steps, each
// rounded half away from zero.
int wheelSteps(int angleDeltaY);
// Mirrors a coordinate over the span from low to high.
double mirrored(double value, double low, double high);
// Orders points along the line from first to second: each point's coordinates in the line's
// own frame (along, across), truncated, sorted by along, then across.
QList<quint64> orderAlongLine(const QPointF &first, const QPointF &second,
                              const QVector<QPair<quint64, QPointF>> &points);

} // namespace LayoutGeometry
