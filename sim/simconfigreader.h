#pragma once

#include "sim/siminstallation.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

#include <optional>

// Reads a simulated installation from JSON. The format (keys case-sensitive; numbers may
// be given as JSON numbers or, for serials and ids, as hexadecimal strings with or without
// "0x"):
//
// { "faults": { "drop": 0.1, "duplicate": 0.05, "delay": 0.1, "delayMs": 50, "seed": 7 },
//   "supplies": [ {
//       "address": "127.0.1.1",            default 127.0.1.N for the N-th supply
//       "mac": "02:4C:00:00:01:01",        default 02:4C:00:00:00:N
//       "serial": "01A20002",              hexadecimal; wider than 32 bits answers 0x000F
//       "wideSerial": false,               answer discover with the 64-bit reply anyway
//       "version": 2,                      1, 2 or 3
//       "universe": 1, "versionText": "2.4.1", "idText": "Sim Supply Two",
//       "rdmEntryType": 4,                 3 or 4: how blink scan 2 lists RDM ids
//       "variables": { "1": 2 },           device variable id (decimal or hex text) -> value
//       "ports": [ { "number": 1, "type": 1, "lights": [ LIGHT, ... ],
//                    "answersScan": true } ] } ] }   false: left out of scan answers
//
// LIGHT: { "serial": "10310101" } for a classic light or { "uid": "7A7001000201" } for an RDM
// light, plus optional "count" (a run of lights with consecutive serials and DMX offsets
// advancing by the footprint), "dmxOffset" (0..511), "footprint" (default 3), "firmware"
// (memory byte 5), "memory" ({ "address": byte }), and for RDM lights "model",
// "deviceModelId", "productCategory", "softwareVersionId", "softwareVersionLabel",
// "personality", "personalityCount", "subDeviceCount", "sensorCount", "parameters"
// ({ "0x8600": "hex bytes of the GET answer" }) and "refuse" (["0x0080", ...]: parameter ids
// answered with a NACK).
//
// Supplies may share a serial number (cloned units); addresses and light serials may not.
//
// Problems are reported with the path of the offending value, e.g.
// "supplies[1].ports[0].lights[2]: \"uid\" is not a 48-bit hexadecimal number".
//
// Sizes are bounded, as a run multiplies a light and its memory image: at most kMaxSupplies
// supplies (each one a socket of the simulator), kMaxLights lights and kMaxMemoryBytes of
// memory images altogether. JSON nesting is bounded by Qt's parser (1024 levels).
class SimConfigReader final
{
public:
    static constexpr int kMaxSupplies = 1024;
    static constexpr int kMaxLights = 65536;
    static constexpr qint64 kMaxMemoryBytes = qint64(64) << 20;

    std::optional<SimInstallation> read(const QByteArray &json);
    QString errorString() const { return m_error; }

private:
    bool fail(const QString &path, const QString &message);
    bool readFaults(const QJsonObject &object, SimFaults *faults);
    bool readSupply(const QJsonObject &object, int index, SimSupply *supply);
    bool readSupplyIdentity(const QJsonObject &object, const QString &path, SimSupply *supply);
    bool readVariables(const QJsonValue &value, const QString &path, SimSupply *supply);
    bool readPort(const QJsonObject &object, const QString &path, SimPort *port);
    bool readLights(const QJsonObject &object, const QString &path, SimPort *port);
    bool readLightCommon(const QJsonObject &object, const QString &path, SimLight *light);
    bool readMemory(const QJsonValue &value, const QString &path, SimLight *light);
    bool readRdm(const QJsonObject &object, const QString &path, SimRdmInfo *rdm);
    bool checkSupply(const SimSupply &supply, const QString &path);
    bool checkUnique(const SimInstallation &installation);

    QString m_error;
    int m_lights = 0;
    qint64 m_memoryBytes = 0;
};
