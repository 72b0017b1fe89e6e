#include "sim/simrdm.h"

#include "sim/simlogging.h"
#include "sim/simwire.h"

namespace SimRdm {

namespace {

constexpr int kRequestLength = 24; // E1.20 GET without parameter data
constexpr int kRequestSize = kMessageOffset + kRequestLength + 2;

struct Request
{
    quint64 destination = 0;
    quint64 source = 0;
    quint8 transaction = 0;
    quint16 subDevice = 0;
    quint8 commandClass = 0;
    quint16 pid = 0;
};

std::optional<Request> parseRequest(const QByteArray &datagram)
{
    const auto *b = reinterpret_cast<const uchar *>(datagram.constData());
    const int m = kMessageOffset;
    if (datagram.size() < kRequestSize || b[m] != kStartCode || b[m + 1] != kSubStartCode)
        return std::nullopt;
    const int length = b[m + 2];
    const int dataLength = b[m + 23];
    if (length < kRequestLength || length != kRequestLength + dataLength ||
        datagram.size() < m + length + 2)
        return std::nullopt;
    quint16 sum = 0;
    SimWire::readBe16(datagram, m + length, &sum);
    if (sum != checksum(datagram, m, length)) {
        qCDebug(lcSim) << "RDM request with a wrong checksum ignored";
        return std::nullopt;
    }
    Request request;
    SimWire::readBe48(datagram, m + 3, &request.destination);
    SimWire::readBe48(datagram, m + 9, &request.source);
    request.transaction = b[m + 15];
    SimWire::readBe16(datagram, m + 18, &request.subDevice);
    request.commandClass = b[m + 20];
    SimWire::readBe16(datagram, m + 21, &request.pid);
    return request;
}

QByteArray text(const QString &value)
{
    return value.toLatin1().left(32);
}

QByteArray nack(quint16 reason)
{
    QByteArray data(2, '\0');
    SimWire::putBe16(data, 0, reason);
    return data;
}

// Parameter data and response type for a GET of `pid` from `light`.
std::pair<quint8, QByteArray> lookUp(const SimLight &light, const Request &request)
{
    if (request.commandClass != kGetCommand)
        return {kResponseNack, nack(kNackUnsupportedCommandClass)};
    if (request.subDevice != 0 && request.subDevice != 0xFFFF)
        return {kResponseNack, nack(kNackSubDeviceOutOfRange)};
    if (light.rdm.refused.contains(request.pid))
        return {kResponseNack, nack(kNackUnknownPid)};
    const auto configured = light.rdm.parameters.constFind(request.pid);
    if (configured != light.rdm.parameters.constEnd())
        return {kResponseAck, *configured};
    switch (request.pid) {
    case kDeviceInfo:
        return {kResponseAck, deviceInfo(light)};
    case kDeviceModelDescription:
        return {kResponseAck, text(light.rdm.modelDescription)};
    case kSoftwareVersionLabel:
        return {kResponseAck, text(light.rdm.softwareVersionLabel)};
    case kDmxStartAddress: {
        QByteArray data(2, '\0');
        SimWire::putBe16(data, 0, static_cast<quint16>(light.dmxOffset() + 1));
        return {kResponseAck, data};
    }
    default:
        return {kResponseNack, nack(kNackUnknownPid)};
    }
}

} // namespace

quint16 checksum(const QByteArray &data, int from, int length)
{
    quint16 sum = 0;
    for (int i = from; i < from + length && i < data.size(); ++i)
        sum = static_cast<quint16>(sum + static_cast<quint8>(data.at(i)));
    return sum;
}

QByteArray deviceInfo(const SimLight &light)
{
    QByteArray data(19, '\0');
    SimWire::putBe16(data, 0, 0x0100); // RDM protocol version 1.0
    SimWire::putBe16(data, 2, light.rdm.deviceModelId);
    SimWire::putBe16(data, 4, light.rdm.productCategory);
    SimWire::putBe32(data, 6, light.rdm.softwareVersionId);
    SimWire::putBe16(data, 10, light.footprint);
    data[12] = static_cast<char>(light.rdm.personality);
    data[13] = static_cast<char>(light.rdm.personalityCount);
    SimWire::putBe16(data, 14, static_cast<quint16>(light.dmxOffset() + 1));
    SimWire::putBe16(data, 16, light.rdm.subDeviceCount);
    data[18] = static_cast<char>(light.rdm.sensorCount);
    return data;
}

std::optional<QByteArray> answer(const SimSupply &supply, const QByteArray &request)
{
    const auto parsed = parseRequest(request);
    if (!parsed)
        return std::nullopt;
    const SimLight *light = supply.findRdmLight(parsed->destination);
    if (!light)
        return std::nullopt;
    const auto [responseType, data] = lookUp(*light, *parsed);
    const int length = kRequestLength + data.size();
    QByteArray reply = SimWire::makeDatagram(SimWire::RdmGetReply, kMessageOffset + length + 2, 3);
    const int m = kMessageOffset;
    reply[m] = static_cast<char>(kStartCode);
    reply[m + 1] = static_cast<char>(kSubStartCode);
    reply[m + 2] = static_cast<char>(length);
    SimWire::putBe48(reply, m + 3, parsed->source);
    SimWire::putBe48(reply, m + 9, light->serial);
    reply[m + 15] = static_cast<char>(parsed->transaction);
    reply[m + 16] = static_cast<char>(responseType);
    SimWire::putBe16(reply, m + 18, parsed->subDevice);
    reply[m + 20] = static_cast<char>(kGetCommandResponse);
    SimWire::putBe16(reply, m + 21, parsed->pid);
    reply[m + 23] = static_cast<char>(data.size());
    reply.replace(m + 24, data.size(), data);
    SimWire::putBe16(reply, m + length, checksum(reply, m, length));
    return reply;
}

} // namespace SimRdm
