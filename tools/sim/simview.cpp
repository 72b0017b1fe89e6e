#include "simview.h"

#include "sim/simoutput.h"

#include <QFontMetrics>
#include <QHelpEvent>
#include <QPainter>
#include <QScrollArea>
#include <QToolTip>

namespace {

constexpr int kRepaintIntervalMs = 33;
const QColor kBackground(0x20, 0x22, 0x26);
const QColor kNoOutput(0x4A, 0x4D, 0x52);
const QColor kCaption(0xD8, 0xDA, 0xDE);
const QColor kSubCaption(0x9A, 0x9E, 0xA6);

} // namespace

QScrollArea *SimView::createWindow(const SimInstallation &installation, const SimOutput *output,
                                  QWidget *parent)
{
    auto *area = new QScrollArea(parent);
    area->setWindowFlag(Qt::Window);
    auto *view = new SimView(installation, output);
    area->setWidget(view);
    area->setWindowTitle(view->windowTitle());
    area->resize(view->sizeHint() + QSize(4, 4));
    return area;
}

SimView::SimView(const SimInstallation &installation, const SimOutput *output, QWidget *parent)
    : QWidget(parent), m_installation(installation), m_output(output)
{
    setWindowTitle(QStringLiteral("Simulated installation"));
    setAutoFillBackground(true);
    QPalette palette = this->palette();
    palette.setColor(QPalette::Window, kBackground);
    setPalette(palette);
    buildLayout();
    m_repaintTimer.setSingleShot(true);
    m_repaintTimer.setInterval(kRepaintIntervalMs);
    connect(&m_repaintTimer, &QTimer::timeout, this, qOverload<>(&QWidget::update));
    connect(m_output, &SimOutput::frameRecorded, this, &SimView::handleFrameRecorded);
}

QSize SimView::sizeHint() const
{
    return m_size;
}

QRect SimView::lightRect(int supplyIndex, int portIndex, int lightIndex) const
{
    for (const Item &item : m_items) {
        if (item.supplyIndex == supplyIndex && item.portIndex == portIndex &&
            item.lightIndex == lightIndex)
            return item.rect;
    }
    return {};
}

QColor SimView::lightColour(int supplyIndex, int portIndex, int lightIndex) const
{
    const SimSupply &supply = m_installation.supplies.at(supplyIndex);
    const SimPort &port = supply.ports.at(portIndex);
    const SimLight &light = port.lights.at(lightIndex);
    const QByteArray channels = m_output->channels(supplyIndex, port.number);
    if (channels.isEmpty())
        return {};
    const int first = light.dmxOffset();
    auto channel = [&](int n) {
        return first + n < channels.size() ? static_cast<quint8>(channels.at(first + n)) : 0;
    };
    // Lights with fewer than three channels show their first channel as grey.
    if (light.footprint < 3)
        return QColor(channel(0), channel(0), channel(0));
    return QColor(channel(0), channel(1), channel(2));
}

void SimView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    for (const Caption &caption : m_captions) {
        QFont font = painter.font();
        font.setBold(caption.supply);
        painter.setFont(font);
        painter.setPen(caption.supply ? kCaption : kSubCaption);
        painter.drawText(caption.position, caption.text);
    }
    painter.setRenderHint(QPainter::Antialiasing, false);
    for (const Item &item : m_items) {
        const QColor colour = lightColour(item.supplyIndex, item.portIndex, item.lightIndex);
        painter.fillRect(item.rect, colour.isValid() ? colour : kNoOutput);
        const SimLight &light = m_installation.supplies.at(item.supplyIndex)
                                    .ports.at(item.portIndex)
                                    .lights.at(item.lightIndex);
        if (light.isRdm()) {
            // A small triangle in the top-left corner marks RDM lights.
            const QPoint corner = item.rect.topLeft();
            const QPoint points[] = {corner, corner + QPoint(5, 0), corner + QPoint(0, 5)};
            painter.setPen(Qt::NoPen);
            painter.setBrush(kCaption);
            painter.drawPolygon(points, 3);
        }
    }
}

bool SimView::event(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    auto *help = static_cast<QHelpEvent *>(event);
    if (const Item *item = itemAt(help->pos()))
        QToolTip::showText(help->globalPos(), toolTipFor(*item), this, item->rect);
    else
        QToolTip::hideText();
    return true;
}

void SimView::handleFrameRecorded()
{
    if (!m_repaintTimer.isActive())
        m_repaintTimer.start();
}

void SimView::buildLayout()
{
    const QFontMetrics metrics(font());
    const int line = metrics.height() + 4;
    int y = kMargin;
    int width = 0;
    for (int s = 0; s < m_installation.supplies.size(); ++s) {
        const SimSupply &supply = m_installation.supplies.at(s);
        y += metrics.ascent();
        m_captions.append({QPoint(kMargin, y),
                           QStringLiteral("%1  %2  (v%3, universe %4)")
                               .arg(supply.idText, supply.address.toString())
                               .arg(supply.version)
                               .arg(supply.universe),
                           true});
        y += line - metrics.ascent();
        for (int p = 0; p < supply.ports.size(); ++p) {
            const SimPort &port = supply.ports.at(p);
            m_captions.append(
                {QPoint(kMargin, y + metrics.ascent()),
                 QStringLiteral("Port %1 (%2 lights)").arg(port.number).arg(port.lights.size()),
                 false});
            y += line;
            for (int l = 0; l < port.lights.size(); ++l) {
                const int x = kMargin + (l % kPerRow) * (kSquare + kGap);
                const int top = y + (l / kPerRow) * (kSquare + kGap);
                m_items.append({QRect(x, top, kSquare, kSquare), s, p, l});
                width = qMax(width, x + kSquare);
            }
            const int rows = (port.lights.size() + kPerRow - 1) / kPerRow;
            y += rows * (kSquare + kGap) + kGap;
        }
        y += kGap * 2;
    }
    y += metrics.ascent();
    m_captions.append({QPoint(kMargin, y),
                       QStringLiteral("Grey: no output yet. Corner mark: RDM light."), false});
    y += line - metrics.ascent();
    width = qMax(width, kMargin + kPerRow * (kSquare + kGap));
    m_size = QSize(width + kMargin, y + kMargin);
}

const SimView::Item *SimView::itemAt(const QPoint &position) const
{
    for (const Item &item : m_items) {
        if (item.rect.contains(position))
            return &item;
    }
    return nullptr;
}

QString SimView::toolTipFor(const Item &item) const
{
    const SimLight &light = m_installation.supplies.at(item.supplyIndex)
                                .ports.at(item.portIndex)
                                .lights.at(item.lightIndex);
    const QColor colour = lightColour(item.supplyIndex, item.portIndex, item.lightIndex);
    const QString serial =
        QStringLiteral("%1").arg(light.serial, light.isRdm() ? 12 : 8, 16, QLatin1Char('0'));
    return QStringLiteral("%1 %2\nDMX address %3\n%4")
        .arg(light.isRdm() ? QStringLiteral("RDM") : QStringLiteral("Serial"), serial.toUpper())
        .arg(light.dmxOffset() + 1)
        .arg(colour.isValid() ? colour.name().toUpper() : QStringLiteral("no output yet"));
}
