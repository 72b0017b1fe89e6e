#include "sim/siminstallation.h"

#include "sim/simconfigreader.h"
#include "sim/simlogging.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QStringList>

namespace {

QString hex(quint64 value, int digits)
{
    return QStringLiteral("%1").arg(value, digits, 16, QLatin1Char('0')).toUpper();
}

QString macText(const QByteArray &mac)
{
    return QString::fromLatin1(mac.toHex(':').toUpper());
}

QJsonObject lightToJson(const SimLight &light)
{
    QJsonObject object;
    object.insert(light.isRdm() ? QStringLiteral("uid") : QStringLiteral("serial"),
                  hex(light.serial, light.isRdm() ? 12 : 8));
    object.insert(QStringLiteral("dmxOffset"), light.dmxOffset());
    object.insert(QStringLiteral("footprint"), light.footprint);
    object.insert(QStringLiteral("firmware"), light.readMemory(SimLight::kFirmwareVersion));
    QJsonObject memory;
    for (int address = 0; address < light.memory.size(); ++address) {
        if (address == SimLight::kFirmwareVersion || address == SimLight::kDmxOffsetHigh ||
            address == SimLight::kDmxOffsetLow)
            continue;
        const quint8 byte = light.readMemory(static_cast<quint16>(address));
        // The last byte of a grown memory is kept even when zero, so the size survives.
        const bool last = address == light.memory.size() - 1 && address >= SimLight::kMemorySize;
        if (byte != 0 || last)
            memory.insert(QString::number(address), byte);
    }
    if (!memory.isEmpty())
        object.insert(QStringLiteral("memory"), memory);
    if (!light.isRdm())
        return object;
    const SimRdmInfo &rdm = light.rdm;
    object.insert(QStringLiteral("model"), rdm.modelDescription);
    object.insert(QStringLiteral("deviceModelId"), rdm.deviceModelId);
    object.insert(QStringLiteral("productCategory"), rdm.productCategory);
    object.insert(QStringLiteral("softwareVersionId"), double(rdm.softwareVersionId));
    object.insert(QStringLiteral("softwareVersionLabel"), rdm.softwareVersionLabel);
    object.insert(QStringLiteral("personality"), rdm.personality);
    object.insert(QStringLiteral("personalityCount"), rdm.personalityCount);
    object.insert(QStringLiteral("subDeviceCount"), rdm.subDeviceCount);
    object.insert(QStringLiteral("sensorCount"), rdm.sensorCount);
    QJsonObject parameters;
    for (auto it = rdm.parameters.begin(); it != rdm.parameters.end(); ++it)
        parameters.insert(QStringLiteral("0x") + hex(it.key(), 4),
                          QString::fromLatin1(it.value().toHex().toUpper()));
    if (!parameters.isEmpty())
        object.insert(QStringLiteral("parameters"), parameters);
    QJsonArray refused;
    for (quint16 pid : rdm.refused)
        refused.append(QStringLiteral("0x") + hex(pid, 4));
    if (!refused.isEmpty())
        object.insert(QStringLiteral("refuse"), refused);
    return object;
}

QJsonObject supplyToJson(const SimSupply &supply)
{
    QJsonObject object;
    object.insert(QStringLiteral("address"), supply.address.toString());
    object.insert(QStringLiteral("mac"), macText(supply.mac));
    object.insert(QStringLiteral("serial"), hex(supply.serial, supply.usesWideSerial() ? 12 : 8));
    object.insert(QStringLiteral("wideSerial"), supply.wideSerial);
    object.insert(QStringLiteral("version"), supply.version);
    object.insert(QStringLiteral("universe"), double(supply.universe));
    object.insert(QStringLiteral("versionText"), supply.versionText);
    object.insert(QStringLiteral("idText"), supply.idText);
    object.insert(QStringLiteral("rdmEntryType"), supply.rdmEntryType);
    QJsonObject variables;
    for (auto it = supply.variables.begin(); it != supply.variables.end(); ++it)
        variables.insert(QString::number(it.key()), double(it.value()));
    object.insert(QStringLiteral("variables"), variables);
    QJsonArray ports;
    for (const SimPort &port : supply.ports) {
        QJsonArray lights;
        for (const SimLight &light : port.lights)
            lights.append(lightToJson(light));
        QJsonObject portObject{{QStringLiteral("number"), port.number},
                               {QStringLiteral("type"), port.type},
                               {QStringLiteral("lights"), lights}};
        if (!port.answersScan)
            portObject.insert(QStringLiteral("answersScan"), false);
        ports.append(portObject);
    }
    object.insert(QStringLiteral("ports"), ports);
    return object;
}

// "classic 10310001-10310032 (DMX 1-150)": consecutive serials of one kind collapse to a range.
QStringList describeRuns(const QVector<SimLight> &lights)
{
    QStringList runs;
    int start = 0;
    for (int i = 1; i <= lights.size(); ++i) {
        const bool breaks = i == lights.size() || lights.at(i).kind != lights.at(start).kind ||
                            lights.at(i).serial != lights.at(i - 1).serial + 1;
        if (!breaks)
            continue;
        const SimLight &first = lights.at(start);
        const SimLight &last = lights.at(i - 1);
        const int digits = first.isRdm() ? 12 : 8;
        runs << QStringLiteral("%1 %2-%3 (DMX %4-%5)")
                    .arg(first.isRdm() ? QStringLiteral("RDM") : QStringLiteral("classic"),
                         hex(first.serial, digits), hex(last.serial, digits))
                    .arg(first.dmxOffset() + 1)
                    .arg(last.dmxOffset() + last.footprint);
        start = i;
    }
    return runs;
}

} // namespace

