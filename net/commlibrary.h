#pragma once

#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>

class QTcpSocket;
class QTimer;
class QUdpSocket;

// Keeps show controllers on the network paused while this program drives the lights, so the
// two do not fight over them. It announces the program by UDP broadcast, connects over TCP to
// every controller that answers, registers on each connection once, and sends every connected
// controller a pause message at each pause cycle: 5 s after an announcement, then every 15 s.
// Lost connections are dropped at the next cycle; only a new announcement finds a controller
// again. Nothing a controller sends back is interpreted. The bytes are built and parsed by
// CommMessages.
//
// Connections are made without blocking: a controller that has not accepted within 1000 ms
// (or refuses) is abandoned and forgotten, while the event loop runs on, so a burst of answers
// or a few silent hosts never freeze the window.
//
// In loop-back-only mode (KSocket::isLoopbackOnly(), the demonstration) the announcement goes
// only to 127.255.255.255 and answers naming a host outside 127/8 are ignored.
class CommLibrary final : public QObject
{
    Q_OBJECT

public:
    static constexpr int kAnnounceDelayMs = 5000;
    static constexpr int kPauseIntervalMs = 15000;
    static constexpr int kConnectTimeoutMs = 1000;
    // Every controller on the segment answers an announcement at once; the kernel's default
    // buffer holds only a couple of hundred small datagrams.
    static constexpr int kReceiveBufferBytes = 1 << 20;

    // Binds the answer socket (UDP 8081, shared) and announces at once. "Orrery" registers
    // under its own name and id, any other name as the generic application.
    explicit CommLibrary(const QString &name, QObject *parent = nullptr);

    QString name() const { return m_name; }
    bool isBound() const { return m_bound; }
    // Controllers registered on (their connection may have been lost since the last cycle).
    QStringList peerHosts() const;
    // Controllers whose connection is still being made.
    QStringList connectingHosts() const;

    // Closes every connection, then sends the announcement to the directed broadcast address
    // of every IPv4 address of every interface that is up.
    void announce();

public slots:
    void handleReadReady();
    void handlePauseControllers();

signals:
    void announced(int datagrams);
    void registeredPeer(const QString &host);
    // Not connected within the time limit, or refused.
    void abandonedPeer(const QString &host);
    // Found lost at a pause cycle.
    void droppedPeer(const QString &host);
    void pausedControllers(int peers);

private:
    struct Target
    {
        quint32 ip = 0;
        quint32 broadcast = 0;
    };

    QList<Target> announcementTargets() const;
    void connectTo(const QString &host, quint32 ip, quint16 port);
    void handleConnected(const QString &host, QTcpSocket *socket);
    void abandon(const QString &host, QTcpSocket *socket, const QString &why);
    void closeAll();

    QString m_name;
    QUdpSocket *m_socket = nullptr;
    QTimer *m_announceTimer = nullptr;
    QTimer *m_pauseTimer = nullptr;
    bool m_bound = false;
    QHash<QString, QTcpSocket *> m_peers;
    QHash<QString, QTcpSocket *> m_connecting;
};
