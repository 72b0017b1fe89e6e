#include "ui/listenprogressbar.h"

#include <QDoubleSpinBox>

ListenProgressBar::ListenProgressBar(QWidget *parent) : QProgressBar(parent)
{
    setRange(0, 100);
    setValue(0);
    setTextVisible(false);
    m_tick.setInterval(50);
    connect(&m_tick, &QTimer::timeout, this, &ListenProgressBar::handleTick);
}

void ListenProgressBar::start(int listenMs)
{
    m_listenMs = qMax(1, listenMs);
    m_clock.start();
    setValue(0);
    m_tick.start();
}

void ListenProgressBar::finish()
{
    m_tick.stop();
    setValue(maximum());
}

void ListenProgressBar::handleTick()
{
    setValue(int(qMin<qint64>(100, m_clock.elapsed() * 100 / m_listenMs)));
}

QDoubleSpinBox *createListenTimeSpinBox(int defaultMs, QWidget *parent)
{
    auto *box = new QDoubleSpinBox(parent);
    box->setObjectName(QStringLiteral("m_listenTimeSpinBox"));
    box->setRange(0.2, 60.0);
    box->setDecimals(1);
    box->setSingleStep(0.5);
    box->setSuffix(QObject::tr(" s"));
    box->setValue(defaultMs / 1000.0);
    return box;
}
