#include "print/layoutdrawing.h"

#include "model/light.h"
#include "model/mapmodel.h"
#include "print/printstyle.h"
#include "report/patchlist.h"

#include <QHash>
#include <QPainter>
#include <QVector>

#include <algorithm>
#include <cmath>

namespace {

// A light on the canvas is a square of this many scene units centred on its position.
constexpr double kLightSide = 10;
// Legend rows at most; the rest is summed up in one entry.
constexpr int kMaxLegendRows = 5;

struct PlacedLight
{
    QPointF position;
    QString name;
    int colour = -1; // supply index in the patch list, -1 for no supply
};

// The lights of one port, in the order of their DMX addresses: the chain an electrician
// follows from the supply.
struct Run
{
    int first = 0; // index of its first light
    int count = 0;
    int addressed = 0; // the first this many have a DMX address (the chain proper)
};

enum class Side { Right, Left, Below, Above };

QColor colourOf(int index)
{
    return index < 0 ? PrintStyle::noSupplyColour() : PrintStyle::supplyColour(index);
}

// Rectangles already on the drawing, found by the cells of a uniform grid they touch.
class Occupancy
{
public:
    explicit Occupancy(double cell) : m_cell(std::max(cell, 1.0)) {}

    bool isFree(const QRectF &rect) const
    {
        bool free = true;
        forCells(rect, [&](qint64 key) {
            const auto it = m_cells.constFind(key);
            if (it == m_cells.cend())
                return;
            for (int index : *it) {
                if (m_rects.at(index).intersects(rect)) {
                    free = false;
                    return;
                }
            }
        });
        return free;
    }

    void add(const QRectF &rect)
    {
        const int index = m_rects.size();
        m_rects.append(rect);
        forCells(rect, [&](qint64 key) { m_cells[key].append(index); });
    }

private:
    template <typename F> void forCells(const QRectF &rect, F &&f) const
    {
        const qint64 left = qint64(std::floor(rect.left() / m_cell));
        const qint64 right = qint64(std::floor(rect.right() / m_cell));
        const qint64 top = qint64(std::floor(rect.top() / m_cell));
        const qint64 bottom = qint64(std::floor(rect.bottom() / m_cell));
        for (qint64 y = top; y <= bottom; ++y)
            for (qint64 x = left; x <= right; ++x)
                f((y << 32) ^ (x & 0xFFFFFFFF));
    }

    double m_cell;
    QVector<QRectF> m_rects;
    QHash<qint64, QVector<int>> m_cells;
};

// Draws the supplies' colours with their names in columns at the bottom of area; returns
// the height used.
double drawLegend(QPainter &painter, const PrintStyle &style, const PatchList &list,
                  const QRectF &area)
{
    struct Entry
    {
        QString text;
        int colour;
    };
    QVector<Entry> entries;
    for (int s = 0; s < list.supplies.size(); ++s) {
        const PatchSupply &supply = list.supplies.at(s);
        entries.append(supply.isSupply ? Entry{PatchText::singleLine(supply.name), s}
                                       : Entry{QStringLiteral("No interface"), -1});
    }
    if (entries.isEmpty())
        return 0;

    const QFontMetricsF metrics = style.metrics(style.small);
    const double swatch = style.pt(7);
    const double gap = style.pt(4);
    double widest = 0;
    for (const Entry &entry : qAsConst(entries))
        widest = std::max(widest, metrics.horizontalAdvance(entry.text));
    const double natural = swatch + gap + widest + style.pt(12);
    const int columns = std::max(1, int(area.width() / std::min(natural, area.width())));
    const double columnWidth = area.width() / columns;
    int rows = (int(entries.size()) + columns - 1) / columns;
    if (rows > kMaxLegendRows) {
        rows = kMaxLegendRows;
        const int shown = rows * columns - 1;
        const int rest = entries.size() - shown;
        entries.resize(shown);
        entries.append({QStringLiteral("and %1 more").arg(rest), -2});
    }
    const double line = metrics.lineSpacing() * 1.3;
    const double height = rows * line;
    const double top = area.bottom() - height;

    painter.setFont(style.small);
    for (int i = 0; i < entries.size(); ++i) {
        const Entry &entry = entries.at(i);
        // Down the first column, then the next, as people read a list.
        const double x = area.left() + (i / rows) * columnWidth;
        const double y = top + (i % rows) * line;
        double textLeft = x;
        if (entry.colour > -2) {
            painter.setPen(QPen(style.ink, style.pt(0.3)));
            painter.setBrush(colourOf(entry.colour));
            painter.drawRect(QRectF(x, y + (line - swatch) / 2, swatch, swatch));
            textLeft += swatch + gap;
        }
        painter.setPen(style.ink);
        const QRectF textRect(textLeft, y, x + columnWidth - textLeft - gap, line);
        painter.drawText(textRect, Qt::AlignLeft | Qt::AlignVCenter,
                         metrics.elidedText(entry.text, Qt::ElideRight, textRect.width()));
    }
    return height;
}

} // namespace

