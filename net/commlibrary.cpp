#include "net/commlibrary.h"

#include "net/commlogging.h"
#include "net/commmessages.h"
#include "net/ksocket.h"

#include <QNetworkDatagram>
#include <QNetworkInterface>
#include <QTcpSocket>
#include <QTimer>
#include <QUdpSocket>

#include <algorithm>

namespace {

constexpr quint32 kLoopbackIp = 0x7F000001;        // 127.0.0.1
constexpr quint32 kLoopbackBroadcast = 0x7FFFFFFF; // 127.255.255.255

QStringList sorted(QStringList hosts)
{
    std::sort(hosts.begin(), hosts.end());
    return hosts;
}

} // namespace

CommLibrary::CommLibrary(const QString &name, QObject *parent)
    : QObject(parent), m_name(name), m_socket(new QUdpSocket(this)),
      m_announceTimer(new QTimer(this)), m_pauseTimer(new QTimer(this))
{
    // Other programs on this machine may listen for the same answers.
    m_bound = m_socket->bind(QHostAddress(QHostAddress::AnyIPv4), CommMessages::kAnswerPort,
                             QAbstractSocket::ShareAddress | QAbstractSocket::ReuseAddressHint);
    if (!m_bound) {
        qCWarning(lcComm).noquote()
            << QStringLiteral("Cannot listen for controllers on UDP port %1: %2")
                   .arg(CommMessages::kAnswerPort)
                   .arg(m_socket->errorString());
    }
    m_socket->setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, kReceiveBufferBytes);
    connect(m_socket, &QUdpSocket::readyRead, this, &CommLibrary::handleReadReady);
    // Both are restarted rather than repeating: the first pause follows an announcement, then
    // each cycle schedules the next.
    m_announceTimer->setSingleShot(true);
    m_announceTimer->setInterval(kAnnounceDelayMs);
    m_pauseTimer->setSingleShot(true);
    m_pauseTimer->setInterval(kPauseIntervalMs);
    connect(m_announceTimer, &QTimer::timeout, this, &CommLibrary::handlePauseControllers);
    connect(m_pauseTimer, &QTimer::timeout, this, &CommLibrary::handlePauseControllers);
    announce();
}

QStringList CommLibrary::peerHosts() const
{
    return sorted(m_peers.keys());
}

QStringList CommLibrary::connectingHosts() const
{
    return sorted(m_connecting.keys());
}

QList<CommLibrary::Target> CommLibrary::announcementTargets() const
{
    if (KSocket::isLoopbackOnly())
        return {{kLoopbackIp, kLoopbackBroadcast}};
    QList<Target> targets;
    const auto interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &interface : interfaces) {
        // A down interface has no route of its own to its broadcast address; a datagram to it
        // would leave through whatever route is left.
        if (!interface.isValid() || !interface.flags().testFlag(QNetworkInterface::IsUp))
            continue;
        const auto entries = interface.addressEntries();
        for (const QNetworkAddressEntry &entry : entries) {
            if (entry.ip().protocol() != QAbstractSocket::IPv4Protocol)
                continue;
            const quint32 ip = entry.ip().toIPv4Address();
            targets.append({ip, ip | ~entry.netmask().toIPv4Address()});
        }
    }
    return targets;
}

void CommLibrary::announce()
{
    m_announceTimer->start();
    closeAll();
    int sent = 0;
    for (const Target &target : announcementTargets()) {
        const QByteArray text = CommMessages::announcement(target.ip);
        const QHostAddress to(target.broadcast);
        if (m_socket->writeDatagram(text, to, CommMessages::kAnnouncePort) == text.size()) {
            ++sent;
            qCDebug(lcComm).noquote()
                << "Announced" << QHostAddress(target.ip).toString() << "to" << to.toString();
        } else {
            qCDebug(lcComm).noquote()
                << "Announcement to" << to.toString() << "failed:" << m_socket->errorString();
        }
    }
    emit announced(sent);
}

void CommLibrary::handleReadReady()
{
    while (m_socket->hasPendingDatagrams()) {
        const QNetworkDatagram datagram = m_socket->receiveDatagram();
        if (!datagram.isValid())
            break;
        const QString sender = datagram.senderAddress().toString();
        const std::optional<CommMessages::Answer> answer =
            CommMessages::parseAnswer(datagram.data());
        if (!answer) {
            qCDebug(lcComm).noquote()
                << QStringLiteral("Ignoring a malformed answer from %1:").arg(sender)
                << datagram.data().left(64);
            continue;
        }
        if (KSocket::isLoopbackOnly() && !QHostAddress(answer->ip).isLoopback()) {
            qCWarning(lcComm).noquote()
                << "Not connecting to" << answer->host << "in loop-back-only mode";
            continue;
        }
        qCDebug(lcComm).noquote() << QStringLiteral("Answer from %1: controller at %2 port %3")
                                         .arg(sender, answer->host)
                                         .arg(answer->port);
        connectTo(answer->host, answer->ip, answer->port);
    }
}

