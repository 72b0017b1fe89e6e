#include "discovercommand.h"

#include "clicommand.h"
#include "discoveryreport.h"
#include "devices/definitionpropertyformat.h"
#include "devices/devicedictionary.h"
#include "devices/deviceresources.h"
#include "discovery/definitionreadplan.h"
#include "discovery/discoveredmap.h"
#include "discovery/discoveryengine.h"
#include "discovery/lightdatareader.h"
#include "discovery/lightsearch.h"
#include "discovery/supplysearch.h"
#include "model/datasupply.h"
#include "model/mapmodel.h"

#include <QEventLoop>

#include <algorithm>

namespace {

using Depth = DiscoveryResult::Depth;

const QString kUsage = QStringLiteral(
    "Usage: orrery-cli discover [--json] [--timeout MS] [--save FILE.map]\n"
    "       orrery-cli scan     [--json] [--timeout MS] [--save FILE.map]\n"
    "       orrery-cli read     [--json] [--timeout MS] [--save FILE.map]\n"
    "\n"
    "  discover  find the supplies on the network and their ports\n"
    "  scan      discover, then find the lights on every port\n"
    "  read      scan, then read every light's stored data (DMX address and more)\n"
    "\n"
    "Requests are repeated for the whole listening time, so a lost datagram does not lose a\n"
    "supply, a port or a light; read asks a light again for what it has not answered, for\n"
    "up to twice the listening time per step. Ports are numbered from 1, as on the supplies.\n"
    "Exit status 1 names what never answered: a supply's port count, a port no scan answer\n"
    "named, a light that did not answer or gave no DMX start address, or a request that\n"
    "could not be sent. Use the global option --broadcast ADDRESS to choose where discovery\n"
    "broadcasts go.");

constexpr int kDefaultTimeoutMs = 2000;
constexpr int kMaxTimeoutMs = 600000;

template<typename Search>
void waitFor(Search &search)
{
    QEventLoop loop;
    QObject::connect(&search, &Search::finished, &loop, &QEventLoop::quit);
    if (search.isRunning())
        loop.exec();
}

// A read request is asked again after this long without an answer: long enough for an RDM
// fixture behind its supply, short enough that many tries fit into the listening time.
int requestTimeoutMs(int timeoutMs)
{
    return std::clamp(timeoutMs / 8, 50, 250);
}

std::optional<int> parseTimeout(const QString &text)
{
    bool ok = false;
    const int value = text.toInt(&ok);
    if (!ok || value < 1 || value > kMaxTimeoutMs)
        return std::nullopt;
    return value;
}

void reportDuplicateSerial(const DataSupply *supply, const DataSupply *earlier)
{
    const QString serial = QString::number(supply->serialNumber(), 16).toUpper();
    err() << "orrery-cli: supplies at " << earlier->ipAddress().toString() << " and "
          << supply->ipAddress().toString() << " report the same serial "
          << serial.rightJustified(8, QLatin1Char('0'))
          << "; each is kept as a supply of its own (one of them needs its serial set)"
          << Qt::endl;
}

} // namespace

int runDiscoverCommand(const QStringList &arguments)
{
    const QString name = arguments.value(1);
    const Depth depth = name == QLatin1String("discover") ? Depth::Discover
                        : name == QLatin1String("scan")   ? Depth::Scan
                                                          : Depth::Read;
    QCommandLineParser parser;
    const QCommandLineOption json(QStringLiteral("json"), QStringLiteral("Print JSON."));
    const QCommandLineOption timeout(
        QStringLiteral("timeout"),
        QStringLiteral("How long to listen for answers at each stage, in milliseconds "
                       "(1 to %1, default %2).")
            .arg(kMaxTimeoutMs)
            .arg(kDefaultTimeoutMs),
        QStringLiteral("MS"), QString::number(kDefaultTimeoutMs));
    const QCommandLineOption save(QStringLiteral("save"),
                                  QStringLiteral("Write everything found as a map."),
                                  QStringLiteral("FILE.map"));
    parser.addOptions({json, timeout, save});
    QStringList rest = arguments.mid(1);
    rest.first().prepend(QStringLiteral("orrery-cli "));
    if (int status = parseCommandLine(parser, rest, kUsage); status >= 0)
        return status;
    const std::optional<int> timeoutMs = parseTimeout(parser.value(timeout));
    if (!timeoutMs) {
        err() << "orrery-cli: --timeout takes a whole number of milliseconds from 1 to "
              << kMaxTimeoutMs << ", not: " << parser.value(timeout) << "\n"
              << kUsage << Qt::endl;
        return ExitUsage;
    }
    if (!parser.positionalArguments().isEmpty()) {
        err() << "orrery-cli: unexpected argument: " << parser.positionalArguments().constFirst()
              << "\n" << kUsage << Qt::endl;
        return ExitUsage;
    }
    // Nothing is worth finding if it cannot be kept: check the map file before listening.
    QString reason;
    if (parser.isSet(save) && !checkWritable(parser.value(save), &reason)) {
        err() << "orrery-cli: cannot save " << parser.value(save) << ": " << reason << Qt::endl;
        return ExitFailure;
    }

    DeviceResources::registerResources();
    DiscoveryEngine engine;
    // Read what each light's device definition says its memory holds, not only its address.
    engine.setReadPlan(std::make_shared<DefinitionReadPlan>(*DeviceDictionary::instance()));
    DiscoveryResult result;
    result.depth = depth;
    result.engine = &engine;
    QObject::connect(&engine, &DiscoveryEngine::sendFailed, [&result](const QString &message) {
        err() << "orrery-cli: " << message << Qt::endl;
        result.sendFailures << message;
    });

    SupplySearch supplySearch(engine);
    QObject::connect(&supplySearch, &SupplySearch::duplicateSerialFound, reportDuplicateSerial);
    result.supplies = &supplySearch;
    supplySearch.start(*timeoutMs);
    waitFor(supplySearch);

    LightSearch lightSearch(engine);
    LightDataReader reader(engine);
    if (depth != Depth::Discover) {
        result.lightSearch = &lightSearch;
        lightSearch.start(supplySearch.supplies(), *timeoutMs);
        waitFor(lightSearch);
        result.lights = lightSearch.lights();
        result.sortLights();
    }
    if (depth == Depth::Read) {
        const int requestMs = requestTimeoutMs(*timeoutMs);
        reader.setRequestTimeoutMs(requestMs);
        reader.setMaxAttempts(std::max(16, 2 * *timeoutMs / requestMs));
        result.reader = &reader;
        reader.start(result.lights);
        waitFor(reader);
    }

    if (parser.isSet(json))
        printDiscoveryJson(result);
    else
        printDiscoveryText(result);

    const QStringList problems = result.problems();
    for (const QString &problem : problems.mid(result.sendFailures.size()))
        err() << "orrery-cli: " << problem << "\n";
    err() << Qt::flush;

    if (parser.isSet(save)) {
        MapModel model;
        model.setPropertyFormat(std::make_shared<DefinitionPropertyFormat>());
        addDiscoveredToMap(model, engine, supplySearch.supplies(), result.lights);
        if (!saveMapFile(model, parser.value(save)))
            return ExitFailure;
        err() << "Saved " << model.dataSupplyCount() << " supplies and " << model.lightCount()
              << " lights to " << parser.value(save) << Qt::endl;
    }
    return problems.isEmpty() ? ExitOk : ExitFailure;
}
