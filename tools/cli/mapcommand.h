#pragma once

#include <QStringList>

// "orrery-cli map info|resave ...": inspect and rewrite map files from scripts.
int runMapCommand(const QStringList &arguments);
