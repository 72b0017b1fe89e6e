#include "layout/lightcreator.h"

#include "model/datasupply.h"
#include "model/light.h"
#include "model/mapmodel.h"
#include "model/supplyframetable.h"

#include <algorithm>
#include <memory>

using namespace CreationRules;

const QString LightCreator::kParseErrorTitle = QStringLiteral("Parse Error");
const QString LightCreator::kParseErrorText =
    QStringLiteral("Unable to parse serial number of selected controller");
const QString LightCreator::kFindFailureTitle = QStringLiteral("Find Failure");
const QString LightCreator::kFindFailureText =
    QStringLiteral("Unable to find specified controller in map");
const QString LightCreator::kLightTypeProperty = QStringLiteral("LIGHT_TYPE");

LightCreator::LightCreator(MapModel &model, CreationRequest request)
    : m_model(model), m_request(std::move(request))
{
}

std::optional<CreationProblem> LightCreator::prepare()
{
    m_slots.clear();
    m_prefix = namePrefix(m_request.baseName);
    if (m_request.interfaceChoice == CreationRequest::InterfaceChoice::Existing) {
        const QString serialText = m_request.interfaceText.section(QLatin1Char(' '), 0, 0);
        bool ok = false;
        const quint64 serial = serialText.toULongLong(&ok, 16);
        if (!ok)
            return CreationProblem{kParseErrorTitle, kParseErrorText};
        // Interfaces made by hand all carry the unknown serial FFFFFFFF: among several with
        // the serial, the one the combo box named (serial and name) is meant, else the oldest.
        const DataSupply *found = nullptr;
        for (const DataSupply *supply : m_model.dataSupplies()) {
            if (supply->serialNumber() != serial)
                continue;
            const bool named = interfaceText(*supply) == m_request.interfaceText;
            const bool foundNamed = found && interfaceText(*found) == m_request.interfaceText;
            if (!found || (named && !foundNamed) ||
                (named == foundNamed && supply->uid() < found->uid()))
                found = supply;
        }
        if (!found)
            return CreationProblem{kFindFailureTitle, kFindFailureText};
        m_supplyUid = found->uid();
        m_newSupply = false;
    } else {
        m_newSupply = true;
    }

    const int count = m_request.positions.size();
    if (count > kMaxLights)
        return CreationProblem{
            QStringLiteral("Error"),
            QStringLiteral("At most %1 lights can be made at once.").arg(kMaxLights)};
    m_channels = channelsFor(m_request.properties);
    const int baseOffset = std::clamp(m_request.baseDmxAddress, 1, kChannelsPerPort) - 1;
    const auto planned = dmxSlots(count, m_channels, m_request.port, baseOffset, m_request.ports);
    if (!planned) {
        const int needed = portsNeeded(count, m_channels, baseOffset);
        return CreationProblem{
            QStringLiteral("Error"),
            QStringLiteral("%1 lights of %2 channels from DMX address %3 of port %4 need %5 "
                           "ports; %6 allowed (ports end at %7).")
                .arg(count)
                .arg(m_channels)
                .arg(baseOffset + 1)
                .arg(m_request.port)
                .arg(needed)
                .arg(m_request.ports)
                .arg(kMaxPortNumber)};
    }
    m_slots = *planned;
    if (!m_request.numbering.isEmpty() && m_request.numbering.size() != count)
        m_request.numbering.clear();
    m_made = 0;
    m_created.clear();
    m_created.reserve(count);
    m_supplyReady = false;
    return std::nullopt;
}

int LightCreator::createNext(int count)
{
    if (m_slots.isEmpty())
        return 0;
    if (!m_supplyReady) {
        if (m_newSupply)
            makeSupply();
        m_supplyReady = true;
    }
    const int end = std::min(m_made + std::max(count, 0), int(m_slots.size()));
    const int before = m_made;
    for (; m_made < end; ++m_made)
        makeLight(m_made);
    return m_made - before;
}

void LightCreator::run(int interval, const std::function<bool(int)> &progress)
{
    interval = std::max(interval, 1);
    while (!isDone()) {
        createNext(interval);
        if (progress && !progress(m_made))
            return;
    }
}

void LightCreator::makeSupply()
{
    auto supply = std::make_unique<DataSupply>(DataSupply::VistraIp);
    m_supplyUid = m_model.newUid();
    supply->setUid(m_supplyUid);
    supply->setName(m_prefix + QStringLiteral(" Interface"));
    const int lastPort = m_slots.isEmpty() ? m_request.port : m_slots.constLast().port;
    supply->setPortCount(quint8(std::clamp(lastPort, 1, kMaxPortNumber)));
    m_model.addDataSupply(std::move(supply));
}

void LightCreator::makeLight(int index)
{
    DataSupply *supply = m_model.dataSupply(m_supplyUid);
    if (!supply)
        return;
    const int numberIndex = m_request.numbering.isEmpty() ? index : m_request.numbering.at(index);
    const DmxSlot slot = m_slots.at(numberIndex);
    if (slot.port > supply->portCount())
        supply->setPortCount(quint8(slot.port));

    auto light = std::make_unique<Light>();
    const quint64 uid = m_model.newUid();
    light->setUid(uid);
    light->setDataSupply(m_supplyUid);
    const QPoint position = m_request.positions.at(index);
    light->setPosition(position.x(), position.y(), 0);
    light->setPortNumber(unsigned(slot.port - 1));
    light->setLightNumber(slot.offset / m_channels);
    for (auto it = m_request.properties.cbegin(); it != m_request.properties.cend(); ++it)
        light->setDeviceProperty(it.key(), it.value());
    light->setDeviceProperty(QStringLiteral("DMX_OFFSET"), QString::number(slot.offset));
    if (!m_request.typeText.isEmpty())
        light->setDeviceProperty(kLightTypeProperty, m_request.typeText);
    Light *added = light.get();
    if (!m_model.addLight(std::move(light)))
        return;
    supply->addLight(uid);
    // Named through the model's light so that the views hear of it.
    added->setName(lightName(m_prefix, m_request.typeText, slot, m_channels));
    m_created.append(uid);
}

QString LightCreator::interfaceText(const DataSupply &supply)
{
    return QString::number(supply.serialNumber(), 16).toUpper() + QLatin1Char(' ') + supply.name();
}

int LightCreator::lastUsedChannel(const MapModel &model, const DataSupply &supply, int portIndex)
{
    int last = 0;
    for (const quint64 uid : supply.lights()) {
        const Light *light = model.light(uid);
        if (!light || int(light->portNumber()) != portIndex)
            continue;
        bool ok = false;
        const int offset = light->deviceProperty(QStringLiteral("DMX_OFFSET")).toInt(&ok);
        const int start = ok ? offset : light->channel();
        const int footprint = SupplyFrameTable::formatFor(*light, false).footprint();
        last = std::max(last, start + footprint - 1);
    }
    return last;
}

int LightCreator::channelsFor(const QMap<QString, QString> &properties)
{
    Light probe;
    for (auto it = properties.cbegin(); it != properties.cend(); ++it)
        probe.setDeviceProperty(it.key(), it.value());
    return std::max(1, SupplyFrameTable::formatFor(probe, false).footprint());
}

QRectF LightCreator::lightBounds(const MapModel &model)
{
    QVector<QPointF> positions;
    positions.reserve(model.lightCount());
    for (const Light *light : model.lightHash())
        positions.append(QPointF(light->x(), light->y()));
    return boundsOf(positions);
}
