#include "layout/fixturetypes.h"

#include "devices/devicedictionary.h"
#include "devices/deviceentry.h"
#include "devices/memorymapentry.h"

namespace FixtureTypes {

const QString kGeneric3Ch = QStringLiteral("Generic 3-Ch");
const QString kGenericWhite = QStringLiteral("Generic White");
const QString kFixtureTypeProperty = QStringLiteral("FIXTURE_TYPE");

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

// The definition a discovered device's serial number falls in: its own range, or for RDM
// devices the first product-code range that holds it.
DeviceDictionary::EntryPointer serialFixtureEntry(const DeviceDictionary &dictionary,
                                                  quint64 serial)
{
    if (const auto entry = dictionary.entryForSerial(serial); entry && entry->isLoaded())
        return entry;
    for (const auto &entry : dictionary.productCodeEntriesForSerial(serial))
        if (entry->isLoaded())
            return entry;
    return {};
}

DeviceDictionary::EntryPointer entryOfLight(const DeviceDictionary &dictionary, quint64 serial,
                                            const QMap<QString, QString> &properties)
{
    if (auto entry = serialFixtureEntry(dictionary, serial))
        return entry;
    return fixtureEntry(dictionary, properties.value(kFixtureTypeProperty));
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
        if (name == kGeneric3Ch) {
            properties.insert(QStringLiteral("LED_CHEMISTRY"), QStringLiteral("1"));
            properties.insert(kFixtureTypeProperty, name);
        }
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
    properties.insert(kFixtureTypeProperty, name);
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

QString ofLight(const DeviceDictionary &dictionary, quint64 serial,
                const QMap<QString, QString> &properties)
{
    if (const auto entry = serialFixtureEntry(dictionary, serial))
        return entry->deviceName();
    return properties.value(kFixtureTypeProperty);
}

bool fixedBySerial(const DeviceDictionary &dictionary, quint64 serial)
{
    return bool(serialFixtureEntry(dictionary, serial));
}

QStringList tokensOfLight(const DeviceDictionary &dictionary, quint64 serial,
                          const QMap<QString, QString> &properties)
{
    if (const auto entry = entryOfLight(dictionary, serial, properties))
        return entry->memoryMap().keys();
    return {QStringLiteral("LED_CHEMISTRY")};
}

std::optional<MemoryMapEntry> memoryMapEntryOfLight(const DeviceDictionary &dictionary,
                                                    quint64 serial,
                                                    const QMap<QString, QString> &properties,
                                                    const QString &token)
{
    if (const auto entry = entryOfLight(dictionary, serial, properties))
        return entry->memoryMapEntry(token);
    return std::nullopt;
}

} // namespace FixtureTypes
