#pragma once

#include "sim/simfaults.h"
#include "sim/simsupply.h"

#include <QJsonObject>
#include <QVector>

#include <optional>

// A whole simulated installation: its supplies with their ports and lights, and the faults
// to inject. Built from a JSON configuration (see SimConfigReader for the format) or from the
// built-in default installation, which is itself a JSON file compiled into the library.
class SimInstallation final
{
public:
    static constexpr quint32 kFirstDefaultAddress = 0x7F000101; // 127.0.1.1

    QVector<SimSupply> supplies;
    SimFaults faults;

    // The default installation (":/sim/default-installation.json").
    static SimInstallation builtIn();
    static QString builtInPath();
    static std::optional<SimInstallation> fromJson(const QByteArray &json, QString *error);
    static std::optional<SimInstallation> fromFile(const QString &path, QString *error);

    // The installation in the configuration format, one entry per light (no runs), so that
    // reading it back gives an equal installation.
    QJsonObject toJson() const;
    // A human-readable summary: one block per supply, one line per port with its serial ranges.
    QString describe() const;

    int lightCount() const;
    // True when every supply sits on a loopback address, i.e. nothing needs a real network.
    bool isLoopbackOnly() const;

    bool operator==(const SimInstallation &other) const;
};
