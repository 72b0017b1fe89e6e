#include "devices/devicedictionary.h"

#include "devices/deviceslogging.h"

#include <QDirIterator>
#include <QPair>

const QString DeviceDictionary::kDefinitionFolder = QStringLiteral(":/DeviceConfigFiles");
const QString DeviceDictionary::kUnknownDevice = QStringLiteral("Unknown Device");

DeviceDictionary *DeviceDictionary::instance()
{
    // Built on first use and kept until the program ends; never destroyed, so entries
    // handed out stay valid during static destruction.
    static DeviceDictionary *dictionary = [] {
        auto *d = new DeviceDictionary;
        d->loadFolder(kDefinitionFolder);
        return d;
    }();
    return dictionary;
}

DeviceDictionary::DeviceDictionary(QObject *parent) : QObject(parent)
{
}

void DeviceDictionary::loadFolder(const QString &folder)
{
    QDirIterator it(folder, {QStringLiteral("*.json")}, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext())
        addEntry(std::make_shared<const DeviceEntry>(it.next()));
}

void DeviceDictionary::addEntry(const EntryPointer &entry)
{
    if (!entry)
        return;
    m_entries.append(entry);
    for (const SerialRange &range : entry->serialRanges()) {
        const auto held = m_byRange.constFind(range);
        if (held != m_byRange.constEnd()) {
            qCDebug(lcDevices) << "DeviceDictionary - Duplicated sn range"
                               << qMakePair(range.start, range.end) << (*held)->deviceName()
                               << "is duplicated by" << entry->deviceName();
        }
        m_byRange.insert(range, entry);
    }
    for (const ProductCodeRange &range : entry->productCodeRanges())
        m_byProductCode.insert(range, entry);
}

QList<DeviceDictionary::EntryPointer> DeviceDictionary::entriesOfType(DeviceType type) const
{
    QList<EntryPointer> list;
    for (const EntryPointer &entry : m_entries) {
        if (entry->isLoaded() && entry->deviceType() == type)
            list.append(entry);
    }
    return list;
}

DeviceDictionary::EntryPointer DeviceDictionary::entryForSerial(quint64 serial) const
{
    for (auto it = m_byRange.constBegin(); it != m_byRange.constEnd(); ++it) {
        // Ranges are ordered by start: none further on can hold the serial.
        if (it.key().start > serial)
            break;
        if (it.key().contains(serial))
            return it.value();
    }
    return nullptr;
}

QString DeviceDictionary::deviceNameForSerial(quint64 serial) const
{
    const EntryPointer entry = entryForSerial(serial);
    return entry ? entry->deviceName() : kUnknownDevice;
}

QList<DeviceDictionary::EntryPointer>
DeviceDictionary::productCodeEntriesForSerial(quint64 serial) const
{
    QList<EntryPointer> list;
    for (auto it = m_byProductCode.constBegin(); it != m_byProductCode.constEnd(); ++it) {
        if (it.key().start > serial)
            break;
        if (it.key().contains(serial))
            list.append(it.value());
    }
    return list;
}

bool DeviceDictionary::isDevice(quint64 serial, const QString &deviceName) const
{
    const QList<EntryPointer> coded = productCodeEntriesForSerial(serial);
    for (const EntryPointer &entry : coded) {
        if (entry->deviceName() == deviceName)
            return true;
    }
    const EntryPointer entry = entryForSerial(serial);
    return entry && entry->deviceName() == deviceName;
}
