#include "print/mapprintout.h"

#include "print/layoutdrawing.h"
#include "print/patchpagepainter.h"
#include "print/printstyle.h"

#include <QPagedPaintDevice>
#include <QPainter>

#include <algorithm>

namespace {

QString countText(int count, const char *one, const char *many)
{
    return count == 1 ? QLatin1String(one)
                      : QStringLiteral("%1 %2").arg(count).arg(QLatin1String(many));
}

} // namespace

MapPrintout::MapPrintout(const MapModel &model, const QString &title, const QDateTime &printedAt)
    : m_model(model), m_title(title.isEmpty() ? QStringLiteral("Untitled map") : title),
      // Year first: read the same way in every country a crew comes from.
      m_date(printedAt.toString(QStringLiteral("yyyy-MM-dd HH:mm"))),
      m_list(PatchList::fromModel(model))
{
}

int MapPrintout::paint(QPagedPaintDevice &device, int fromPage, int toPage) const
{
    // The patch list pages keep the device's orientation; the first page may turn.
    const QPageLayout::Orientation listOrientation = device.pageLayout().orientation();
    const QRectF listPage(0, 0, device.width(), device.height());
    const int first = std::max(1, fromPage);
    if (m_layoutPageFollowsMap && first == 1) {
        const QRectF covered = LayoutDrawing::bounds(m_model, m_list);
        device.setPageOrientation(covered.width() > covered.height() ? QPageLayout::Landscape
                                                                     : QPageLayout::Portrait);
    }

    QPainter painter;
    if (!painter.begin(&device))
        return 0;
    painter.setRenderHint(QPainter::Antialiasing);
    const PrintStyle style(device);
    const QFontMetricsF small = style.metrics(style.small);
    const double headerHeight = small.lineSpacing() + style.pt(10);
    const double footerHeight = small.lineSpacing() + style.pt(8);
    auto contentOf = [&](const QRectF &page) {
        return page.adjusted(0, headerHeight, 0, -footerHeight);
    };

    const PatchPagePainter tables(m_list, style, listPage.width());
    const QVector<PatchPagination::Page> pages =
        PatchPagination::paginate(m_list, tables.heights(contentOf(listPage).height()));
    const int total = 1 + pages.size();
    const int last = toPage > 0 ? std::min(toPage, total) : total;

    QRectF page;
    auto paintFrame = [&](int number, const QString &heading) {
        painter.setFont(style.small);
        painter.setPen(style.muted);
        const QRectF top(0, 0, page.width(), small.lineSpacing());
        const int widthLeft = int(page.width() * 0.7);
        painter.drawText(top, Qt::AlignLeft | Qt::AlignTop,
                         small.elidedText(heading, Qt::ElideMiddle, widthLeft));
        painter.drawText(top, Qt::AlignRight | Qt::AlignTop, m_date);
        painter.setPen(QPen(style.rule, style.pt(0.5)));
        const double ruleY = small.lineSpacing() + style.pt(3);
        painter.drawLine(QPointF(0, ruleY), QPointF(page.width(), ruleY));
        painter.setPen(style.muted);
        const QRectF bottom(0, page.bottom() - small.lineSpacing(), page.width(),
                            small.lineSpacing());
        painter.drawText(bottom, Qt::AlignLeft | Qt::AlignBottom,
                         small.elidedText(m_title, Qt::ElideMiddle, widthLeft));
        painter.drawText(bottom, Qt::AlignRight | Qt::AlignBottom,
                         QStringLiteral("Page %1 of %2").arg(number).arg(total));
    };

    int painted = 0;
    for (int number = first; number <= last; ++number) {
        if (painted > 0) {
            if (number == 2 && device.pageLayout().orientation() != listOrientation)
                device.setPageOrientation(listOrientation);
            if (!device.newPage())
                break;
        }
        ++painted;
        page = QRectF(0, 0, device.width(), device.height());
        const QRectF content = contentOf(page);
        if (number == 1) {
            paintFrame(number, QStringLiteral("Layout"));
            // The map's name, the date and what the map holds, above the drawing.
            const QFontMetricsF title = style.metrics(style.title);
            const QFontMetricsF body = style.metrics(style.body);
            double y = content.top() + style.pt(4);
            painter.setFont(style.title);
            painter.setPen(style.ink);
            painter.drawText(QRectF(0, y, page.width(), title.lineSpacing()),
                             Qt::AlignLeft | Qt::AlignTop,
                             title.elidedText(m_title, Qt::ElideMiddle, page.width()));
            y += title.lineSpacing();
            const int supplies = std::count_if(m_list.supplies.cbegin(), m_list.supplies.cend(),
                                               [](const PatchSupply &s) { return s.isSupply; });
            const QString facts = QStringLiteral("Printed %1   ·   %2   ·   %3")
                                      .arg(m_date, countText(supplies, "1 interface", "interfaces"),
                                           countText(m_list.lightCount, "1 light", "lights"));
            painter.setFont(style.body);
            painter.setPen(style.muted);
            painter.drawText(QRectF(0, y, page.width(), body.lineSpacing()),
                             Qt::AlignLeft | Qt::AlignTop, facts);
            y += body.lineSpacing() + style.pt(10);
            LayoutDrawing::draw(painter, style, m_model, m_list,
                                QRectF(0, y, page.width(), content.bottom() - y));
        } else {
            paintFrame(number, QStringLiteral("Patch list – ") + m_title);
            tables.paint(painter, pages.at(number - 2), content.top());
        }
    }
    painter.end();
    return painted;
}
