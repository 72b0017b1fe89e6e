#include "app/aboutversion.h"

#include "buildinfo.h"

QString aboutVersionText()
{
    return QStringLiteral("Version: %1.%2.%3 %4-%5")
        .arg(ORRERY_VERSION_MAJOR)
        .arg(ORRERY_VERSION_MINOR)
        .arg(ORRERY_VERSION_PATCH)
        .arg(QStringLiteral(ORRERY_BUILD_DATE), QStringLiteral(ORRERY_BUILD_REVISION));
}
