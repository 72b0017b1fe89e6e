#pragma once

#include "sim/siminstallation.h"

#include <QTimer>
#include <QVector>
#include <QWidget>

class QScrollArea;
class SimOutput;

// The live view of a simulated installation: every light a square in the colour last sent
// to it (three channels from its DMX offset, read as red, green, blue), grouped by supply and
// port. RDM lights carry a small corner mark; lights that no frame has reached yet are grey.
// Repaints are coalesced so that a 40 fps stream of frames costs at most one paint per tick.
class SimView final : public QWidget
{
    Q_OBJECT

public:
    static constexpr int kSquare = 14;
    static constexpr int kGap = 3;
    static constexpr int kPerRow = 25;
    static constexpr int kMargin = 10;

    SimView(const SimInstallation &installation, const SimOutput *output,
            QWidget *parent = nullptr);

    // A window that scrolls a view of the installation, sized to show it whole where the
    // screen allows.
    static QScrollArea *createWindow(const SimInstallation &installation,
                                     const SimOutput *output, QWidget *parent = nullptr);

    QSize sizeHint() const override;
    // Where a light is drawn, for tests and tooltips; an empty rectangle for unknown lights.
    QRect lightRect(int supplyIndex, int portIndex, int lightIndex) const;
    // The colour a light is drawn in now, or an invalid colour while no frame reached it.
    QColor lightColour(int supplyIndex, int portIndex, int lightIndex) const;

protected:
    void paintEvent(QPaintEvent *event) override;
    bool event(QEvent *event) override;

private:
    struct Item
    {
        QRect rect;
        int supplyIndex = 0;
        int portIndex = 0;
        int lightIndex = 0;
    };
    struct Caption
    {
        QPoint position;
        QString text;
        bool supply = false;
    };

    void handleFrameRecorded();
    void buildLayout();
    const Item *itemAt(const QPoint &position) const;
    QString toolTipFor(const Item &item) const;

    SimInstallation m_installation;
    const SimOutput *m_output = nullptr;
    QVector<Item> m_items;
    QVector<Caption> m_captions;
    QSize m_size;
    QTimer m_repaintTimer;
};
