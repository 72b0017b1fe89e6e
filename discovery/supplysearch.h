#pragma once

#include <QList>
#include <QObject>
#include <QSet>
#include <QTimer>

class DataSupply;
class DiscoveryEngine;

// Finds the supplies on the network and their ports. Networks lose datagrams, so for the
// whole listening time the discover request is repeated, and so, twice as often, is the port
// query of every supply whose ports have not answered yet (a supply found late in the
// listening time has little of it left); each supply is reported once.
class SupplySearch final : public QObject
{
    Q_OBJECT
public:
    explicit SupplySearch(DiscoveryEngine &engine, QObject *parent = nullptr);

    // Time between repeats: several tries even in a short listening time, and about five a
    // second in a long one, so that a supply is missed only when every one of its many
    // answers is lost.
    static int repeatIntervalMs(int listenMs);

    void start(int listenMs);
    void cancel();
    bool isRunning() const { return m_deadline.isActive(); }

    QList<DataSupply *> supplies() const;
    bool portsKnown(const DataSupply *supply) const;
    // Supplies found whose port count never answered.
    QList<DataSupply *> suppliesWithoutPorts() const;
    // The other supplies found that report the same serial number (at other addresses).
    QList<DataSupply *> sharingSerial(const DataSupply *supply) const;

signals:
    void supplyFound(DataSupply *supply);
    void portsFound(DataSupply *supply);
    // Two addresses answered with one serial: usually a unit whose serial was never set or
    // was cloned. Both stay supplies of their own.
    void duplicateSerialFound(DataSupply *supply, DataSupply *earlier);
    void finished();

private:
    void handleTick();
    void handlePortTick();
    void handleDiscoveredController(DataSupply *supply);
    void handleDiscoveredPorts(quint64 uid, int portCount);
    void finish();

    DiscoveryEngine &m_engine;
    QTimer m_repeat;
    QTimer m_portRepeat;
    QTimer m_deadline;
    QList<DataSupply *> m_found;
    QSet<quint64> m_portsKnown;
};
