#pragma once

#include <QStringList>

// "orrery-cli discover|scan|read": find supplies, then the lights on their ports, then what
// each light stores, from a shell.
int runDiscoverCommand(const QStringList &arguments);
