#include "devicescommand.h"

#include "clicommand.h"
#include "devices/devicedictionary.h"
#include "devices/deviceresources.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>

#include <optional>

namespace {

using EntryPointer = DeviceDictionary::EntryPointer;

const QString kUsage = QStringLiteral(
    "Usage: orrery-cli devices [--json] [--type TYPE]\n"
    "       orrery-cli devices [--json] --serial HEX\n"
    "\n"
    "Lists the device definitions built into Orrery: file, kind, name, serial ranges,\n"
    "product-code ranges and tokens. With --serial, tells which definition (and which\n"
    "product-code definitions) a serial number belongs to, or \"Unknown Device\".\n"
    "Exit status with --serial: 0 when a definition holds the serial, 1 when none does.");

QString hex(quint64 value)
{
    // Serials are written as in definition files: 8 digits, or 12 for RDM unique ids.
    return QString::number(value, 16).toUpper().rightJustified(value > 0xFFFFFFFFu ? 12 : 8,
                                                               QLatin1Char('0'));
}

QString rangeText(quint64 start, quint64 end)
{
    return hex(start) + QLatin1Char('-') + hex(end);
}

std::optional<quint64> parseSerial(QString text)
{
    text = text.trimmed();
    if (text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
        text.remove(0, 2);
    bool ok = false;
    const quint64 serial = text.toULongLong(&ok, 16);
    if (!ok || text.isEmpty())
        return std::nullopt;
    return serial;
}

QJsonObject entryJson(const DeviceEntry &entry)
{
    QJsonArray ranges;
    for (const SerialRange &r : entry.serialRanges())
        ranges.append(QJsonObject{{QStringLiteral("start"), hex(r.start)},
                                  {QStringLiteral("end"), hex(r.end)}});
    QJsonArray codes;
    for (const ProductCodeRange &r : entry.productCodeRanges())
        codes.append(QJsonObject{{QStringLiteral("start"), hex(r.start)},
                                 {QStringLiteral("end"), hex(r.end)},
                                 {QStringLiteral("productCode"), r.productCode}});
    QJsonObject statics;
    for (auto it = entry.staticValues().cbegin(); it != entry.staticValues().cend(); ++it)
        statics.insert(it.key(), double(it.value()));
    return {
        {QStringLiteral("file"), entry.filePath()},
        {QStringLiteral("loaded"), entry.isLoaded()},
        {QStringLiteral("type"), deviceTypeName(entry.deviceType())},
        {QStringLiteral("name"), entry.deviceName()},
        {QStringLiteral("serialRanges"), ranges},
        {QStringLiteral("productCodeRanges"), codes},
        {QStringLiteral("tokens"), QJsonArray::fromStringList(entry.memoryMap().keys())},
        {QStringLiteral("staticValues"), statics},
        {QStringLiteral("verified"), entry.fileVerification().verified},
    };
}

void printEntry(const DeviceEntry &entry)
{
    out() << entry.filePath() << "\n";
    if (!entry.isLoaded()) {
        out() << "  (not loaded: empty or improperly formatted)\n";
        return;
    }
    out() << "  type:    " << deviceTypeName(entry.deviceType()) << "\n"
          << "  name:    " << entry.deviceName() << "\n";
    QStringList ranges;
    for (const SerialRange &r : entry.serialRanges())
        ranges << rangeText(r.start, r.end);
    if (!ranges.isEmpty())
        out() << "  serials: " << ranges.join(QStringLiteral(", ")) << "\n";
    for (const ProductCodeRange &r : entry.productCodeRanges())
        out() << "  product: " << r.productCode << " " << rangeText(r.start, r.end) << "\n";
    out() << "  tokens:  " << entry.memoryMap().keys().join(QStringLiteral(", ")) << "\n";
}

int listDefinitions(const DeviceDictionary &dictionary, bool json, const QString &typeName)
{
    QList<EntryPointer> entries = dictionary.entries();
    if (!typeName.isEmpty()) {
        const DeviceType type = deviceTypeFromName(typeName);
        if (type == DeviceType::UNKNOWN && typeName.toUpper() != QLatin1String("UNKNOWN")) {
            err() << "orrery-cli: unknown device type: " << typeName << "\n"
                  << "Types: " << deviceTypeNames().join(QStringLiteral(", ")) << Qt::endl;
            return ExitUsage;
        }
        entries = dictionary.entriesOfType(type);
    }
    if (json) {
        QJsonArray array;
        for (const EntryPointer &entry : qAsConst(entries))
            array.append(entryJson(*entry));
        out() << QJsonDocument(array).toJson(QJsonDocument::Indented) << Qt::flush;
        return ExitOk;
    }
    QMap<int, int> perType;
    for (const EntryPointer &entry : qAsConst(entries)) {
        printEntry(*entry);
        ++perType[static_cast<int>(entry->deviceType())];
    }
    QStringList counts;
    for (auto it = perType.cbegin(); it != perType.cend(); ++it)
        counts << QStringLiteral("%1 %2")
                      .arg(it.value())
                      .arg(deviceTypeName(static_cast<DeviceType>(it.key())));
    out() << entries.size() << " definitions";
    if (!counts.isEmpty())
        out() << " (" << counts.join(QStringLiteral(", ")) << ")";
    out() << Qt::endl;
    return ExitOk;
}

// The plain range that gives the serial's entry: the first in registry order holding it.
std::optional<SerialRange> matchingRange(const DeviceDictionary &dictionary, quint64 serial)
{
    const QList<SerialRange> ranges = dictionary.serialRanges();
    for (const SerialRange &range : ranges) {
        if (range.contains(serial))
            return range;
    }
    return std::nullopt;
}

QList<ProductCodeRange> matchingCodes(const DeviceDictionary &dictionary, quint64 serial)
{
    QList<ProductCodeRange> codes;
    const QList<ProductCodeRange> ranges = dictionary.productCodeRanges();
    for (const ProductCodeRange &range : ranges) {
        if (range.contains(serial))
            codes.append(range);
    }
    return codes;
}

int describeSerial(const DeviceDictionary &dictionary, quint64 serial, bool json)
{
    const EntryPointer entry = dictionary.entryForSerial(serial);
    const std::optional<SerialRange> range = matchingRange(dictionary, serial);
    const QList<EntryPointer> coded = dictionary.productCodeEntriesForSerial(serial);
    const QList<ProductCodeRange> codes = matchingCodes(dictionary, serial);
    const bool known = entry || !coded.isEmpty();

    if (json) {
        QJsonArray codedArray;
        for (int i = 0; i < coded.size() && i < codes.size(); ++i) {
            QJsonObject object = entryJson(*coded.at(i));
            object.insert(QStringLiteral("productCode"), codes.at(i).productCode);
            codedArray.append(object);
        }
        const QJsonObject result{
            {QStringLiteral("serial"), hex(serial)},
            {QStringLiteral("deviceName"), dictionary.deviceNameForSerial(serial)},
            {QStringLiteral("definition"), entry ? QJsonValue(entryJson(*entry)) : QJsonValue()},
            {QStringLiteral("productCodeDefinitions"), codedArray},
        };
        out() << QJsonDocument(result).toJson(QJsonDocument::Indented) << Qt::flush;
        return known ? ExitOk : ExitFailure;
    }

    out() << "Serial " << hex(serial) << ": " << dictionary.deviceNameForSerial(serial) << "\n";
    if (entry) {
        out() << "  type:    " << deviceTypeName(entry->deviceType()) << "\n"
              << "  file:    " << entry->filePath() << "\n";
        if (range)
            out() << "  range:   " << rangeText(range->start, range->end) << "\n";
    }
    for (int i = 0; i < coded.size() && i < codes.size(); ++i) {
        const EntryPointer &e = coded.at(i);
        out() << "  product: " << codes.at(i).productCode << " " << e->deviceName() << " ("
              << deviceTypeName(e->deviceType()) << ") "
              << rangeText(codes.at(i).start, codes.at(i).end) << " " << e->filePath() << "\n";
    }
    out() << Qt::flush;
    return known ? ExitOk : ExitFailure;
}

} // namespace

int runDevicesCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("Print JSON."));
    const QCommandLineOption type(QStringLiteral("type"),
                                  QStringLiteral("List only definitions of this kind."),
                                  QStringLiteral("TYPE"));
    const QCommandLineOption serial(QStringLiteral("serial"),
                                    QStringLiteral("Find the definition of a serial number."),
                                    QStringLiteral("HEX"));
    parser.addOptions({json, type, serial});
    // arguments: "orrery-cli devices ..."; the parser wants the program name first.
    QStringList rest = arguments.mid(2);
    rest.prepend(QStringLiteral("orrery-cli devices"));
    if (int status = parseCommandLine(parser, rest, kUsage); status >= 0)
        return status;
    if (!parser.positionalArguments().isEmpty()) {
        err() << "orrery-cli: devices takes no FILE arguments\n" << kUsage << Qt::endl;
        return ExitUsage;
    }
    // A serial names one definition whatever its kind; printing it under a --type filter
    // would answer a question that was not asked.
    if (parser.isSet(serial) && parser.isSet(type)) {
        err() << "orrery-cli: --serial and --type cannot be combined: --serial finds the "
                 "definition of one device, --type lists a kind\n"
              << kUsage << Qt::endl;
        return ExitUsage;
    }

    std::optional<quint64> serialNumber;
    if (parser.isSet(serial)) {
        serialNumber = parseSerial(parser.value(serial));
        if (!serialNumber) {
            err() << "orrery-cli: not a hexadecimal serial number: " << parser.value(serial)
                  << Qt::endl;
            return ExitUsage;
        }
    }

    DeviceResources::registerResources();
    const DeviceDictionary &dictionary = *DeviceDictionary::instance();
    if (serialNumber)
        return describeSerial(dictionary, *serialNumber, parser.isSet(json));
    return listDefinitions(dictionary, parser.isSet(json), parser.value(type));
}
