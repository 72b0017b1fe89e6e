#include "devices/propertyvalues.h"

#include "devices/jsonvalues.h"

#include <QJsonArray>
#include <QJsonObject>

namespace {

// The value stored under a key compared without regard to case, or undefined.
QJsonValue valueOf(const QJsonObject &object, QLatin1String key)
{
    for (auto it = object.constBegin(); it != object.constEnd(); ++it) {
        if (it.key().compare(key, Qt::CaseInsensitive) == 0)
            return it.value();
    }
    return QJsonValue(QJsonValue::Undefined);
}

} // namespace

PropertyValues PropertyValues::fromJson(const QJsonValue &values)
{
    PropertyValues result;
    const QJsonArray array = values.toArray();
    for (const QJsonValue &element : array) {
        if (!element.isObject())
            continue;
        const QJsonObject object = element.toObject();
        const QJsonValue name = valueOf(object, QLatin1String("name"));
        const QJsonValue value = valueOf(object, QLatin1String("value"));
        if (!name.isUndefined() && !value.isUndefined())
            result.options.append({name.toString(), JsonValues::toInteger(value)});
        const QJsonValue min = valueOf(object, QLatin1String("min"));
        if (!min.isUndefined()) {
            result.min = JsonValues::toInteger(min);
            result.hasMin = true;
        }
        const QJsonValue max = valueOf(object, QLatin1String("max"));
        if (!max.isUndefined()) {
            result.max = JsonValues::toInteger(max);
            result.hasMax = true;
        }
    }
    return result;
}

std::optional<QString> PropertyValues::optionText(qint64 value) const
{
    for (const auto &option : options) {
        if (option.second == value)
            return option.first;
    }
    return std::nullopt;
}

std::optional<qint64> PropertyValues::optionValue(const QString &text) const
{
    for (const auto &option : options) {
        if (option.first == text)
            return option.second;
    }
    for (const auto &option : options) {
        if (option.first.compare(text, Qt::CaseInsensitive) == 0)
            return option.second;
    }
    return std::nullopt;
}

bool PropertyValues::inBounds(qint64 value) const
{
    return (!hasMin || value >= min) && (!hasMax || value <= max);
}
