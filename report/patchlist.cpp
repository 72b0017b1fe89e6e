#include "report/patchlist.h"

#include "model/serialtext.h"
#include "devices/dmxaddress.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "model/supplyframetable.h"

#include <QHash>
#include <QMap>

#include <algorithm>

namespace {

constexpr quint64 kUnknownSerial = 0xFFFFFFFF;

PatchLight patchLight(const Light &light, bool usesLedProfiles)
{
    PatchLight entry;
    entry.uid = light.uid();
    entry.name = light.name();
    entry.serial = light.serialNumber();
    entry.dmxAddress =
        DmxAddress::addressFromText(light.deviceProperty(QStringLiteral("DMX_OFFSET")));
    // The slots the frame writer gives the light, so the plan matches what is sent.
    entry.channels = SupplyFrameTable::formatFor(light, usesLedProfiles).footprint();
    return entry;
}

bool lightBefore(const PatchLight &a, const PatchLight &b)
{
    // Lights without an address go last.
    if (a.hasAddress() != b.hasAddress())
        return a.hasAddress();
    if (a.dmxAddress != b.dmxAddress)
        return a.dmxAddress < b.dmxAddress;
    if (const int byName = PatchText::naturalCompare(a.name, b.name))
        return byName < 0;
    return a.uid < b.uid;
}

bool supplyBefore(const PatchSupply &a, const PatchSupply &b)
{
    if (a.isSupply != b.isSupply)
        return a.isSupply;
    if (const int byName = PatchText::naturalCompare(a.name, b.name))
        return byName < 0;
    if (a.serial != b.serial)
        return a.serial < b.serial;
    return a.uid < b.uid;
}

// Sorts each port's lights and marks ranges that share slots with the light before them.
QVector<PatchPort> portsFrom(QMap<int, QVector<PatchLight>> &&byPort)
{
    QVector<PatchPort> ports;
    ports.reserve(byPort.size());
    for (auto it = byPort.begin(); it != byPort.end(); ++it) {
        PatchPort port{it.key(), std::move(it.value())};
        std::sort(port.lights.begin(), port.lights.end(), lightBefore);
        int lastEnd = 0;
        for (PatchLight &light : port.lights) {
            if (!light.hasAddress())
                break;
            light.overlapsPrevious = light.dmxAddress <= lastEnd;
            lastEnd = std::max(lastEnd, light.dmxEnd());
        }
        ports.append(std::move(port));
    }
    return ports;
}

} // namespace

int PatchSupply::lightCount() const
{
    int count = 0;
    for (const PatchPort &port : ports)
        count += port.lights.size();
    return count;
}

PatchList PatchList::fromModel(const MapModel &model)
{
    // Lights by supply uid (0 for none), then by port counted from 1.
    QHash<quint64, QMap<int, QVector<PatchLight>>> lightsBySupply;
    for (const DataSupply *supply : model.dataSupplies()) {
        QMap<int, QVector<PatchLight>> &ports = lightsBySupply[supply->uid()];
        for (int port = 1; port <= supply->portCount(); ++port)
            ports[port];
    }
    PatchList list;
    for (const Light *light : model.lightHash()) {
        const DataSupply *supply = model.dataSupply(light->dataSupply());
        const int port = int(light->portNumber()) + 1;
        lightsBySupply[supply ? supply->uid() : 0][port].append(
            patchLight(*light, supply && supply->usesLedProfiles()));
        ++list.lightCount;
    }

    for (const DataSupply *supply : model.dataSupplies()) {
        PatchSupply entry;
        entry.uid = supply->uid();
        entry.name = supply->name();
        entry.ip = supply->hasAddress() ? supply->ipAddress().toString() : QString();
        entry.serial = supply->serialNumber();
        entry.ports = portsFrom(std::move(lightsBySupply[supply->uid()]));
        list.supplies.append(std::move(entry));
    }
    // A supply's uid is never 0, so key 0 holds only lights without a supply.
    if (auto unassigned = lightsBySupply.find(0); unassigned != lightsBySupply.end()) {
        PatchSupply entry;
        entry.isSupply = false;
        entry.serial = kUnknownSerial;
        entry.ports = portsFrom(std::move(unassigned.value()));
        list.supplies.append(std::move(entry));
    }
    std::sort(list.supplies.begin(), list.supplies.end(), supplyBefore);
    return list;
}

namespace PatchText {

QString serial(quint64 serial)
{
    return SerialText::ofKnown(serial);
}

QString checkNotes(const PatchLight &light, NoteLength length)
{
    const bool brief = length == NoteLength::Brief;
    QStringList notes;
    if (!light.hasAddress())
        notes << (brief ? QStringLiteral("no address") : QStringLiteral("no DMX address"));
    if (light.overlapsPrevious)
        notes << (brief ? QStringLiteral("overlaps") : QStringLiteral("overlaps the light before"));
    if (light.runsPastUniverse())
        notes << (brief ? QStringLiteral("past 512") : QStringLiteral("runs past 512"));
    return notes.join(QStringLiteral(", "));
}

QString dmxRange(const PatchLight &light)
{
    if (!light.hasAddress())
        return {};
    if (light.channels <= 1)
        return QString::number(light.dmxAddress);
    return QStringLiteral("%1-%2").arg(light.dmxAddress).arg(light.dmxEnd());
}

int naturalCompare(const QString &a, const QString &b)
{
    int i = 0;
    int j = 0;
    while (i < a.size() && j < b.size()) {
        if (a.at(i).isDigit() && b.at(j).isDigit()) {
            // Compare the digit runs by value: skip leading zeros, then the longer run is
            // larger, then the first differing digit decides.
            while (i < a.size() && a.at(i) == QLatin1Char('0'))
                ++i;
            while (j < b.size() && b.at(j) == QLatin1Char('0'))
                ++j;
            int endA = i;
            int endB = j;
            while (endA < a.size() && a.at(endA).isDigit())
                ++endA;
            while (endB < b.size() && b.at(endB).isDigit())
                ++endB;
            if (endA - i != endB - j)
                return (endA - i) - (endB - j);
            for (; i < endA; ++i, ++j) {
                if (a.at(i) != b.at(j))
                    return a.at(i).unicode() - b.at(j).unicode();
            }
            continue;
        }
        const QChar x = a.at(i).toCaseFolded();
        const QChar y = b.at(j).toCaseFolded();
        if (x != y)
            return x.unicode() - y.unicode();
        ++i;
        ++j;
    }
    if ((a.size() - i) != (b.size() - j))
        return (a.size() - i) - (b.size() - j);
    // Equal but for case or leading zeros: still a fixed order.
    return a.compare(b);
}

QString singleLine(const QString &text)
{
    QString line = text;
    for (QChar &c : line) {
        if (c.category() == QChar::Other_Control || c == QChar::LineSeparator ||
            c == QChar::ParagraphSeparator)
            c = QLatin1Char(' ');
    }
    return line;
}

} // namespace PatchText
