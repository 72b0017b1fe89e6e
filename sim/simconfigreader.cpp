#include "sim/simconfigreader.h"

#include <QJsonDocument>
#include <QSet>

namespace {

constexpr int kMaxRun = 4096;
constexpr int kMaxText = 255;
constexpr int kMaxRdmText = 32;
constexpr int kMaxParameterData = 231; // E1.20 parameter data length limit

// A key such as "64" or "0x40": decimal unless prefixed with 0x.
std::optional<quint64> parseKey(const QString &key)
{
    bool ok = false;
    const quint64 value = key.startsWith(QLatin1String("0x"), Qt::CaseInsensitive)
                              ? key.mid(2).toULongLong(&ok, 16)
                              : key.toULongLong(&ok, 10);
    return ok ? std::optional<quint64>(value) : std::nullopt;
}

// Serials and ids: hexadecimal text (optionally "0x"-prefixed) or a non-negative whole number.
std::optional<quint64> parseHex(const QJsonValue &value, int bits)
{
    quint64 number = 0;
    if (value.isString()) {
        QString text = value.toString().trimmed();
        if (text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive))
            text = text.mid(2);
        bool ok = false;
        number = text.toULongLong(&ok, 16);
        if (!ok || text.isEmpty())
            return std::nullopt;
    } else if (value.isDouble()) {
        const double d = value.toDouble();
        if (d < 0 || d != static_cast<double>(static_cast<quint64>(d)))
            return std::nullopt;
        number = static_cast<quint64>(d);
    } else {
        return std::nullopt;
    }
    if (bits < 64 && number >> bits)
        return std::nullopt;
    return number;
}

// A whole number within [min, max]; absent keys give `fallback`.
std::optional<qint64> wholeNumber(const QJsonObject &object, const char *key, qint64 min,
                                  qint64 max, qint64 fallback)
{
    const QJsonValue value = object.value(QLatin1String(key));
    if (value.isUndefined())
        return fallback;
    if (!value.isDouble())
        return std::nullopt;
    const double d = value.toDouble();
    if (d < double(min) || d > double(max) || d != static_cast<double>(static_cast<qint64>(d)))
        return std::nullopt;
    return static_cast<qint64>(d);
}

QString quoted(const char *key)
{
    return QLatin1Char('"') + QLatin1String(key) + QLatin1Char('"');
}

std::optional<QByteArray> parseMac(const QString &text)
{
    const QStringList parts = text.split(QLatin1Char(':'));
    if (parts.size() != 6)
        return std::nullopt;
    QByteArray mac;
    for (const QString &part : parts) {
        bool ok = false;
        const uint byte = part.toUInt(&ok, 16);
        if (!ok || part.size() != 2 || byte > 0xFF)
            return std::nullopt;
        mac.append(static_cast<char>(byte));
    }
    return mac;
}

} // namespace

std::optional<SimInstallation> SimConfigReader::read(const QByteArray &json)
{
    m_error.clear();
    m_lights = 0;
    m_memoryBytes = 0;
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(json, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        fail(QStringLiteral("offset %1").arg(parseError.offset), parseError.errorString());
        return std::nullopt;
    }
    if (!document.isObject()) {
        fail(QStringLiteral("document"), QStringLiteral("the top level is not an object"));
        return std::nullopt;
    }
    const QJsonObject root = document.object();
    SimInstallation installation;
    if (root.contains(QLatin1String("faults"))) {
        if (!root.value(QLatin1String("faults")).isObject()) {
            fail(QStringLiteral("faults"), QStringLiteral("not an object"));
            return std::nullopt;
        }
        if (!readFaults(root.value(QLatin1String("faults")).toObject(), &installation.faults))
            return std::nullopt;
    }
    const QJsonValue supplies = root.value(QLatin1String("supplies"));
    if (!supplies.isArray()) {
        fail(QStringLiteral("supplies"), QStringLiteral("missing or not an array"));
        return std::nullopt;
    }
    const QJsonArray array = supplies.toArray();
    if (array.size() > kMaxSupplies) {
        fail(QStringLiteral("supplies"), QStringLiteral("more than %1 supplies").arg(kMaxSupplies));
        return std::nullopt;
    }
    for (int i = 0; i < array.size(); ++i) {
        const QString path = QStringLiteral("supplies[%1]").arg(i);
        if (!array.at(i).isObject()) {
            fail(path, QStringLiteral("not an object"));
            return std::nullopt;
        }
        SimSupply supply;
        if (!readSupply(array.at(i).toObject(), i, &supply) || !checkSupply(supply, path))
            return std::nullopt;
        installation.supplies.append(supply);
    }
    if (!checkUnique(installation))
        return std::nullopt;
    return installation;
}

