#include "layout/fixturetypes.h"

#include "devices/devicedictionary.h"

namespace FixtureTypes {

const QString kGeneric3Ch = QStringLiteral("Generic 3-Ch");
const QString kGenericWhite = QStringLiteral("Generic White");

namespace {

DeviceDictionary::EntryPointer fixtureEntry(const DeviceDictionary &dictionary,
                                            const QString &name)
{
    for (const auto &entry : dictionary.entries())
        if (entry->isLoaded() && entry->deviceType() == DeviceType::FIXTURE
            && entry->deviceName() == name)
            return entry;
    return {};
}

} // namespace

QStringList names(const DeviceDictionary &dictionary)
{
    QStringList result;
    for (const auto &entry : dictionary.entries())
        if (entry->isLoaded() && entry->deviceType() == DeviceType::FIXTURE
            && !result.contains(entry->deviceName()))
            result.append(entry->deviceName());
    result.sort(Qt::CaseInsensitive);
    result.removeAll(kGeneric3Ch);
    result.prepend(kGeneric3Ch);
    return result;
}

QMap<QString, QString> defaultProperties(const DeviceDictionary &dictionary, const QString &name)
{
    QMap<QString, QString> properties;
    const auto entry = fixtureEntry(dictionary, name);
    if (!entry) {
        // The generic type is offered even without its definition file.
        if (name == kGeneric3Ch)
            properties.insert(QStringLiteral("LED_CHEMISTRY"), QStringLiteral("1"));
        return properties;
    }
    for (auto it = entry->memoryMap().cbegin(); it != entry->memoryMap().cend(); ++it) {
        if (it.key() == QLatin1String("DMX_OFFSET") || !it.value().userConfigurable()
            || it.value().readOnly())
            continue;
        properties.insert(it.key(), QString::number(it.value().defaultValue()));
    }
    for (auto it = entry->staticValues().cbegin(); it != entry->staticValues().cend(); ++it)
        properties.insert(it.key(), QString::number(it.value()));
    return properties;
}

QStringList tokens(const DeviceDictionary &dictionary, const QString &name)
{
    const auto entry = fixtureEntry(dictionary, name);
    return entry ? entry->memoryMap().keys() : QStringList{QStringLiteral("LED_CHEMISTRY")};
}

bool exists(const DeviceDictionary &dictionary, const QString &name)
{
    return name == kGeneric3Ch || fixtureEntry(dictionary, name);
}

} // namespace FixtureTypes
