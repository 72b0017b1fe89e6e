#pragma once

#include <QByteArray>

// One live-output datagram as a simulated supply received it. DMX out (0x0101) addresses the
// supply as a whole and is kept under port 0; port out (0x0108) names its port (1-based, as
// the supply announced it in its discover-ports reply).
struct SimFrame
{
    enum class Kind { DmxOut, PortOut };

    Kind kind = Kind::PortOut;
    quint8 port = 0;
    quint32 universe = 0xFFFFFFFFu;
    quint16 flags = 0;
    quint16 startCode = 0;
    quint16 timerValue = 0;
    QByteArray data;     // the channel bytes, at most 512
    QByteArray datagram; // the whole datagram as received
};
