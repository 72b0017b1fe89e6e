#include "discovery/discoverylogging.h"

Q_LOGGING_CATEGORY(lcDiscovery, "orrery.discovery")
