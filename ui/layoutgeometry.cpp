#include "ui/layoutgeometry.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace LayoutGeometry {

namespace {
constexpr double kPi = 3.141592653589793;
}

int snap(double coordinate, int grid)
{
    // A position a damaged map made absurd stays representable.
    if (!std::isfinite(coordinate))
        return 0;
    coordinate = std::clamp(coordinate, -1e9, 1e9);
    if (grid <= 0)
        return int(std::trunc(coordinate));
    const int whole = int(std::trunc(coordinate));
    const int remainder = whole % grid;
    return remainder < grid / 2 ? whole - remainder : whole - remainder + grid;
}

double roundForRotation(double value)
{
    return value - std::trunc(value) >= 0.5 ? std::ceil(value) : std::floor(value);
}

QPointF rotated(const QPointF &point, const QPointF &centre, double degrees)
{
    const double dx = point.x() - centre.x();
    const double dy = point.y() - centre.y();
    const double distance = std::sqrt(dx * dx + dy * dy);
    const double angle = std::atan2(dy, dx) + degrees / 180.0 * kPi;
    return {std::cos(angle) * distance + centre.x(), std::sin(angle) * distance + centre.y()};
}

int wheelSteps(int angleDeltaY)
{
    return int(std::round(std::round(angleDeltaY / 8.0) / 15.0));
}

double mirrored(double value, double low, double high)
{
    return high - (value - low);
}

QList<quint64> orderAlongLine(const QPointF &first, const QPointF &second,
                              const QVector<QPair<quint64, QPointF>> &points)
{
    const double lineAngle = std::atan2(second.y() - first.y(), second.x() - first.x());
    struct Placed
    {
        int along;
        int across;
        quint64 uid;
    };
    QVector<Placed> placed;
    placed.reserve(points.size());
    for (const auto &[uid, point] : points) {
        const double dx = point.x() - first.x();
        const double dy = point.y() - first.y();
        const double distance = std::sqrt(dx * dx + dy * dy);
        const double angle = lineAngle - std::atan2(dy, dx);
        placed.append({int(std::cos(angle) * distance + 0.5),
                       int(std::sin(angle) * distance + 0.5), uid});
    }
    std::stable_sort(placed.begin(), placed.end(), [](const Placed &a, const Placed &b) {
        return std::tie(a.along, a.across) < std::tie(b.along, b.across);
    });
    QList<quint64> order;
    order.reserve(placed.size());
    for (const Placed &p : qAsConst(placed))
        order.append(p.uid);
    return order;
}

} // namespace LayoutGeometry
