#include "effects/effectslogging.h"

Q_LOGGING_CATEGORY(lcEffects, "orrery.effects")
