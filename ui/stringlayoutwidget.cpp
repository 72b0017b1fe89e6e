#include "ui/stringlayoutwidget.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace {

// Past this many lights the picture shows the shape's outline and the path's corners only.
constexpr int kMaxDrawnCells = 24;

} // namespace

StringLayoutWidget::StringLayoutWidget(QWidget *parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("m_stringLayoutWidget"));
    setMinimumSize(200, 150);
    setToolTip(QStringLiteral("Click a corner to start the numbering there; click it again to "
                              "switch between snake and raster."));
}

void StringLayoutWidget::setRaster(const CreationRules::ShapeRaster &raster)
{
    m_raster = raster;
    update();
}

void StringLayoutWidget::setOrder(LayoutOrder order, bool rasterMode)
{
    m_order = order;
    m_rasterMode = rasterMode;
    update();
}

CreationRules::NumberingOrder StringLayoutWidget::numberingOrder() const
{
    return {m_order == TopRight || m_order == BottomRight,
            m_order == BottomLeft || m_order == BottomRight, m_rasterMode};
}

void StringLayoutWidget::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), palette().base());
    // Draw a small stand-in of the raster: at most kMaxDrawnCells per side.
    CreationRules::ShapeRaster shown = m_raster;
    shown.rows = std::clamp(shown.rows, 1, kMaxDrawnCells);
    shown.columns = std::clamp(shown.columns, 1, kMaxDrawnCells);
    const int spanRows = shown.rows + (shown.slope ? shown.columns - 1 : 0);
    const QRectF area = QRectF(rect()).adjusted(16, 16, -16, -16);
    const double step = std::min(area.width() / std::max(shown.columns, 1),
                                 area.height() / std::max(spanRows, 1));
    const QPoint origin(0, shown.slope < 0 ? shown.columns - 1 : 0);
    const QVector<QPoint> cells = CreationRules::stringPositions(shown, 1, origin);
    const QVector<int> numbers = CreationRules::numberingSequence(shown, numberingOrder());
    QVector<QPointF> byNumber(cells.size());
    for (int i = 0; i < cells.size(); ++i)
        byNumber[numbers.at(i)] = area.topLeft()
            + QPointF((cells.at(i).x() + 0.5) * step, (cells.at(i).y() + 0.5) * step);

    QPainterPath path;
    path.moveTo(byNumber.value(0));
    for (const QPointF &p : qAsConst(byNumber))
        path.lineTo(p);
    painter.setPen(QPen(palette().highlight(), 1.5));
    painter.drawPath(path);
    const double radius = std::clamp(step * 0.3, 1.5, 8.0);
    painter.setPen(palette().text().color());
    for (int n = 0; n < byNumber.size(); ++n) {
        painter.setBrush(n == 0 ? palette().highlight() : palette().base());
        painter.drawEllipse(byNumber.at(n), radius, radius);
    }
    painter.drawText(rect().adjusted(4, 0, -4, -2), Qt::AlignBottom | Qt::AlignRight,
                     QStringLiteral("%1 x %2, %3").arg(m_raster.rows).arg(m_raster.columns)
                         .arg(m_rasterMode ? QStringLiteral("raster") : QStringLiteral("snake")));
}

void StringLayoutWidget::mousePressEvent(QMouseEvent *event)
{
    const bool right = event->pos().x() > width() / 2;
    const bool bottom = event->pos().y() > height() / 2;
    const auto corner = LayoutOrder((bottom ? 2 : 0) + (right ? 1 : 0));
    const bool rasterMode = corner == m_order ? !m_rasterMode : m_rasterMode;
    setOrder(corner, rasterMode);
    emit layoutChanged(m_order, m_rasterMode);
}
