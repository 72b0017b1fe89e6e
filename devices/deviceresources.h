#pragma once

// The property maps and device definitions are compiled into the core library. A static
// library's resources must be registered by hand before the first use of the property
// mapper or the device dictionary; the program does it at start-up, property maps first,
// then the definitions. Calling it more than once does no harm.
namespace DeviceResources {

void registerResources();

} // namespace DeviceResources
