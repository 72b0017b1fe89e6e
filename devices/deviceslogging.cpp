#include "devices/deviceslogging.h"

Q_LOGGING_CATEGORY(lcDevices, "orrery.devices")
