#include "model/mapfilereader.h"

#include "model/datasupply.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapfieldreader.h"
#include "model/mapfileformat.h"
#include "model/mappropertyformat.h"

#include <QHash>
#include <QIODevice>
#include <QSet>

#include <limits>

ParsedMapChild::ParsedMapChild() = default;
ParsedMapChild::ParsedMapChild(ParsedMapChild &&) noexcept = default;
ParsedMapChild &ParsedMapChild::operator=(ParsedMapChild &&) noexcept = default;
ParsedMapChild::~ParsedMapChild() = default;

namespace {

using namespace MapFileFormat;

constexpr qint64 kIntMax = std::numeric_limits<int>::max();
constexpr qint64 kIntMin = std::numeric_limits<int>::min();
constexpr quint64 kAny = std::numeric_limits<quint64>::max();
constexpr quint64 k32Bits = std::numeric_limits<quint32>::max();

// Tags are matched case-sensitively; most fields also have a long name that older and
// hand-written files use.
bool is(const QStringRef &name, QLatin1String shortTag, QLatin1String longTag = {})
{
    return name == shortTag || (longTag.size() > 0 && name == longTag);
}

QString hex(quint64 value)
{
    return MapFieldReader::hex(value);
}

class MapDocumentReader
{
public:
    MapDocumentReader(QIODevice &device, const MapPropertyFormat &format)
        : m_in(device), m_xml(m_in.xml()), m_format(format)
    {
    }

    ParsedMap read();

private:
    void readMap();
    ParsedMapChild readSupply();
    void readSupplyAddress(DataSupply &supply, bool isIp);
    ParsedMapChild readLight();
    ParsedMapChild readGroup();
    ParsedMapChild readEffect(int index);
    QVector<SupplyPort> readPorts();
    SupplyPort readPort(int index);
    void readProperties(PropertyList &properties);
    PropertyList checkedProperties(const PropertyList &properties);
    void readReference(const QString &field, QVector<quint64> &references, QSet<quint64> &seen);
    bool countObject();

