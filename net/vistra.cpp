#include "net/vistra.h"

#include "net/dottedquad.h"
#include "net/ksocket.h"
#include "net/netlogging.h"
#include "net/rdm.h"
#include "net/vistrarequests.h"
#include "net/vistrawire.h"

#include <cstring>

using namespace VistraReplies;

namespace {

void copyText(std::array<char, Vistra::kTextBufferSize> &buffer, const QByteArray &text)
{
    const int length = qMin(text.size(), Vistra::kTextBufferSize - 1);
    std::memcpy(buffer.data(), text.constData(), size_t(length));
    buffer[size_t(length)] = '\0';
}

} // namespace

Vistra::Vistra(QObject *parent) : QObject(parent)
{
    createSocket();
    connect(this, &Vistra::requestSyncPacket, this, &Vistra::handleSyncPacketRequest);
    connect(this, &Vistra::requestSendPortOut, this, &Vistra::handleSendPortOutRequest);
    for (int i = 0; i < kSyncBurst; ++i)
        sendSync();
}

void Vistra::createSocket()
{
    m_socket = new KSocket(this);
    connect(m_socket, &KSocket::readyRead, this, &Vistra::checkSocket);
}

bool Vistra::sendToAddress(const QString &ip, const QByteArray &datagram)
{
    return m_socket->sendTo(ip, datagram.constData(), datagram.size());
}

bool Vistra::discover(const QString &addressText)
{
    const std::optional<quint32> address = parseDottedQuad(addressText);
    if (!address)
        return false;
    const quint32 target = VistraRequests::discoverTarget(
        *address, m_socket->ownAddress().toIPv4Address(), m_socket->subnetMask());
    const QByteArray datagram = VistraRequests::discover(target);
    return m_socket->sendBroadcast(datagram.constData(), datagram.size());
}

bool Vistra::discoverPorts(const QString &ip)
{
    const std::optional<quint32> address = parseDottedQuad(ip);
    return address && sendToAddress(ip, VistraRequests::discoverPorts(*address));
}

bool Vistra::blinkScan(const QString &ip)
{
    const std::optional<quint32> address = parseDottedQuad(ip);
    return address && sendToAddress(ip, VistraRequests::blinkScan(*address));
}

bool Vistra::blinkScan2(const QString &ip)
{
    const std::optional<quint32> address = parseDottedQuad(ip);
    return address && sendToAddress(ip, VistraRequests::blinkScan2(*address));
}

bool Vistra::blinkEERead(const QString &ip, quint32 serial, quint16 address)
{
    return sendToAddress(ip, VistraRequests::blinkEERead(serial, address));
}

bool Vistra::getDeviceVariable(const QString &ip, quint16 id)
{
    return sendToAddress(ip, VistraRequests::getDeviceVariable(id));
}

bool Vistra::rdmGet(const QString &ip, quint64 uid, quint16 pid)
{
    return sendToAddress(ip, VistraRequests::rdmGet(uid & Rdm::kUidMask, pid, Rdm::sourceUid()));
}

bool Vistra::sendDmx(const QString &ip, quint8 startCode, quint16 timerValue, const uchar *data,
                     int length)
{
    return sendFrame(ip, false, length, data, [&](int n) {
        return VistraRequests::dmxOut(startCode, timerValue, data, n);
    });
}

bool Vistra::sendPortOut(const QString &ip, quint32 universe, quint8 port, quint16 flags,
                         int length, quint16 startCode, const uchar *data)
{
    return sendFrame(ip, false, length, data, [&](int n) {
        return VistraRequests::portOut(universe, port, flags, startCode, data, n);
    });
}

bool Vistra::sendBroadcastDmx(quint8 startCode, quint16 timerValue, const uchar *data,
                              int length)
{
    return sendFrame(QString(), true, length, data, [&](int n) {
        return VistraRequests::dmxOut(startCode, timerValue, data, n);
    });
}

bool Vistra::sendBroadcastPortOut(quint32 universe, quint8 port, quint16 flags, int length,
                                  quint16 startCode, const uchar *data)
{
    return sendFrame(QString(), true, length, data, [&](int n) {
        return VistraRequests::portOut(universe, port, flags, startCode, data, n);
    });
}

bool Vistra::sendFrame(const QString &ip, bool broadcast, int length, const uchar *data,
                       const std::function<QByteArray(int)> &build)
{
    if ((!broadcast && !parseDottedQuad(ip)) || length < 0 || (length > 0 && !data))
        return false;
    const bool truncated = length > VistraWire::kDmxMaxLength;
    if (truncated) {
        qCDebug(lcNet) << "Truncating: DMX data length exceed 512";
        length = VistraWire::kDmxMaxLength;
    }
    const QByteArray datagram = build(length);
    const bool sent = broadcast ? m_socket->sendBroadcast(datagram.constData(), datagram.size())
                                : sendToAddress(ip, datagram);
    return sent && !truncated;
}

bool Vistra::sendSync()
{
    const QByteArray datagram = VistraRequests::sync();
    return m_socket->sendBroadcast(datagram.constData(), datagram.size());
}

void Vistra::resetSocket()
{
    m_socket->flush();
    // A bound datagram socket never disconnects by itself: close it first, so the wait below
    // ends at once instead of blocking the program for its full length.
    m_socket->close();
    if (m_socket->state() != QAbstractSocket::UnconnectedState)
        m_socket->waitForDisconnected(kSocketCloseWaitMs);
    m_socket->disconnect();
    m_socket->deleteLater();
    createSocket();
}

