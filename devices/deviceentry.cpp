#include "devices/deviceentry.h"

#include "devices/deviceslogging.h"
#include "devices/jsonvalues.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <limits>

namespace {

const char *const kBootloaderKeys[] = {
    "BLRev",      "ProcName",   "Heirarchy",  "FileType",  "PageSize", "WordSize",
    "WordCount",  "VerLoc",     "MagicLoc",   "MagicFlag", "BLID",     "FirmwareMajorVersion",
    "BL3_SFTLoc", "BL3_SFTVal", "BL3_RevLoc",
};

int toInt(const QJsonValue &value)
{
    const qint64 number = JsonValues::toInteger(value);
    if (number < std::numeric_limits<int>::min() || number > std::numeric_limits<int>::max())
        return 0;
    return static_cast<int>(number);
}

quint64 parseSerial(const QJsonValue &value)
{
    bool ok = false;
    const quint64 serial = value.toString().toULongLong(&ok, 16);
    return ok ? serial : 0;
}

// The value under a key compared without regard to case, or undefined.
QJsonValue valueOf(const QJsonObject &object, QLatin1String key)
{
    for (auto it = object.constBegin(); it != object.constEnd(); ++it) {
        if (it.key().compare(key, Qt::CaseInsensitive) == 0)
            return it.value();
    }
    return QJsonValue(QJsonValue::Undefined);
}

// A static value: text holding "0x" is hexadecimal, anything else must be a JSON number.
// A decimal string such as "12" therefore gives 0; existing files rely on writing numbers.
qint64 staticValueOf(const QJsonValue &value)
{
    const QString text = value.toString();
    if (value.isString() && text.contains(QLatin1String("0x"))) {
        QString digits = text.trimmed();
        if (digits.startsWith(QLatin1String("0x")))
            digits.remove(0, 2);
        bool ok = false;
        const qint64 number = digits.toLongLong(&ok, 16);
        return ok ? number : 0;
    }
    return JsonValues::toInteger(value);
}

} // namespace

DeviceEntry::DeviceEntry(const QString &path) : m_filePath(path)
{
    parse(JsonValues::readFile(path));
}

DeviceEntry::DeviceEntry(const QString &path, const QByteArray &bytes) : m_filePath(path)
{
    parse(bytes);
}

void DeviceEntry::parse(const QByteArray &bytes)
{
    const QJsonObject object = QJsonDocument::fromJson(bytes).object();
    if (object.isEmpty()) {
        qCDebug(lcDevices) << "File" << m_filePath << "is empty or improperly formatted";
        return;
    }
    m_loaded = true;
    if (object.contains(QLatin1String("DeviceType")))
        m_deviceType = deviceTypeFromName(object.value(QLatin1String("DeviceType")).toString());
    m_deviceName = object.value(QLatin1String("DeviceName")).toString();
    readSerialRanges(object.value(QLatin1String("SerialNumberRanges")));
    readMemoryMap(object.value(QLatin1String("MemoryMap")));
    readFileVerification(object.value(QLatin1String("FileVerification")));
    readStaticValues(object.value(QLatin1String("StaticValues")));
    if (object.contains(QLatin1String("SFTNumbers")))
        m_sftNumbers = JsonValues::toStringList(object.value(QLatin1String("SFTNumbers")));
    readDiscoverPort(object);
    readTintlockProfiles(object.value(QLatin1String("TintlockProfiles")));
    readBootloaderInfo(object.value(QLatin1String("BootloaderInfo")));
}

void DeviceEntry::readSerialRanges(const QJsonValue &value)
{
    const QJsonArray array = value.toArray();
    for (const QJsonValue &element : array) {
        const QJsonObject range = element.toObject();
        if (!range.contains(QLatin1String("start")) || !range.contains(QLatin1String("end")))
            continue;
        const quint64 start = parseSerial(range.value(QLatin1String("start")));
        const quint64 end = parseSerial(range.value(QLatin1String("end")));
        if (range.contains(QLatin1String("productCode"))) {
            const QString code = range.value(QLatin1String("productCode")).toString();
            m_productCodeRanges.append({start, end, code});
        } else {
            m_serialRanges.append({start, end});
        }
    }
}

