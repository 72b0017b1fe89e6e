#pragma once

#include <QElapsedTimer>
#include <QProgressBar>
#include <QTimer>

// Shows how much of a search's listening time has passed, so a search that finds nothing
// still shows that it is working and when it will end.
class QDoubleSpinBox;

// The box in which the user sets how long a search listens for answers, in seconds.
QDoubleSpinBox *createListenTimeSpinBox(int defaultMs, QWidget *parent);

class ListenProgressBar final : public QProgressBar
{
    Q_OBJECT
public:
    explicit ListenProgressBar(QWidget *parent = nullptr);

    void start(int listenMs);
    // Fills the bar: the search ended (early or on time).
    void finish();

private:
    void handleTick();

    QElapsedTimer m_clock;
    QTimer m_tick;
    int m_listenMs = 1;
};