namespace {

// Puts the lights' names on the drawing where they can be read without doubt: the first and
// last light of every port at the outer ends of its chain, then every light of a port whose
// names all fit on one side of their lights. A port whose names do not all fit shows only its
// ends: names on every other light would be read against the wrong one.
class Labeller
{
public:
    Labeller(QPainter &painter, const PrintStyle &style, const QRectF &frame,
             const QVector<PlacedLight> &lights, const QVector<QRectF> &squares)
        : m_painter(painter), m_metrics(style.metrics(style.label)), m_frame(frame),
          m_lights(lights), m_squares(squares), m_pad(style.pt(1)),
          m_occupied(m_metrics.height() * 2), m_labelled(lights.size(), false)
    {
        for (const QRectF &square : squares)
            m_occupied.add(square.adjusted(-m_pad / 2, -m_pad / 2, m_pad / 2, m_pad / 2));
        m_painter.setFont(style.label);
        m_painter.setPen(style.ink);
    }

    void labelEnds(const Run &run)
    {
        // A light without an address is on no known place of the chain.
        const int last = run.first + std::max(run.addressed, 1) - 1;
        const QPointF along = m_lights.at(last).position - m_lights.at(run.first).position;
        // The outer side of each end, from the direction the chain runs in.
        Side before = Side::Left;
        Side after = Side::Right;
        if (std::abs(along.y()) > std::abs(along.x())) {
            before = along.y() > 0 ? Side::Above : Side::Below;
            after = along.y() > 0 ? Side::Below : Side::Above;
        } else if (along.x() < 0) {
            std::swap(before, after);
        }
        place(run.first, before);
        if (last != run.first)
            place(last, after);
    }

    void labelAll(const Run &run)
    {
        for (const Side side : {Side::Below, Side::Above, Side::Right}) {
            QVector<QRectF> planned;
            QVector<int> which;
            Occupancy own(m_metrics.height() * 2);
            bool fits = true;
            for (int i = run.first; i < run.first + run.count && fits; ++i) {
                if (m_labelled.at(i) || m_lights.at(i).name.trimmed().isEmpty())
                    continue;
                const QRectF rect = rectFor(i, side);
                fits = m_frame.contains(rect) && m_occupied.isFree(rect) && own.isFree(rect);
                own.add(rect);
                planned.append(rect);
                which.append(i);
            }
            if (!fits)
                continue;
            for (int k = 0; k < planned.size(); ++k)
                draw(which.at(k), planned.at(k));
            return;
        }
    }

private:
    QRectF rectFor(int i, Side side) const
    {
        const QRectF &square = m_squares.at(i);
        const double width = m_metrics.horizontalAdvance(m_lights.at(i).name);
        const double height = m_metrics.height();
        switch (side) {
        case Side::Right:
            return {square.right() + m_pad, square.center().y() - height / 2, width, height};
        case Side::Left:
            return {square.left() - m_pad - width, square.center().y() - height / 2, width, height};
        case Side::Below:
            return {square.center().x() - width / 2, square.bottom() + m_pad, width, height};
        case Side::Above:
            return {square.center().x() - width / 2, square.top() - m_pad - height, width, height};
        }
        return {};
    }

    // The preferred side, then the two across it, then the opposite one.
    void place(int i, Side preferred)
    {
        if (m_labelled.at(i) || m_lights.at(i).name.trimmed().isEmpty())
            return;
        const bool horizontal = preferred == Side::Left || preferred == Side::Right;
        const Side opposite = preferred == Side::Left    ? Side::Right
                              : preferred == Side::Right ? Side::Left
                              : preferred == Side::Above ? Side::Below
                                                         : Side::Above;
        const Side order[] = {preferred, horizontal ? Side::Below : Side::Right,
                              horizontal ? Side::Above : Side::Left, opposite};
        for (const Side side : order) {
            const QRectF rect = rectFor(i, side);
            if (m_frame.contains(rect) && m_occupied.isFree(rect)) {
                draw(i, rect);
                return;
            }
        }
    }

    void draw(int i, const QRectF &rect)
    {
        m_occupied.add(rect);
        m_labelled[i] = true;
        m_painter.drawText(rect, Qt::AlignLeft | Qt::AlignVCenter, m_lights.at(i).name);
    }