bool SimConfigReader::fail(const QString &path, const QString &message)
{
    m_error = path + QStringLiteral(": ") + message;
    return false;
}

bool SimConfigReader::readFaults(const QJsonObject &object, SimFaults *faults)
{
    const struct
    {
        const char *key;
        double *share;
    } shares[] = {{"drop", &faults->dropShare},
                  {"duplicate", &faults->duplicateShare},
                  {"delay", &faults->delayShare}};
    for (const auto &share : shares) {
        const QJsonValue value = object.value(QLatin1String(share.key));
        if (value.isUndefined())
            continue;
        if (!value.isDouble() || value.toDouble() < 0 || value.toDouble() > 1)
            return fail(QStringLiteral("faults"),
                        quoted(share.key) + QStringLiteral(" is not a share between 0 and 1"));
        *share.share = value.toDouble();
    }
    const auto delayMs = wholeNumber(object, "delayMs", 0, 60000, faults->delayMs);
    if (!delayMs)
        return fail(QStringLiteral("faults"), QStringLiteral("\"delayMs\" is not 0..60000"));
    const auto seed = wholeNumber(object, "seed", 0, 0xFFFFFFFFll, faults->seed);
    if (!seed)
        return fail(QStringLiteral("faults"), QStringLiteral("\"seed\" is not a 32-bit number"));
    faults->delayMs = static_cast<int>(*delayMs);
    faults->seed = static_cast<quint32>(*seed);
    return true;
}

bool SimConfigReader::readSupply(const QJsonObject &object, int index, SimSupply *supply)
{
    const QString path = QStringLiteral("supplies[%1]").arg(index);
    supply->address = QHostAddress(SimInstallation::kFirstDefaultAddress + quint32(index));
    supply->mac = QByteArray::fromHex("024C00000000");
    supply->mac[5] = static_cast<char>((index + 1) & 0xFF);
    supply->idText = QStringLiteral("Sim Supply %1").arg(index + 1);
    if (!readSupplyIdentity(object, path, supply))
        return false;
    if (!readVariables(object.value(QLatin1String("variables")), path, supply))
        return false;
    const QJsonValue ports = object.value(QLatin1String("ports"));
    if (!ports.isArray())
        return fail(path, QStringLiteral("\"ports\" is missing or not an array"));
    const QJsonArray array = ports.toArray();
    for (int i = 0; i < array.size(); ++i) {
        const QString portPath = path + QStringLiteral(".ports[%1]").arg(i);
        if (!array.at(i).isObject())
            return fail(portPath, QStringLiteral("not an object"));
        SimPort port;
        port.number = static_cast<quint8>(i + 1);
        if (!readPort(array.at(i).toObject(), portPath, &port))
            return false;
        supply->ports.append(port);
    }
    return true;
}

