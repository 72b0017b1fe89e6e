#include "sim/simlogging.h"

Q_LOGGING_CATEGORY(lcSim, "orrery.sim")
