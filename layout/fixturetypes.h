#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

class DeviceDictionary;

// The fixture types lights can be made as: the fixture definitions of the dictionary, with
// "Generic 3-Ch" first.
namespace FixtureTypes {

extern const QString kGeneric3Ch;
extern const QString kGenericWhite;

QStringList names(const DeviceDictionary &dictionary);
// Properties a new light of the type starts with: the definition's static values and the
// defaults of its settings (LED_CHEMISTRY, DIMMING_CURVE, INPUT_RESOLUTION, ...). Empty
// when no fixture definition has that name.
QMap<QString, QString> defaultProperties(const DeviceDictionary &dictionary, const QString &name);
// The tokens the type's definition holds (its memory map), in token order.
QStringList tokens(const DeviceDictionary &dictionary, const QString &name);
bool exists(const DeviceDictionary &dictionary, const QString &name);

} // namespace FixtureTypes