    QPainter &m_painter;
    const QFontMetricsF m_metrics;
    const QRectF m_frame;
    const QVector<PlacedLight> &m_lights;
    const QVector<QRectF> &m_squares;
    const double m_pad;
    Occupancy m_occupied;
    QVector<bool> m_labelled;
};

} // namespace

namespace LayoutDrawing {

QRectF bounds(const MapModel &model, const PatchList &list)
{
    QRectF covered;
    for (const PatchSupply &supply : list.supplies)
        for (const PatchPort &port : supply.ports)
            for (const PatchLight &entry : port.lights)
                if (const Light *light = model.light(entry.uid)) {
                    const QRectF square(light->x() - kLightSide / 2, light->y() - kLightSide / 2,
                                        kLightSide, kLightSide);
                    covered = covered.isNull() ? square : covered.united(square);
                }
    return covered;
}

void draw(QPainter &painter, const PrintStyle &style, const MapModel &model, const PatchList &list,
          const QRectF &area)
{
    QVector<PlacedLight> lights;
    QVector<Run> runs;
    lights.reserve(list.lightCount);
    QRectF bounds;
    for (int s = 0; s < list.supplies.size(); ++s) {
        const PatchSupply &supply = list.supplies.at(s);
        for (const PatchPort &port : supply.ports) {
            Run run{int(lights.size()), 0, 0};
            for (const PatchLight &entry : port.lights) {
                const Light *light = model.light(entry.uid);
                if (!light)
                    continue;
                const QPointF position(light->x(), light->y());
                lights.append(
                    {position, PatchText::singleLine(entry.name), supply.isSupply ? s : -1});
                ++run.count;
                run.addressed += entry.hasAddress() ? 1 : 0;
                const QRectF square(position.x() - kLightSide / 2, position.y() - kLightSide / 2,
                                    kLightSide, kLightSide);
                bounds = bounds.isNull() ? square : bounds.united(square);
            }
            if (run.count > 0)
                runs.append(run);
        }
    }

    const double legendHeight = drawLegend(painter, style, list, area);
    QRectF frame = area.adjusted(0, 0, 0, -(legendHeight > 0 ? legendHeight + style.pt(8) : 0));
    painter.setPen(QPen(style.rule, style.pt(0.5)));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(frame);
    if (lights.isEmpty()) {
        painter.setFont(style.body);
        painter.setPen(style.muted);
        painter.drawText(frame, Qt::AlignCenter, QStringLiteral("This map has no lights."));
        return;
    }

    // Fit the lights' bounds into the frame, centred, leaving room beside them for the names
    // at the ends of the chains, and never drawing a light larger than a sheet needs.
    const QFontMetricsF labels = style.metrics(style.label);
    double endLabel = 0;
    for (const Run &run : qAsConst(runs)) {
        endLabel = std::max(endLabel, labels.horizontalAdvance(lights.at(run.first).name));
        endLabel = std::max(
            endLabel,
            labels.horizontalAdvance(lights.at(run.first + std::max(run.addressed, 1) - 1).name));
    }
    const double side = std::min(endLabel + style.pt(4), frame.width() * 0.15) + style.pt(6);
    const double top = labels.height() * 2 + style.pt(6);
    const QRectF drawing = frame.adjusted(side, top, -side, -top);
    const double scale = std::min({drawing.width() / bounds.width(),
                                   drawing.height() / bounds.height(), style.pt(14) / kLightSide});
    const QPointF offset(drawing.center().x() - bounds.center().x() * scale,
                         drawing.center().y() - bounds.center().y() * scale);
    const double lightSide = std::max(kLightSide * scale, style.pt(1.2));

    QHash<int, QVector<QRectF>> squaresByColour;
    QVector<QRectF> squares;
    squares.reserve(lights.size());
    for (const PlacedLight &light : qAsConst(lights)) {
        const QPointF centre = light.position * scale + offset;
        const QRectF square(centre.x() - lightSide / 2, centre.y() - lightSide / 2, lightSide,
                            lightSide);
        squares.append(square);
        squaresByColour[light.colour].append(square);
    }
    // Tiny squares show their supply's colour better without an outline.
    if (lightSide < style.pt(3))
        painter.setPen(Qt::NoPen);
    else
        painter.setPen(QPen(style.ink, std::min(style.pt(0.3), lightSide * 0.12)));
    for (auto it = squaresByColour.cbegin(); it != squaresByColour.cend(); ++it) {
        painter.setBrush(colourOf(it.key()));
        painter.drawRects(it.value());
    }

    Labeller labeller(painter, style, frame, lights, squares);
    for (const Run &run : qAsConst(runs))
        labeller.labelEnds(run);
    for (const Run &run : qAsConst(runs))
        labeller.labelAll(run);
}

} // namespace LayoutDrawing
