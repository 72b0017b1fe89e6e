#pragma once

#include <QStringList>

// "orrery-cli map patch MAP [--csv|--json|--pdf FILE]": the map's patch list.
int runMapPatch(const QStringList &arguments);
QString mapPatchSynopsis();
QString mapPatchHelp();

// Writing a PDF lays out text with the system's fonts, which takes a QGuiApplication; every
// other command runs on a QCoreApplication. Decided from the raw arguments, before the
// application object exists.
bool needsGuiApplication(int argc, char **argv);
