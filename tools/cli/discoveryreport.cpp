#include "discoveryreport.h"

#include "clicommand.h"
#include "discovery/discoveredmap.h"
#include "discovery/discoveryengine.h"
#include "discovery/lightdatareader.h"
#include "discovery/lightsearch.h"
#include "discovery/supplysearch.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapjson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

// Ports and positions are counted from 1 wherever a person reads them, as on the supplies'
// labels; the JSON keeps the model's 0-based index as "portIndex".

namespace {

using State = LightDataReader::State;

QString hex(quint64 value, int width)
{
    return QStringLiteral("%1").arg(value, width, 16, QLatin1Char('0')).toUpper();
}

QString serialText(quint64 serial)
{
    return hex(serial, serial > 0xFFFFFFFFULL ? 12 : 8);
}

QString pidText(quint16 pid)
{
    return QStringLiteral("0x") + hex(pid, 4);
}

const DataSupply *supplyOf(const DiscoveryResult &result, const Light &light)
{
    return result.engine->supplyByUid(light.dataSupply());
}

QString supplyText(const DataSupply &supply)
{
    return QStringLiteral("%1 (%2)").arg(supply.name(), supply.ipAddress().toString());
}

QString portsText(const DiscoveryResult &result, const DataSupply &supply)
{
    if (!result.supplies->portsKnown(&supply))
        return QStringLiteral("ports did not answer");
    QStringList ports;
    for (const SupplyPort &p : supply.ports())
        ports << QStringLiteral("%1 (type %2)").arg(p.number).arg(p.type);
    return QStringLiteral("%1 port(s): %2")
        .arg(supply.portCount())
        .arg(ports.join(QStringLiteral(", ")));
}

QStringList portNumbers(const DataSupply &supply, const QList<int> &indexes)
{
    QStringList numbers;
    for (int index : indexes)
        numbers << QString::number(supply.port(index).number);
    return numbers;
}

QString stateText(State state)
{
    switch (state) {
    case State::Read:
        return {};
    case State::Incomplete:
        return QStringLiteral("no DMX address");
    default:
        return QStringLiteral("no answer");
    }
}

QJsonObject supplyJson(const DiscoveryResult &result, const DataSupply &supply)
{
    QJsonObject object = MapJson::supply(supply);
    object.insert(QStringLiteral("portsKnown"), result.supplies->portsKnown(&supply));
    object.insert(QStringLiteral("duplicateSerial"),
                  !result.supplies->sharingSerial(&supply).isEmpty());
    if (result.scanned()) {
        QJsonArray silent;
        for (int index : result.lightSearch->unansweredPorts(&supply))
            silent.append(supply.port(index).number);
        object.insert(QStringLiteral("portsWithoutScanAnswer"), silent);
    }
    return object;
}

QJsonObject lightJson(const DiscoveryResult &result, const Light &light)
{
    QJsonObject object = MapJson::light(light);
    if (const int address = dmxAddressOf(light))
        object.insert(QStringLiteral("dmxAddress"), address);
    if (result.reader) {
        object.insert(QStringLiteral("read"), result.reader->state(light.uid()) == State::Read);
        QJsonArray refused;
        for (quint16 pid : result.engine->refusedParameters(&light))
            refused.append(pidText(pid));
        if (!refused.isEmpty())
            object.insert(QStringLiteral("refusedParameters"), refused);
    }
    return object;
}

} // namespace

void DiscoveryResult::sortLights()
{
    const QList<DataSupply *> order = supplies->supplies();
    std::sort(lights.begin(), lights.end(), [&order](const Light *a, const Light *b) {
        const auto position = [&order](const Light *l) {
            const auto it = std::find_if(order.cbegin(), order.cend(), [l](const DataSupply *s) {
                return s->uid() == l->dataSupply();
            });
            return std::make_tuple(it - order.cbegin(), l->portNumber(), l->lightNumber());
        };
        return position(a) < position(b);
    });
}

