// Feeds arbitrary bytes to the device-definition reader and the property-map reader, then
// uses what they read the way the program does: lookups by serial, addresses to write,
// values to text and back, and the map-file properties of a light of that kind. Nothing may
// crash, overflow or hang, whatever the file holds.
#include "devices/definitionpropertyformat.h"
#include "devices/devicedictionary.h"
#include "devices/deviceentry.h"
#include "devices/propertymapper.h"
#include "model/light.h"

#include <QLoggingCategory>

#include <cstddef>
#include <cstdint>
#include <limits>

namespace {

void exerciseDictionary(const DeviceDictionary &dictionary, const DeviceEntry &entry)
{
    for (const SerialRange &range : entry.serialRanges()) {
        for (quint64 serial : {range.start, range.end, range.start - 1, range.end + 1}) {
            dictionary.entryForSerial(serial);
            dictionary.deviceNameForSerial(serial);
            dictionary.isDevice(serial, entry.deviceName());
        }
    }
    for (const ProductCodeRange &range : entry.productCodeRanges())
        dictionary.productCodeEntriesForSerial(range.end);
    for (const MemoryMapEntry &item : entry.memoryMap()) {
        item.bytesToWrite(0xFFFFFFFFFFFFFFFFULL);
        QVector<quint8> bytes(item.readAddresses().size(), 0xFF);
        MemoryMapEntry::valueFromBytes(bytes);
    }
}

void exerciseMapper(const PropertyMapper &mapper)
{
    for (const QString &token : mapper.tokens()) {
        const PropertyValues values = mapper.property(token)->values();
        mapper.tokenForDisplayName(mapper.displayName(token));
        for (const auto &option : values.options)
            mapper.textToValue(token, mapper.valueToText(token, option.second));
        // Just outside the bounds, without overflowing at the ends of the 64-bit range.
        const qint64 below = values.min > std::numeric_limits<qint64>::min() ? values.min - 1 : 0;
        const qint64 above = values.max < std::numeric_limits<qint64>::max() ? values.max + 1 : 0;
        for (qint64 v : {values.min, values.max, below, above})
            mapper.textToValue(token, mapper.valueToText(token, v));
        mapper.valueToText(token, QStringLiteral("0x1F"));
        mapper.textToValue(token, QStringLiteral("-9223372036854775809"));
    }
}

} // namespace

// Qt 5.15's JSON parser leaks the earlier value when an object repeats a key whose value is
// an array or object ({"a": [1], "a": [2]}); the leak is inside QtCore and costs a few bytes
// per broken file. Leaks of our own objects are still reported: their allocation stacks hold
// no QtCore frame.
extern "C" const char *__lsan_default_suppressions()
{
    return "leak:libQt5Core.so\n";
}

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // Broken files are logged; at fuzzing speed that is only noise.
    QLoggingCategory::setFilterRules(QStringLiteral("orrery.*=false"));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<int>(size));

    auto entry = std::make_shared<const DeviceEntry>(QStringLiteral("fuzz.json"), bytes);
    DeviceDictionary dictionary;
    dictionary.addEntry(entry);
    // The same file twice: every plain range is now a duplicate.
    dictionary.addEntry(std::make_shared<const DeviceEntry>(QStringLiteral("again.json"), bytes));
    exerciseDictionary(dictionary, *entry);

    // The same bytes as a property map, used together with the definition.
    PropertyMapper mapper;
    mapper.loadJson(bytes, QStringLiteral("fuzz.json"));
    exerciseMapper(mapper);

    const DefinitionPropertyFormat format(dictionary, mapper);
    Light light;
    if (!entry->serialRanges().isEmpty())
        light.setSerialNumber(entry->serialRanges().constFirst().start);
    for (const QString &token : entry->memoryMap().keys())
        light.setDeviceProperty(token, QStringLiteral("1"));
    const PropertyList written = format.lightPropertiesToWrite(light);
    Light readBack;
    format.readLightProperties(readBack, written);
    return 0;
}
