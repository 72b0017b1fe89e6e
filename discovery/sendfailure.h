#pragma once

#include <QString>

class KSocket;

// Why a request could not be handed to the network, in words for the user: the system's
// error text (for instance "Network unreachable" on a computer with no route to the
// installation), or what kept the datagram from being sent at all.
QString sendFailureReason(const KSocket &socket, const QString &destination);
