#pragma once

#include <QStringList>

class DataSupply;

// Brings a supply of the map up to date with what the same supply (same serial) answered to
// discovery: its IP address, firmware version, universe and, when the ports answered too, its
// ports. Name, uid, lights and properties stay as the user has them. Returns one line per
// change ("IP address 10.0.0.5 -> 10.0.0.7"); empty when nothing changed.
QStringList syncSupplyFrom(DataSupply &mapSupply, const DataSupply &found, bool portsKnown);