void CommLibrary::connectTo(const QString &host, quint32 ip, quint16 port)
{
    if (m_peers.contains(host) || m_connecting.contains(host)) {
        qCDebug(lcComm).noquote() << "Already connected or connecting to" << host;
        return;
    }
    auto *socket = new QTcpSocket(this);
    auto *deadline = new QTimer(socket);
    deadline->setSingleShot(true);
    // A coarse timer may fire up to 5 % early; the limit is a lower bound.
    deadline->setTimerType(Qt::PreciseTimer);
    m_connecting.insert(host, socket);
    connect(socket, &QTcpSocket::connected, this, [this, host, socket, deadline] {
        delete deadline;
        handleConnected(host, socket);
    });
    connect(socket, &QAbstractSocket::errorOccurred, this,
            [this, host, socket] { abandon(host, socket, socket->errorString()); });
    connect(deadline, &QTimer::timeout, this, [this, host, socket] {
        abandon(host, socket, QStringLiteral("no connection within %1 ms").arg(kConnectTimeoutMs));
    });
    // An address, never a name: nothing is looked up.
    socket->connectToHost(QHostAddress(ip), port);
    deadline->start(kConnectTimeoutMs);
}

void CommLibrary::handleConnected(const QString &host, QTcpSocket *socket)
{
    if (m_connecting.value(host) != socket)
        return;
    m_connecting.remove(host);
    // Only the connection's progress mattered until now; from here on it is a peer.
    socket->disconnect(this);
    // Whatever the controller sends is of no interest, but must not pile up unread.
    connect(socket, &QTcpSocket::readyRead, socket, [socket] { socket->readAll(); });
    connect(socket, &QTcpSocket::disconnected, this,
            [host] { qCDebug(lcComm).noquote() << "Connection to" << host << "lost"; });
    socket->write(CommMessages::registrationFor(m_name));
    socket->flush();
    m_peers.insert(host, socket);
    qCDebug(lcComm).noquote() << "Registered" << m_name << "with the controller at" << host;
    emit registeredPeer(host);
}

void CommLibrary::abandon(const QString &host, QTcpSocket *socket, const QString &why)
{
    if (m_connecting.value(host) != socket)
        return;
    m_connecting.remove(host);
    socket->disconnect(this);
    socket->abort();
    // We may be inside one of the socket's own signals.
    socket->deleteLater();
    qCDebug(lcComm).noquote()
        << QStringLiteral("Forgetting the controller at %1: %2").arg(host, why);
    emit abandonedPeer(host);
}

void CommLibrary::handlePauseControllers()
{
    const QByteArray message = CommMessages::pause();
    QStringList dropped;
    for (auto it = m_peers.begin(); it != m_peers.end();) {
        QTcpSocket *socket = it.value();
        if (socket->state() == QAbstractSocket::ConnectedState) {
            socket->write(message);
            socket->flush();
            ++it;
            continue;
        }
        dropped.append(it.key());
        socket->disconnect(this);
        socket->deleteLater();
        it = m_peers.erase(it);
    }
    m_pauseTimer->start();
    // Signalled after the walk: a receiver may announce, which empties the hash.
    const int paused = m_peers.size();
    for (const QString &host : qAsConst(dropped)) {
        qCDebug(lcComm).noquote() << "Dropped the lost controller at" << host;
        emit droppedPeer(host);
    }
    qCDebug(lcComm) << "Paused" << paused << "controllers";
    emit pausedControllers(paused);
}

void CommLibrary::closeAll()
{
    for (QTcpSocket *socket : qAsConst(m_peers)) {
        socket->disconnect(this);
        socket->close();
        socket->deleteLater();
    }
    for (QTcpSocket *socket : qAsConst(m_connecting)) {
        socket->disconnect(this);
        socket->abort();
        socket->deleteLater();
    }
    if (!m_peers.isEmpty() || !m_connecting.isEmpty())
        qCDebug(lcComm) << "Closed" << m_peers.size() + m_connecting.size() << "connections";
    m_peers.clear();
    m_connecting.clear();
}
