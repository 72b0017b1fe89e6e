#pragma once

#include "devices/devicetype.h"
#include "devices/memorymapentry.h"
#include "devices/serialrange.h"

#include <QByteArray>
#include <QHash>
#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>

#include <optional>

// One device definition: which serial numbers belong to a kind of device, what it is
// called, where its settings live in its memory, and the fixed values, colour-sync
// profiles and firmware data that apply to it. Read once from a JSON file and not changed
// afterwards.
class DeviceEntry
{
public:
    // Review record of the file; informational only.
    struct FileVerification
    {
        bool verified = false;
        QString verifiedBy = QStringLiteral("Not Verified");
        QString date = QStringLiteral("Not Verified");
    };

    // Discover port used when a definition writes one that does not parse as a decimal
    // unsigned 16-bit text; it is the lighting protocol's port.
    static constexpr quint16 kDefaultDiscoverPort = 6038;

    DeviceEntry() = default;
    // Reads the file at `path`. A file that is missing, unreadable or not a JSON object
    // logs "File" path "is empty or improperly formatted" and leaves the entry empty.
    explicit DeviceEntry(const QString &path);
    // The same from the bytes of a file; `path` is kept as the entry's file path.
    DeviceEntry(const QString &path, const QByteArray &bytes);

    // False when the file could not be read or parsed.
    bool isLoaded() const { return m_loaded; }
    QString filePath() const { return m_filePath; }
    DeviceType deviceType() const { return m_deviceType; }
    QString deviceName() const { return m_deviceName; }
    const QVector<SerialRange> &serialRanges() const { return m_serialRanges; }
    const QVector<ProductCodeRange> &productCodeRanges() const { return m_productCodeRanges; }

    // Items by token, ordered by token.
    const QMap<QString, MemoryMapEntry> &memoryMap() const { return m_memoryMap; }
    std::optional<MemoryMapEntry> memoryMapEntry(const QString &token) const;

    const FileVerification &fileVerification() const { return m_verification; }

    const QHash<QString, qint64> &staticValues() const { return m_staticValues; }
    bool hasStaticValue(const QString &name) const { return m_staticValues.contains(name); }
    qint64 staticValue(const QString &name) const { return m_staticValues.value(name); }

    const QStringList &sftNumbers() const { return m_sftNumbers; }
    // 0 when the definition names no discover port.
    quint16 discoverPort() const { return m_discoverPort; }

    // Colour-sync profiles: profile id per LED chemistry, and per chemistry the colour-sync
    // input mode to program for each input mode of the fixture.
    const QHash<QString, int> &profileIds() const { return m_profileIds; }
    std::optional<int> profileId(const QString &ledChemistry) const;
    QMap<int, int> inputModeMap(const QString &ledChemistry) const
    {
        return m_inputModeMaps.value(ledChemistry);
    }

    // Bootloader values by key: numbers as qint64, anything else as text.
    const QMap<QString, QVariant> &bootloaderInfo() const { return m_bootloaderInfo; }
    QVariant bootloaderValue(const QString &key) const { return m_bootloaderInfo.value(key); }

private:
    void parse(const QByteArray &bytes);
    void readSerialRanges(const QJsonValue &value);
    void readMemoryMap(const QJsonValue &value);
    void readFileVerification(const QJsonValue &value);
    void readStaticValues(const QJsonValue &value);
    void readDiscoverPort(const QJsonObject &object);
    void readTintlockProfiles(const QJsonValue &value);
    void readBootloaderInfo(const QJsonValue &value);

    bool m_loaded = false;
    QString m_filePath;
    DeviceType m_deviceType = DeviceType::UNKNOWN;
    QString m_deviceName;
    QVector<SerialRange> m_serialRanges;
    QVector<ProductCodeRange> m_productCodeRanges;
    QMap<QString, MemoryMapEntry> m_memoryMap;
    FileVerification m_verification;
    QHash<QString, qint64> m_staticValues;
    QStringList m_sftNumbers;
    quint16 m_discoverPort = 0;
    QHash<QString, int> m_profileIds;
    QHash<QString, QMap<int, int>> m_inputModeMaps;
    QMap<QString, QVariant> m_bootloaderInfo;
};
