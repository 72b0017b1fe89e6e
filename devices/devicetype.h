#pragma once

#include <QString>
#include <QStringList>

// Kinds of device; the numbers are stored and exchanged, do not renumber.
enum class DeviceType : int {
    UNKNOWN = 0,
    PDS = 1,
    ETHERNET = 2,
    FIXTURE = 3,
    ETHERNET_FIXTURE = 4,
    RDM_FIXTURE = 5,
    XMX_DEVICE = 6,
    RDM_PDS = 7,
    KEYPAD = 8,
    OTHER = 9,
};

// The kind named by a definition's "DeviceType" text, compared after upper-casing, so
// "fixture" is FIXTURE; any other text is UNKNOWN.
DeviceType deviceTypeFromName(const QString &name);
// "FIXTURE" for FIXTURE; "UNKNOWN" for values outside the table.
QString deviceTypeName(DeviceType type);
// Every name of the table, in the order of the values.
QStringList deviceTypeNames();
