#pragma once

#include <QHostAddress>
#include <QUdpSocket>

// The one datagram endpoint of the lighting protocol. Bound once to an ephemeral port; every
// request goes to UDP port 6038 of a controller or of the broadcast address, and replies come
// back to the ephemeral port.
//
// Broadcast address: by default the first broadcast looks for an up, non-loop-back interface
// named exactly "eth0" and from then on uses its directed broadcast address (IP OR NOT
// netmask); without one every broadcast goes to 255.255.255.255. Workstations rarely have an
// "eth0", so the user may choose the address instead: setDefaultBroadcastAddress() for every
// socket created afterwards (the program's "--broadcast ADDRESS" option and its
// "/broadcast_address" setting end up there), setBroadcastAddress() for one socket. A chosen
// address is used as it is and the interface scan never runs, even when the choice is
// 255.255.255.255.
class KSocket final : public QUdpSocket
{
    Q_OBJECT

public:
    static constexpr quint16 kPort = 6038;
    static constexpr int kReceiveBufferBytes = 200000;
    // DMX output may queue many 533-536 byte datagrams per refresh.
    static constexpr int kSendBufferBytes = 52428800;

    explicit KSocket(QObject *parent = nullptr);

    // A null address clears the choice: new sockets go back to the interface scan.
    static void setDefaultBroadcastAddress(const QHostAddress &address);
    static QHostAddress defaultBroadcastAddress();
    // Process-wide guard for the demonstration mode: every send to an address outside 127/8
    // (broadcasts included) is refused and logged, so a simulated installation can be tried
    // on a machine that sits on a real lighting network.
    static void setLoopbackOnly(bool only);
    static bool isLoopbackOnly();

    // Sends one datagram to port 6038 of the dotted-quad address; false when the address does
    // not parse, the bind failed or the write failed.
    bool sendTo(const QString &address, const char *data, qint64 length);
    bool sendBroadcast(const char *data, qint64 length);
    // The system's text for why the last failed write failed ("Network unreachable"); the
    // toolkit's own error string says only that a message could not be sent.
    QString lastSendError() const { return m_lastSendError; }
    // Reads one pending datagram, cut to capacity bytes, and reports its sender and the number
    // of bytes read; false when none was pending or the read failed.
    bool readPending(char *buffer, qint64 capacity, QHostAddress *sender, quint16 *senderPort,
                     qint64 *length = nullptr);

    void setBroadcastAddress(const QHostAddress &address);
    QHostAddress broadcastAddress() const { return m_broadcastAddress; }
    // The address discovery combines with the subnet mask: the bound address, replaced by the
    // "eth0" address once the broadcast scan found one.
    QHostAddress ownAddress() const { return m_localAddress; }
    // Host order; 0 unless set.
    quint32 subnetMask() const { return m_subnetMask; }
    void setSubnetMask(quint32 mask) { m_subnetMask = mask; }
    bool isBound() const { return m_bound; }

private:
    void findDirectedBroadcast();
    bool write(const char *data, qint64 length, const QHostAddress &destination);

    QHostAddress m_localAddress;
    QHostAddress m_broadcastAddress{QHostAddress::Broadcast};
    quint32 m_subnetMask = 0;
    bool m_broadcastChosen = false;
    bool m_bound = false;
    QString m_lastSendError;
};