bool SimConfigReader::readSupplyIdentity(const QJsonObject &object, const QString &path,
                                         SimSupply *supply)
{
    if (object.contains(QLatin1String("address"))) {
        const QHostAddress address(object.value(QLatin1String("address")).toString());
        if (address.protocol() != QAbstractSocket::IPv4Protocol)
            return fail(path, QStringLiteral("\"address\" is not an IPv4 address"));
        supply->address = address;
    }
    if (object.contains(QLatin1String("mac"))) {
        const auto mac = parseMac(object.value(QLatin1String("mac")).toString());
        if (!mac)
            return fail(path, QStringLiteral("\"mac\" is not six hexadecimal byte pairs"));
        supply->mac = *mac;
    }
    const auto serial = parseHex(object.value(QLatin1String("serial")), 64);
    if (!serial)
        return fail(path, QStringLiteral("\"serial\" is missing or not hexadecimal"));
    supply->serial = *serial;
    supply->wideSerial = object.value(QLatin1String("wideSerial")).toBool(false);
    const auto version = wholeNumber(object, "version", 1, 3, 2);
    const auto universe = wholeNumber(object, "universe", 0, 0xFFFFFFFFll, 0);
    const auto entryType = wholeNumber(object, "rdmEntryType", 3, 4, 4);
    if (!version)
        return fail(path, QStringLiteral("\"version\" is not 1, 2 or 3"));
    if (!universe)
        return fail(path, QStringLiteral("\"universe\" is not a 32-bit number"));
    if (!entryType)
        return fail(path, QStringLiteral("\"rdmEntryType\" is not 3 or 4"));
    supply->version = static_cast<quint16>(*version);
    supply->universe = static_cast<quint32>(*universe);
    supply->rdmEntryType = static_cast<quint8>(*entryType);
    supply->versionText = object.value(QLatin1String("versionText")).toString();
    supply->idText = object.value(QLatin1String("idText")).toString(supply->idText);
    if (supply->versionText.size() > kMaxText || supply->idText.size() > kMaxText)
        return fail(path, QStringLiteral("texts are limited to %1 characters").arg(kMaxText));
    return true;
}

bool SimConfigReader::readVariables(const QJsonValue &value, const QString &path, SimSupply *supply)
{
    if (value.isUndefined())
        return true;
    if (!value.isObject())
        return fail(path, QStringLiteral("\"variables\" is not an object"));
    const QJsonObject object = value.toObject();
    for (auto it = object.begin(); it != object.end(); ++it) {
        const auto id = parseKey(it.key());
        const auto number = parseHex(it.value(), 32);
        if (!id || *id > 0xFFFF || !it.value().isDouble() || !number)
            return fail(
                path + QStringLiteral(".variables"),
                QStringLiteral("\"%1\" is not a 16-bit id with a 32-bit value").arg(it.key()));
        supply->variables.insert(static_cast<quint16>(*id), static_cast<quint32>(*number));
    }
    return true;
}

bool SimConfigReader::readPort(const QJsonObject &object, const QString &path, SimPort *port)
{
    const auto number = wholeNumber(object, "number", 1, 255, port->number);
    const auto type = wholeNumber(object, "type", 0, 255, port->type);
    if (!number)
        return fail(path, QStringLiteral("\"number\" is not 1..255"));
    if (!type)
        return fail(path, QStringLiteral("\"type\" is not 0..255"));
    port->number = static_cast<quint8>(*number);
    port->type = static_cast<quint8>(*type);
    const QJsonValue answers = object.value(QLatin1String("answersScan"));
    if (!answers.isUndefined() && !answers.isBool())
        return fail(path, QStringLiteral("\"answersScan\" is not true or false"));
    port->answersScan = answers.toBool(true);
    return readLights(object, path, port);
}

bool SimConfigReader::readLights(const QJsonObject &object, const QString &path, SimPort *port)
{
    const QJsonValue lights = object.value(QLatin1String("lights"));
    if (lights.isUndefined())
        return true;
    if (!lights.isArray())
        return fail(path, QStringLiteral("\"lights\" is not an array"));
    const QJsonArray array = lights.toArray();
    for (int i = 0; i < array.size(); ++i) {
        const QString lightPath = path + QStringLiteral(".lights[%1]").arg(i);
        if (!array.at(i).isObject())
            return fail(lightPath, QStringLiteral("not an object"));
        const QJsonObject entry = array.at(i).toObject();
        SimLight first;
        if (!readLightCommon(entry, lightPath, &first))
            return false;
        const auto count = wholeNumber(entry, "count", 1, kMaxRun, 1);
        if (!count)
            return fail(lightPath, QStringLiteral("\"count\" is not 1..%1").arg(kMaxRun));
        const quint64 lastSerial = first.serial + quint64(*count - 1);
        const int lastChannel = first.dmxOffset() + int(*count) * first.footprint;
        if ((!first.isRdm() && lastSerial > 0xFFFFFFFFull) || lastSerial >> 48)
            return fail(lightPath, QStringLiteral("the run of serials overflows"));
        if (lastChannel > SimLight::kMaxDmxOffset + 1)
            return fail(lightPath, QStringLiteral("the light's channels run past 512"));
        // Every light of a run gets its own memory image.
        m_lights += int(*count);
        m_memoryBytes += *count * first.memory.size();
        if (m_lights > kMaxLights)
            return fail(
                lightPath,
                QStringLiteral("the installation holds more than %1 lights").arg(kMaxLights));
        if (m_memoryBytes > kMaxMemoryBytes)
            return fail(lightPath, QStringLiteral("the lights' memory images exceed %1 MB together")
                                       .arg(kMaxMemoryBytes >> 20));
        for (int n = 0; n < *count; ++n) {
            SimLight light = first;
            light.serial = first.serial + quint64(n);
            light.setDmxOffset(static_cast<quint16>(first.dmxOffset() + n * first.footprint));
            port->lights.append(light);
        }
    }
    return true;
}