SimInstallation SimInstallation::builtIn()
{
    QString error;
    const auto installation = fromFile(builtInPath(), &error);
    // The file is compiled in and covered by tests; failing here is a build mistake.
    Q_ASSERT_X(installation, "SimInstallation::builtIn", qPrintable(error));
    if (!installation)
        qCWarning(lcSim) << "Built-in installation does not load:" << error;
    return installation.value_or(SimInstallation());
}

QString SimInstallation::builtInPath()
{
    // Resources of a static library are registered explicitly on first use.
    static const bool registered = [] {
        Q_INIT_RESOURCE(sim);
        return true;
    }();
    Q_UNUSED(registered);
    return QStringLiteral(":/sim/default-installation.json");
}

std::optional<SimInstallation> SimInstallation::fromJson(const QByteArray &json, QString *error)
{
    SimConfigReader reader;
    auto installation = reader.read(json);
    if (!installation && error)
        *error = reader.errorString();
    return installation;
}

std::optional<SimInstallation> SimInstallation::fromFile(const QString &path, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return std::nullopt;
    }
    // Configurations of the largest installations are a few megabytes.
    constexpr qint64 kMaxFileBytes = qint64(16) << 20;
    const QByteArray json = file.read(kMaxFileBytes + 1);
    if (json.size() > kMaxFileBytes) {
        if (error)
            *error = QStringLiteral("%1: larger than %2 MB").arg(path).arg(kMaxFileBytes >> 20);
        return std::nullopt;
    }
    QString problem;
    auto installation = fromJson(json, &problem);
    if (!installation && error)
        *error = QStringLiteral("%1: %2").arg(path, problem);
    return installation;
}

QJsonObject SimInstallation::toJson() const
{
    QJsonArray array;
    for (const SimSupply &supply : supplies)
        array.append(supplyToJson(supply));
    const QJsonObject faultObject{{QStringLiteral("drop"), faults.dropShare},
                                  {QStringLiteral("duplicate"), faults.duplicateShare},
                                  {QStringLiteral("delay"), faults.delayShare},
                                  {QStringLiteral("delayMs"), faults.delayMs},
                                  {QStringLiteral("seed"), double(faults.seed)}};
    return QJsonObject{{QStringLiteral("faults"), faultObject},
                       {QStringLiteral("supplies"), array}};
}

QString SimInstallation::describe() const
{
    QStringList lines;
    lines << QStringLiteral("%1 supplies, %2 lights").arg(supplies.size()).arg(lightCount());
    for (const SimSupply &supply : supplies) {
        lines << QStringLiteral("%1  v%2  serial %3  universe %4  MAC %5  \"%6\" (%7)")
                     .arg(supply.address.toString())
                     .arg(supply.version)
                     .arg(hex(supply.serial, supply.usesWideSerial() ? 12 : 8))
                     .arg(supply.universe)
                     .arg(macText(supply.mac), supply.idText, supply.versionText);
        for (const SimPort &port : supply.ports) {
            lines << QStringLiteral("  port %1 (type %2): %3 lights: %4%5")
                         .arg(port.number)
                         .arg(port.type)
                         .arg(port.lights.size())
                         .arg(describeRuns(port.lights).join(QStringLiteral(", ")),
                              port.answersScan ? QString() : QStringLiteral("; answers no scan"));
        }
    }
    return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
}

int SimInstallation::lightCount() const
{
    int count = 0;
    for (const SimSupply &supply : supplies)
        count += supply.lightCount();
    return count;
}

bool SimInstallation::isLoopbackOnly() const
{
    for (const SimSupply &supply : supplies) {
        if (!supply.address.isLoopback())
            return false;
    }
    return true;
}

bool SimInstallation::operator==(const SimInstallation &other) const
{
    return supplies == other.supplies && faults == other.faults;
}
