#include "colour/colourlogging.h"

Q_LOGGING_CATEGORY(lcColour, "orrery.colour")
