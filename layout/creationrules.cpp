#include "layout/creationrules.h"

#include <algorithm>

namespace CreationRules {

ShapeRaster rasterFor(StringShape shape, int rows, int columns)
{
    switch (shape) {
    case StringShape::Horizontal:
        return {1, columns, 0};
    case StringShape::Vertical:
        return {rows, 1, 0};
    case StringShape::BackSlash:
        return {1, columns, 1};
    case StringShape::ForwardSlash:
        return {1, columns, -1};
    case StringShape::Tile:
        return {rows, columns, 0};
    }
    return {1, columns, 0};
}

QRectF boundsOf(const QVector<QPointF> &positions)
{
    if (positions.isEmpty())
        return QRectF();
    double left = positions.first().x(), right = left;
    double top = positions.first().y(), bottom = top;
    for (const QPointF &p : positions) {
        left = std::min(left, p.x());
        right = std::max(right, p.x());
        top = std::min(top, p.y());
        bottom = std::max(bottom, p.y());
    }
    return QRectF(QPointF(left, top), QPointF(right, bottom));
}

QVector<QPoint> runPositions(int count, RunDirection direction, int grid, const QRectF &bounds)
{
    QVector<QPoint> positions;
    positions.reserve(std::max(count, 0));
    const int right = int(bounds.x() + bounds.width());
    const int bottom = int(bounds.y() + bounds.height());
    for (int i = 0; i < count; ++i) {
        if (direction == RunDirection::Vertical)
            positions.append(QPoint(right + 2 * grid, (i + 1) * grid));
        else
            positions.append(QPoint((i + 1) * grid, bottom + 2 * grid));
    }
    return positions;
}

QPoint stringOrigin(const ShapeRaster &raster, StringPlacement placement, int grid,
                    const QRectF &bounds)
{
    const int right = int(bounds.x() + bounds.width());
    const int bottom = int(bounds.y() + bounds.height());
    QPoint origin = placement == StringPlacement::Below ? QPoint(grid, bottom + 2 * grid)
                                                        : QPoint(right + 2 * grid, grid);
    if (raster.slope < 0)
        origin.ry() += (raster.columns - 1) * grid;
    return origin;
}

QVector<QPoint> stringPositions(const ShapeRaster &raster, int grid, const QPoint &origin)
{
    QVector<QPoint> positions;
    positions.reserve(std::max(raster.count(), 0));
    for (int r = 0; r < raster.rows; ++r)
        for (int c = 0; c < raster.columns; ++c)
            positions.append(QPoint(grid * c + origin.x(),
                                    (c * raster.slope + r) * grid + origin.y()));
    return positions;
}

QVector<int> numberingSequence(const ShapeRaster &raster, const NumberingOrder &order)
{
    QVector<int> sequence;
    sequence.reserve(std::max(raster.count(), 0));
    for (int r = 0; r < raster.rows; ++r) {
        const int row = order.bottomToTop ? raster.rows - 1 - r : r;
        for (int c = 0; c < raster.columns; ++c) {
            int column = order.rightToLeft ? raster.columns - 1 - c : c;
            // A snake turns at the end of each row: its odd rows run back.
            if (!order.raster && row % 2 == 1)
                column = raster.columns - 1 - column;
            sequence.append(row * raster.columns + column);
        }
    }
    return sequence;
}

std::optional<QVector<DmxSlot>> dmxSlots(int count, int channels, int firstPort, int baseOffset,
                                         int ports)
{
    if (count < 0 || channels < 1 || channels > kChannelsPerPort || baseOffset < 0
        || baseOffset >= kChannelsPerPort || firstPort < 1 || ports < 1
        || firstPort + ports - 1 > kMaxPortNumber)
        return std::nullopt;
    QVector<DmxSlot> planned;
    planned.reserve(count);
    int port = firstPort;
    int offset = baseOffset;
    for (int i = 0; i < count; ++i) {
        if (offset + channels > kChannelsPerPort) {
            ++port;
            offset = 0;
        }
        if (port >= firstPort + ports)
            return std::nullopt;
        planned.append({port, offset});
        offset += channels;
    }
    return planned;
}

int portsNeeded(int count, int channels, int baseOffset)
{
    if (count <= 0 || channels < 1 || channels > kChannelsPerPort)
        return 1;
    const int onFirst = std::max(0, (kChannelsPerPort - baseOffset) / channels);
    if (count <= onFirst)
        return 1;
    const int perPort = kChannelsPerPort / channels;
    return 1 + (count - onFirst + perPort - 1) / perPort;
}

QString namePrefix(const QString &baseName)
{
    return baseName.isEmpty() ? QString() : baseName + QLatin1Char(' ');
}

QString lightName(const QString &prefix, const QString &typeText, const DmxSlot &slot,
                  int channels)
{
    return prefix + typeText + QLatin1Char(' ')
        + QStringLiteral("%1").arg(slot.port, 2, 10, QLatin1Char('0')) + QLatin1Char('-')
        + QStringLiteral("%1").arg(slot.offset / std::max(channels, 1) + 1, 3, 10,
                                   QLatin1Char('0'));
}

int progressInterval(int total)
{
    return std::max(1, int(total * 0.01));
}

int autoSetDmxAddress(int lastUsedChannel)
{
    return lastUsedChannel <= 0 ? 1 : lastUsedChannel + 2;
}

} // namespace CreationRules
