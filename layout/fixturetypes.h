#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

class DeviceDictionary;
class MemoryMapEntry;

// The fixture types lights can be made as: the fixture definitions of the dictionary, with
// "Generic 3-Ch" first.
namespace FixtureTypes {

extern const QString kGeneric3Ch;
extern const QString kGenericWhite;
// The device property in which a light made by hand keeps the fixture type it was made as
// (a discovered light's type follows from its serial number).
extern const QString kFixtureTypeProperty;

QStringList names(const DeviceDictionary &dictionary);
// Properties a new light of the type starts with: the definition's static values and the
// defaults of its settings (LED_CHEMISTRY, DIMMING_CURVE, INPUT_RESOLUTION, ...). Empty
// when no fixture definition has that name.
QMap<QString, QString> defaultProperties(const DeviceDictionary &dictionary, const QString &name);
// The tokens the type's definition holds (its memory map), in token order.
QStringList tokens(const DeviceDictionary &dictionary, const QString &name);
bool exists(const DeviceDictionary &dictionary, const QString &name);
// The fixture type of a light: the fixture definition its serial number falls in, else the
// type it was made as, else empty.
QString ofLight(const DeviceDictionary &dictionary, quint64 serial,
                const QMap<QString, QString> &properties);
// True when the light's serial number fixes its type (a discovered fixture).
bool fixedBySerial(const DeviceDictionary &dictionary, quint64 serial);
// The tokens a light's definition holds, found the same way as its type.
QStringList tokensOfLight(const DeviceDictionary &dictionary, quint64 serial,
                          const QMap<QString, QString> &properties);
// The memory-map item of a token in the light's definition, when it has one.
std::optional<MemoryMapEntry> memoryMapEntryOfLight(const DeviceDictionary &dictionary,
                                                    quint64 serial,
                                                    const QMap<QString, QString> &properties,
                                                    const QString &token);

} // namespace FixtureTypes
