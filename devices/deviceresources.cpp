#include "devices/deviceresources.h"

#include <QtGlobal>

// Q_INIT_RESOURCE declares a function in the enclosing namespace, so it is called from
// functions at global scope.
static void registerPropertyMaps()
{
    Q_INIT_RESOURCE(propertymaps);
}

static void registerDeviceDefinitions()
{
    Q_INIT_RESOURCE(devicedefinitions);
}

namespace DeviceResources {

void registerResources()
{
    registerPropertyMaps();
    registerDeviceDefinitions();
}

} // namespace DeviceResources
