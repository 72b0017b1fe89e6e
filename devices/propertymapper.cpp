#include "devices/propertymapper.h"

#include "devices/deviceslogging.h"
#include "devices/jsonvalues.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

const QString PropertyMapper::kPropertyMapPath = QStringLiteral(":/PropertyMap/PropertyMap.json");
const QString PropertyMapper::kRdmPropertyMapPath =
    QStringLiteral(":/PropertyMap/XRDMPropertyMap.json");
const QString PropertyMapper::kUnsupportedToken = QStringLiteral("Unsupported Token: ");
const QString PropertyMapper::kUnsupportedProperty = QStringLiteral("Unsupported Property: ");
const QString PropertyMapper::kUnsupportedMapping = QStringLiteral("Unsupported Mapping");

namespace {

const QString kDmxOffset = QStringLiteral("DMX_OFFSET");

} // namespace

PropertyMapper *PropertyMapper::instance()
{
    // Built on first use and kept until the program ends; deliberately never destroyed so
    // that nothing depends on the order of static destruction.
    static PropertyMapper *mapper = [] {
        auto *m = new PropertyMapper;
        m->loadFile(kPropertyMapPath);
        m->loadFile(kRdmPropertyMapPath);
        return m;
    }();
    return mapper;
}

PropertyMapper::PropertyMapper(QObject *parent) : QObject(parent)
{
}

void PropertyMapper::loadFile(const QString &path)
{
    loadJson(JsonValues::readFile(path), path);
}

void PropertyMapper::loadJson(const QByteArray &bytes, const QString &path)
{
    const QJsonObject document = QJsonDocument::fromJson(bytes).object();
    if (document.isEmpty()) {
        qCDebug(lcDevices) << "File" << path << "is empty or improperly formatted";
        return;
    }
    const QJsonValue list = document.value(QLatin1String("PropertyMap"));
    if (!list.isArray())
        return;
    const QJsonArray array = list.toArray();
    for (const QJsonValue &element : array) {
        if (element.isObject())
            addProperty(PropertyEntry::fromJson(element.toObject()));
    }
}

void PropertyMapper::addProperty(const PropertyEntry &property)
{
    m_byToken.insert(property.tokenName(), property);
    m_tokenByDisplayName.insert(property.stringName(), property.tokenName());
}

std::optional<PropertyEntry> PropertyMapper::property(const QString &token) const
{
    const auto it = m_byToken.constFind(token);
    if (it == m_byToken.constEnd())
        return std::nullopt;
    return *it;
}

QString PropertyMapper::displayName(const QString &token) const
{
    const auto it = m_byToken.constFind(token);
    return it == m_byToken.constEnd() ? kUnsupportedToken + token : it->stringName();
}

QString PropertyMapper::tokenForDisplayName(const QString &name) const
{
    const auto it = m_tokenByDisplayName.constFind(name);
    return it == m_tokenByDisplayName.constEnd() ? kUnsupportedProperty + name : *it;
}

std::optional<qint64> PropertyMapper::parseNumber(const QString &token, const QString &text) const
{
    bool ok = false;
    const QString trimmed = text.trimmed();
    qint64 number = 0;
    // Installers copy DMX offsets from device read-outs in hexadecimal.
    if (token == kDmxOffset && trimmed.contains(QLatin1String("0x"))) {
        QString digits = trimmed;
        if (digits.startsWith(QLatin1String("0x")))
            digits.remove(0, 2);
        number = digits.toLongLong(&ok, 16);
    } else {
        number = trimmed.toLongLong(&ok, 10);
    }
    if (!ok)
        return std::nullopt;
    return number;
}

QString PropertyMapper::valueToText(const QString &token, const QString &value) const
{
    const auto it = m_byToken.constFind(token);
    if (it == m_byToken.constEnd())
        return kUnsupportedMapping;
    const PropertyValues &values = it->values();
    if (values.isEmpty())
        return value;
    const std::optional<qint64> number = parseNumber(token, value);
    if (!number)
        return kUnsupportedMapping;
    return valueToText(token, *number);
}

QString PropertyMapper::valueToText(const QString &token, qint64 value) const
{
    const auto it = m_byToken.constFind(token);
    if (it == m_byToken.constEnd())
        return kUnsupportedMapping;
    const PropertyValues &values = it->values();
    if (const std::optional<QString> text = values.optionText(value))
        return *text;
    // A property that lists options and no bounds takes only its options; with bounds as
    // well, a value inside them is shown as a number.
    if (values.hasBounds() && values.inBounds(value))
        return QString::number(value);
    if (values.isEmpty())
        return QString::number(value);
    return kUnsupportedMapping;
}

QString PropertyMapper::textToValue(const QString &token, const QString &text) const
{
    const auto it = m_byToken.constFind(token);
    if (it == m_byToken.constEnd())
        return kUnsupportedMapping;
    const PropertyValues &values = it->values();
    if (values.isEmpty())
        return text;
    if (const std::optional<qint64> option = values.optionValue(text.trimmed()))
        return QString::number(*option);
    if (values.hasBounds()) {
        const std::optional<qint64> number = parseNumber(token, text);
        if (number && values.inBounds(*number))
            return QString::number(*number);
    }
    return kUnsupportedMapping;
}