QStringList DiscoveryResult::problems() const
{
    QStringList list = sendFailures;
    for (const DataSupply *supply : supplies->suppliesWithoutPorts())
        list << QStringLiteral("supply %1 never answered the port query").arg(supplyText(*supply));
    if (scanned()) {
        for (const DataSupply *supply : supplies->supplies()) {
            const QStringList silent = portNumbers(*supply, lightSearch->unansweredPorts(supply));
            if (!silent.isEmpty())
                list << QStringLiteral("supply %1: no scan answer named port %2 (its lights, if "
                                       "any, are missing)")
                            .arg(supplyText(*supply), silent.join(QStringLiteral(", ")));
        }
    }
    if (reader) {
        for (const Light *light : lights) {
            const State state = reader->state(light->uid());
            if (state == State::NoAnswer)
                list << QStringLiteral("light %1 never answered")
                            .arg(serialText(light->serialNumber()));
            else if (state == State::Incomplete)
                list << QStringLiteral("light %1 answered without a DMX start address")
                            .arg(serialText(light->serialNumber()));
        }
    }
    return list;
}

void printDiscoveryText(const DiscoveryResult &result)
{
    const QList<DataSupply *> supplies = result.supplies->supplies();
    out() << supplies.size() << " supplies\n";
    for (const DataSupply *s : supplies) {
        out() << "  " << s->name() << "  serial " << hex(s->serialNumber(), 8) << "  "
              << s->ipAddress().toString() << "  " << s->macAddress() << "  v" << s->version()
              << " " << s->versionString() << "  universe " << s->universe() << "  "
              << portsText(result, *s);
        if (!result.supplies->sharingSerial(s).isEmpty())
            out() << "  (serial shared with another supply)";
        out() << "\n";
    }
    if (!result.scanned()) {
        out() << Qt::flush;
        return;
    }
    out() << result.lights.size() << " lights\n";
    for (const Light *l : result.lights) {
        const DataSupply *supply = supplyOf(result, *l);
        out() << "  " << serialText(l->serialNumber()) << "  supply "
              << (supply ? supply->ipAddress().toString() : QStringLiteral("?")) << "  port "
              << l->portNumber() + 1 << "  light " << l->lightNumber() + 1;
        if (const LightDataReader *reader = result.reader) {
            const State state = reader->state(l->uid());
            if (state != State::Read)
                out() << "  " << stateText(state);
            else if (const int address = dmxAddressOf(*l))
                out() << "  DMX " << address;
            for (auto it = l->deviceProperties().cbegin(); it != l->deviceProperties().cend();
                 ++it) {
                if (it.key() != QLatin1String("DMX_OFFSET"))
                    out() << "  " << it.key() << "=" << it.value();
            }
            for (quint16 pid : result.engine->refusedParameters(l))
                out() << "  refused " << pidText(pid);
        }
        out() << "\n";
    }
    if (const LightDataReader *reader = result.reader) {
        out() << reader->readCount() << " read, " << reader->failedCount() << " without answer";
        if (reader->incompleteCount() > 0)
            out() << ", " << reader->incompleteCount() << " without a DMX address";
        out() << "\n";
    }
    out() << Qt::flush;
}

void printDiscoveryJson(const DiscoveryResult &result)
{
    QJsonArray supplyArray;
    for (const DataSupply *s : result.supplies->supplies())
        supplyArray.append(supplyJson(result, *s));
    QJsonObject document{{QStringLiteral("supplies"), supplyArray}};
    if (result.scanned()) {
        QJsonArray lightArray;
        for (const Light *l : result.lights)
            lightArray.append(lightJson(result, *l));
        document.insert(QStringLiteral("lights"), lightArray);
    }
    document.insert(QStringLiteral("problems"), QJsonArray::fromStringList(result.problems()));
    out() << QJsonDocument(document).toJson(QJsonDocument::Indented) << Qt::flush;
}
