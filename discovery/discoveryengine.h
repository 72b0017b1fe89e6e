#pragma once

#include "model/datasupply.h"
#include "model/light.h"

#include "discovery/lightreadplan.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QTimer>
#include <QVector>

#include <memory>

class MapModel;
class StreamOutput;
class Vistra;

// Turns protocol replies into model objects: finds supplies, their ports and the lights on
// each port, reads each light's stored data, and forwards live output from the supplies to
// the protocol.
//
// Supplies and lights that discovery creates belong to the engine until a caller takes them
// with takeSupply()/takeLight() (to put them into the map). Supplies the user already has are
// only registered: the engine refers to them and never deletes them.
//
// A supply is a device at an address. Two answers from two addresses are two supplies with
// uids of their own even when they report the same serial number, as factory-fresh and
// cloned units do; a discovered supply's uid is its serial unless another supply holds it.
class DiscoveryEngine final : public QObject
{
    Q_OBJECT
public:
    // The read timer's time-out.
    static constexpr int kReadTimeoutMs = 500;
    // The pause a device needs before an RDM request.
    static constexpr int kRdmPauseMs = 7;
    static constexpr quint16 kDmxOffsetHigh = 64;
    static constexpr quint16 kDmxOffsetLow = 65;
    static constexpr quint16 kRdmDeviceInfo = 0x0060;

    explicit DiscoveryEngine(QObject *parent = nullptr);
    ~DiscoveryEngine() override;

    Vistra *protocol() const { return m_protocol; }
    // Sends the frames of sACN and Art-Net ports.
    StreamOutput *streamOutput() const { return m_stream; }

    // Connects the supply's transport signals so that its frames reach the installation:
    // DMX out and port out through the lighting protocol (to the supply's address or by
    // broadcast), sACN and Art-Net through the stream output. Connecting again replaces the
    // earlier connections; discovered and registered supplies are connected already.
    void connectOutput(DataSupply *supply);
    // Connects every supply of the map for live output, now and as supplies are added.
    void driveMap(MapModel &model);

    // Forgets what earlier runs found and broadcasts a discover request.
    void discoverControllers();
    // Broadcasts the discover request again without forgetting: answers from supplies already
    // known are ignored, so repeating it only adds what a lost datagram hid.
    void repeatDiscover();
    // Enters a supply of the map and scans its ports for lights.
    void registerSupply(DataSupply *supply);
    // Scans a known supply for lights again (blink scan or blink scan 2 by protocol kind).
    void scanLights(DataSupply *supply);
    void discoverPorts(DataSupply *supply);
    // True for a discovered supply whose port count has not answered yet; its port list stays
    // empty until then rather than showing a port nobody reported.
    bool portsPending(const DataSupply *supply) const;
    // Forgets the lights earlier scans found (deleting those nobody took) and their read
    // runs, so that the next scan reports every light again, those already in the map too.
    void forgetLights();
    // Replaces the protocol's socket (nothing stale is read afterwards); done before a read
    // run and when a read times out.
    void resetProtocolSocket();
    // Starts a read run: the DMX address and the further memory items of each light.
    void readLightData(const QList<Light *> &lights);
    // Asks again for what a light's unfinished run waits for (the run goes on from there), or
    // starts a run for a light that has none.
    void resumeLightData(Light *light);
    // Asks a supply for device variables; each reply becomes a supply property.
    void readDeviceVariables(DataSupply *supply, const QVector<quint16> &ids);
    // Gives up every unfinished read: the read timer stops retrying the last request.
    void abandonReads();

    // How read bytes become properties; the default knows only the DMX address.
    void setReadPlan(std::shared_ptr<const LightReadPlan> plan);

    QList<DataSupply *> supplies() const;
    DataSupply *supplyAt(quint32 ipv4) const { return m_suppliesByAddress.value(ipv4); }
    DataSupply *supplyByUid(quint64 uid) const { return m_suppliesByUid.value(uid); }
    QList<Light *> lights() const;
    Light *lightBySerial(quint64 serial) const { return m_lightsBySerial.value(serial); }
    bool isReadPending(const Light *light) const;
    // How many steps of the light's current run have been answered; -1 without a run.
    int readProgress(const Light *light) const;
    bool hasPendingReads() const;
    // RDM parameters the light refused (NACK) in its last read run. A refusal is an answer:
    // the run moves on and the parameter's property is left unset.
    QVector<quint16> refusedParameters(const Light *light) const;

    // Hands a discovered object to the caller; it stays known to the engine by address or
    // serial, so later replies still reach it while it lives.
    std::unique_ptr<DataSupply> takeSupply(DataSupply *supply);
    std::unique_ptr<Light> takeLight(Light *light);

