#pragma once

#include <QString>

// "Version: major.minor.patch date-revision", the build being identified by the date and the
// short hash of the commit it was built from.
QString aboutVersionText();
