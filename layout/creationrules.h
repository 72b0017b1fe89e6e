#pragma once

#include <QPoint>
#include <QRectF>
#include <QString>
#include <QVector>

#include <optional>

// The rules by which lights made by hand are placed, addressed and named. Pure functions:
// the dialogs and the command line feed them their choices and get the same answers.
namespace CreationRules {

// A port's frame holds 512 channels; DMX_OFFSET runs from 0 to 511.
constexpr int kChannelsPerPort = 512;
// A supply numbers its ports in one byte.
constexpr int kMaxPortNumber = 255;
// One creation makes at most as many lights as a map is sized for.
constexpr int kMaxLights = 15000;

enum class RunDirection { Vertical, Horizontal };

// The string shapes in the order of the dialog's shape buttons ("/layout").
enum class StringShape : int { Horizontal = 0, Vertical = 1, BackSlash = 2, ForwardSlash = 3, Tile = 4 };

struct ShapeRaster
{
    int rows = 1;
    int columns = 1;
    int slope = 0;
    int count() const { return rows * columns; }
};

// Rows, columns and diagonal slope of a shape: a row, a column and the diagonals use only
// the field that applies to them.
ShapeRaster rasterFor(StringShape shape, int rows, int columns);

// Where a string goes relative to what the canvas already holds.
enum class StringPlacement { Below, Right };

// The bounding rectangle of the given light positions (empty when there are none).
QRectF boundsOf(const QVector<QPointF> &positions);

// A run of `count` lights in one column right of `bounds` (x = right + 2·grid) or one row
// below it (y = bottom + 2·grid), the other coordinate stepping grid, 2·grid, ...
QVector<QPoint> runPositions(int count, RunDirection direction, int grid, const QRectF &bounds);

// Origin of a string: below the map's lights starts at (grid, bottom + 2·grid), right of
// them at (right + 2·grid, grid). A forward-slash diagonal climbs, so its origin moves down
// by its height to keep its top where the string's top belongs.
QPoint stringOrigin(const ShapeRaster &raster, StringPlacement placement, int grid,
                    const QRectF &bounds);

// Positions of the raster cells row by row, column by column within a row:
// x = grid·c + x0, y = (c·s + r)·grid + y0.
QVector<QPoint> stringPositions(const ShapeRaster &raster, int grid, const QPoint &origin);

// How the light numbers run over a raster: from which corner, and whether every row starts
// at the same side (raster) or rows alternate direction (snake, as a string is usually
// wired back and forth).
struct NumberingOrder
{
    bool rightToLeft = false;
    bool bottomToTop = false;
    bool raster = false;
};

// For each cell in creation order, its place in the numbering (0-based).
QVector<int> numberingSequence(const ShapeRaster &raster, const NumberingOrder &order);

// One light's address: the port (1-based as the user counts them) and its 0-based DMX start.
struct DmxSlot
{
    int port = 1;
    int offset = 0;
    friend bool operator==(const DmxSlot &a, const DmxSlot &b)
    {
        return a.port == b.port && a.offset == b.offset;
    }
};

// The addresses of `count` lights of `channels` channels each: DMX start = i·channels +
// baseOffset on the first port; a light that would pass channel 512 starts the next port at
// channel 0, for at most `ports` ports from `firstPort`. None when they do not fit.
std::optional<QVector<DmxSlot>> dmxSlots(int count, int channels, int firstPort, int baseOffset,
                                         int ports);
// How many ports, starting at baseOffset, `count` such lights need.
int portsNeeded(int count, int channels, int baseOffset);

// The name prefix: the base name followed by a blank, or nothing for an empty base name.
QString namePrefix(const QString &baseName);
// prefix + type text + " " + two-digit port + "-" + three-digit (offset / channels + 1).
QString lightName(const QString &prefix, const QString &typeText, const DmxSlot &slot,
                  int channels);

// Progress of a string is shown every max(1, trunc(total · 0.01)) lights.
int progressInterval(int total);

// The auto-set DMX address from a supply's last used channel on the port: v + 2, or 1 when
// nothing is used there.
int autoSetDmxAddress(int lastUsedChannel);

} // namespace CreationRules
