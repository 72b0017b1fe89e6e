#pragma once

#include "model/supplyframetable.h"

#include <QByteArray>
#include <QHostAddress>
#include <QList>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVector>

class QIODevice;

// One output port of a supply as the installation knows it.
struct SupplyPort
{
    int number = 0;
    int type = 0;
    quint16 flags = 0;

    friend bool operator==(const SupplyPort &a, const SupplyPort &b)
    {
        return a.number == b.number && a.type == b.type && a.flags == b.flags;
    }
};

// A power/data supply ("interface"): a networked box that drives chains of lights on its
// output ports. The uid and serial start at 0xFFFFFFFF until assigned.
class DataSupply final : public QObject
{
    Q_OBJECT
public:
    // Supply kinds as stored in map files.
    enum Type : unsigned int {
        VistraIp = 2,
        VistraBroadcast = 3,
        Sacn = 6,
        SacnAlternate = 7,
        // A device attached to this computer rather than reached over the network.
        AttachedDevice = 8,
    };

    // Where frames go: to the network, or streamed to an attached I/O device.
    enum OutputMode : int { NetworkOutput = 0, DeviceOutput = 1 };
    // Port kinds that stream the port's frame instead of sending it as the lighting
    // protocol's port out; the port's number is the universe it carries.
    static constexpr int kSacnPort = 6;
    static constexpr int kArtNetPort = 7;
    // Port out addresses every port of a supply, not a universe.
    static constexpr quint32 kNoUniverse = 0xFFFFFFFF;

    // The transport keeps a Latin-1 copy of the address text of at most this many characters.
    static constexpr int kMaxIpTextLength = 24;
    // Upper bound for the DMX buffer so that a hostile map file cannot make us allocate gigabytes.
    static constexpr int kMaxDmxBufferSize = 1 << 16;

    explicit DataSupply(unsigned int type, QObject *parent = nullptr);

    unsigned int type() const { return m_type; }
    void setType(unsigned int type);

    quint64 uid() const { return m_uid; }
    void setUid(quint64 uid) { m_uid = uid; }

    QString name() const { return m_name; }
    void setName(const QString &name);

    bool hasAddress() const { return m_hasAddress; }

    quint8 portCount() const { return m_portCount; }
    // Grows or shrinks the port list; new ports are all zero.
    void setPortCount(quint8 count);
    const QVector<SupplyPort> &ports() const { return m_ports; }
    SupplyPort port(int index) const { return m_ports.value(index); }
    void setPort(int index, const SupplyPort &port);

    int dmxBufSize() const { return m_dmxBufSize; }
    const QByteArray &dmxBuffer() const { return m_dmxBuffer; }

    QString macAddress() const { return m_macAddress; }
    void setMacAddress(const QString &mac);

    QHostAddress ipAddress() const { return m_ipAddress; }
    QByteArray ipText() const { return m_ipText; }
    void setIpAddress(const QHostAddress &address);

    quint64 serialNumber() const { return m_serialNumber; }
    void setSerialNumber(quint64 serial);

    int version() const { return m_version; }
    void setVersion(int version);

    unsigned int universe() const { return m_universe; }
    void setUniverse(unsigned int universe);

    QString versionString() const { return m_versionString; }
    void setVersionString(const QString &text);

    QString family() const { return m_family; }
    void setFamily(const QString &family);

    int missing() const { return m_missing; }
    void setMissing(int missing) { m_missing = missing; }

    // Uids of the lights this supply drives, in the supply's order.
    const QList<quint64> &lights() const { return m_lights; }
    bool hasLight(quint64 lightUid) const { return m_lights.contains(lightUid); }

    const QMap<QString, QString> &deviceProperties() const { return m_properties; }
    QString deviceProperty(const QString &name) const { return m_properties.value(name); }
    void setDeviceProperty(const QString &name, const QString &value);

    // Device properties that describe the supply at its network address: its own stored
    // address and the device variables read from whatever answered there.
    static bool isAddressProperty(const QString &name);
    // Drops what was learnt at the current address before the supply is moved to another:
    // the address properties above and the transport's Latin-1 address text (empty until
    // setIpAddress() is called again). Reports each dropped property with an empty value.
    void forgetAddressData();