bool SimConfigReader::readLightCommon(const QJsonObject &object, const QString &path,
                                      SimLight *light)
{
    const bool hasSerial = object.contains(QLatin1String("serial"));
    const bool hasUid = object.contains(QLatin1String("uid"));
    if (hasSerial == hasUid)
        return fail(path, QStringLiteral("give exactly one of \"serial\" and \"uid\""));
    light->kind = hasUid ? SimLight::Kind::Rdm : SimLight::Kind::Classic;
    const auto serial =
        parseHex(object.value(QLatin1String(hasUid ? "uid" : "serial")), hasUid ? 48 : 32);
    if (!serial)
        return fail(path, hasUid ? QStringLiteral("\"uid\" is not a 48-bit hexadecimal number")
                                 : QStringLiteral("\"serial\" is not a 32-bit hexadecimal number"));
    light->serial = *serial;
    const auto footprint = wholeNumber(object, "footprint", 1, 512, 3);
    const auto offset = wholeNumber(object, "dmxOffset", 0, SimLight::kMaxDmxOffset, 0);
    const auto firmware = wholeNumber(object, "firmware", 0, 255, 0);
    if (!footprint)
        return fail(path, QStringLiteral("\"footprint\" is not 1..512"));
    if (!offset)
        return fail(path, QStringLiteral("\"dmxOffset\" is not 0..511"));
    if (!firmware)
        return fail(path, QStringLiteral("\"firmware\" is not a byte"));
    light->footprint = static_cast<quint16>(*footprint);
    light->writeMemory(SimLight::kFirmwareVersion, static_cast<quint8>(*firmware));
    light->setDmxOffset(static_cast<quint16>(*offset));
    if (!readMemory(object.value(QLatin1String("memory")), path, light))
        return false;
    return !light->isRdm() || readRdm(object, path, &light->rdm);
}

bool SimConfigReader::readMemory(const QJsonValue &value, const QString &path, SimLight *light)
{
    if (value.isUndefined())
        return true;
    if (!value.isObject())
        return fail(path, QStringLiteral("\"memory\" is not an object"));
    const QJsonObject object = value.toObject();
    for (auto it = object.begin(); it != object.end(); ++it) {
        const auto address = parseKey(it.key());
        const double byte = it.value().toDouble(-1);
        if (!address || *address >= SimLight::kMaxMemorySize || !it.value().isDouble() ||
            byte < 0 || byte > 255 || byte != double(int(byte)))
            return fail(
                path + QStringLiteral(".memory"),
                QStringLiteral("\"%1\" is not a 16-bit address with a byte value").arg(it.key()));
        light->writeMemory(static_cast<quint16>(*address), static_cast<quint8>(byte));
    }
    return true;
}

