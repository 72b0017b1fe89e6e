#include "net/netlogging.h"

Q_LOGGING_CATEGORY(lcNet, "orrery.net")
