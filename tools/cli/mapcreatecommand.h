#pragma once

#include <QStringList>

// "orrery-cli map new|add-lights|add-string ...": build an installation from scripts with
// the same rules as the window's creation dialogs. `arguments` start with the program name.
int runMapNew(const QStringList &arguments);
int runMapAddLights(const QStringList &arguments);
int runMapAddString(const QStringList &arguments);

// Usage lines of the three commands and what they do, for the map command's help.
QString mapCreateSynopsis();
QString mapCreateHelp();
