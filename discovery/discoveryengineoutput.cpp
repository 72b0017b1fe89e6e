#include "discovery/discoveryengine.h"

#include "model/datasupply.h"
#include "model/mapmodel.h"
#include "net/streamoutput.h"
#include "net/vistra.h"

#include <algorithm>
#include <cstring>

// Live output: the frames the supplies build travel to the installation from here.

namespace {

// A 512-byte frame from whatever the supply built: cut or zero-padded.
QByteArray fullFrame(const QByteArray &data)
{
    if (data.size() == 512)
        return data;
    QByteArray frame(512, '\0');
    std::memcpy(frame.data(), data.constData(), size_t(std::min(data.size(), 512)));
    return frame;
}

// A supply without an address (0.0.0.0, or none) gets no unicast frames: sending them
// anywhere else would light other supplies' fixtures.
bool hasUnicastAddress(const QString &ip)
{
    return !ip.isEmpty() && ip != QLatin1String("0.0.0.0");
}

} // namespace

void DiscoveryEngine::driveMap(MapModel &model)
{
    for (DataSupply *supply : model.dataSupplies())
        connectOutput(supply);
    connect(&model, &MapModel::newDataSupply, this,
            [this, &model](quint64 uid) { connectOutput(model.dataSupply(uid)); });
}

void DiscoveryEngine::connectOutput(DataSupply *supply)
{
    if (!supply)
        return;
    disconnect(supply, nullptr, this, nullptr);
    connect(supply, &DataSupply::signalSendDmxFrame, this, &DiscoveryEngine::handleSendDMXFrame);
    connect(supply, &DataSupply::signalSendPortOut, this, &DiscoveryEngine::handleSendPortOut);
    connect(supply, &DataSupply::signalSendBroadcastDmxFrame, this,
            &DiscoveryEngine::handleSendBroadcastDmxFrame);
    connect(supply, &DataSupply::signalSendBroadcastPortOut, this,
            &DiscoveryEngine::handleSendBroadcastPortOut);
    // A streaming port's number is its universe; the supply says which port it is sending.
    // Supplies of type 7 are reached without an address (multicast, broadcast).
    const auto universeAndAddress = [supply](const QString &ip) {
        const SupplyPort port = supply->port(supply->emittingPortIndex());
        const QString address = supply->type() == DataSupply::SacnAlternate ? QString() : ip;
        return std::make_pair(quint16(port.number), address);
    };
    connect(supply, &DataSupply::signalSendSACNData, this,
            [this, universeAndAddress](const QString &ip, const QByteArray &data) {
                const auto [universe, address] = universeAndAddress(ip);
                m_stream->sendSacn(address, universe, data);
            });
    connect(supply, &DataSupply::signalSendArtNetData, this,
            [this, universeAndAddress](const QString &ip, const QByteArray &data) {
                const auto [universe, address] = universeAndAddress(ip);
                m_stream->sendArtNet(address, universe, data);
            });
}

void DiscoveryEngine::handleSendDMXFrame(const QString &ip, quint16 startCode, quint16 timerVal,
                                         const QByteArray &dmxData)
{
    Q_UNUSED(startCode)
    Q_UNUSED(timerVal)
    if (!hasUnicastAddress(ip))
        return;
    const QByteArray frame = fullFrame(dmxData);
    const QString address = ip.left(Vistra::kAddressTextLimit);
    noteSent(m_protocol->sendDmx(address, 0, 0, reinterpret_cast<const uchar *>(frame.constData()),
                                 frame.size()),
             address);
}

void DiscoveryEngine::handleSendPortOut(const QString &ip, quint32 universe, quint8 port,
                                        quint16 flags, quint16 startCode,
                                        const QByteArray &dmxData)
{
    Q_UNUSED(universe)
    Q_UNUSED(flags)
    if (!hasUnicastAddress(ip))
        return;
    const QByteArray frame = fullFrame(dmxData);
    const QString address = ip.left(Vistra::kAddressTextLimit);
    noteSent(m_protocol->sendPortOut(address, 0xFFFFFFFF, port, 0, frame.size(), startCode,
                                     reinterpret_cast<const uchar *>(frame.constData())),
             address);
}

void DiscoveryEngine::handleSendBroadcastDmxFrame(quint32 universe, quint16 startCode,
                                                  quint16 timerVal, const QByteArray &dmxData)
{
    Q_UNUSED(universe)
    Q_UNUSED(startCode)
    Q_UNUSED(timerVal)
    const QByteArray frame = fullFrame(dmxData);
    noteSent(m_protocol->sendBroadcastDmx(0, 0, reinterpret_cast<const uchar *>(frame.constData()),
                                          frame.size()),
             broadcastDestination());
}

void DiscoveryEngine::handleSendBroadcastPortOut(quint32 universe, quint8 port, quint16 flags,
                                                 quint16 startCode, const QByteArray &dmxData)
{
    Q_UNUSED(universe)
    Q_UNUSED(flags)
    // As for unicast port out, the frame goes out whole with flags 0.
    const QByteArray frame = fullFrame(dmxData);
    noteSent(m_protocol->sendBroadcastPortOut(DataSupply::kNoUniverse, port, 0, frame.size(),
                                              startCode,
                                              reinterpret_cast<const uchar *>(frame.constData())),
             broadcastDestination());
}
