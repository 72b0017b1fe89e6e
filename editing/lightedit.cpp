#include "editing/lightedit.h"

#include "devices/devicedictionary.h"
#include "devices/memorymapentry.h"
#include "devices/propertyentry.h"
#include "devices/propertymapper.h"
#include "editing/editlightscommand.h"
#include "layout/fixturetypes.h"
#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "model/supplyframetable.h"

#include <QSet>

#include <algorithm>

namespace LightEdit {

namespace {

const QString kDmxOffset = QStringLiteral("DMX_OFFSET");
constexpr int kChannelsPerPort = 512;

// Collects the values of one field over the lights; stops comparing once they differ.
class FieldCollector
{
public:
    void add(const QString &value)
    {
        if (!m_seen) {
            m_seen = true;
            m_summary.value = value;
        } else if (!m_summary.various && value != m_summary.value) {
            m_summary.various = true;
            m_summary.value.clear();
        }
    }
    const FieldSummary &summary() const { return m_summary; }

private:
    bool m_seen = false;
    FieldSummary m_summary;
};

// The channels a light takes in its port's frame with these properties, as the frame
// writer counts them (LED profiles included where its supply uses them).
int channelsOf(const Light &light, const QMap<QString, QString> &properties, bool useProfiles)
{
    Light probe;
    probe.setTintlockProfileId(light.tintlockProfileId());
    probe.setTintlockIoMode(light.tintlockIoMode());
    for (auto it = properties.cbegin(); it != properties.cend(); ++it)
        probe.setDeviceProperty(it.key(), it.value());
    return std::max(1, SupplyFrameTable::formatFor(probe, useProfiles).footprint());
}

// A value as the user sees it. Maps keep some values in their text form ("RGB" for an LED
// chemistry); those are shown as they stand.
QString shownValue(const PropertyMapper &mapper, const QString &token, const QString &value)
{
    const QString text = mapper.valueToText(token, value);
    if (text != PropertyMapper::kUnsupportedMapping)
        return text;
    const QString asValue = mapper.textToValue(token, value);
    return asValue != PropertyMapper::kUnsupportedMapping ? mapper.valueToText(token, asValue)
                                                          : text;
}

int dmxOffsetOf(const Light &light)
{
    bool ok = false;
    const int offset = light.deviceProperty(kDmxOffset).toInt(&ok);
    return ok ? offset : light.channel();
}

// Fixture types and tokens, looked up once per serial number rather than once per light.
class TypeCache
{
public:
    explicit TypeCache(const DeviceDictionary &dictionary) : m_dictionary(dictionary) {}

    QString typeOf(const Light &light)
    {
        const QString fixed = fixedType(light.serialNumber());
        return fixed.isEmpty() ? light.deviceProperty(FixtureTypes::kFixtureTypeProperty) : fixed;
    }
    bool isFixed(const Light &light) { return !fixedType(light.serialNumber()).isEmpty(); }

private:
    QString fixedType(quint64 serial)
    {
        auto it = m_bySerial.find(serial);
        if (it == m_bySerial.end())
            it = m_bySerial.insert(serial, FixtureTypes::fixedBySerial(m_dictionary, serial)
                                               ? FixtureTypes::ofLight(m_dictionary, serial, {})
                                               : QString());
        return it.value();
    }