    QTimer *readTimer() { return &m_readTimer; }

signals:
    void discoveredController(DataSupply *c);
    void discoveredPorts(quint64 uid, int portCount);
    void discoveredLight(Light *l);
    void discoveredLights(QList<Light *> &list);
    void lightDataReadComplete(quint64 lightId);
    // Chain-addressed ports report how many lights they drive rather than which.
    void discoveredChainAddressedCounts(quint64 supplyUid, int port, QVector<quint64> counts);
    // A scan answer named this port (0-based index), with or without lights.
    void scannedPort(quint64 supplyUid, int port);
    // A request could not be sent; reported once per reason until discovery starts over or
    // forgets its lights.
    void sendFailed(const QString &message);

public slots:
    void handleTimeout();
    void handleVistraDiscoverResponse(char *mac, quint32 ip, quint32 sn, quint16 ver, quint32 uni,
                                      char *verstring, char *idstring);
    void handleDiscoverPortsResponse(unsigned int ip, unsigned char portcount,
                                     unsigned char *portnums, unsigned char *porttypes);
    void handleBlinkScanResponse(unsigned int ip, unsigned int serial);
    void handleBlinkScan2SNResponse(unsigned int ip, unsigned char portNum, unsigned char snCount,
                                    QVector<quint64> snList);
    void handleCAScanResponse(unsigned int ip, unsigned char port1, unsigned char port2);
    void handleBlinkScan2CAResponse(unsigned int ip, unsigned char portNum,
                                    unsigned char fixtureCount, QVector<quint64> snCountPerPort);
    void handleBlinkEEReadResponse(unsigned int ip, unsigned int sn, unsigned char addr,
                                   unsigned char b);
    void handleDeviceVariableReply(uint ip, quint16 valueId, quint32 value);
    void handleVistraDiscoverV3Response(char *mac, quint32 ip, quint64 sn, quint16 ver,
                                        quint32 uni, char *verstring, char *idstring);
    void handleBlinkScan2XRDMResponse(uint ip, unsigned char portNum, QVector<quint64> uidList);
    void handleRDMGetReply(quint32 ip, quint64 uid, quint16 pid, QString data);
    void handleRDMGetRefused(quint32 ip, quint64 uid, quint16 pid, quint16 reason);
    void handleSendDMXFrame(const QString &ip, quint16 startCode, quint16 timerVal,
                            const QByteArray &dmxData);
    void handleSendPortOut(const QString &ip, quint32 universe, quint8 port, quint16 flags,
                           quint16 startCode, const QByteArray &dmxData);
    void handleSendBroadcastDmxFrame(quint32 universe, quint16 startCode, quint16 timerVal,
                                     const QByteArray &dmxData);
    void handleSendBroadcastPortOut(quint32 universe, quint8 port, quint16 flags,
                                    quint16 startCode, const QByteArray &dmxData);

private:
    void connectProtocol();
    void disconnectProtocol();
    void addDiscoveredSupply(const char *mac, quint32 ip, quint64 sn, quint16 ver, quint32 uni,
                             const char *verstring, const char *idstring);
    Light *addDiscoveredLight(DataSupply &supply, quint64 serial, unsigned int port);
    QString ipOfLight(const Light &light) const;
    void armTimer(const char *method, const QString &ip, quint64 serial, quint16 readAddress);
    void advanceRdmRun(Light &light, quint16 answeredPid);
    void finishLight(Light &light);
    // Tells the user once per reason when a request could not be handed to the network.
    bool noteSent(bool sent, const QString &destination);
    QString broadcastDestination() const;
    void stopGuarding(quint64 serial);
    void setDmxOffsetByte(Light &light, bool high, quint8 value);

    Vistra *m_protocol = nullptr;
    StreamOutput *m_stream = nullptr;
    QHash<quint32, QPointer<DataSupply>> m_suppliesByAddress;
    QHash<quint64, QPointer<DataSupply>> m_suppliesByUid;
    QHash<quint64, QPointer<Light>> m_lightsBySerial;
    QSet<quint64> m_portsPending;
    QHash<quint64, QVector<quint16>> m_refused;
    QSet<QString> m_sendFailures;
    // Lights found so far per (supply uid, port): the next light's number on that port.
    QHash<QPair<quint64, unsigned int>, int> m_lightsPerPort;
    // One light's read run: memory addresses (classic) or RDM parameter ids, and the index
    // of the one whose answer we wait for.
    struct ReadRun
    {
        bool rdm = false;
        QVector<quint16> items;
        int next = 0;
    };
    QHash<quint64, ReadRun> m_runs;
    // Device variables still to ask each supply for, by supply address.
    QHash<quint32, QVector<quint16>> m_pendingVariables;
    bool m_retry = false;
    QTimer m_readTimer;
    std::shared_ptr<const LightReadPlan> m_readPlan;
};