void Vistra::handleSyncPacketRequest()
{
    sendSync();
}

void Vistra::handleSendPortOutRequest(const char *ip, unsigned int universe, unsigned char port,
                                      unsigned int flags, unsigned int len, unsigned int startcode,
                                      const unsigned char *data)
{
    if (!ip)
        return;
    const QString address = QString::fromLatin1(ip, int(qstrnlen(ip, kAddressTextLimit)));
    sendPortOut(address, universe, port, quint16(flags), int(qMin(len, 0x7FFFFFFFu)),
                quint16(startcode), data);
}

void Vistra::checkSocket()
{
    QHostAddress sender;
    quint16 senderPort = 0;
    qint64 length = 0;
    while (m_socket->readPending(m_buffer.data(), kReadBufferSize, &sender, &senderPort, &length)) {
        m_versionText.fill('\0');
        m_idText.fill('\0');
        const QByteArray datagram = QByteArray::fromRawData(m_buffer.data(), int(length));
        std::optional<Reply> reply = parseReply(datagram, sender.toIPv4Address());
        if (reply)
            std::visit([this](auto &parsed) { emitReply(parsed); }, *reply);
    }
}

void Vistra::emitReply(DiscoverReply &reply)
{
    m_mac = reply.mac;
    copyText(m_versionText, reply.versionText);
    copyText(m_idText, reply.idText);
    switch (VistraWire::ReplyType(reply.type)) {
    case VistraWire::ReplyType::DiscoverV3:
        emit signalDiscoverResponseV3(m_mac.data(), reply.ip, reply.serial, reply.version,
                                      reply.universe, m_versionText.data(), m_idText.data());
        break;
    case VistraWire::ReplyType::DiscoverEO:
        emit signalDiscoverEOResponse(m_mac.data(), reply.ip, quint32(reply.serial), reply.version,
                                      reply.universe, m_versionText.data(), m_idText.data());
        break;
    default:
        emit signalDiscoverResponse(m_mac.data(), reply.ip, quint32(reply.serial), reply.version,
                                    reply.universe, m_versionText.data(), m_idText.data());
        break;
    }
}

void Vistra::emitReply(PortsReply &reply)
{
    const int count = reply.portNumbers.size();
    std::copy(reply.portNumbers.cbegin(), reply.portNumbers.cend(), m_portNumbers.begin());
    std::copy(reply.portTypes.cbegin(), reply.portTypes.cend(), m_portTypes.begin());
    emit signalDiscoverPortsResponse(reply.ip, uchar(count), m_portNumbers.data(),
                                     m_portTypes.data());
}

void Vistra::emitReply(DeviceVariableReply &reply)
{
    emit signalDeviceVariableReply(reply.ip, reply.variableId, reply.value);
}

void Vistra::emitReply(GetArrayReply &reply)
{
    emit signalGetArrayReply(reply.ip, reply.id, reply.values);
}

void Vistra::emitReply(GetByteArrayReply &reply)
{
    emit signalGetByteArrayReply(reply.ip, reply.id, reply.values);
}

void Vistra::emitReply(BlinkScanReply &reply)
{
    emit signalBlinkScanResponse(reply.ip, reply.serial);
}

void Vistra::emitReply(ReadByteReply &reply)
{
    switch (reply.kind) {
    case ReadByteReply::EERead:
        emit signalBlinkEEReadResponse(reply.ip, reply.serial, reply.address, reply.value);
        break;
    case ReadByteReply::PixelToken:
        emit signalPixelTokenByteReadResponse(reply.ip, reply.serial, reply.selector, reply.address,
                                              reply.value);
        break;
    case ReadByteReply::Telemetry:
        emit signalTelemetryByteReadResponse(reply.ip, reply.serial, reply.address, reply.value);
        break;
    }
}

void Vistra::emitReply(BEBlinkScanReply &reply)
{
    emit signalBEBlinkScanResponse(reply.ip, reply.port, reply.serial);
}

void Vistra::emitReply(CAScanReply &reply)
{
    emit signalCAScanResponse(reply.ip, reply.port1, reply.port2);
}

// The summary first, then one signal per entry in datagram order.
void Vistra::emitReply(BlinkScan2Reply &reply)
{
    emit signalBlinkScan2Response(reply.ip, reply.entryCount, reply.more,
                                  reinterpret_cast<unsigned char *>(reply.entryBytes.data()));
    for (const BlinkScan2Entry &entry : qAsConst(reply.entries)) {
        const auto count = uchar(entry.values.size());
        switch (entry.kind) {
        case BlinkScan2Entry::Serials:
            emit signalBlinkScan2SNResponse(reply.ip, entry.port, count, entry.values);
            break;
        case BlinkScan2Entry::ChainCounts:
            emit signalBlinkScan2CAResponse(reply.ip, entry.port, count, entry.values);
            break;
        case BlinkScan2Entry::RdmUids:
            emit signalBlinkScan2XRDMResponse(reply.ip, entry.port, entry.values);
            break;
        }
    }
}

void Vistra::emitReply(ExtPromTokenReply &reply)
{
    emit signalExtPromTokenReadResponse(reply.ip, reply.serial, reply.token, reply.value);
}

void Vistra::emitReply(RdmGetReply &reply)
{
    if (reply.refused)
        emit signalRDMGetRefused(reply.ip, reply.sourceUid, reply.pid, reply.nackReason);
    else
        emit signalRDMGetReply(reply.ip, reply.sourceUid, reply.pid, reply.text);
}