    const DeviceDictionary &m_dictionary;
    QHash<quint64, QString> m_bySerial;
};

} // namespace

QString FieldSummary::text() const
{
    return various ? QStringLiteral("Various") : value;
}

bool Request::isEmpty() const
{
    return !name && dmxMode == DmxMode::NoChange && !port && !fixtureType && properties.isEmpty();
}

QString numberedName(const QString &stem, int index, int count)
{
    if (count <= 1)
        return stem;
    const int digits = std::max(3, int(QString::number(count).size()));
    return stem + QLatin1Char(' ') +
           QStringLiteral("%1").arg(index + 1, digits, 10, QLatin1Char('0'));
}

Summary summarise(const MapModel &model, const QList<quint64> &lightUids,
                  const DeviceDictionary &dictionary, const PropertyMapper &mapper)
{
    Summary summary;
    TypeCache types(dictionary);
    FieldCollector names, addresses, ports, fixtureTypes;
    // Each kind of light once: its tokens and a light that stands for it.
    QHash<QString, const Light *> kinds;
    QStringList tokenOrder;
    for (const quint64 uid : lightUids) {
        const Light *light = model.light(uid);
        if (!light)
            continue;
        ++summary.lightCount;
        names.add(light->name());
        addresses.add(QString::number(dmxOffsetOf(*light) + 1));
        ports.add(QString::number(light->portNumber() + 1));
        const QString type = types.typeOf(*light);
        fixtureTypes.add(type);
        summary.fixtureTypeFixed = summary.fixtureTypeFixed || types.isFixed(*light);
        if (const DataSupply *supply = model.dataSupply(light->dataSupply()))
            summary.highestPort = std::max(summary.highestPort, int(supply->portCount()));
        const QString kindKey =
            QString::number(light->serialNumber(), 16) + QLatin1Char('/') + type;
        if (!kinds.contains(kindKey)) {
            kinds.insert(kindKey, light);
            for (const QString &token : FixtureTypes::tokensOfLight(
                     dictionary, light->serialNumber(), light->deviceProperties()))
                if (!tokenOrder.contains(token))
                    tokenOrder.append(token);
        }
    }
    summary.name = names.summary();
    summary.dmxAddress = addresses.summary();
    summary.port = ports.summary();
    summary.fixtureType = fixtureTypes.summary();

    for (const QString &token : qAsConst(tokenOrder)) {
        // The address and the type have rows of their own.
        if (token == kDmxOffset || token == FixtureTypes::kFixtureTypeProperty)
            continue;
        PropertyRow row;
        row.token = token;
        row.displayName = mapper.displayName(token);
        const auto property = mapper.property(token);
        if (property) {
            row.description = property->description();
            row.values = property->values();
        }
        // Editable when every kind that names it lets the user change it.
        bool editable = true;
        for (const Light *light : qAsConst(kinds)) {
            const auto entry = FixtureTypes::memoryMapEntryOfLight(
                dictionary, light->serialNumber(), light->deviceProperties(), token);
            if (entry) {
                editable = editable && entry->userConfigurable() && !entry->readOnly();
                if (row.values.isEmpty())
                    row.values = entry->values();
            }
        }
        row.editable = editable && !row.values.isEmpty();
        FieldCollector values;
        for (const quint64 uid : lightUids)
            if (const Light *light = model.light(uid))
                values.add(light->hasDeviceProperty(token)
                               ? shownValue(mapper, token, light->deviceProperty(token))
                               : QString());
        row.current = values.summary();
        summary.rows.append(row);
    }
    // What the user may change first, then what is only shown; each by its display name.
    std::stable_sort(summary.rows.begin(), summary.rows.end(),
                     [](const PropertyRow &a, const PropertyRow &b) {
                         if (a.editable != b.editable)
                             return a.editable;
                         return a.displayName.compare(b.displayName, Qt::CaseInsensitive) < 0;
                     });
    return summary;
}

std::variant<std::unique_ptr<EditLightsCommand>, Problem>
plan(const MapModel &model, const QList<quint64> &lightUids, const Request &request,
     const DeviceDictionary &dictionary, const PropertyMapper &mapper)
{
    QList<const Light *> lights;
    lights.reserve(lightUids.size());
    for (const quint64 uid : lightUids)
        if (const Light *light = model.light(uid))
            lights.append(light);

    QMap<QString, QString> typeProperties;
    if (request.fixtureType) {
        if (!FixtureTypes::exists(dictionary, *request.fixtureType))
            return Problem{
                QStringLiteral("There is no fixture type \"%1\".").arg(*request.fixtureType)};
        typeProperties = FixtureTypes::defaultProperties(dictionary, *request.fixtureType);
    }
    if (request.port && (*request.port < 1 || *request.port > 255))
        return Problem{QStringLiteral("Port %1 does not exist: ports are numbered from 1 to 255.")
                           .arg(*request.port)};
    if (request.dmxMode != Request::DmxMode::NoChange &&
        (request.dmxAddress < 1 || request.dmxAddress > kChannelsPerPort))
        return Problem{QStringLiteral("DMX address %1 does not exist: DMX addresses run from 1 "
                                      "to 512.")
                           .arg(request.dmxAddress)};

    // Values must be ones the property map allows.
    for (auto it = request.properties.cbegin(); it != request.properties.cend(); ++it) {
        const auto property = mapper.property(it.key());
        if (!property || property->values().isEmpty())
            continue;
        bool ok = false;
        const qint64 value = it.value().toLongLong(&ok);
        const PropertyValues &allowed = property->values();
        const bool fits = ok && (allowed.hasOptions() ? allowed.optionText(value).has_value()
                                                      : allowed.inBounds(value));
        if (!fits)
            return Problem{QStringLiteral("%1 is not a value of %2.")
                               .arg(it.value(), mapper.displayName(it.key()))};
    }

    TypeCache types(dictionary);
    QVector<LightFieldValues> values;
    values.reserve(lights.size());
    int nextAddress = request.dmxAddress;
    for (int i = 0; i < lights.size(); ++i) {
        const Light &light = *lights.at(i);
        const DataSupply *supply = model.dataSupply(light.dataSupply());
        LightFieldValues edit;
        edit.lightUid = light.uid();
        if (request.name)
            edit.name = numberedName(*request.name, i, lights.size());
        if (request.port) {
            const int available = supply ? supply->portCount() : 1;
            if (*request.port > available)
                return Problem{QStringLiteral("Port %1 is not on the interface of \"%2\", which "
                                              "has %3 port(s).")
                                   .arg(*request.port)
                                   .arg(light.name())
                                   .arg(available)};
            edit.portNumber = unsigned(*request.port - 1);
        }
        QMap<QString, QString> after = light.deviceProperties();
        const auto set = [&](const QString &token, const std::optional<QString> &value) {
            edit.properties.insert(token, value);
            if (value)
                after.insert(token, *value);
            else
                after.remove(token);
        };
        if (request.fixtureType) {
            if (types.isFixed(light) && types.typeOf(light) != *request.fixtureType)
                return Problem{QStringLiteral("\"%1\" is a %2: its serial number fixes its "
                                              "fixture type.")
                                   .arg(light.name(), types.typeOf(light))};
            // Settings of the old type that the new one lacks go; the new type's defaults
            // come in.
            const QStringList newTokens = FixtureTypes::tokens(dictionary, *request.fixtureType);
            for (const QString &token : FixtureTypes::tokensOfLight(
                     dictionary, light.serialNumber(), light.deviceProperties()))
                if (token != kDmxOffset && after.contains(token) && !newTokens.contains(token) &&
                    !typeProperties.contains(token))
                    set(token, std::nullopt);
            for (auto it = typeProperties.cbegin(); it != typeProperties.cend(); ++it)
                set(it.key(), it.value());
        }
        // A setting reaches only the lights whose definitions name it.
        const QStringList tokens =
            FixtureTypes::tokensOfLight(dictionary, light.serialNumber(), after);
        for (auto it = request.properties.cbegin(); it != request.properties.cend(); ++it) {
            if (!tokens.contains(it.key()))
                continue;
            const auto entry = FixtureTypes::memoryMapEntryOfLight(dictionary, light.serialNumber(),
                                                                   after, it.key());
            if (entry && (!entry->userConfigurable() || entry->readOnly()))
                return Problem{QStringLiteral("%1 of \"%2\" is read only.")
                                   .arg(mapper.displayName(it.key()), light.name())};
            set(it.key(), it.value());
        }
        // Every light must end inside its port's 512 channels, whether its address or its
        // channel count changed.
        const bool useProfiles = supply && supply->usesLedProfiles();
        const int channels = channelsOf(light, after, useProfiles);
        const bool addressed = request.dmxMode != Request::DmxMode::NoChange;
        const int address = !addressed                                  ? dmxOffsetOf(light) + 1
                            : request.dmxMode == Request::DmxMode::Same ? request.dmxAddress
                                                                        : nextAddress;
        if ((addressed || channels != channelsOf(light, light.deviceProperties(), useProfiles)) &&
            address + channels - 1 > kChannelsPerPort)
            return Problem{QStringLiteral("DMX address %1 would put \"%2\" (%3 channels) past "
                                          "channel 512. Nothing was changed.")
                               .arg(address)
                               .arg(light.name())
                               .arg(channels)};
        if (addressed) {
            set(kDmxOffset, QString::number(address - 1));
            edit.channel = address - 1;
            nextAddress = address + channels;
        }
        values.append(std::move(edit));
    }
    return std::make_unique<EditLightsCommand>(std::move(values));
}

} // namespace LightEdit