    MapFieldReader m_in;
    QXmlStreamReader &m_xml;
    const MapPropertyFormat &m_format;
    ParsedMap m_result;
    int m_objects = 0;
    int m_references = 0;
};

bool MapDocumentReader::countObject()
{
    if (++m_objects <= kMaxObjects)
        return true;
    m_in.fail(QStringLiteral("The map holds more than %1 supplies, lights, groups and effects.")
                  .arg(kMaxObjects));
    return false;
}

// A supply's lights and a group's members: each uid once, in file order. Whether the map
// holds them only the model knows.
void MapDocumentReader::readReference(const QString &field, QVector<quint64> &references,
                                      QSet<quint64> &seen)
{
    if (++m_references > kMaxReferences) {
        m_in.fail(QStringLiteral("The map's supplies and groups list more than %1 lights.")
                      .arg(kMaxReferences));
        return;
    }
    const std::optional<quint64> uid = m_in.listedUid(field);
    if (!uid)
        return;
    if (seen.contains(*uid)) {
        m_in.note(
            QStringLiteral("%1 %2 is listed more than once; kept once").arg(field, hex(*uid)));
        return;
    }
    seen.insert(*uid);
    references.append(*uid);
}

ParsedMap MapDocumentReader::read()
{
    bool sawElement = false;
    while (!m_xml.atEnd()) {
        m_in.next();
        if (m_xml.isStartElement()) {
            ++m_result.topLevelNodes;
            if (sawElement) {
                m_in.skipElement();
                continue;
            }
            sawElement = true;
            m_result.rootName = m_xml.name().toString();
            if (m_result.rootName == QLatin1String("map"))
                readMap();
            else
                m_in.skipElement();
        } else if (m_xml.isComment() || m_xml.isProcessingInstruction() || m_xml.isDTD()) {
            ++m_result.topLevelNodes;
        }
    }
    m_result.notesNotKept = m_in.notesNotKept();
    if (m_xml.hasError()) {
        m_result.error = MapParseError{m_xml.errorString(), m_xml.lineNumber(),
                                       m_xml.columnNumber()};
        m_result.children.clear();
    }
    return std::move(m_result);
}

void MapDocumentReader::readMap()
{
    auto &children = m_result.children;
    int effects = 0;
    while (!m_xml.atEnd()) {
        m_in.next();
        if (m_xml.isEndElement() || m_xml.hasError())
            return;
        const bool isText = m_xml.isCDATA() || (m_xml.isCharacters() && !m_xml.isWhitespace());
        if (m_xml.isComment() || m_xml.isProcessingInstruction() || isText) {
            ++m_result.rootChildNodes;
            children.emplace_back();
            continue;
        }
        if (!m_xml.isStartElement())
            continue;

        ++m_result.rootChildNodes;
        const QStringRef name = m_xml.name();
        ParsedMapChild child;
        if (is(name, QLatin1String("c"), QLatin1String("DataSupply"))) {
            if (countObject())
                child = readSupply();
        } else if (is(name, QLatin1String("l"), QLatin1String("light"))) {
            if (countObject())
                child = readLight();
        } else if (is(name, QLatin1String("g"), QLatin1String("group"))) {
            if (countObject())
                child = readGroup();
        } else if (name == QLatin1String("effect")) {
            if (countObject())
                child = readEffect(++effects);
        } else if (name == QLatin1String("imagefile")) {
            child.kind = ParsedMapChild::Kind::ImageFile;
            child.text = m_in.text(QStringLiteral("background image"), QStringLiteral("not kept"),
                                   kMaxPathLength)
                             .value_or(QString());
            child.notes = m_in.takeNotes(QStringLiteral("loadMap: "));
        } else if (name == QLatin1String("postsync")) {
            // Read for compatibility; its value is not used and always written as 0.
            child.kind = ParsedMapChild::Kind::PostSync;
            m_in.skipElement();
        } else if (name == QLatin1String("version")) {
            m_in.skipElement();
        } else {
            m_in.skipUnknown(QStringLiteral("the map"));
            child.notes = m_in.takeNotes(QStringLiteral("loadMap: "));
        }
        children.push_back(std::move(child));
    }
}

ParsedMapChild MapDocumentReader::readEffect(int index)
{
    ParsedMapChild child;
    child.kind = ParsedMapChild::Kind::Effect;
    int count = 0;
    while (m_in.nextChildElement()) {
        const QString name = m_xml.name().toString();
        const std::optional<QString> value =
            m_in.text(QStringLiteral("element \"%1\"").arg(name), QStringLiteral("not kept"));
        if (++count == EffectRecord::kMaxElements + 1)
            m_in.note(QStringLiteral("more than %1 elements; the rest are not kept")
                          .arg(EffectRecord::kMaxElements));
        if (!value || count > EffectRecord::kMaxElements)
            continue;
        if (isElementName(name))
            child.effect.elements.append({name, *value});
        else
            m_in.note(QStringLiteral("element %1 has a name a map file cannot hold; not kept")
                          .arg(MapFieldReader::quoted(name)));
    }
    child.notes = m_in.takeNotes(QStringLiteral("loadEffect: effect %1: ").arg(index));
    return child;
}

ParsedMapChild MapDocumentReader::readSupply()
{
    ParsedMapChild child;
    auto supply = std::make_unique<DataSupply>(0);
    DataSupply &s = *supply;
    bool haveType = false;
    PropertyList properties;
    QSet<quint64> lightsSeen;

    while (m_in.nextChildElement()) {
        const QStringRef name = m_xml.name();
        if (is(name, QLatin1String("t"), QLatin1String("type"))) {
            // The first type given decides what the element is.
            const std::optional<qint64> type = m_in.integer(QStringLiteral("type"), 0, kIntMax, 0);
            if (!haveType)
                child.supplyType = static_cast<unsigned>(type.value_or(0));
            haveType = true;
        } else if (is(name, QLatin1String("s"), QLatin1String("self"))) {
            m_in.unsignedField(QStringLiteral("uid"), 16, kAny, s.uid(),
                               [&](quint64 v) { s.setUid(v); });
        } else if (is(name, QLatin1String("n"), QLatin1String("name"))) {
            m_in.textField(QStringLiteral("name"), s.name(),
                           [&](const QString &v) { s.setName(v); });
        } else if (is(name, QLatin1String("sn"), QLatin1String("serialnumber"))) {
            m_in.unsignedField(QStringLiteral("serial number"), 16, kAny, s.serialNumber(),
                               [&](quint64 v) { s.setSerialNumber(v); });
        } else if (is(name, QLatin1String("ip"), QLatin1String("ipaddress"))) {
            readSupplyAddress(s, true);
        } else if (is(name, QLatin1String("mac"), QLatin1String("macaddress"))) {
            readSupplyAddress(s, false);
        } else if (is(name, QLatin1String("u"), QLatin1String("universenumber"))) {
            m_in.unsignedField(QStringLiteral("universe"), 10, k32Bits, s.universe(),
                               [&](quint64 v) { s.setUniverse(static_cast<unsigned>(v)); });
        } else if (is(name, QLatin1String("d"), QLatin1String("dmxbuffersize"))) {
            m_in.integerField(QStringLiteral("DMX buffer size"), 0, DataSupply::kMaxDmxBufferSize,
                              s.dmxBufSize(), [&](qint64 v) { s.setDMXBufSize(int(v)); });
        } else if (is(name, QLatin1String("v"), QLatin1String("version"))) {
            m_in.integerField(QStringLiteral("version"), 0, kIntMax, s.version(),
                              [&](qint64 v) { s.setVersion(int(v)); });
        } else if (is(name, QLatin1String("vs"), QLatin1String("versionstring"))) {
            m_in.textField(QStringLiteral("version text"), s.versionString(),
                           [&](const QString &v) { s.setVersionString(v); });
        } else if (name == QLatin1String("family")) {
            m_in.textField(QStringLiteral("family"), s.family(),
                           [&](const QString &v) { s.setFamily(v); });
        } else if (is(name, QLatin1String("pl"), QLatin1String("portlist"))) {
            m_in.noteRepeat(QStringLiteral("port list"));
            const QVector<SupplyPort> ports = readPorts();
            s.setPortCount(static_cast<quint8>(ports.size()));
            for (int i = 0; i < ports.size(); ++i)
                s.setPort(i, ports.at(i));
        } else if (is(name, QLatin1String("l"), QLatin1String("light"))) {
            readReference(QStringLiteral("light"), child.references, lightsSeen);
        } else if (name == QLatin1String("properties")) {
            readProperties(properties);
        } else if (is(name, QLatin1String("m"), QLatin1String("missing"))) {
            m_in.integerField(QStringLiteral("missing flag"), kIntMin, kIntMax, s.missing(),
                              [&](qint64 v) { s.setMissing(int(v)); });
        } else {
            m_in.skipUnknown(QStringLiteral("a supply"));
        }
    }

    switch (child.supplyType) {
    case DataSupply::VistraIp:
    case DataSupply::VistraBroadcast:
    case DataSupply::Sacn:
    case DataSupply::SacnAlternate:
        s.setType(child.supplyType);
        for (const QString &n : m_format.readSupplyProperties(s, checkedProperties(properties)))
            m_in.note(n);
        child.kind = ParsedMapChild::Kind::Supply;
        child.notes =
            m_in.takeNotes(QStringLiteral("loadDataSupply: supply %1: ").arg(hex(s.uid())));
        child.supply = std::move(supply);
        break;
    default:
        // Kinds we do not create are left out without a word, as older versions did.
        child.kind = ParsedMapChild::Kind::SkippedSupply;
        m_in.takeNotes(QString());
        break;
    }
    return child;
}

// The supply's IP or MAC address. Text that is not an address becomes the address older
// versions used in its place (10.0.0.0, a network address no supply answers at; a MAC of
// zeros), and the loader says so.
void MapDocumentReader::readSupplyAddress(DataSupply &supply, bool isIp)
{
    const QString field = isIp ? QStringLiteral("IP address") : QStringLiteral("MAC address");
    const QString fallback =
        isIp ? QStringLiteral("10.0.0.0") : QStringLiteral("00:00:00:00:00:00");
    m_in.noteRepeat(field);
    const std::optional<QString> text = m_in.text(field, fallback + QStringLiteral(" is used"));
    QHostAddress address;
    const bool valid = text && (isIp ? address.setAddress(*text) &&
                                           address.protocol() == QAbstractSocket::IPv4Protocol
                                     : text->split(QLatin1Char(':')).size() == 6);
    if (text && !valid)
        m_in.note(QStringLiteral("%1 %2 is not %3; %4 is used")
                      .arg(field, MapFieldReader::quoted(*text),
                           isIp ? QStringLiteral("an IPv4 address")
                                : QStringLiteral("six parts separated by ':'"),
                           fallback));
    if (isIp)
        supply.setIpAddress(valid ? address : QHostAddress(fallback));
    else
        supply.setMacAddress(valid ? text->toUpper() : fallback);
}

QVector<SupplyPort> MapDocumentReader::readPorts()
{
    // The port count is eight bits wide; ports past 255 cannot be represented.
    constexpr int kMaxPorts = 255;
    QVector<SupplyPort> ports;
    int count = 0;
    while (m_in.nextChildElement()) {
        if (is(m_xml.name(), QLatin1String("p"), QLatin1String("port"))) {
            const SupplyPort port = readPort(++count);
            if (count <= kMaxPorts)
                ports.append(port);
            else if (count == kMaxPorts + 1)
                m_in.note(
                    QStringLiteral("port list holds more than %1 ports; the rest are not kept")
                        .arg(kMaxPorts));
        } else {
            m_in.skipUnknown(QStringLiteral("a port list"));
        }
    }
    return ports;
}

SupplyPort MapDocumentReader::readPort(int index)
{
    // Port numbers are Vistra ports, sACN universes (1..63999) or Art-Net port addresses
    // (0..32767); kinds are small codes.
    SupplyPort port;
    while (m_in.nextChildElement()) {
        const QStringRef name = m_xml.name();
        if (is(name, QLatin1String("pn"), QLatin1String("portnum"))) {
            m_in.integerField(QStringLiteral("port %1 number").arg(index), 0, 0xFFFF, port.number,
                              [&](qint64 v) { port.number = int(v); });
        } else if (is(name, QLatin1String("pt"), QLatin1String("porttype"))) {
            m_in.integerField(QStringLiteral("port %1 type").arg(index), 0, 0xFF, port.type,
                              [&](qint64 v) { port.type = int(v); });
        } else if (is(name, QLatin1String("pf"), QLatin1String("portflags"))) {
            const QString field = QStringLiteral("port %1 flags").arg(index);
            m_in.unsignedField(field, 16, 0xFFFF, port.flags, [&](quint64 flags) {
                // Bit 2 is a run-time state that files never store (the writer masks it).
                if (flags & 0x0004)
                    m_in.note(QStringLiteral("%1 %2: bit 2 is a run-time state and is not kept")
                                  .arg(field, hex(flags)));
                port.flags = static_cast<quint16>(flags & 0xFFFB);
            });
        } else {
            m_in.skipUnknown(QStringLiteral("a port"));
        }
    }
    return port;
}

void MapDocumentReader::readProperties(PropertyList &properties)
{
    while (m_in.nextChildElement()) {
        const QString tag = m_xml.name().toString();
        if (const auto value =
                m_in.text(QStringLiteral("property %1").arg(tag), QStringLiteral("not kept")))
            properties.append({tag, *value});
    }
}

// Properties a map file can carry back as they were: names the writer can write, each
// once, no more than the limit.
PropertyList MapDocumentReader::checkedProperties(const PropertyList &properties)
{
    PropertyList checked;
    QHash<QString, int> indexOf;
    for (const auto &property : properties) {
        if (!isElementName(property.first)) {
            m_in.note(QStringLiteral("property %1 has a name a map file cannot hold; not kept")
                          .arg(MapFieldReader::quoted(property.first)));
            continue;
        }
        const auto it = indexOf.constFind(property.first);
        if (it != indexOf.constEnd()) {
            m_in.note(QStringLiteral("property %1 is given more than once; the last one is taken")
                          .arg(property.first));
            checked[*it].second = property.second;
            continue;
        }
        if (checked.size() == kMaxProperties) {
            m_in.note(QStringLiteral("more than %1 properties; the rest are not kept")
                          .arg(kMaxProperties));
            break;
        }
        indexOf.insert(property.first, checked.size());
        checked.append(property);
    }
    return checked;
}

ParsedMapChild MapDocumentReader::readLight()
{
    ParsedMapChild child;
    child.kind = ParsedMapChild::Kind::Light;
    auto light = std::make_unique<Light>();
    Light &l = *light;
    double position[3] = {l.x(), l.y(), l.z()};
    double q[4] = {l.q0(), l.q1(), l.q2(), l.q3()};
    PropertyList properties;

    while (m_in.nextChildElement()) {
        const QStringRef name = m_xml.name();
        if (is(name, QLatin1String("s"), QLatin1String("self"))) {
            m_in.unsignedField(QStringLiteral("uid"), 16, kAny, l.uid(),
                               [&](quint64 v) { l.setUid(v); });
        } else if (is(name, QLatin1String("n"), QLatin1String("name"))) {
            m_in.textField(QStringLiteral("name"), l.name(),
                           [&](const QString &v) { l.setName(v); });
        } else if (name == QLatin1String("pn")) {
            // The index of one of the supply's ports, whose count is eight bits wide.
            m_in.integerField(QStringLiteral("port number"), 0, 0xFF, l.portNumber(),
                              [&](qint64 v) { l.setPortNumber(static_cast<unsigned>(v)); });
        } else if (is(name, QLatin1String("ln"), QLatin1String("lightnumber"))) {
            m_in.integerField(QStringLiteral("light number"), 0, kIntMax, l.lightNumber(),
                              [&](qint64 v) { l.setLightNumber(int(v)); });
        } else if (is(name, QLatin1String("f"), QLatin1String("fixture"))) {
            m_in.unsignedField(QStringLiteral("fixture"), 16, kAny, l.fixture(),
                               [&](quint64 v) { l.setFixture(v); });
        } else if (is(name, QLatin1String("c"), QLatin1String("DataSupply"))) {
            m_in.unsignedField(QStringLiteral("data supply"), 16, kAny, l.dataSupply(),
                               [&](quint64 v) { l.setDataSupply(v); });
        } else if (is(name, QLatin1String("fc"), QLatin1String("fixturecode"))) {
            m_in.unsignedField(QStringLiteral("fixture code"), 16, k32Bits, l.fixtureCode(),
                               [&](quint64 v) { l.setFixtureCode(static_cast<unsigned>(v)); });
        } else if (name.size() == 1 && name.at(0) >= QLatin1Char('x') &&
                   name.at(0) <= QLatin1Char('z')) {
            double &value = position[name.at(0).unicode() - 'x'];
            m_in.coordinateField(name.toString(), value, [&](double v) { value = v; });
        } else if (name.size() == 2 && name.at(0) == QLatin1Char('q') &&
                   name.at(1) >= QLatin1Char('0') && name.at(1) <= QLatin1Char('3')) {
            double &value = q[name.at(1).unicode() - '0'];
            m_in.coordinateField(name.toString(), value, [&](double v) { value = v; });
        } else if (is(name, QLatin1String("ch"), QLatin1String("channel"))) {
            m_in.integerField(QStringLiteral("channel"), 0, kIntMax, l.channel(),
                              [&](qint64 v) { l.setChannel(int(v)); });
        } else if (name == QLatin1String("sn")) {
            // Decimal for lights, unlike supplies; existing files rely on it.
            m_in.unsignedField(QStringLiteral("serial number"), 10, kAny, l.serialNumber(),
                               [&](quint64 v) { l.setSerialNumber(v); });
        } else if (name == QLatin1String("tintlockprofileid")) {
            m_in.integerField(QStringLiteral("Tintlock profile id"), kIntMin, kIntMax,
                              l.tintlockProfileId(),
                              [&](qint64 v) { l.setTintlockProfileId(int(v)); });
        } else if (name == QLatin1String("tintlockiomode")) {
            m_in.integerField(QStringLiteral("Tintlock I/O mode"), kIntMin, kIntMax,
                              l.tintlockIoMode(), [&](qint64 v) { l.setTintlockIoMode(int(v)); });
        } else if (name == QLatin1String("properties")) {
            readProperties(properties);
        } else {
            m_in.skipUnknown(QStringLiteral("a light"));
        }
    }
    l.setPosition(position[0], position[1], position[2]);
    l.setOrientation(q[0], q[1], q[2], q[3]);
    for (const QString &n : m_format.readLightProperties(l, checkedProperties(properties)))
        m_in.note(n);
    child.notes = m_in.takeNotes(QStringLiteral("loadLight: light %1: ").arg(hex(l.uid())));
    child.light = std::move(light);
    return child;
}

ParsedMapChild MapDocumentReader::readGroup()
{
    ParsedMapChild child;
    child.kind = ParsedMapChild::Kind::Group;
    auto group = std::make_unique<Group>();
    Group &g = *group;
    QSet<quint64> membersSeen;
    while (m_in.nextChildElement()) {
        const QStringRef name = m_xml.name();
        if (is(name, QLatin1String("t"), QLatin1String("type"))) {
            m_in.integerField(QStringLiteral("type"), kIntMin, kIntMax, g.type(),
                              [&](qint64 v) { g.setType(int(v)); });
        } else if (is(name, QLatin1String("s"), QLatin1String("self"))) {
            m_in.unsignedField(QStringLiteral("uid"), 16, kAny, g.uid(),
                               [&](quint64 v) { g.setUid(v); });
        } else if (is(name, QLatin1String("n"), QLatin1String("name"))) {
            m_in.textField(QStringLiteral("name"), g.name(),
                           [&](const QString &v) { g.setName(v); });
        } else if (name == QLatin1String("o")) {
            m_in.integerField(QStringLiteral("o"), kIntMin, kIntMax, g.oValue(),
                              [&](qint64 v) { g.setOValue(int(v)); });
        } else if (name == QLatin1String("lightsperstep")) {
            m_in.integerField(QStringLiteral("lights per step"), 1, kIntMax, g.lightsPerStep(),
                              [&](qint64 v) { g.setLightsPerStep(int(v)); });
        } else if (is(name, QLatin1String("c"), QLatin1String("child"))) {
            readReference(QStringLiteral("member"), child.references, membersSeen);
        } else {
            m_in.skipUnknown(QStringLiteral("a group"));
        }
    }
    child.notes = m_in.takeNotes(QStringLiteral("loadGroup: group %1: ").arg(hex(g.uid())));
    child.group = std::move(group);
    return child;
}

} // namespace

ParsedMap parseMapDocument(QIODevice &device, const MapPropertyFormat &propertyFormat)
{
    return MapDocumentReader(device, propertyFormat).read();
}
