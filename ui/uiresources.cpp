#include "ui/uiresources.h"

#include <QtGlobal>

#include <mutex>

static void initImages()
{
    Q_INIT_RESOURCE(orreryimages);
}

void initUiResources()
{
    static std::once_flag once;
    std::call_once(once, initImages);
}
