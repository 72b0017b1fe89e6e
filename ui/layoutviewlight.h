#pragma once

#include <QGraphicsRectItem>

class MapModel;

// One light on the layout canvas: a small square at the light's position, filled with the
// colour the light shows live (solid red while selected), outlined more strongly when its
// supply is the one chosen in the light pane. Its tooltip names the light and its DMX address.
class LayoutViewLight final : public QGraphicsRectItem
{
public:
    // The canvas tells light items from its overlays by this type.
    enum { Type = 4001 };
    // Side of the square in scene units: lights on a 12-unit grid do not touch.
    static constexpr double kSize = 10.0;

    LayoutViewLight(const MapModel &model, quint64 uid);

    int type() const override { return Type; }
    quint64 uid() const { return m_uid; }

    bool isLightSelected() const { return m_selected; }
    void setLightSelected(bool selected);
    void setSupplyHighlighted(bool highlighted);
    // Re-reads the name and DMX address for the tooltip.
    void refreshToolTip();

    void paint(QPainter *painter, const QStyleOptionGraphicsItem *option,
               QWidget *widget) override;

private:
    const MapModel &m_model;
    quint64 m_uid;
    bool m_selected = false;
    bool m_supplyHighlighted = false;
};
