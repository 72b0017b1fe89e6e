#pragma once

// One-line descriptions of what the device tests read from definitions and property maps,
// so that a row compares everything an item carries with one expected string.
#include "devices/memorymapentry.h"
#include "devices/propertyentry.h"

#include <optional>

namespace Describe {

// "0..511", "RGB=1 RGBW=2", both, or "" when no values are given; a lone bound shows as
// "10.." or "..100".
inline QString values(const PropertyValues &v)
{
    QStringList parts;
    for (const auto &option : v.options)
        parts << option.first + QLatin1Char('=') + QString::number(option.second);
    if (v.hasBounds())
        parts << (v.hasMin ? QString::number(v.min) : QString()) + QStringLiteral("..") +
                     (v.hasMax ? QString::number(v.max) : QString());
    return parts.join(QLatin1Char(' '));
}

// `DMX_OFFSET "DMX Address" [address,settings] 666 {0..511}`, with " pid 240/2" for RDM
// parameters and " (--)" when a description is given.
inline QString property(const std::optional<PropertyEntry> &p)
{
    if (!p)
        return QStringLiteral("none");
    QString text = QStringLiteral("%1 \"%2\" [%3] %4 {%5}")
                       .arg(p->tokenName(), p->stringName(), p->category().join(QLatin1Char(',')))
                       .arg(p->access())
                       .arg(values(p->values()));
    if (p->parameterID() || p->payloadSize())
        text += QStringLiteral(" pid %1/%2").arg(p->parameterID()).arg(p->payloadSize());
    if (!p->description().isEmpty())
        text += QStringLiteral(" (%1)").arg(p->description());
    return text;
}

inline QString addresses(const QVector<quint16> &list)
{
    QStringList parts;
    for (quint16 a : list)
        parts << QString::number(a);
    return parts.isEmpty() ? QStringLiteral("-") : parts.join(QLatin1Char(','));
}

// `NAME read 64,65 write - shared` ("-": no address), then what is given beyond that: "default -1",
// "access 644", "[settings]", "{0..1}", "user", "ro".
inline QString item(const MemoryMapEntry &e)
{
    QStringList parts{e.name(), QStringLiteral("read"), addresses(e.readAddresses()),
                      QStringLiteral("write"), addresses(e.writeAddresses())};
    if (e.sharedAddress())
        parts << QStringLiteral("shared");
    if (e.hasDefaultValue())
        parts << QStringLiteral("default %1").arg(e.defaultValue());
    if (e.access() != -1)
        parts << QStringLiteral("access %1").arg(e.access());
    if (!e.categories().isEmpty())
        parts << QLatin1Char('[') + e.categories().join(QLatin1Char(',')) + QLatin1Char(']');
    if (!e.values().isEmpty())
        parts << QLatin1Char('{') + values(e.values()) + QLatin1Char('}');
    if (e.userConfigurable())
        parts << QStringLiteral("user");
    if (e.readOnly())
        parts << QStringLiteral("ro");
    return parts.join(QLatin1Char(' '));
}

} // namespace Describe
