#pragma once

#include "model/datasupply.h"
#include "model/light.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QTimer>

class DiscoveryEngine;

// Scans the ports of some supplies for lights, repeating the scans for the whole listening
// time so that a lost request or reply does not lose a light (a scan answer cannot say how
// much of it was lost, so every supply is asked again until the time is up). Supplies whose
// port count has not answered yet are asked for it again meanwhile. The engine reports each
// light once.
class LightSearch final : public QObject
{
    Q_OBJECT
public:
    explicit LightSearch(DiscoveryEngine &engine, QObject *parent = nullptr);

    void start(const QList<DataSupply *> &supplies, int listenMs);
    void cancel();
    bool isRunning() const { return m_deadline.isActive(); }
    QList<Light *> lights() const { return m_found; }
    // Ports of the supply (indexes into its port list) that it reported but that no scan
    // answer named: lights there may be missing.
    QList<int> unansweredPorts(const DataSupply *supply) const;

signals:
    void lightFound(Light *light);
    void finished();

private:
    void handleTick();
    void handleDiscoveredLight(Light *light);
    void handleScannedPort(quint64 supplyUid, int port);
    void finish();

    DiscoveryEngine &m_engine;
    QList<QPointer<DataSupply>> m_supplies;
    QList<Light *> m_found;
    QHash<quint64, QSet<int>> m_scannedPorts;
    QTimer m_repeat;
    QTimer m_deadline;
};
