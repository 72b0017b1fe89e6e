#pragma once

#include <QByteArray>
#include <QHash>
#include <QHostAddress>
#include <QObject>
#include <QSet>
#include <QString>

#include <vector>

class QSettings;
class QUdpSocket;

// Sends DMX frames as E1.31 (sACN) and Art-Net datagrams from one UDP socket bound to an
// ephemeral IPv4 port. A port of kind 6 carries an sACN universe, a port of kind 7 an Art-Net
// port address. A frame goes to the address text it is given; with no address (empty text or
// "0.0.0.0") sACN goes to the universe's multicast group and Art-Net to the broadcast address.
//
// Each universe (and each Art-Net port address) keeps its own sequence number, advanced by
// every packet written for it whatever its destination. In loop-back-only mode
// (KSocket::setLoopbackOnly) every destination outside 127/8 is refused, multicast and
// broadcast included, and each refused address is logged once.
//
// Frames come at up to 100 per second for hundreds of ports, so a send allocates nothing but
// its packet: address texts are parsed once and remembered, groups likewise.
class StreamOutput final : public QObject
{
    Q_OBJECT

public:
    static constexpr quint16 kSacnPort = 5568;
    static constexpr quint16 kArtNetPort = 6454;
    static constexpr quint8 kSacnPriority = 100;

    explicit StreamOutput(QObject *parent = nullptr);

    // The sACN component identifier, 16 bytes; other sizes are refused and logged. Until set,
    // a random one made for this object.
    void setCid(const QByteArray &cid);
    QByteArray cid() const { return m_cid; }
    // Cut to 63 bytes of UTF-8 on the wire.
    void setSourceName(const QString &name) { m_sourceName = name; }
    QString sourceName() const { return m_sourceName; }

    // One E1.31 data packet for the universe (1..63999): to ip, or without an address to the
    // universe's multicast group. dmx beyond 512 bytes is cut. False when the universe is out
    // of range, the address does not parse, the socket could not bind, the write failed or
    // loop-back-only mode refused the destination.
    bool sendSacn(const QString &ip, quint16 universe, const QByteArray &dmx);
    // One ArtDmx packet for the 15-bit port address (0..32767): to ip, or without an address
    // to the broadcast address (KSocket::defaultBroadcastAddress(), else 255.255.255.255).
    bool sendArtNet(const QString &ip, quint16 portAddress, const QByteArray &dmx);

    // The program's CID, kept as 32 hexadecimal digits under "/sacn_cid": created once and
    // written back when the key is missing or does not hold 16 bytes.
    static QByteArray persistentCid(QSettings &settings);

    // Datagrams written without error.
    quint64 packetsSent() const { return m_packetsSent; }
    bool isBound() const { return m_bound; }
    quint16 localPort() const;

private:
    struct Destination
    {
        QHostAddress address; // null: the text names no address
        bool valid = false;   // false: the text does not parse
    };

    const Destination &destination(const QString &ip);
    const QHostAddress &multicastGroup(quint16 universe);
    QHostAddress broadcastAddress() const;
    bool write(const QByteArray &packet, const QHostAddress &to, quint16 port);

    QUdpSocket *m_socket = nullptr;
    bool m_bound = false;
    QByteArray m_cid;
    QString m_sourceName = QStringLiteral("Orrery");
    // Next sequence number per sACN universe and per Art-Net port address.
    std::vector<quint8> m_sacnSequence;
    std::vector<quint8> m_artNetSequence;
    QHash<QString, Destination> m_destinations;
    QHash<quint16, QHostAddress> m_groups;
    QHostAddress m_limitedBroadcast{QHostAddress::Broadcast};
    QSet<quint32> m_refused;
    quint64 m_packetsSent = 0;
};
