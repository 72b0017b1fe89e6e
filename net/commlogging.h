#pragma once

#include <QLoggingCategory>

// Controller messaging: announcements, answers, connections, drops.
Q_DECLARE_LOGGING_CATEGORY(lcComm)
