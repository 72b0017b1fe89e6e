#include "net/streamoutput.h"

#include "net/artnetpacket.h"
#include "net/dottedquad.h"
#include "net/ksocket.h"
#include "net/netlogging.h"
#include "net/sacnpacket.h"

#include <QSettings>
#include <QUdpSocket>
#include <QUuid>

namespace {

const QString kCidKey = QStringLiteral("/sacn_cid");

// Distinct address texts are few (one per supply); the bound only guards against a caller
// that sends to ever new texts.
constexpr int kMaxRememberedAddresses = 4096;

// Art-Net reserves sequence 0 for "no sequencing": the counter runs 1..255 and wraps to 1.
constexpr quint8 kFirstArtNetSequence = 1;

bool isCidText(const QString &text)
{
    if (text.size() != 2 * SacnPacket::kCidLength)
        return false;
    for (const QChar c : text) {
        const ushort u = c.unicode();
        if (!((u >= '0' && u <= '9') || (u >= 'a' && u <= 'f') || (u >= 'A' && u <= 'F')))
            return false;
    }
    return true;
}

} // namespace

StreamOutput::StreamOutput(QObject *parent)
    : QObject(parent), m_socket(new QUdpSocket(this)), m_cid(QUuid::createUuid().toRfc4122()),
      m_sacnSequence(size_t(SacnPacket::kMaxUniverse) + 1, 0),
      m_artNetSequence(size_t(ArtNetPacket::kMaxPortAddress) + 1, kFirstArtNetSequence)
{
    m_bound = m_socket->bind(QHostAddress(QHostAddress::AnyIPv4), 0);
    if (!m_bound)
        qCDebug(lcNet).noquote() << "StreamOutput failed to bind:" << m_socket->errorString();
    // A frame of a large installation is hundreds of datagrams written at once.
    m_socket->setSocketOption(QAbstractSocket::SendBufferSizeSocketOption,
                              KSocket::kSendBufferBytes);
}

void StreamOutput::setCid(const QByteArray &cid)
{
    if (cid.size() != SacnPacket::kCidLength) {
        qCWarning(lcNet) << "Ignoring an sACN CID of" << cid.size() << "bytes";
        return;
    }
    m_cid = cid;
}

quint16 StreamOutput::localPort() const
{
    return m_socket->localPort();
}

bool StreamOutput::sendSacn(const QString &ip, quint16 universe, const QByteArray &dmx)
{
    if (universe < SacnPacket::kMinUniverse || universe > SacnPacket::kMaxUniverse)
        return false;
    const Destination &target = destination(ip);
    if (!target.valid)
        return false;
    const QHostAddress &to = target.address.isNull() ? multicastGroup(universe) : target.address;
    quint8 &sequence = m_sacnSequence[universe];
    const QByteArray packet =
        SacnPacket::dataPacket(m_cid, m_sourceName, kSacnPriority, universe, sequence, dmx);
    if (!write(packet, to, kSacnPort))
        return false;
    ++sequence; // wraps 255 -> 0
    return true;
}

bool StreamOutput::sendArtNet(const QString &ip, quint16 portAddress, const QByteArray &dmx)
{
    if (portAddress > ArtNetPacket::kMaxPortAddress)
        return false;
    const Destination &target = destination(ip);
    if (!target.valid)
        return false;
    const QHostAddress to = target.address.isNull() ? broadcastAddress() : target.address;
    quint8 &sequence = m_artNetSequence[portAddress];
    const QByteArray packet = ArtNetPacket::artDmx(portAddress, sequence, 0, dmx);
    if (!write(packet, to, kArtNetPort))
        return false;
    sequence = sequence == 255 ? kFirstArtNetSequence : quint8(sequence + 1);
    return true;
}

QByteArray StreamOutput::persistentCid(QSettings &settings)
{
    const QString text = settings.value(kCidKey).toString();
    if (isCidText(text))
        return QByteArray::fromHex(text.toLatin1());
    const QByteArray cid = QUuid::createUuid().toRfc4122();
    settings.setValue(kCidKey, QString::fromLatin1(cid.toHex()));
    return cid;
}

const StreamOutput::Destination &StreamOutput::destination(const QString &ip)
{
    auto found = m_destinations.constFind(ip);
    if (found != m_destinations.cend())
        return *found;
    if (m_destinations.size() >= kMaxRememberedAddresses)
        m_destinations.clear();
    Destination parsed;
    if (ip.isEmpty()) {
        parsed.valid = true;
    } else if (const std::optional<quint32> address = parseDottedQuad(ip)) {
        parsed.valid = true;
        // 0.0.0.0 is what an unconfigured supply holds: no address.
        if (*address != 0)
            parsed.address = QHostAddress(*address);
    }
    return *m_destinations.insert(ip, parsed);
}

const QHostAddress &StreamOutput::multicastGroup(quint16 universe)
{
    auto found = m_groups.constFind(universe);
    if (found != m_groups.cend())
        return *found;
    return *m_groups.insert(universe, SacnPacket::multicastGroup(universe));
}

QHostAddress StreamOutput::broadcastAddress() const
{
    const QHostAddress chosen = KSocket::defaultBroadcastAddress();
    return chosen.isNull() ? m_limitedBroadcast : chosen;
}

bool StreamOutput::write(const QByteArray &packet, const QHostAddress &to, quint16 port)
{
    // An unbound socket would be bound behind our back by the first write.
    if (!m_bound || packet.isEmpty())
        return false;
    if (KSocket::isLoopbackOnly() && !to.isLoopback()) {
        if (!m_refused.contains(to.toIPv4Address())) {
            m_refused.insert(to.toIPv4Address());
            qCWarning(lcNet) << "Not sending to" << to.toString() << "in loop-back-only mode";
        }
        return false;
    }
    if (m_socket->writeDatagram(packet, to, port) == -1)
        return false;
    ++m_packetsSent;
    return true;
}