    // --- Live output ---
    // The packet family of the supply's frames: 0 streams each port by its kind (sACN,
    // Art-Net) or to an attached device, 1 sends one DMX out to the whole supply, 2 and 3
    // one port out per port. A network supply's kind is its protocol version ("Vistra v1"
    // to "v3"); the streaming supply types 6 and 7, attached devices and supplies with a
    // port set to sACN or Art-Net are kind 0 (a supply speaks one family: its other ports
    // then send nothing).
    int protocolKind() const;
    // How the supply finds the lights it lists; the model sets it when it takes the supply.
    void setLightLookup(SupplyFrameTable::LightLookup lookup);
    // Held: no whole-supply or broadcast frame goes out. Live: the model drives the lights.
    bool isHeld() const { return m_held; }
    void setHeld(bool held) { m_held = held; }
    bool isLive() const { return m_live; }
    void setLive(bool live) { m_live = live; }
    int outputMode() const { return m_outputMode; }
    void setOutputMode(int mode) { m_outputMode = mode; }
    // Four bits ORed into the high nibble of the port flags of unicast port out.
    quint8 portFlagsNibble() const { return m_portFlagsNibble; }
    void setPortFlagsNibble(quint8 value) { m_portFlagsNibble = value & 0x0F; }
    quint64 frameCount() const { return m_frameCount; }
    // Lights are encoded through their LED profile (TINTLOCK_ENABLE set on the supply).
    bool usesLedProfiles() const { return m_usesLedProfiles; }
    void setUsesLedProfiles(bool on);
    // The attached device frames are streamed to in output mode 1, and its id.
    void setAttachedDevice(QIODevice *device, quint64 deviceId);
    quint64 attachedDeviceId() const { return m_attachedDeviceId; }
    void setPortStartCode(int port, quint16 code) { m_frames.setStartCode(port, code); }
    // False while the light table must be rebuilt before the next frame.
    bool channelsAssigned() const;
    const SupplyFrameTable &frameTable() const { return m_frames; }
    // The index of the port whose frame a transport signal carries, while it is delivered
    // (-1 otherwise): streaming receivers read the port's universe from it. Transport
    // connections are therefore direct.
    int emittingPortIndex() const { return m_emittingPort; }

public slots:
    void addLight(quint64 lightUid);
    void removeLight(quint64 lightUid);
    // Reallocates the supply's DMX buffer (zero-filled); sizes are clamped to
    // 0..kMaxDmxBufferSize.
    void setDMXBufSize(int size);
    // Writes one frame from the lights' current colours and emits it (see datasupply.cpp).
    // False when there is nothing to drive or the output mode is unknown.
    bool updateLights();
    // Holds and releases whole-supply and broadcast output.
    void lightsOff() { m_held = true; }
    void lightsOn() { m_held = false; }

signals:
    void updatedDataSupply(quint64 uid);
    void updatedDataSupplyProperty(quint64 uid, const QString &name, const QString &value);
    void updatedLightProperty(quint64 lightUid, const QString &name, const QString &value);

    // Transport signals: one frame per port or per supply, built by the frame writer and
    // turned into packets by whoever registered the supply for output.
    void signalSendDmxFrame(const QString &ip, quint16 startCode, quint16 timerVal,
                            const QByteArray &dmxData);
    void signalSendBroadcastDmxFrame(quint32 universe, quint16 startCode, quint16 timerVal,
                                     const QByteArray &dmxData);
    void signalSendPortOut(const QString &ip, quint32 universe, quint8 port, quint16 flags,
                           quint16 startCode, const QByteArray &dmxData);
    void signalSendBroadcastPortOut(quint32 universe, quint8 port, quint16 flags,
                                    quint16 startCode, const QByteArray &dmxData);
    void signalSendSetValue(const QString &ipAddress, quint64 serialNumber,
                            const QString &propertyName, const QString &propertyValue);
    void signalSendSACNData(const QString &ip, const QByteArray &data);
    void signalSendArtNetData(const QString &ip, const QByteArray &data);
    void signalSendBufferByUSBPortIndex(quint64 deviceId, int portIndex, const QByteArray &data);
    void msg(const QString &text);

private:
    void changed() { emit updatedDataSupply(m_uid); }
    // A change that the frame table depends on (ports, lights, kind, profiles).
    void layoutChanged()
    {
        LightOutput::touchLayout();
        changed();
    }
    void rebuildChannels();
    void sendNetworkFrames();
    void streamToDevice();

    unsigned int m_type;
    quint64 m_uid = 0xFFFFFFFF;
    QString m_name = QStringLiteral("New DataSupply");
    bool m_hasAddress = false;
    quint8 m_portCount = 1;
    QVector<SupplyPort> m_ports{SupplyPort{}};
    int m_dmxBufSize = 12;
    QByteArray m_dmxBuffer{12, '\0'};
    QString m_macAddress = QStringLiteral("FF:FF:FF:FF:FF:FF");
    QHostAddress m_ipAddress{QStringLiteral("0.0.0.0")};
    QByteArray m_ipText = QByteArrayLiteral("0.0.0.0");
    quint64 m_serialNumber = 0xFFFFFFFF;
    int m_version = 1;
    unsigned int m_universe = 0;
    QString m_versionString;
    QString m_family;
    int m_missing = 0;
    QList<quint64> m_lights;
    QMap<QString, QString> m_properties;

    // The address text the transport signals carry; "0.0.0.0" for none.
    QString m_ipString = QStringLiteral("0.0.0.0");
    SupplyFrameTable m_frames;
    SupplyFrameTable::LightLookup m_lookup;
    quint64 m_builtEpoch = 0;
    bool m_held = false;
    bool m_live = true;
    int m_outputMode = NetworkOutput;
    quint8 m_portFlagsNibble = 0;
    quint64 m_frameCount = 0;
    bool m_usesLedProfiles = false;
    QPointer<QIODevice> m_attachedDevice;
    quint64 m_attachedDeviceId = 0;
    int m_emittingPort = -1;
};
