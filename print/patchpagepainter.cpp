#include "print/patchpagepainter.h"

#include "print/printstyle.h"
#include "report/patchlist.h"

#include <QPainter>
#include <QStringList>

#include <algorithm>

namespace {

const char *const kTitles[] = {"Name", "Serial", "Port", "DMX Address", "Channels", "Check"};

} // namespace

PatchPagePainter::PatchPagePainter(const PatchList &list, const PrintStyle &style, double width)
    : m_list(list), m_style(style), m_width(width)
{
    const QFontMetricsF body = style.metrics(style.body);
    const QFontMetricsF strong = style.metrics(style.strong);
    m_rowHeight = body.lineSpacing() * 1.4;
    m_padding = style.pt(4);
    auto fit = [&](std::initializer_list<QString> texts, Column column) {
        double widest = strong.horizontalAdvance(QLatin1String(kTitles[column]));
        for (const QString &text : texts)
            widest = std::max(widest, body.horizontalAdvance(text));
        return widest + 2 * m_padding;
    };
    m_columnWidth[Serial] = fit({QStringLiteral("000000000000")}, Serial);
    // The port between serial and address, with room on either side.
    m_columnWidth[Port] = fit({QStringLiteral("255")}, Port) + 2 * m_padding;
    m_columnWidth[Dmx] = fit({QStringLiteral("512-512")}, Dmx);
    m_columnWidth[Channels] = fit({QStringLiteral("512")}, Channels);
    // The check column only when some light needs it.
    QStringList checks;
    for (const PatchSupply &supply : list.supplies)
        for (const PatchPort &port : supply.ports)
            for (const PatchLight &light : port.lights)
                if (const QString text = PatchText::checkNotes(light, PatchText::NoteLength::Brief);
                    !text.isEmpty() && !checks.contains(text))
                    checks << text;
    m_columnWidth[Check] = 0;
    if (!checks.isEmpty()) {
        double widest = strong.horizontalAdvance(QLatin1String(kTitles[Check]));
        for (const QString &text : qAsConst(checks))
            widest = std::max(widest, strong.horizontalAdvance(text));
        m_columnWidth[Check] = widest + 2 * m_padding;
    }
    double others = 0;
    for (int c = Serial; c < ColumnCount; ++c)
        others += m_columnWidth[c];
    m_columnWidth[Name] = std::max(width - others, width * 0.25);
    double x = 0;
    for (int c = 0; c < ColumnCount; ++c) {
        m_left[c] = x;
        x += m_columnWidth[c];
    }
}

PatchPagination::Heights PatchPagePainter::heights(double pageHeight) const
{
    const double heading = m_style.metrics(m_style.heading).lineSpacing();
    const double body = m_style.metrics(m_style.body).lineSpacing();
    const double strong = m_style.metrics(m_style.strong).lineSpacing();
    PatchPagination::Heights h;
    h.page = pageHeight;
    h.supplyHeading = m_style.pt(6) + heading + body + m_style.pt(6);
    h.portHeading = strong + m_style.pt(5);
    h.tableHeader = m_rowHeight;
    h.row = m_rowHeight;
    h.gap = m_style.pt(10);
    return h;
}

QRectF PatchPagePainter::cell(Column column, double y, double height) const
{
    return QRectF(m_left[column] + m_padding, y, m_columnWidth[column] - 2 * m_padding, height);
}

void PatchPagePainter::paint(QPainter &painter, const PatchPagination::Page &page, double top) const
{
    for (const PatchPagination::Block &block : page) {
        const double y = top + block.y;
        switch (block.kind) {
        case PatchPagination::Block::SupplyHeading:
            paintSupplyHeading(painter, block.supply, y);
            break;
        case PatchPagination::Block::PortHeading:
            paintPortHeading(painter, block, y, &block == &page.constFirst());
            break;
        case PatchPagination::Block::TableHeader:
            paintTableHeader(painter, y);
            break;
        case PatchPagination::Block::Rows:
            paintRows(painter, block, y);
            break;
        case PatchPagination::Block::EmptyPort:
            paintEmptyPort(painter, block, y);
            break;
        }
    }
}

