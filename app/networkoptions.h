#pragma once

#include <QString>

class QCommandLineParser;
class QObject;
class Simulator;

// Where the program's lighting traffic goes, decided at start-up before anything is sent
// (the protocol object broadcasts its sync packets as soon as it exists):
//  --demo               run a simulated installation inside the program and keep every
//                       datagram on loop-back (broadcasts to 127.255.255.255);
//  --broadcast ADDRESS  the broadcast address for discovery, e.g. the installation network's
//                       directed broadcast;
//  otherwise the setting "/broadcast_address" when it holds an address, else the default:
//  eth0's directed broadcast, or 255.255.255.255.
namespace NetworkOptions {

inline const QString kBroadcastSetting = QStringLiteral("/broadcast_address");
inline const QString kDemoBroadcast = QStringLiteral("127.255.255.255");

void addTo(QCommandLineParser &parser);
// Applies the choice; the demo's simulator becomes a child of `owner`. False, with the reason
// in `error`, when an address is not a dotted quad or the simulator cannot start.
// The demonstration's simulator is handed back through `demo` when asked for.
bool apply(const QCommandLineParser &parser, QObject *owner, QString *error,
           Simulator **demo = nullptr);

} // namespace NetworkOptions
