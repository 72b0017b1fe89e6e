#pragma once

#include "model/progress.h"

class MapModel;
class QIODevice;

// Writes the whole map as XML: supplies, then lights by ascending serial number, then groups
// by ascending uid (the canvas selection group left out). Returns false when the device
// reports a write error.
bool writeMapDocument(const MapModel &model, QIODevice &device, const ProgressReporter &progress);
