#include "sim/simcontroller.h"

#include "sim/simcontrollerwire.h"
#include "sim/simlogging.h"

#include <QNetworkDatagram>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUdpSocket>

namespace {

constexpr QAbstractSocket::BindMode kShared =
    QAbstractSocket::ShareAddress | QAbstractSocket::ReuseAddressHint;

} // namespace

SimController::SimController(const QHostAddress &address, QObject *parent)
    : QObject(parent), m_address(address)
{
}

SimController::~SimController()
{
    stop();
}

bool SimController::start(QString *error)
{
    stop();
    m_server = new QTcpServer(this);
    m_udp = new QUdpSocket(this);
    QString failure;
    if (!m_server->listen(m_address, 0))
        failure = QStringLiteral("cannot listen on %1: %2")
                      .arg(m_address.toString(), m_server->errorString());
    // Broadcasts reach only sockets bound to the wildcard address.
    else if (!m_udp->bind(QHostAddress(QHostAddress::AnyIPv4), SimControllerWire::kAnnouncePort,
                          kShared))
        failure = QStringLiteral("cannot bind UDP port %1: %2")
                      .arg(SimControllerWire::kAnnouncePort)
                      .arg(m_udp->errorString());
    if (!failure.isEmpty()) {
        if (error)
            *error = failure;
        stop();
        return false;
    }
    connect(m_udp, &QUdpSocket::readyRead, this, &SimController::handleAnnouncement);
    connect(m_server, &QTcpServer::newConnection, this, &SimController::handleNewConnection);
    qCDebug(lcSim).noquote() << "Show controller on" << m_address.toString() << "TCP port"
                             << tcpPort();
    return true;
}

void SimController::stop()
{
    dropConnections();
    delete m_server;
    m_server = nullptr;
    delete m_udp;
    m_udp = nullptr;
}

quint16 SimController::tcpPort() const
{
    return m_server ? m_server->serverPort() : 0;
}

void SimController::dropConnections()
{
    const QList<QTcpSocket *> sockets = m_connections.keys();
    m_connections.clear();
    for (QTcpSocket *socket : sockets) {
        socket->disconnect(this);
        socket->abort();
        socket->deleteLater();
    }
}

QString SimController::pausedText(const QString &name, const QTime &time)
{
    return QStringLiteral("paused by %1 at %2")
        .arg(name, time.toString(QStringLiteral("HH:mm:ss")));
}

bool SimController::acceptsPeer(const QHostAddress &peer) const
{
    return !m_address.isLoopback() || peer.isLoopback();
}

void SimController::handleAnnouncement()
{
    while (m_udp && m_udp->hasPendingDatagrams()) {
        const QNetworkDatagram datagram = m_udp->receiveDatagram();
        if (!datagram.isValid())
            break;
        const auto announcement = SimControllerWire::parseAnnouncement(datagram.data());
        if (!announcement) {
            qCDebug(lcSim) << "Ignoring a datagram that is no announcement:" << datagram.data();
            continue;
        }
        const QHostAddress program(announcement->ip);
        if (!acceptsPeer(datagram.senderAddress()) || !acceptsPeer(program))
            continue;
        ++m_stats.announcements;
        emit announcementReceived(datagram.senderAddress());
        const QByteArray text =
            SimControllerWire::answer(kControllerId, m_address.toIPv4Address(), tcpPort());
        if (m_udp->writeDatagram(text, program, announcement->port) == text.size())
            ++m_stats.answers;
        qCDebug(lcSim).noquote() << "Answered the announcement of" << program.toString();
    }
}

void SimController::handleNewConnection()
{
    while (QTcpSocket *socket = m_server->nextPendingConnection()) {
        if (!acceptsPeer(socket->peerAddress())) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        ++m_stats.connections;
        m_connections.insert(socket, Connection());
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { handleReceived(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] { handleClosed(socket); });
    }
}

void SimController::handleReceived(QTcpSocket *socket)
{
    if (!m_connections.contains(socket))
        return;
    m_connections[socket].received += socket->readAll();
    // Looked up afresh for every message: a receiver of our signals may close connections.
    for (;;) {
        auto it = m_connections.find(socket);
        if (it == m_connections.end())
            return;
        SimControllerWire::Message message;
        QString error;
        const SimControllerWire::Take take =
            SimControllerWire::takeMessage(&it->received, &message, &error);
        if (take == SimControllerWire::Take::Incomplete)
            return;
        if (take == SimControllerWire::Take::Malformed) {
            // Nothing after a framing fault can be trusted: close, as a controller would.
            fault(socket, error);
            handleClosed(socket);
            return;
        }
        const QString broken = SimControllerWire::checkRules(message);
        if (!broken.isEmpty()) {
            fault(socket, broken);
        } else if (message.command == SimControllerWire::kRegisterCommand) {
            if (it->registered) {
                fault(socket, QStringLiteral("a second registration on one connection"));
                continue;
            }
            it->registered = true;
            it->name = message.name;
            ++m_stats.registrations;
            qCDebug(lcSim).noquote()
                << "Registered" << message.name << "from" << socket->peerAddress().toString();
            emit registered(message.name);
        } else if (!it->registered) {
            fault(socket, QStringLiteral("a pause before the registration"));
        } else {
            ++m_stats.pauses;
            emit paused(pausedText(it->name, QTime::currentTime()));
        }
    }
}

void SimController::handleClosed(QTcpSocket *socket)
{
    if (!m_connections.remove(socket))
        return;
    socket->disconnect(this);
    socket->abort();
    socket->deleteLater();
}

void SimController::fault(QTcpSocket *socket, const QString &what)
{
    ++m_stats.faults;
    qCWarning(lcSim).noquote() << "Controller message from" << socket->peerAddress().toString()
                               << "rejected:" << what;
    emit faultFound(what);
}
