#include "ui/layoutviewlight.h"

#include "model/light.h"
#include "model/mapmodel.h"

#include <QPainter>

namespace {

QColor liveColour(const Light *light)
{
    if (!light)
        return Qt::black;
    const VelaColor &colour = light->output().color();
    return QColor(colour.red16() >> 8, colour.green16() >> 8, colour.blue16() >> 8);
}

} // namespace

LayoutViewLight::LayoutViewLight(const MapModel &model, quint64 uid)
    : QGraphicsRectItem(-kSize / 2, -kSize / 2, kSize, kSize), m_model(model), m_uid(uid)
{
    setAcceptedMouseButtons(Qt::LeftButton | Qt::RightButton);
    refreshToolTip();
}

void LayoutViewLight::setLightSelected(bool selected)
{
    if (selected == m_selected)
        return;
    m_selected = selected;
    setBrush(selected ? QBrush(Qt::red, Qt::SolidPattern) : QBrush());
    update();
}

void LayoutViewLight::setSupplyHighlighted(bool highlighted)
{
    if (highlighted == m_supplyHighlighted)
        return;
    m_supplyHighlighted = highlighted;
    update();
}

void LayoutViewLight::refreshToolTip()
{
    const Light *light = m_model.light(m_uid);
    if (!light)
        return;
    bool ok = false;
    const int offset = light->deviceProperty(QStringLiteral("DMX_OFFSET")).toInt(&ok);
    setToolTip(ok ? QStringLiteral("%1\nDMX %2").arg(light->name()).arg(offset + 1)
                  : light->name());
}

void LayoutViewLight::paint(QPainter *painter, const QStyleOptionGraphicsItem *, QWidget *)
{
    const QColor fill = m_selected ? QColor(Qt::red) : liveColour(m_model.light(m_uid));
    QPen pen(m_supplyHighlighted ? QColor(0, 120, 215) : QColor(90, 90, 90));
    pen.setCosmetic(true);
    pen.setWidthF(m_supplyHighlighted ? 2.0 : 1.0);
    painter->setPen(pen);
    painter->setBrush(fill);
    painter->drawRect(rect());
}
