#pragma once

#include <QStringList>

// "orrery-cli devices [--json] [--type TYPE] [--serial HEX]": lists the device definitions
// compiled into the program, or tells which definition a serial number belongs to.
int runDevicesCommand(const QStringList &arguments);
