#pragma once

#include "sim/simlight.h"

#include <QHostAddress>
#include <QMap>
#include <QVector>

// One output port of a simulated supply. `number` is the port number as it travels on the
// wire (1-based); `type` is passed through to discover-ports replies as configured. A port
// whose `answersScan` is false is listed by discover ports but left out of every scan answer,
// as a supply whose port scan fails would: discovery must report it rather than pass it over.
struct SimPort
{
    quint8 number = 1;
    quint8 type = 1;
    bool answersScan = true;
    QVector<SimLight> lights;

    bool operator==(const SimPort &other) const;
};

// One simulated data supply. Version 1 supplies have a single port of classic lights and
// answer the first-generation blink scan; versions 2 and 3 answer blink scan 2 and may carry
// RDM lights. A serial wider than 32 bits (or `wideSerial`) makes the supply answer discover
// with the 64-bit-serial reply.
struct SimSupply
{
    QHostAddress address;
    QByteArray mac = QByteArray(6, '\0');
    quint64 serial = 0;
    bool wideSerial = false;
    quint16 version = 2;
    quint32 universe = 0;
    QString versionText;
    QString idText;
    // Blink scan 2 entry type used to list RDM unique ids: 3 (each id preceded by a 16-bit
    // word) or 4 (ids only).
    quint8 rdmEntryType = 4;
    QMap<quint16, quint32> variables;
    QVector<SimPort> ports;

    bool usesWideSerial() const { return wideSerial || serial > 0xFFFFFFFFull; }
    const SimLight *findClassicLight(quint32 serial) const;
    const SimLight *findRdmLight(quint64 uid) const;
    int lightCount() const;

    bool operator==(const SimSupply &other) const;
};
