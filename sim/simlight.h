#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QVector>

// What an RDM light answers to GET requests. DEVICE_INFO is built from the numeric fields
// (its DMX start address comes from the light's DMX offset), DEVICE_MODEL_DESCRIPTION and
// SOFTWARE_VERSION_LABEL from the texts; `parameters` holds raw parameter data for any
// further parameter id the light should answer (manufacturer-specific ones included).
struct SimRdmInfo
{
    quint16 deviceModelId = 0;
    quint16 productCategory = 0;
    quint32 softwareVersionId = 0;
    quint8 personality = 1;
    quint8 personalityCount = 1;
    quint16 subDeviceCount = 0;
    quint8 sensorCount = 0;
    QString modelDescription;
    QString softwareVersionLabel;
    QMap<quint16, QByteArray> parameters;
    // Parameter ids the light refuses with a NACK (reason NR_UNKNOWN_PID), as fixtures do
    // with parameters they do not keep; E1.20 allows it even for DEVICE_MODEL_DESCRIPTION.
    QVector<quint16> refused;

    bool operator==(const SimRdmInfo &other) const;
};

// One simulated light. A classic light is known by a 32-bit serial number and answers
// memory reads; an RDM light is known by its 48-bit unique id (manufacturer << 32 | device)
// and answers RDM GETs. Both keep a memory image, because the DMX offset lives there in the
// same place for both kinds.
//
// Memory layout of the simulated lights (all other bytes read as 0 unless configured):
//   [5]      firmware version
//   [6]      LED chemistry (0 = RGB)
//   [7]      input mode (0 = 8-bit channels)
//   [64,65]  DMX offset, big-endian, 0..511; the DMX start address is offset + 1
struct SimLight
{
    enum class Kind { Classic, Rdm };

    static constexpr int kMemorySize = 256;
    static constexpr int kMaxMemorySize = 65536;
    static constexpr quint16 kFirmwareVersion = 5;
    static constexpr quint16 kLedChemistry = 6;
    static constexpr quint16 kInputMode = 7;
    static constexpr quint16 kDmxOffsetHigh = 64;
    static constexpr quint16 kDmxOffsetLow = 65;
    static constexpr quint16 kMaxDmxOffset = 511;

    Kind kind = Kind::Classic;
    quint64 serial = 0; // 32-bit serial or 48-bit RDM unique id
    quint16 footprint = 3;
    QByteArray memory = QByteArray(kMemorySize, '\0');
    SimRdmInfo rdm;

    bool isRdm() const { return kind == Kind::Rdm; }
    quint16 dmxOffset() const;
    void setDmxOffset(quint16 offset);
    // Reads past the end of the memory give 0, as an unprogrammed cell would.
    quint8 readMemory(quint16 address) const;
    // Grows the memory as needed (up to kMaxMemorySize bytes).
    void writeMemory(quint16 address, quint8 value);

    bool operator==(const SimLight &other) const;
};
