#include "discovery/sendfailure.h"

#include "net/dottedquad.h"
#include "net/ksocket.h"

QString sendFailureReason(const KSocket &socket, const QString &destination)
{
    const std::optional<quint32> address = parseDottedQuad(destination);
    if (!address)
        return QStringLiteral("\"%1\" is not an IPv4 address").arg(destination);
    if (!socket.isBound())
        return QStringLiteral("no UDP socket could be opened (%1)").arg(socket.errorString());
    if (KSocket::isLoopbackOnly() && !QHostAddress(*address).isLoopback())
        return QStringLiteral("only loop-back addresses are used in demonstration mode");
    if (!socket.lastSendError().isEmpty())
        return socket.lastSendError();
    return QStringLiteral("the datagram was not sent");
}
