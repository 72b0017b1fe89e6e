#pragma once

#include <QStringList>

// "orrery-cli highlight MAP ...": lights chosen lights, supplies and groups of a map live,
// through the same effect engine, selection effect, frame writing and transport as the
// window.
int runHighlightCommand(const QStringList &arguments);
