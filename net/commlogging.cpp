#include "net/commlogging.h"

Q_LOGGING_CATEGORY(lcComm, "orrery.comm")
