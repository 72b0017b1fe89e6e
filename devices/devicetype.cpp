#include "devices/devicetype.h"

namespace {

const char *const kNames[] = {
    "UNKNOWN",     "PDS",        "ETHERNET", "FIXTURE", "ETHERNET_FIXTURE",
    "RDM_FIXTURE", "XMX_DEVICE", "RDM_PDS",  "KEYPAD",  "OTHER",
};
constexpr int kCount = int(sizeof(kNames) / sizeof(kNames[0]));

} // namespace

DeviceType deviceTypeFromName(const QString &name)
{
    const QString upper = name.toUpper();
    for (int i = 0; i < kCount; ++i) {
        if (upper == QLatin1String(kNames[i]))
            return static_cast<DeviceType>(i);
    }
    return DeviceType::UNKNOWN;
}

QString deviceTypeName(DeviceType type)
{
    const int index = static_cast<int>(type);
    if (index < 0 || index >= kCount)
        return QLatin1String(kNames[0]);
    return QLatin1String(kNames[index]);
}

QStringList deviceTypeNames()
{
    QStringList names;
    for (const char *name : kNames)
        names.append(QLatin1String(name));
    return names;
}