void PatchPagePainter::paintSupplyHeading(QPainter &painter, int index, double y) const
{
    const PatchSupply &supply = m_list.supplies.at(index);
    const QFontMetricsF heading = m_style.metrics(m_style.heading);
    const QFontMetricsF body = m_style.metrics(m_style.body);
    y += m_style.pt(6);
    const double swatch = heading.ascent() * 0.8;
    painter.setPen(QPen(m_style.ink, m_style.pt(0.3)));
    painter.setBrush(supply.isSupply ? PrintStyle::supplyColour(index)
                                     : PrintStyle::noSupplyColour());
    painter.drawRect(QRectF(0, y + heading.ascent() - swatch, swatch, swatch));
    const double textLeft = swatch + m_style.pt(5);

    const QString name = supply.isSupply ? PatchText::singleLine(supply.name)
                                         : QStringLiteral("Lights without an interface");
    painter.setFont(m_style.heading);
    painter.setPen(m_style.ink);
    const QRectF nameRect(textLeft, y, m_width - textLeft, heading.lineSpacing());
    painter.drawText(nameRect, Qt::AlignLeft | Qt::AlignTop,
                     heading.elidedText(name, Qt::ElideRight, nameRect.width()));

    QStringList facts;
    if (supply.isSupply) {
        facts << (supply.ip.isEmpty() ? QStringLiteral("No IP address")
                                      : QStringLiteral("IP address ") + supply.ip);
        const QString serial = PatchText::serial(supply.serial);
        facts << (serial.isEmpty() ? QStringLiteral("Serial not known")
                                   : QStringLiteral("Serial ") + serial);
        facts << (supply.ports.size() == 1 ? QStringLiteral("1 port")
                                           : QStringLiteral("%1 ports").arg(supply.ports.size()));
    } else {
        facts << QStringLiteral("These lights belong to no interface of the map");
    }
    const int lights = supply.lightCount();
    facts << (lights == 1 ? QStringLiteral("1 light") : QStringLiteral("%1 lights").arg(lights));
    painter.setFont(m_style.body);
    painter.setPen(m_style.muted);
    const QRectF factsRect(textLeft, y + heading.lineSpacing(), m_width - textLeft,
                           body.lineSpacing());
    painter.drawText(
        factsRect, Qt::AlignLeft | Qt::AlignTop,
        body.elidedText(facts.join(QStringLiteral("   ·   ")), Qt::ElideRight, factsRect.width()));
}

void PatchPagePainter::paintPortHeading(QPainter &painter, const PatchPagination::Block &block,
                                        double y, bool opensPage) const
{
    const PatchSupply &supply = m_list.supplies.at(block.supply);
    const PatchPort &port = supply.ports.at(block.port);
    QString text = QStringLiteral("Port %1").arg(port.port);
    if (block.continued) {
        text += QStringLiteral(" (continued)");
    } else if (const int count = port.lights.size(); count > 0) {
        text +=
            count == 1 ? QStringLiteral(" – 1 light") : QStringLiteral(" – %1 lights").arg(count);
    }
    // A page that starts with a port says whose port it is.
    if (opensPage) {
        const QString owner = supply.isSupply ? PatchText::singleLine(supply.name)
                                              : QStringLiteral("Lights without an interface");
        text = owner + QStringLiteral(" – ") + text;
    }
    const QFontMetricsF strong = m_style.metrics(m_style.strong);
    painter.setFont(m_style.strong);
    painter.setPen(m_style.ink);
    painter.drawText(QRectF(0, y, m_width, strong.lineSpacing()), Qt::AlignLeft | Qt::AlignTop,
                     strong.elidedText(text, Qt::ElideMiddle, m_width));
}

