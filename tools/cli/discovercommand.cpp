#include "discovercommand.h"

#include "clicommand.h"
#include "devices/devicedictionary.h"
#include "devices/definitionpropertyformat.h"
#include "devices/deviceresources.h"
#include "discovery/definitionreadplan.h"
#include "discovery/discoveredmap.h"
#include "discovery/discoveryengine.h"
#include "discovery/lightdatareader.h"
#include "discovery/lightsearch.h"
#include "discovery/supplysearch.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapjson.h"
#include "model/mapmodel.h"

#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace {

enum class Depth { Discover, Scan, Read };

const QString kUsage = QStringLiteral(
    "Usage: orrery-cli discover [--json] [--timeout MS] [--save FILE.map]\n"
    "       orrery-cli scan     [--json] [--timeout MS] [--save FILE.map]\n"
    "       orrery-cli read     [--json] [--timeout MS] [--save FILE.map]\n"
    "\n"
    "  discover  find the supplies on the network and their ports\n"
    "  scan      discover, then find the lights on every port\n"
    "  read      scan, then read every light's stored data (DMX address and more);\n"
    "            exits with status 1 when some light never answered\n"
    "\n"
    "Requests are repeated while listening, so a lost datagram does not lose a supply, a\n"
    "port or a light. Use the global option --broadcast ADDRESS to choose where discovery\n"
    "broadcasts go.");

constexpr int kDefaultTimeoutMs = 2000;

template<typename Search>
void waitFor(Search &search)
{
    QEventLoop loop;
    QObject::connect(&search, &Search::finished, &loop, &QEventLoop::quit);
    if (search.isRunning())
        loop.exec();
}

QString hex(quint64 value, int width)
{
    return QStringLiteral("%1").arg(value, width, 16, QLatin1Char('0')).toUpper();
}

QString portsText(const DataSupply &supply, bool known)
{
    if (!known)
        return QStringLiteral("ports unknown");
    QStringList ports;
    for (const SupplyPort &p : supply.ports())
        ports << QStringLiteral("%1 (type %2)").arg(p.number).arg(p.type);
    return QStringLiteral("%1 port(s): %2").arg(supply.portCount()).arg(ports.join(QStringLiteral(", ")));
}

QJsonObject lightJson(const Light &light, const LightDataReader *reader)
{
    QJsonObject object = MapJson::light(light);
    if (const int address = dmxAddressOf(light))
        object.insert(QStringLiteral("dmxAddress"), address);
    if (reader)
        object.insert(QStringLiteral("read"), reader->state(light.uid()) == LightDataReader::State::Read);
    return object;
}

QList<Light *> sortedLights(QList<Light *> lights)
{
    std::sort(lights.begin(), lights.end(), [](const Light *a, const Light *b) {
        return std::make_tuple(a->dataSupply(), a->portNumber(), a->lightNumber())
               < std::make_tuple(b->dataSupply(), b->portNumber(), b->lightNumber());
    });
    return lights;
}

void printText(const SupplySearch &supplies, const QList<Light *> &lights,
               const LightDataReader *reader, Depth depth)
{
    out() << supplies.supplies().size() << " supplies\n";
    for (const DataSupply *s : supplies.supplies()) {
        out() << "  " << s->name() << "  serial " << hex(s->serialNumber(), 8) << "  "
              << s->ipAddress().toString() << "  " << s->macAddress() << "  v" << s->version()
              << " " << s->versionString() << "  universe " << s->universe() << "  "
              << portsText(*s, supplies.portsKnown(s)) << "\n";
    }
    if (depth == Depth::Discover)
        return;
    out() << lights.size() << " lights\n";
    for (const Light *l : lights) {
        out() << "  " << hex(l->serialNumber(), l->serialNumber() > 0xFFFFFFFFULL ? 12 : 8)
              << "  supply " << hex(l->dataSupply(), 8) << "  port " << l->portNumber()
              << "  light " << l->lightNumber();
        if (reader) {
            if (reader->state(l->uid()) != LightDataReader::State::Read)
                out() << "  no answer";
            else if (const int address = dmxAddressOf(*l))
                out() << "  DMX " << address;
            for (auto it = l->deviceProperties().cbegin(); it != l->deviceProperties().cend(); ++it) {
                if (it.key() != QLatin1String("DMX_OFFSET"))
                    out() << "  " << it.key() << "=" << it.value();
            }
        }
        out() << "\n";
    }
    if (reader)
        out() << reader->readCount() << " read, " << reader->failedCount() << " without answer\n";
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
    const QCommandLineOption timeout(QStringLiteral("timeout"),
                                     QStringLiteral("How long to listen for answers (default %1).")
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
    bool ok = false;
    const int timeoutMs = parser.value(timeout).toInt(&ok);
    if (!ok || timeoutMs <= 0 || !parser.positionalArguments().isEmpty()) {
        err() << "orrery-cli: " << (ok ? "unexpected argument" : "--timeout takes milliseconds")
              << "\n" << kUsage << Qt::endl;
        return ExitUsage;
    }

    DeviceResources::registerResources();
    DiscoveryEngine engine;
    // Read what each light's device definition says its memory holds, not only its address.
    engine.setReadPlan(std::make_shared<DefinitionReadPlan>(*DeviceDictionary::instance()));
    SupplySearch supplySearch(engine);
    supplySearch.start(timeoutMs);
    waitFor(supplySearch);

    QList<Light *> lights;
    LightSearch lightSearch(engine);
    LightDataReader reader(engine);
    if (depth != Depth::Discover) {
        lightSearch.start(supplySearch.supplies(), timeoutMs);
        waitFor(lightSearch);
        lights = sortedLights(lightSearch.lights());
    }
    if (depth == Depth::Read) {
        reader.setRequestTimeoutMs(std::clamp(timeoutMs / 5, 50, 1000));
        reader.start(lights);
        waitFor(reader);
    }
    const LightDataReader *readResult = depth == Depth::Read ? &reader : nullptr;

    if (parser.isSet(json)) {
        QJsonArray supplyArray, lightArray;
        for (const DataSupply *s : supplySearch.supplies())
            supplyArray.append(MapJson::supply(*s));
        QJsonObject document{{QStringLiteral("supplies"), supplyArray}};
        if (depth != Depth::Discover) {
            for (const Light *l : qAsConst(lights))
                lightArray.append(lightJson(*l, readResult));
            document.insert(QStringLiteral("lights"), lightArray);
        }
        out() << QJsonDocument(document).toJson(QJsonDocument::Indented) << Qt::flush;
    } else {
        printText(supplySearch, lights, readResult, depth);
        out() << Qt::flush;
    }

    if (parser.isSet(save)) {
        MapModel model;
        model.setPropertyFormat(std::make_shared<DefinitionPropertyFormat>());
        addDiscoveredToMap(model, engine, supplySearch.supplies(), lights);
        if (!model.saveToFile(parser.value(save))) {
            err() << "orrery-cli: unable to save file " << parser.value(save) << ": "
                  << model.saveError() << Qt::endl;
            return ExitFailure;
        }
        err() << "Saved " << model.dataSupplyCount() << " supplies and " << model.lightCount()
              << " lights to " << parser.value(save) << Qt::endl;
    }
    if (readResult && readResult->failedCount() > 0) {
        err() << "orrery-cli: " << readResult->failedCount() << " light(s) never answered" << Qt::endl;
        return ExitFailure;
    }
    return ExitOk;
}
