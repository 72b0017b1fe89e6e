#pragma once

#include "net/vistrareplies.h"

#include <QObject>
#include <QString>
#include <QVector>

#include <array>
#include <functional>

class KSocket;

// The lighting protocol as the rest of the program sees it: send operations that build a
// request and hand it to the socket, and one signal per reply with plain arguments. The bytes
// themselves are built and parsed by the pure functions of VistraRequests and VistraReplies.
//
// Pointer arguments of the signals (mac, texts, port arrays, entry bytes) point into buffers
// of this object and are valid only while the signal is being delivered; receivers copy what
// they keep. Every ip argument is a host-order IPv4 value.
class Vistra final : public QObject
{
    Q_OBJECT

public:
    static constexpr int kReadBufferSize = 4096;
    static constexpr int kTextBufferSize = 512;
    static constexpr int kSyncBurst = 5;
    static constexpr int kSocketCloseWaitMs = 30000;
    // Address texts handed over as plain characters are read up to this length.
    static constexpr int kAddressTextLimit = 24;

    // Creates the socket and broadcasts the sync packet five times.
    explicit Vistra(QObject *parent = nullptr);

    // Each returns true when the datagram was handed to the socket; an address text that is
    // not a dotted quad sends nothing and returns false.
    bool discover(const QString &addressText);
    bool discoverPorts(const QString &ip);
    bool blinkScan(const QString &ip);
    bool blinkScan2(const QString &ip);
    bool blinkEERead(const QString &ip, quint32 serial, quint16 address);
    bool getDeviceVariable(const QString &ip, quint16 id);
    bool rdmGet(const QString &ip, quint64 uid, quint16 pid);
    // More than 512 data bytes are cut to 512 and sent, and the call returns false.
    bool sendDmx(const QString &ip, quint8 startCode, quint16 timerValue, const uchar *data,
                 int length);
    bool sendPortOut(const QString &ip, quint32 universe, quint8 port, quint16 flags, int length,
                     quint16 startCode, const uchar *data);
    // The same frames to the broadcast address, for supplies reached without an address.
    bool sendBroadcastDmx(quint8 startCode, quint16 timerValue, const uchar *data, int length);
    bool sendBroadcastPortOut(quint32 universe, quint8 port, quint16 flags, int length,
                              quint16 startCode, const uchar *data);
    bool sendSync();

    // Replaces the socket with a fresh one (new port, nothing pending), e.g. before a read run.
    void resetSocket();
    KSocket *socket() const { return m_socket; }

signals:
    void signalDiscoverResponse(char *mac, quint32 ip, quint32 sn, quint16 ver, quint32 uni,
                                char *verstring, char *idstring);
    void signalDiscoverEOResponse(char *mac, quint32 ip, quint32 sn, quint16 ver, quint32 uni,
                                  char *verstring, char *idstring);
    void signalDiscoverPortsResponse(unsigned int ip, unsigned char portcount,
                                     unsigned char *portnums, unsigned char *porttypes);
    void signalBlinkScanResponse(unsigned int ip, unsigned int serial);
    void signalBlinkScan2Response(unsigned int ip, unsigned char entryCount, unsigned char more,
                                  unsigned char *entryArray);
    void signalBlinkScan2SNResponse(unsigned int ip, unsigned char portNum, unsigned char snCount,
                                    QVector<quint64> snList);
    void signalBlinkScan2CAResponse(unsigned int ip, unsigned char portNum,
                                    unsigned char fixtureCount, QVector<quint64> snCountPerPort);
    void signalBlinkScan2XRDMResponse(unsigned int ip, unsigned char portNum,
                                      QVector<quint64> uidList);
    void signalCAScanResponse(unsigned int ip, unsigned char port1, unsigned char port2);
    void signalBEBlinkScanResponse(unsigned int ip, unsigned char port, quint64 serial);
    void signalBlinkEEReadResponse(unsigned int ip, unsigned int sn, unsigned char addr,
                                   unsigned char b);
    // addr is the light's serial number, token the byte at [16], pixel the selector (1-9).
    void signalPixelTokenByteReadResponse(unsigned int ip, unsigned int addr, unsigned char pixel,
                                          unsigned char token, unsigned char byteVal);
    // addr is the light's serial number, telemetryID the byte at [16].
    void signalTelemetryByteReadResponse(unsigned int ip, unsigned int addr,
                                         unsigned char telemetryID, unsigned char byteVal);
    void signalExtPromTokenReadResponse(unsigned int ip, quint32 serial, quint16 token,
                                        quint8 byteVal);
    void signalDeviceVariableReply(uint ip, quint16 valueID, quint32 value);
    void signalGetArrayReply(unsigned int ip, quint16 id, QVector<quint32> &getValues);
    void signalGetByteArrayReply(unsigned int ip, quint16 id, QVector<quint8> &getValues);
    void signalDiscoverResponseV3(char *mac, quint32 ip, quint64 sn, quint16 ver, quint32 uni,
                                  char *verstring, char *idstring);
    void signalRDMGetReply(quint32 ip, quint64 uid, quint16 pid, QString data);
    // Ask for a send through a signal instead of a call.
    void requestSyncPacket();
    void requestSendPortOut(const char *ip, unsigned int universe, unsigned char port,
                            unsigned int flags, unsigned int len, unsigned int startcode,
                            const unsigned char *data);
    // The device refused the parameter (RDM NACK); reason is the E1.20 NACK reason code.
    void signalRDMGetRefused(quint32 ip, quint64 uid, quint16 pid, quint16 reason);

public slots:
    // Reads every pending datagram and turns each reply into its signal.
    void checkSocket();
    void handleSyncPacketRequest();
    void handleSendPortOutRequest(const char *ip, unsigned int universe, unsigned char port,
                                  unsigned int flags, unsigned int len, unsigned int startcode,
                                  const unsigned char *data);

private:
    void createSocket();
    bool sendToAddress(const QString &ip, const QByteArray &datagram);
    // Checks and cuts a frame, builds the datagram for its length and sends it to ip, or to
    // the broadcast address.
    bool sendFrame(const QString &ip, bool broadcast, int length, const uchar *data,
                   const std::function<QByteArray(int)> &build);
    void emitReply(VistraReplies::DiscoverReply &reply);
    void emitReply(VistraReplies::PortsReply &reply);
    void emitReply(VistraReplies::DeviceVariableReply &reply);
    void emitReply(VistraReplies::GetArrayReply &reply);
    void emitReply(VistraReplies::GetByteArrayReply &reply);
    void emitReply(VistraReplies::BlinkScanReply &reply);
    void emitReply(VistraReplies::ReadByteReply &reply);
    void emitReply(VistraReplies::BEBlinkScanReply &reply);
    void emitReply(VistraReplies::CAScanReply &reply);
    void emitReply(VistraReplies::BlinkScan2Reply &reply);
    void emitReply(VistraReplies::ExtPromTokenReply &reply);
    void emitReply(VistraReplies::RdmGetReply &reply);

    KSocket *m_socket = nullptr;
    std::array<char, kReadBufferSize> m_buffer{};
    std::array<char, 6> m_mac{};
    std::array<char, kTextBufferSize> m_versionText{};
    std::array<char, kTextBufferSize> m_idText{};
    std::array<unsigned char, 256> m_portNumbers{};
    std::array<unsigned char, 256> m_portTypes{};
};