void PatchPagePainter::paintTableHeader(QPainter &painter, double y) const
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_style.headerFill);
    painter.drawRect(QRectF(0, y, m_width, m_rowHeight));
    painter.setFont(m_style.strong);
    painter.setPen(m_style.ink);
    for (int c = 0; c < ColumnCount; ++c) {
        if (m_columnWidth[c] <= 0)
            continue;
        const Qt::Alignment align = c == Port       ? Qt::AlignHCenter
                                    : c == Channels ? Qt::AlignRight
                                                    : Qt::AlignLeft;
        painter.drawText(cell(Column(c), y, m_rowHeight), align | Qt::AlignVCenter,
                         QLatin1String(kTitles[c]));
    }
    painter.setPen(QPen(m_style.rule, m_style.pt(0.6)));
    painter.drawLine(QPointF(0, y + m_rowHeight), QPointF(m_width, y + m_rowHeight));
}

void PatchPagePainter::paintRows(QPainter &painter, const PatchPagination::Block &block,
                                 double y) const
{
    const PatchPort &port = m_list.supplies.at(block.supply).ports.at(block.port);
    const QFontMetricsF body = m_style.metrics(m_style.body);
    const QString portText = QString::number(port.port);
    const double nameWidth = cell(Name, 0, 0).width();

    // Stripes first, in one call; then the text.
    QVector<QRectF> stripes;
    for (int i = 0; i < block.rowCount; ++i)
        if ((block.firstRow + i) % 2)
            stripes.append(QRectF(0, y + i * m_rowHeight, m_width, m_rowHeight));
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_style.stripe);
    painter.drawRects(stripes);

    painter.setFont(m_style.body);
    for (int i = 0; i < block.rowCount; ++i) {
        const PatchLight &light = port.lights.at(block.firstRow + i);
        const double top = y + i * m_rowHeight;
        const int left = Qt::AlignLeft | Qt::AlignVCenter;
        const int right = Qt::AlignRight | Qt::AlignVCenter;
        const int centre = Qt::AlignHCenter | Qt::AlignVCenter;
        painter.setPen(m_style.ink);
        QString name = PatchText::singleLine(light.name);
        if (body.horizontalAdvance(name) > nameWidth)
            name = body.elidedText(name, Qt::ElideRight, nameWidth);
        painter.drawText(cell(Name, top, m_rowHeight), left, name);
        painter.drawText(cell(Serial, top, m_rowHeight), left, PatchText::serial(light.serial));
        painter.drawText(cell(Port, top, m_rowHeight), centre, portText);
        painter.drawText(cell(Dmx, top, m_rowHeight), left, PatchText::dmxRange(light));
        painter.drawText(cell(Channels, top, m_rowHeight), right, QString::number(light.channels));
        if (m_columnWidth[Check] > 0) {
            if (const QString check = PatchText::checkNotes(light, PatchText::NoteLength::Brief);
                !check.isEmpty()) {
                painter.setFont(m_style.strong);
                painter.setPen(m_style.warning);
                painter.drawText(cell(Check, top, m_rowHeight), left, check);
                painter.setFont(m_style.body);
            }
        }
    }
    painter.setPen(QPen(m_style.rule, m_style.pt(0.4)));
    const double bottom = y + block.rowCount * m_rowHeight;
    painter.drawLine(QPointF(0, bottom), QPointF(m_width, bottom));
}

void PatchPagePainter::paintEmptyPort(QPainter &painter, const PatchPagination::Block &block,
                                      double y) const
{
    painter.setFont(m_style.body);
    painter.setPen(m_style.muted);
    const QString text = block.port < 0 ? QStringLiteral("This interface has no ports.")
                                        : QStringLiteral("No lights on this port.");
    painter.drawText(QRectF(m_padding, y, m_width, m_rowHeight), Qt::AlignLeft | Qt::AlignVCenter,
                     text);
}
