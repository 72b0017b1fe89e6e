#pragma once

#include <QHash>
#include <QHostAddress>
#include <QObject>
#include <QTime>

class QTcpServer;
class QTcpSocket;
class QUdpSocket;

// What a simulated controller saw, for tests and the command line.
struct SimControllerStats
{
    int announcements = 0; // well-formed announcements received
    int answers = 0;       // answers sent
    int connections = 0;   // connections accepted
    int registrations = 0;
    int pauses = 0;
    int faults = 0; // malformed messages, broken rules, a pause before or a second registration
};

// A show controller as the program meets it on the network: it listens for announcements on
// UDP port 6775, answers with the address and TCP port it accepts connections on, and checks
// and counts the messages that arrive there. Each connection must start with one registration;
// every pause after it is reported as "paused by NAME at HH:MM:SS".
//
// A controller on a loop-back address hears and answers only loop-back peers, so one started
// on a workstation never answers a real network. Several controllers can run on one machine,
// each on an address of its own.
class SimController final : public QObject
{
    Q_OBJECT

public:
    // The id the controller answers with (its first field).
    static constexpr quint32 kControllerId = 4242;

    explicit SimController(const QHostAddress &address = QHostAddress(QHostAddress::LocalHost),
                           QObject *parent = nullptr);
    ~SimController() override;

    // Listens on an ephemeral TCP port of the (IPv4 host) address and on UDP 6775 (shared with
    // other controllers on this machine); on failure nothing stays bound and `error` says why.
    bool start(QString *error = nullptr);
    void stop();
    bool isRunning() const { return m_server != nullptr; }

    QHostAddress address() const { return m_address; }
    quint16 tcpPort() const;
    const SimControllerStats &stats() const { return m_stats; }
    int openConnections() const { return m_connections.size(); }
    // Closes every accepted connection, as a controller that restarts would.
    void dropConnections();

    static QString pausedText(const QString &name, const QTime &time);

signals:
    void announcementReceived(const QHostAddress &from);
    void registered(const QString &name);
    // "paused by NAME at HH:MM:SS"
    void paused(const QString &text);
    void faultFound(const QString &what);

private:
    struct Connection
    {
        QByteArray received;
        QString name;
        bool registered = false;
    };

    void handleAnnouncement();
    void handleNewConnection();
    void handleReceived(QTcpSocket *socket);
    void handleClosed(QTcpSocket *socket);
    bool acceptsPeer(const QHostAddress &peer) const;
    void fault(QTcpSocket *socket, const QString &what);

    QHostAddress m_address;
    QTcpServer *m_server = nullptr;
    QUdpSocket *m_udp = nullptr;
    QHash<QTcpSocket *, Connection> m_connections;
    SimControllerStats m_stats;
};
