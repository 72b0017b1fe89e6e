#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QList>
#include <QMap>
#include <QObject>
#include <QString>
#include <QVector>

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
    };

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

public slots:
    void addLight(quint64 lightUid);
    void removeLight(quint64 lightUid);
    // Reallocates the supply's DMX buffer (zero-filled); sizes are clamped to
    // 0..kMaxDmxBufferSize.
    void setDMXBufSize(int size);

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

private:
    void changed() { emit updatedDataSupply(m_uid); }

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
};
