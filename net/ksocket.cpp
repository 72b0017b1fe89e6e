#include "net/ksocket.h"

#include "net/dottedquad.h"
#include "net/netlogging.h"

#include <QNetworkInterface>

#include <cerrno>
#include <cstring>

namespace {

QHostAddress &defaultBroadcast()
{
    static QHostAddress address;
    return address;
}

const QString kDirectedBroadcastInterface = QStringLiteral("eth0");

bool &loopbackOnly()
{
    static bool only = false;
    return only;
}

// In loop-back-only mode nothing may leave the machine: every destination must be 127/8.
bool allowed(const QHostAddress &destination)
{
    if (!loopbackOnly() || destination.isLoopback())
        return true;
    qCWarning(lcNet) << "Not sending to" << destination.toString() << "in loop-back-only mode";
    return false;
}

} // namespace

KSocket::KSocket(QObject *parent) : QUdpSocket(parent)
{
    // The protocol is IPv4 only; an IPv4 socket also keeps the local address comparable with
    // the subnet mask.
    m_bound = bind(QHostAddress(QHostAddress::AnyIPv4), 0);
    if (!m_bound)
        qCDebug(lcNet).noquote() << "KSocket failed to bind to port:" << errorString();
    m_localAddress = localAddress();
    m_broadcastAddress = QHostAddress(QHostAddress::Broadcast);
    m_subnetMask = 0;
    if (!defaultBroadcast().isNull())
        setBroadcastAddress(defaultBroadcast());
    setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, kReceiveBufferBytes);
    setSocketOption(QAbstractSocket::SendBufferSizeSocketOption, kSendBufferBytes);
}

void KSocket::setDefaultBroadcastAddress(const QHostAddress &address)
{
    defaultBroadcast() = address;
}

QHostAddress KSocket::defaultBroadcastAddress()
{
    return defaultBroadcast();
}

void KSocket::setLoopbackOnly(bool only)
{
    loopbackOnly() = only;
}

bool KSocket::isLoopbackOnly()
{
    return loopbackOnly();
}

void KSocket::setBroadcastAddress(const QHostAddress &address)
{
    m_broadcastAddress = address;
    m_broadcastChosen = true;
}

bool KSocket::sendTo(const QString &address, const char *data, qint64 length)
{
    const std::optional<quint32> ip = parseDottedQuad(address);
    // A socket that could not bind sends nothing: the toolkit would otherwise bind it behind
    // our back on the first write.
    if (!ip || !m_bound || !allowed(QHostAddress(*ip)))
        return false;
    return write(data, length, QHostAddress(*ip));
}

bool KSocket::write(const char *data, qint64 length, const QHostAddress &destination)
{
    errno = 0;
    if (writeDatagram(data, length, destination, kPort) != -1)
        return true;
    // errno still holds the system call's error here; nothing between sets it on success.
    const int error = errno;
    m_lastSendError = error != 0 ? QString::fromLocal8Bit(std::strerror(error)) : errorString();
    return false;
}

bool KSocket::sendBroadcast(const char *data, qint64 length)
{
    if (!m_bound)
        return false;
    if (!m_broadcastChosen && m_broadcastAddress == QHostAddress(QHostAddress::Broadcast))
        findDirectedBroadcast();
    if (!allowed(m_broadcastAddress))
        return false;
    return write(data, length, m_broadcastAddress);
}

// Runs on every broadcast until an "eth0" is found, so an interface that comes up later is
// still picked up; once found, its directed broadcast address is kept for the socket's life.
void KSocket::findDirectedBroadcast()
{
    const auto interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &interface : interfaces) {
        const auto flags = interface.flags();
        if (!flags.testFlag(QNetworkInterface::IsUp) ||
            flags.testFlag(QNetworkInterface::IsLoopBack))
            continue;
        const auto entries = interface.addressEntries();
        for (const QNetworkAddressEntry &entry : entries) {
            if (entry.ip().protocol() != QAbstractSocket::IPv4Protocol)
                continue;
            if (interface.humanReadableName() != kDirectedBroadcastInterface)
                continue;
            const quint32 ip = entry.ip().toIPv4Address();
            const quint32 mask = entry.netmask().toIPv4Address();
            m_localAddress = entry.ip();
            m_broadcastAddress = QHostAddress(ip | ~mask);
            break;
        }
    }
}

bool KSocket::readPending(char *buffer, qint64 capacity, QHostAddress *sender, quint16 *senderPort,
                          qint64 *length)
{
    if (state() == QAbstractSocket::UnconnectedState || !hasPendingDatagrams())
        return false;
    const qint64 read = readDatagram(buffer, capacity, sender, senderPort);
    if (length)
        *length = read;
    return read != -1;
}
