#pragma once

#include "sim/simfaults.h"
#include "sim/siminstallation.h"

#include <QHostAddress>
#include <QObject>
#include <QVector>

class QUdpSocket;
class SimOutput;

// Counters of what the simulator saw and did, for tests and the command line.
struct SimStats
{
    quint64 requests = 0;   // datagrams received on any socket
    quint64 ignored = 0;    // malformed, unknown or not for us
    quint64 replies = 0;    // reply datagrams handed to a socket (duplicates counted twice)
    quint64 dropped = 0;    // replies withheld by fault injection
    quint64 duplicated = 0; // replies sent twice by fault injection
    quint64 delayed = 0;    // replies held back by fault injection
    quint64 frames = 0;     // DMX-out and port-out frames recorded
    quint64 syncs = 0;      // sync datagrams received
};

// Puts a simulated installation on the network. Each supply has a UDP socket bound to its
// own address and the protocol port, so its replies come from that address; one more socket
// on the wildcard address receives broadcasts (discover, sync, broadcast output) and answers
// them through the supplies' sockets. Unicast to a supply's address reaches only that
// supply's socket because the kernel prefers the more specific binding.
//
// When every supply is on a loopback address the simulator also refuses to talk to anything
// outside loopback, so a simulator started on a workstation never answers a real network.
class Simulator final : public QObject
{
    Q_OBJECT

public:
    explicit Simulator(const SimInstallation &installation, QObject *parent = nullptr);
    ~Simulator() override;

    // Binds all sockets; on failure nothing stays bound and `error` says which address failed.
    // The sockets share the protocol port (they must, to sit beside each other), so a second
    // simulator on the same host would bind too and answer every request again: a program
    // that wants to be alone asks protocolPortInUse() first.
    bool start(QString *error = nullptr);
    // True when a socket of this host (of this network namespace) already holds UDP port 6038.
    static bool protocolPortInUse();
    void stop();
    bool isRunning() const { return m_broadcastSocket != nullptr; }

    const SimInstallation &installation() const { return m_installation; }
    SimOutput *output() const { return m_output; }
    const SimStats &stats() const { return m_stats; }
    // Replaces the fault shares and restarts the random sequence from their seed.
    void setFaults(const SimFaults &faults);
    // Index of the supply at `address`, or -1.
    int supplyAt(const QHostAddress &address) const;

signals:
    // supplyIndex is -1 for datagrams on the broadcast socket that concern no single supply.
    void requestReceived(int supplyIndex, quint16 type);
    void replySent(int supplyIndex, quint16 type);

private:
    void handleSupplyReadyRead(int supplyIndex);
    void handleBroadcastReadyRead();
    bool bindSocket(QUdpSocket *socket, const QHostAddress &address, QString *error);
    bool acceptsPeer(const QHostAddress &peer) const;
    void answerFor(int supplyIndex, const QByteArray &request, const QHostAddress &peer,
                   quint16 peerPort);
    void answerBroadcast(const QByteArray &request, const QHostAddress &peer, quint16 peerPort);
    void recordBroadcastFrame(const QByteArray &request);
    void sendReply(int supplyIndex, const QByteArray &reply, const QHostAddress &peer,
                   quint16 peerPort);
    void writeReply(int supplyIndex, const QByteArray &reply, const QHostAddress &peer,
                    quint16 peerPort);

    SimInstallation m_installation;
    SimOutput *m_output = nullptr;
    QVector<QUdpSocket *> m_supplySockets;
    QUdpSocket *m_broadcastSocket = nullptr;
    SimFaultPlan m_faultPlan;
    SimStats m_stats;
};
