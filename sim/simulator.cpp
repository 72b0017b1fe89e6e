#include "sim/simulator.h"

#include "sim/simlogging.h"
#include "sim/simoutput.h"
#include "sim/simresponder.h"
#include "sim/simwire.h"

#include <QNetworkDatagram>
#include <QTimer>
#include <QUdpSocket>

namespace {

// Both the per-supply sockets and the wildcard socket share the port, which Linux allows
// only when every one of them asks for address reuse.
constexpr QAbstractSocket::BindMode kBindMode =
    QAbstractSocket::ShareAddress | QAbstractSocket::ReuseAddressHint;
constexpr int kReceiveBuffer = 1 << 20;

quint16 typeOf(const QByteArray &datagram)
{
    SimWire::Header header;
    return SimWire::parseHeader(datagram, &header) ? header.type : 0;
}

} // namespace

Simulator::Simulator(const SimInstallation &installation, QObject *parent)
    : QObject(parent), m_installation(installation), m_output(new SimOutput(this)),
      m_faultPlan(installation.faults)
{
}

Simulator::~Simulator()
{
    stop();
}

bool Simulator::start(QString *error)
{
    stop();
    for (int i = 0; i < m_installation.supplies.size(); ++i) {
        auto *socket = new QUdpSocket(this);
        m_supplySockets.append(socket);
        if (!bindSocket(socket, m_installation.supplies.at(i).address, error)) {
            stop();
            return false;
        }
        connect(socket, &QUdpSocket::readyRead, this, [this, i] { handleSupplyReadyRead(i); });
    }
    m_broadcastSocket = new QUdpSocket(this);
    if (!bindSocket(m_broadcastSocket, QHostAddress(QHostAddress::AnyIPv4), error)) {
        stop();
        return false;
    }
    connect(m_broadcastSocket, &QUdpSocket::readyRead, this, &Simulator::handleBroadcastReadyRead);
    qCDebug(lcSim) << "Simulating" << m_installation.supplies.size() << "supplies with"
                   << m_installation.lightCount() << "lights";
    return true;
}

void Simulator::stop()
{
    // Deleting the sockets also drops any delayed reply still waiting on them.
    qDeleteAll(m_supplySockets);
    m_supplySockets.clear();
    delete m_broadcastSocket;
    m_broadcastSocket = nullptr;
}

void Simulator::setFaults(const SimFaults &faults)
{
    m_installation.faults = faults;
    m_faultPlan = SimFaultPlan(faults);
}

int Simulator::supplyAt(const QHostAddress &address) const
{
    const quint32 wanted = address.toIPv4Address();
    for (int i = 0; i < m_installation.supplies.size(); ++i) {
        if (m_installation.supplies.at(i).address.toIPv4Address() == wanted)
            return i;
    }
    return -1;
}

bool Simulator::protocolPortInUse()
{
    // A binding that does not share the port fails while any other socket holds it, whatever
    // that socket's address and sharing options.
    QUdpSocket probe;
    if (probe.bind(QHostAddress(QHostAddress::AnyIPv4), SimWire::kPort,
                   QAbstractSocket::DontShareAddress))
        return false;
    return probe.error() == QAbstractSocket::AddressInUseError;
}

bool Simulator::bindSocket(QUdpSocket *socket, const QHostAddress &address, QString *error)
{
    if (socket->bind(address, SimWire::kPort, kBindMode)) {
        // Discovery and read runs arrive in bursts; the kernel caps this at its maximum.
        socket->setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, kReceiveBuffer);
        return true;
    }
    if (error)
        *error = QStringLiteral("cannot bind %1:%2: %3")
                     .arg(address.toString())
                     .arg(SimWire::kPort)
                     .arg(socket->errorString());
    return false;
}

bool Simulator::acceptsPeer(const QHostAddress &peer) const
{
    return !m_installation.isLoopbackOnly() || peer.isLoopback();
}

void Simulator::handleSupplyReadyRead(int supplyIndex)
{
    QUdpSocket *socket = m_supplySockets.value(supplyIndex);
    while (socket && socket->hasPendingDatagrams()) {
        const QNetworkDatagram datagram = socket->receiveDatagram();
        ++m_stats.requests;
        if (!acceptsPeer(datagram.senderAddress())) {
            ++m_stats.ignored;
            continue;
        }
        answerFor(supplyIndex, datagram.data(), datagram.senderAddress(),
                  static_cast<quint16>(datagram.senderPort()));
    }
}

