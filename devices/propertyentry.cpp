#include "devices/propertyentry.h"

#include "devices/jsonvalues.h"

#include <limits>

namespace {

int toInt(const QJsonValue &value, int fallback)
{
    if (value.isUndefined())
        return fallback;
    const qint64 number = JsonValues::toInteger(value);
    if (number < std::numeric_limits<int>::min() || number > std::numeric_limits<int>::max())
        return 0;
    return static_cast<int>(number);
}

} // namespace

PropertyEntry PropertyEntry::fromJson(const QJsonObject &object)
{
    PropertyEntry entry;
    if (object.contains(QLatin1String("tokenName")))
        entry.m_tokenName = object.value(QLatin1String("tokenName")).toString();
    if (object.contains(QLatin1String("stringName")))
        entry.m_stringName = object.value(QLatin1String("stringName")).toString();
    entry.m_values = PropertyValues::fromJson(object.value(QLatin1String("values")));
    entry.m_description = object.value(QLatin1String("description")).toString();
    entry.m_category = JsonValues::toStringList(object.value(QLatin1String("category")));
    entry.m_access = toInt(object.value(QLatin1String("access")), -1);
    entry.m_parameterID = toInt(object.value(QLatin1String("parameterID")), 0);
    entry.m_payloadSize = toInt(object.value(QLatin1String("payloadSize")), 0);
    return entry;
}