bool SimConfigReader::readRdm(const QJsonObject &object, const QString &path, SimRdmInfo *rdm)
{
    const auto model = wholeNumber(object, "deviceModelId", 0, 0xFFFF, 0);
    const auto category = wholeNumber(object, "productCategory", 0, 0xFFFF, 0);
    const auto software = wholeNumber(object, "softwareVersionId", 0, 0xFFFFFFFFll, 0);
    const auto personality = wholeNumber(object, "personality", 1, 255, 1);
    const auto personalities = wholeNumber(object, "personalityCount", 1, 255, 1);
    const auto subDevices = wholeNumber(object, "subDeviceCount", 0, 512, 0);
    const auto sensors = wholeNumber(object, "sensorCount", 0, 255, 0);
    if (!model || !category || !software || !personality || !personalities || !subDevices ||
        !sensors)
        return fail(path, QStringLiteral("an RDM device-info field is out of range"));
    rdm->deviceModelId = static_cast<quint16>(*model);
    rdm->productCategory = static_cast<quint16>(*category);
    rdm->softwareVersionId = static_cast<quint32>(*software);
    rdm->personality = static_cast<quint8>(*personality);
    rdm->personalityCount = static_cast<quint8>(*personalities);
    rdm->subDeviceCount = static_cast<quint16>(*subDevices);
    rdm->sensorCount = static_cast<quint8>(*sensors);
    rdm->modelDescription = object.value(QLatin1String("model")).toString();
    rdm->softwareVersionLabel = object.value(QLatin1String("softwareVersionLabel")).toString();
    if (rdm->modelDescription.size() > kMaxRdmText ||
        rdm->softwareVersionLabel.size() > kMaxRdmText)
        return fail(path, QStringLiteral("RDM texts are limited to 32 characters"));
    const QJsonValue refused = object.value(QLatin1String("refuse"));
    if (!refused.isUndefined()) {
        if (!refused.isArray())
            return fail(path, QStringLiteral("\"refuse\" is not an array of parameter ids"));
        for (const QJsonValue &entry : refused.toArray()) {
            const auto pid = parseKey(entry.toString());
            if (!entry.isString() || !pid || *pid > 0xFFFF)
                return fail(path + QStringLiteral(".refuse"),
                            QStringLiteral("\"%1\" is not a parameter id").arg(entry.toString()));
            rdm->refused.append(static_cast<quint16>(*pid));
        }
    }
    const QJsonValue parameters = object.value(QLatin1String("parameters"));
    if (parameters.isUndefined())
        return true;
    if (!parameters.isObject())
        return fail(path, QStringLiteral("\"parameters\" is not an object"));
    const QJsonObject table = parameters.toObject();
    for (auto it = table.begin(); it != table.end(); ++it) {
        const auto pid = parseKey(it.key());
        const QString hex = it.value().toString();
        const QByteArray data = QByteArray::fromHex(hex.toLatin1());
        if (!pid || *pid > 0xFFFF || !it.value().isString() || data.size() * 2 != hex.size() ||
            data.size() > kMaxParameterData)
            return fail(
                path + QStringLiteral(".parameters"),
                QStringLiteral("\"%1\" is not a parameter id with hexadecimal data").arg(it.key()));
        rdm->parameters.insert(static_cast<quint16>(*pid), data);
    }
    return true;
}

bool SimConfigReader::checkSupply(const SimSupply &supply, const QString &path)
{
    QSet<quint8> numbers;
    for (const SimPort &port : supply.ports) {
        if (numbers.contains(port.number))
            return fail(path, QStringLiteral("port number %1 appears twice").arg(port.number));
        numbers.insert(port.number);
    }
    if (supply.version != 1)
        return true;
    if (supply.ports.size() != 1)
        return fail(path, QStringLiteral("a version-1 supply has exactly one port"));
    for (const SimLight &light : supply.ports.first().lights) {
        if (light.isRdm())
            return fail(path, QStringLiteral("a version-1 supply carries no RDM lights"));
    }
    return true;
}

bool SimConfigReader::checkUnique(const SimInstallation &installation)
{
    QSet<quint32> addresses;
    QSet<quint64> classic;
    QSet<quint64> rdm;
    for (int i = 0; i < installation.supplies.size(); ++i) {
        const SimSupply &supply = installation.supplies.at(i);
        const QString path = QStringLiteral("supplies[%1]").arg(i);
        if (addresses.contains(supply.address.toIPv4Address()))
            return fail(path, QStringLiteral("address %1 is used by an earlier supply")
                                  .arg(supply.address.toString()));
        addresses.insert(supply.address.toIPv4Address());
        for (const SimPort &port : supply.ports) {
            for (const SimLight &light : port.lights) {
                QSet<quint64> &seen = light.isRdm() ? rdm : classic;
                if (seen.contains(light.serial))
                    return fail(path, QStringLiteral("light %1 appears twice")
                                          .arg(QString::number(light.serial, 16).toUpper()));
                seen.insert(light.serial);
            }
        }
    }
    return true;
}
