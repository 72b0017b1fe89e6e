#pragma once

// For the network tests that check what went on the wire, inside a namespace of the test's
// own (netnamespace.h): the datagrams arriving at one UDP port, and veth pairs to set up.
#include <QNetworkDatagram>
#include <QStringList>
#include <QTest>
#include <QUdpSocket>

// The "ip" commands for a veth pair: name holds the address (CIDR, none if empty) and is up
// unless told otherwise; the peer is up.
inline QStringList veth(const QString &name, const QString &peer, const QString &address,
                        bool up = true)
{
    QStringList commands{QStringLiteral("link add %1 type veth peer name %2").arg(name, peer)};
    if (!address.isEmpty())
        commands.append(QStringLiteral("addr add %1 dev %2").arg(address, name));
    if (up)
        commands.append(QStringLiteral("link set %1 up").arg(name));
    commands.append(QStringLiteral("link set %1 up").arg(peer));
    return commands;
}

class DatagramSink
{
public:
    bool bind(quint16 port, const QHostAddress &address = QHostAddress(QHostAddress::AnyIPv4),
              QAbstractSocket::BindMode mode = QAbstractSocket::DefaultForPlatform)
    {
        m_port = port;
        return m_socket.bind(address, port, mode);
    }

    // Everything received so far.
    QList<QNetworkDatagram> &datagrams()
    {
        while (m_socket.hasPendingDatagrams())
            m_datagrams.append(m_socket.receiveDatagram());
        return m_datagrams;
    }

    // What arrived before a marker sent now from the loop-back, in order; consumes it all.
    QList<QNetworkDatagram> takeUntilMarker()
    {
        const QByteArray marker("marker");
        QUdpSocket().writeDatagram(marker, QHostAddress(QHostAddress::LocalHost), m_port);
        if (!QTest::qWaitFor(
                [&] { return !datagrams().isEmpty() && m_datagrams.last().data() == marker; }))
            return {};
        QList<QNetworkDatagram> received = m_datagrams;
        received.removeLast();
        m_datagrams.clear();
        return received;
    }

private:
    QUdpSocket m_socket;
    quint16 m_port = 0;
    QList<QNetworkDatagram> m_datagrams;
};