void DeviceEntry::readMemoryMap(const QJsonValue &value)
{
    const QJsonArray array = value.toArray();
    for (const QJsonValue &element : array) {
        if (!element.isObject())
            continue;
        MemoryMapEntry item = MemoryMapEntry::fromJson(element.toObject());
        m_memoryMap.insert(item.name(), item);
    }
}

void DeviceEntry::readFileVerification(const QJsonValue &value)
{
    const QJsonArray array = value.toArray();
    for (const QJsonValue &element : array) {
        const QJsonObject record = element.toObject();
        if (record.contains(QLatin1String("Verified")))
            m_verification.verified = record.value(QLatin1String("Verified")).toBool();
        if (record.contains(QLatin1String("Verified By")))
            m_verification.verifiedBy = record.value(QLatin1String("Verified By")).toString();
        if (record.contains(QLatin1String("Verified Date")))
            m_verification.date = record.value(QLatin1String("Verified Date")).toString();
    }
}

void DeviceEntry::readStaticValues(const QJsonValue &value)
{
    const QJsonArray array = value.toArray();
    for (const QJsonValue &element : array) {
        const QJsonObject pair = element.toObject();
        const QJsonValue name = valueOf(pair, QLatin1String("name"));
        if (name.isUndefined())
            continue;
        m_staticValues.insert(name.toString(),
                              staticValueOf(valueOf(pair, QLatin1String("value"))));
    }
}

void DeviceEntry::readDiscoverPort(const QJsonObject &object)
{
    if (!object.contains(QLatin1String("DiscoverPort")))
        return;
    // Only text counts; a number has no text form here and gives the default port.
    bool ok = false;
    const quint16 port = object.value(QLatin1String("DiscoverPort")).toString().toUShort(&ok, 10);
    m_discoverPort = ok ? port : kDefaultDiscoverPort;
}

void DeviceEntry::readTintlockProfiles(const QJsonValue &value)
{
    const QJsonArray array = value.toArray();
    for (const QJsonValue &element : array) {
        const QJsonObject profile = element.toObject();
        if (!profile.contains(QLatin1String("ledChemistry")) ||
            !profile.contains(QLatin1String("profileId")) ||
            !profile.contains(QLatin1String("inputModeMap")))
            continue;
        const QString chemistry = profile.value(QLatin1String("ledChemistry")).toString();
        m_profileIds.insert(chemistry, toInt(profile.value(QLatin1String("profileId"))));
        QMap<int, int> modes;
        const QJsonObject map = profile.value(QLatin1String("inputModeMap")).toObject();
        for (auto it = map.constBegin(); it != map.constEnd(); ++it)
            modes.insert(it.key().toInt(nullptr, 10), toInt(it.value()));
        m_inputModeMaps.insert(chemistry, modes);
    }
}

void DeviceEntry::readBootloaderInfo(const QJsonValue &value)
{
    if (!value.isObject())
        return;
    const QJsonObject info = value.toObject();
    for (const char *key : kBootloaderKeys) {
        const QJsonValue item = info.value(QLatin1String(key));
        if (item.isUndefined())
            continue;
        if (item.isDouble())
            m_bootloaderInfo.insert(QLatin1String(key), JsonValues::toInteger(item));
        else
            m_bootloaderInfo.insert(QLatin1String(key), item.toVariant().toString());
    }
}

std::optional<MemoryMapEntry> DeviceEntry::memoryMapEntry(const QString &token) const
{
    const auto it = m_memoryMap.constFind(token);
    if (it == m_memoryMap.constEnd())
        return std::nullopt;
    return *it;
}

std::optional<int> DeviceEntry::profileId(const QString &ledChemistry) const
{
    const auto it = m_profileIds.constFind(ledChemistry);
    if (it == m_profileIds.constEnd())
        return std::nullopt;
    return *it;
}
