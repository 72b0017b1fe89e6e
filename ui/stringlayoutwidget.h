#pragma once

#include "layout/creationrules.h"

#include <QWidget>

// A picture of the string about to be made: its lights on their raster and the path the
// numbering takes through them, from light 1 (filled) to the last. Clicking near a corner
// starts the numbering there; clicking the same corner again switches between a snake (rows
// alternate direction) and a raster (every row from the same side).
class StringLayoutWidget final : public QWidget
{
    Q_OBJECT
public:
    // Where the numbering starts ("/layoutorder").
    enum LayoutOrder : int { TopLeft = 0, TopRight = 1, BottomLeft = 2, BottomRight = 3 };
    Q_ENUM(LayoutOrder)

    explicit StringLayoutWidget(QWidget *parent = nullptr);

    void setRaster(const CreationRules::ShapeRaster &raster);
    void setOrder(LayoutOrder order, bool rasterMode);
    LayoutOrder order() const { return m_order; }
    bool rasterMode() const { return m_rasterMode; }
    CreationRules::NumberingOrder numberingOrder() const;

    QSize sizeHint() const override { return {260, 200}; }

signals:
    void layoutChanged(StringLayoutWidget::LayoutOrder order, bool rasterMode);

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;

private:
    CreationRules::ShapeRaster m_raster;
    LayoutOrder m_order = TopLeft;
    bool m_rasterMode = false;
};