void Simulator::handleBroadcastReadyRead()
{
    while (m_broadcastSocket && m_broadcastSocket->hasPendingDatagrams()) {
        const QNetworkDatagram datagram = m_broadcastSocket->receiveDatagram();
        ++m_stats.requests;
        if (!acceptsPeer(datagram.senderAddress())) {
            ++m_stats.ignored;
            continue;
        }
        answerBroadcast(datagram.data(), datagram.senderAddress(),
                        static_cast<quint16>(datagram.senderPort()));
    }
}

void Simulator::answerFor(int supplyIndex, const QByteArray &request, const QHostAddress &peer,
                          quint16 peerPort)
{
    const quint16 type = typeOf(request);
    emit requestReceived(supplyIndex, type);
    const SimResponder::Answer answer =
        SimResponder::answer(m_installation.supplies.at(supplyIndex), request);
    if (!answer.accepted)
        ++m_stats.ignored;
    if (type == SimWire::Sync && answer.accepted)
        ++m_stats.syncs;
    if (answer.frame) {
        ++m_stats.frames;
        m_output->record(supplyIndex, *answer.frame);
    }
    for (const QByteArray &reply : answer.replies)
        sendReply(supplyIndex, reply, peer, peerPort);
}

void Simulator::answerBroadcast(const QByteArray &request, const QHostAddress &peer,
                                quint16 peerPort)
{
    const quint16 type = typeOf(request);
    switch (type) {
    case SimWire::Discover:
        emit requestReceived(-1, type);
        for (int i = 0; i < m_installation.supplies.size(); ++i)
            answerFor(i, request, peer, peerPort);
        return;
    case SimWire::Sync:
        emit requestReceived(-1, type);
        ++m_stats.syncs;
        return;
    case SimWire::DiscoverPorts:
    case SimWire::BlinkScan:
    case SimWire::BlinkScan2: {
        // These name their supply at [8]; answer for it as if it had been sent directly.
        const auto target = SimResponder::targetAddress(request);
        const int index = target ? supplyAt(QHostAddress(*target)) : -1;
        if (index >= 0) {
            answerFor(index, request, peer, peerPort);
            return;
        }
        break;
    }
    case SimWire::DmxOut:
    case SimWire::PortOut:
        emit requestReceived(-1, type);
        recordBroadcastFrame(request);
        return;
    default:
        break;
    }
    emit requestReceived(-1, type);
    ++m_stats.ignored;
}

// Broadcast output reaches every supply on its universe; DMX out names no universe and
// port out's 0xFFFFFFFF means "any universe".
void Simulator::recordBroadcastFrame(const QByteArray &request)
{
    const auto frame = SimResponder::parseFrame(request);
    if (!frame) {
        ++m_stats.ignored;
        return;
    }
    for (int i = 0; i < m_installation.supplies.size(); ++i) {
        const bool matches = frame->kind == SimFrame::Kind::DmxOut ||
                             frame->universe == 0xFFFFFFFFu ||
                             frame->universe == m_installation.supplies.at(i).universe;
        if (!matches)
            continue;
        ++m_stats.frames;
        m_output->record(i, *frame);
    }
}

void Simulator::sendReply(int supplyIndex, const QByteArray &reply, const QHostAddress &peer,
                          quint16 peerPort)
{
    const SimFaultPlan::Fate fate = m_faultPlan.next();
    if (fate.drop) {
        ++m_stats.dropped;
        return;
    }
    const int copies = fate.duplicate ? 2 : 1;
    if (fate.duplicate)
        ++m_stats.duplicated;
    if (fate.delayMs <= 0) {
        for (int i = 0; i < copies; ++i)
            writeReply(supplyIndex, reply, peer, peerPort);
        return;
    }
    ++m_stats.delayed;
    // The socket is the timer's context: stopping the simulator cancels delayed replies.
    QTimer::singleShot(fate.delayMs, m_supplySockets.at(supplyIndex),
                       [this, supplyIndex, reply, peer, peerPort, copies] {
                           for (int i = 0; i < copies; ++i)
                               writeReply(supplyIndex, reply, peer, peerPort);
                       });
}

void Simulator::writeReply(int supplyIndex, const QByteArray &reply, const QHostAddress &peer,
                           quint16 peerPort)
{
    QUdpSocket *socket = m_supplySockets.value(supplyIndex);
    if (!socket || !acceptsPeer(peer))
        return;
    if (socket->writeDatagram(reply, peer, peerPort) != reply.size()) {
        qCDebug(lcSim) << "Reply from" << m_installation.supplies.at(supplyIndex).address
                       << "failed:" << socket->errorString();
        return;
    }
    ++m_stats.replies;
    emit replySent(supplyIndex, typeOf(reply));
}
