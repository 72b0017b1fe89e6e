#include "sim/simresponder.h"

#include "sim/simlogging.h"
#include "sim/simrdm.h"
#include "sim/simwire.h"

namespace SimResponder {

namespace {

constexpr int kDmxMax = 512;
constexpr int kDmxOutHeader = 21;
constexpr int kPortOutHeader = 24;

quint32 ipv4(const SimSupply &supply)
{
    return supply.address.toIPv4Address();
}

// Version and minimum size (the size the request is sent with) of every request type the
// supplies understand.
bool wellFormed(const SimWire::Header &header, int size)
{
    struct Rule
    {
        quint16 type;
        quint16 version;
        int size;
    };
    static const Rule rules[] = {
        {SimWire::Discover, 1, 16},
        {SimWire::DiscoverPorts, 1, 16},
        {SimWire::DmxOut, 1, kDmxOutHeader},
        {SimWire::GetDeviceVariable, 1, 16},
        {SimWire::PortOut, 1, kPortOutHeader},
        {SimWire::Sync, 1, 16},
        {SimWire::BlinkScan, 1, 16},
        {SimWire::BlinkEERead, 1, 20},
        {SimWire::BlinkScan2, 1, 16},
        {SimWire::RdmGet, 3, 38},
    };
    for (const Rule &rule : rules) {
        if (rule.type == header.type)
            return header.version == rule.version && size >= rule.size;
    }
    return false;
}

QByteArray serialEntry(quint8 port, const QVector<quint32> &serials)
{
    QByteArray entry(4 + 4 * serials.size(), '\0');
    entry[0] = static_cast<char>(port);
    entry[1] = 1;
    entry[2] = static_cast<char>(4 * serials.size());
    for (int i = 0; i < serials.size(); ++i)
        SimWire::putLe32(entry, 4 + 4 * i, serials.at(i));
    return entry;
}

QByteArray blinkScan2Datagram(const SimSupply &supply, quint8 entryCount, const QByteArray &body)
{
    QByteArray datagram = SimWire::makeDatagram(SimWire::BlinkScan2Reply, 16 + body.size());
    SimWire::putAddress(datagram, 8, ipv4(supply));
    datagram[12] = static_cast<char>(entryCount);
    datagram.replace(16, body.size(), body);
    return datagram;
}

// Serial-list entries of every port, packed into as few datagrams as the size limit allows.
void appendSerialDatagrams(const SimSupply &supply, QVector<QByteArray> *datagrams)
{
    QByteArray body;
    int entries = 0;
    auto flush = [&] {
        if (entries > 0)
            datagrams->append(blinkScan2Datagram(supply, static_cast<quint8>(entries), body));
        body.clear();
        entries = 0;
    };
    for (const SimPort &port : supply.ports) {
        if (!port.answersScan)
            continue;
        QVector<quint32> serials;
        for (const SimLight &light : port.lights) {
            if (!light.isRdm())
                serials.append(static_cast<quint32>(light.serial));
        }
        // A port without lights still answers, with an empty list, so that an empty port
        // and a lost answer can be told apart.
        const bool empty = port.lights.isEmpty();
        for (int start = 0; start < serials.size() || (empty && start == 0);
             start += kMaxSerialsPerEntry) {
            const QByteArray entry =
                serialEntry(port.number, serials.mid(start, kMaxSerialsPerEntry));
            if (16 + body.size() + entry.size() > kMaxBlinkScan2Size || entries == 255)
                flush();
            body += entry;
            ++entries;
        }
    }
    flush();
}

// RDM ids go in datagrams of their own, one entry each: the reader takes the datagram's
// entry count as the number of ids and stops after the entry, so nothing may follow it.
void appendRdmDatagrams(const SimSupply &supply, QVector<QByteArray> *datagrams)
{
    const bool withWord = supply.rdmEntryType == 3;
    const int itemSize = withWord ? 8 : 6;
    const int perEntry = 255 / itemSize;
    for (const SimPort &port : supply.ports) {
        if (!port.answersScan)
            continue;
        QVector<const SimLight *> lights;
        for (const SimLight &light : port.lights) {
            if (light.isRdm())
                lights.append(&light);
        }
        for (int start = 0; start < lights.size(); start += perEntry) {
            const int count = qMin(perEntry, lights.size() - start);
            QByteArray entry(4 + count * itemSize, '\0');
            entry[0] = static_cast<char>(port.number);
            entry[1] = static_cast<char>(supply.rdmEntryType);
            entry[2] = static_cast<char>(count * itemSize);
            for (int i = 0; i < count; ++i) {
                const SimLight *light = lights.at(start + i);
                int at = 4 + i * itemSize;
                if (withWord) {
                    // The leading word carries the light's DMX start address; readers skip it.
                    SimWire::putLe16(entry, at, static_cast<quint16>(light->dmxOffset() + 1));
                    at += 2;
                }
                SimWire::putLe32(entry, at, static_cast<quint32>(light->serial & 0xFFFFFFFFu));
                SimWire::putLe16(entry, at + 4, static_cast<quint16>(light->serial >> 32));
            }
            datagrams->append(blinkScan2Datagram(supply, static_cast<quint8>(count), entry));
        }
    }
}

std::optional<QByteArray> eeReadReply(const SimSupply &supply, const QByteArray &request)
{
    quint32 serial = 0;
    quint16 address = 0;
    if (!SimWire::readLe32(request, 12, &serial) || !SimWire::readLe16(request, 16, &address))
        return std::nullopt;
    const SimLight *light = supply.findClassicLight(serial);
    if (!light)
        return std::nullopt;
    QByteArray reply = SimWire::makeDatagram(SimWire::BlinkEEReadReply, 20);
    SimWire::putLe32(reply, 12, serial);
    reply[16] = static_cast<char>(address & 0xFF); // the reply has room for the low byte only
    reply[17] = 0;                                 // selector 0: a plain memory byte
    reply[18] = static_cast<char>(light->readMemory(address));
    return reply;
}

QByteArray deviceVariableReply(const SimSupply &supply, const QByteArray &request)
{
    quint16 id = 0;
    SimWire::readLe16(request, 12, &id);
    QByteArray reply = SimWire::makeDatagram(SimWire::DeviceVariableReply, 20);
    SimWire::putLe16(reply, 12, id);
    SimWire::putLe32(reply, 16, supply.variables.value(id, 0));
    return reply;
}

} // namespace

Answer answer(const SimSupply &supply, const QByteArray &request)
{
    Answer result;
    SimWire::Header header;
    if (!SimWire::parseHeader(request, &header) || !wellFormed(header, request.size())) {
        qCDebug(lcSim) << "Ignored datagram of" << request.size() << "bytes for"
                       << supply.address.toString();
        return result;
    }
    result.accepted = true;
    switch (header.type) {
    case SimWire::Discover:
        result.replies << discoverReply(supply);
        break;
    case SimWire::DiscoverPorts:
        result.replies << discoverPortsReply(supply);
        break;
    case SimWire::BlinkScan:
        result.replies = blinkScanReplies(supply);
        break;
    case SimWire::BlinkScan2:
        result.replies = blinkScan2Replies(supply);
        break;
    case SimWire::BlinkEERead:
        if (const auto reply = eeReadReply(supply, request))
            result.replies << *reply;
        break;
    case SimWire::GetDeviceVariable:
        result.replies << deviceVariableReply(supply, request);
        break;
    case SimWire::RdmGet:
        if (const auto reply = SimRdm::answer(supply, request))
            result.replies << *reply;
        break;
    case SimWire::DmxOut:
    case SimWire::PortOut:
        result.frame = parseFrame(request);
        result.accepted = result.frame.has_value();
        break;
    default: // sync: nothing to answer
        break;
    }
    return result;
}

QByteArray discoverReply(const SimSupply &supply)
{
    const bool wide = supply.usesWideSerial();
    const int textOffset = wide ? 40 : 32;
    const QByteArray version = supply.versionText.toLatin1();
    const QByteArray id = supply.idText.toLatin1();
    QByteArray reply =
        SimWire::makeDatagram(wide ? SimWire::DiscoverReplyV3 : SimWire::DiscoverReply,
                              textOffset + version.size() + 1 + id.size() + 1);
    SimWire::putAddress(reply, 12, ipv4(supply));
    reply.replace(16, 6, supply.mac.leftJustified(6, '\0', true));
    SimWire::putLe16(reply, 22, supply.version);
    if (wide) {
        SimWire::putLe64(reply, 24, supply.serial);
        SimWire::putLe32(reply, 36, supply.universe);
    } else {
        SimWire::putLe32(reply, 24, static_cast<quint32>(supply.serial));
        SimWire::putLe32(reply, 28, supply.universe);
    }
    reply.replace(textOffset, version.size(), version);
    reply.replace(textOffset + version.size() + 1, id.size(), id);
    return reply;
}

QByteArray discoverPortsReply(const SimSupply &supply)
{
    const int count = qMin(supply.ports.size(), 255);
    QByteArray reply = SimWire::makeDatagram(SimWire::DiscoverPortsReply, 16 + 8 * count);
    SimWire::putAddress(reply, 8, ipv4(supply));
    reply[12] = static_cast<char>(count);
    for (int i = 0; i < count; ++i) {
        reply[16 + 8 * i] = static_cast<char>(supply.ports.at(i).number);
        reply[17 + 8 * i] = static_cast<char>(supply.ports.at(i).type);
    }
    return reply;
}

QVector<QByteArray> blinkScanReplies(const SimSupply &supply)
{
    QVector<QByteArray> replies;
    if (supply.version != 1)
        return replies; // later supplies only answer blink scan 2
    for (const SimPort &port : supply.ports) {
        for (const SimLight &light : port.lights) {
            if (light.isRdm() || !port.answersScan)
                continue;
            QByteArray reply = SimWire::makeDatagram(SimWire::BlinkScanReply, 16);
            SimWire::putAddress(reply, 8, ipv4(supply));
            SimWire::putLe32(reply, 12, static_cast<quint32>(light.serial));
            replies << reply;
        }
    }
    return replies;
}

QVector<QByteArray> blinkScan2Replies(const SimSupply &supply)
{
    QVector<QByteArray> datagrams;
    if (supply.version == 1)
        return datagrams;
    appendSerialDatagrams(supply, &datagrams);
    appendRdmDatagrams(supply, &datagrams);
    // A supply without lights still closes the scan with one empty reply.
    if (datagrams.isEmpty())
        datagrams << blinkScan2Datagram(supply, 0, {});
    for (int i = 0; i + 1 < datagrams.size(); ++i)
        datagrams[i][13] = 1; // more to come
    return datagrams;
}

std::optional<SimFrame> parseFrame(const QByteArray &request)
{
    SimWire::Header header;
    if (!SimWire::parseHeader(request, &header) || !wellFormed(header, request.size()))
        return std::nullopt;
    SimFrame frame;
    frame.datagram = request;
    const auto *b = reinterpret_cast<const uchar *>(request.constData());
    if (header.type == SimWire::DmxOut) {
        quint32 marker = 0;
        SimWire::readLe16(request, 14, &frame.timerValue);
        SimWire::readLe32(request, 16, &marker);
        const int length = request.size() - kDmxOutHeader;
        if (marker != 0xFFFFFFFFu || length > kDmxMax)
            return std::nullopt;
        frame.kind = SimFrame::Kind::DmxOut;
        frame.startCode = b[20];
        frame.data = request.mid(kDmxOutHeader);
        return frame;
    }
    if (header.type != SimWire::PortOut)
        return std::nullopt;
    quint16 length = 0;
    SimWire::readLe32(request, 12, &frame.universe);
    frame.port = b[16];
    SimWire::readLe16(request, 18, &frame.flags);
    SimWire::readLe16(request, 20, &length);
    SimWire::readLe16(request, 22, &frame.startCode);
    if (length > kDmxMax || request.size() < kPortOutHeader + length)
        return std::nullopt;
    frame.kind = SimFrame::Kind::PortOut;
    frame.data = request.mid(kPortOutHeader, length);
    return frame;
}

std::optional<quint32> targetAddress(const QByteArray &request)
{
    quint32 address = 0;
    if (!SimWire::readBe32(request, 8, &address))
        return std::nullopt;
    return address;
}

} // namespace SimResponder
