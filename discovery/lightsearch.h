#pragma once

#include "model/datasupply.h"
#include "model/light.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QTimer>

class DiscoveryEngine;

// Scans the ports of some supplies for lights, repeating the scans during the listening time
// so that a lost reply does not lose a light. The engine reports each light once.
class LightSearch final : public QObject
{
    Q_OBJECT
public:
    explicit LightSearch(DiscoveryEngine &engine, QObject *parent = nullptr);

    void start(const QList<DataSupply *> &supplies, int listenMs);
    void cancel();
    bool isRunning() const { return m_deadline.isActive(); }
    QList<Light *> lights() const { return m_found; }

signals:
    void lightFound(Light *light);
    void finished();

private:
    void handleTick();
    void handleDiscoveredLight(Light *light);
    void finish();

    DiscoveryEngine &m_engine;
    QList<QPointer<DataSupply>> m_supplies;
    QList<Light *> m_found;
    QTimer m_repeat;
    QTimer m_deadline;
};
