#include "model/mapfilereader.h"

#include "model/datasupply.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mappropertyformat.h"
#include "model/modellogging.h"

#include <QIODevice>
#include <QXmlStreamReader>

#include <algorithm>

ParsedMapChild::ParsedMapChild() = default;
ParsedMapChild::ParsedMapChild(ParsedMapChild &&) noexcept = default;
ParsedMapChild &ParsedMapChild::operator=(ParsedMapChild &&) noexcept = default;
ParsedMapChild::~ParsedMapChild() = default;

namespace {

// Tags are matched case-sensitively; most fields also have a long name that older and
// hand-written files use.
bool is(const QStringRef &name, QLatin1String shortTag, QLatin1String longTag = {})
{
    return name == shortTag || (longTag.size() > 0 && name == longTag);
}

quint64 hex64(const QString &text, bool *ok = nullptr)
{
    return text.toULongLong(ok, 16);
}

class MapDocumentReader
{
public:
    MapDocumentReader(QIODevice &device, const MapPropertyFormat &format)
        : m_xml(&device), m_format(format)
    {
    }

    ParsedMap read();

private:
    void readMap();
    ParsedMapChild readSupply();
    std::unique_ptr<Light> readLight();
    std::unique_ptr<Group> readGroup();
    EffectRecord readEffect();
    QVector<SupplyPort> readPorts();
    SupplyPort readPort();
    PropertyList readProperties();
    QString text() { return m_xml.readElementText(QXmlStreamReader::IncludeChildElements); }
    static bool isTextNode(const QXmlStreamReader &xml);

    QXmlStreamReader m_xml;
    const MapPropertyFormat &m_format;
    ParsedMap m_result;
};

bool MapDocumentReader::isTextNode(const QXmlStreamReader &xml)
{
    return xml.isCDATA() || (xml.isCharacters() && !xml.isWhitespace());
}

ParsedMap MapDocumentReader::read()
{
    bool sawElement = false;
    while (!m_xml.atEnd()) {
        m_xml.readNext();
        if (m_xml.isStartElement()) {
            ++m_result.topLevelNodes;
            if (sawElement) {
                m_xml.skipCurrentElement();
                continue;
            }
            sawElement = true;
            m_result.rootName = m_xml.name().toString();
            if (m_result.rootName == QLatin1String("map"))
                readMap();
            else
                m_xml.skipCurrentElement();
        } else if (m_xml.isComment() || m_xml.isProcessingInstruction() || m_xml.isDTD()) {
            ++m_result.topLevelNodes;
        }
    }
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
    while (!m_xml.atEnd()) {
        m_xml.readNext();
        if (m_xml.isEndElement())
            return;
        if (m_xml.isComment() || m_xml.isProcessingInstruction() || isTextNode(m_xml)) {
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
            child = readSupply();
        } else if (is(name, QLatin1String("l"), QLatin1String("light"))) {
            child.kind = ParsedMapChild::Kind::Light;
            child.light = readLight();
        } else if (is(name, QLatin1String("g"), QLatin1String("group"))) {
            child.kind = ParsedMapChild::Kind::Group;
            child.group = readGroup();
        } else if (name == QLatin1String("imagefile")) {
            child.kind = ParsedMapChild::Kind::ImageFile;
            child.text = text();
        } else if (name == QLatin1String("postsync")) {
            child.kind = ParsedMapChild::Kind::PostSync;
            child.text = text();
        } else if (name == QLatin1String("effect")) {
            child.kind = ParsedMapChild::Kind::Effect;
            child.effect = readEffect();
        } else {
            m_xml.skipCurrentElement();
        }
        children.push_back(std::move(child));
    }
}

EffectRecord MapDocumentReader::readEffect()
{
    EffectRecord effect;
    while (m_xml.readNextStartElement()) {
        const QString name = m_xml.name().toString();
        const QString value = text();
        if (effect.elements.size() < EffectRecord::kMaxElements)
            effect.elements.append({name, value});
    }
    return effect;
}

ParsedMapChild MapDocumentReader::readSupply()
{
    ParsedMapChild child;
    auto supply = std::make_unique<DataSupply>(0);
    bool haveType = false;
    PropertyList properties;

    while (m_xml.readNextStartElement()) {
        const QStringRef name = m_xml.name();
        if (is(name, QLatin1String("t"), QLatin1String("type"))) {
            const QString value = text();
            if (!haveType) {
                bool ok = false;
                const int type = value.toInt(&ok);
                child.supplyType = ok && type > 0 ? static_cast<unsigned>(type) : 0;
                haveType = true;
            }
        } else if (is(name, QLatin1String("s"), QLatin1String("self"))) {
            supply->setUid(hex64(text()));
        } else if (is(name, QLatin1String("n"), QLatin1String("name"))) {
            supply->setName(text());
        } else if (is(name, QLatin1String("sn"), QLatin1String("serialnumber"))) {
            supply->setSerialNumber(hex64(text()));
        } else if (is(name, QLatin1String("ip"), QLatin1String("ipaddress"))) {
            QHostAddress address;
            if (!address.setAddress(text()) || address.protocol() != QAbstractSocket::IPv4Protocol)
                address = QHostAddress(QStringLiteral("10.0.0.0"));
            supply->setIpAddress(address);
        } else if (is(name, QLatin1String("mac"), QLatin1String("macaddress"))) {
            const QString mac = text();
            supply->setMacAddress(mac.split(QLatin1Char(':')).size() == 6
                                      ? mac.toUpper()
                                      : QStringLiteral("00:00:00:00:00:00"));
        } else if (is(name, QLatin1String("u"), QLatin1String("universenumber"))) {
            supply->setUniverse(text().toUInt());
        } else if (is(name, QLatin1String("d"), QLatin1String("dmxbuffersize"))) {
            supply->setDMXBufSize(text().toInt());
        } else if (is(name, QLatin1String("v"), QLatin1String("version"))) {
            supply->setVersion(text().toInt());
        } else if (is(name, QLatin1String("vs"), QLatin1String("versionstring"))) {
            supply->setVersionString(text());
        } else if (name == QLatin1String("family")) {
            supply->setFamily(text());
        } else if (is(name, QLatin1String("pl"), QLatin1String("portlist"))) {
            const QVector<SupplyPort> ports = readPorts();
            supply->setPortCount(static_cast<quint8>(ports.size()));
            for (int i = 0; i < ports.size(); ++i)
                supply->setPort(i, ports.at(i));
        } else if (is(name, QLatin1String("l"), QLatin1String("light"))) {
            bool ok = false;
            const quint64 lightUid = hex64(text(), &ok);
            if (ok)
                supply->addLight(lightUid);
        } else if (name == QLatin1String("properties")) {
            properties += readProperties();
        } else if (is(name, QLatin1String("m"), QLatin1String("missing"))) {
            supply->setMissing(text().toInt());
        } else {
            m_xml.skipCurrentElement();
        }
    }

    switch (child.supplyType) {
    case DataSupply::VistraIp:
    case DataSupply::VistraBroadcast:
    case DataSupply::Sacn:
    case DataSupply::SacnAlternate:
        supply->setType(child.supplyType);
        m_format.readSupplyProperties(*supply, properties);
        child.kind = ParsedMapChild::Kind::Supply;
        child.supply = std::move(supply);
        break;
    default:
        child.kind = ParsedMapChild::Kind::SkippedSupply;
        break;
    }
    return child;
}

QVector<SupplyPort> MapDocumentReader::readPorts()
{
    // The port count is eight bits wide; ports past 255 cannot be represented.
    constexpr int kMaxPorts = 255;
    QVector<SupplyPort> ports;
    while (m_xml.readNextStartElement()) {
        if (is(m_xml.name(), QLatin1String("p"), QLatin1String("port"))) {
            const SupplyPort port = readPort();
            if (ports.size() < kMaxPorts)
                ports.append(port);
            else
                qCWarning(lcModel) << "Ignoring port beyond" << kMaxPorts << "in port list";
        } else {
            m_xml.skipCurrentElement();
        }
    }
    return ports;
}

SupplyPort MapDocumentReader::readPort()
{
    SupplyPort port;
    while (m_xml.readNextStartElement()) {
        const QStringRef name = m_xml.name();
        if (is(name, QLatin1String("pn"), QLatin1String("portnum")))
            port.number = text().toInt();
        else if (is(name, QLatin1String("pt"), QLatin1String("porttype")))
            port.type = text().toInt();
        else if (is(name, QLatin1String("pf"), QLatin1String("portflags")))
            port.flags = static_cast<quint16>(text().toUInt(nullptr, 16));
        else
            m_xml.skipCurrentElement();
    }
    return port;
}

PropertyList MapDocumentReader::readProperties()
{
    PropertyList properties;
    while (m_xml.readNextStartElement()) {
        const QString tag = m_xml.name().toString();
        properties.append({tag, text()});
    }
    return properties;
}

std::unique_ptr<Light> MapDocumentReader::readLight()
{
    auto light = std::make_unique<Light>();
    double x = 0, y = 0, z = 0;
    double q[4] = {light->q0(), light->q1(), light->q2(), light->q3()};
    PropertyList properties;

    while (m_xml.readNextStartElement()) {
        const QStringRef name = m_xml.name();
        if (is(name, QLatin1String("s"), QLatin1String("self")))
            light->setUid(hex64(text()));
        else if (is(name, QLatin1String("n"), QLatin1String("name")))
            light->setName(text());
        else if (name == QLatin1String("pn"))
            light->setPortNumber(static_cast<unsigned>(text().toInt()));
        else if (is(name, QLatin1String("ln"), QLatin1String("lightnumber")))
            light->setLightNumber(static_cast<int>(text().toUInt()));
        else if (is(name, QLatin1String("f"), QLatin1String("fixture")))
            light->setFixture(hex64(text()));
        else if (is(name, QLatin1String("c"), QLatin1String("DataSupply")))
            light->setDataSupply(hex64(text()));
        else if (is(name, QLatin1String("fc"), QLatin1String("fixturecode")))
            light->setFixtureCode(text().toUInt(nullptr, 16));
        else if (name == QLatin1String("x"))
            x = text().toDouble();
        else if (name == QLatin1String("y"))
            y = text().toDouble();
        else if (name == QLatin1String("z"))
            z = text().toDouble();
        else if (name == QLatin1String("q0"))
            q[0] = text().toDouble();
        else if (name == QLatin1String("q1"))
            q[1] = text().toDouble();
        else if (name == QLatin1String("q2"))
            q[2] = text().toDouble();
        else if (name == QLatin1String("q3"))
            q[3] = text().toDouble();
        else if (is(name, QLatin1String("ch"), QLatin1String("channel")))
            light->setChannel(text().toInt());
        else if (name == QLatin1String("sn"))
            light->setSerialNumber(text().toULongLong());
        else if (name == QLatin1String("tintlockprofileid"))
            light->setTintlockProfileId(text().toInt());
        else if (name == QLatin1String("tintlockiomode"))
            light->setTintlockIoMode(text().toInt());
        else if (name == QLatin1String("properties"))
            properties += readProperties();
        else
            m_xml.skipCurrentElement();
    }
    light->setPosition(x, y, z);
    light->setOrientation(q[0], q[1], q[2], q[3]);
    m_format.readLightProperties(*light, properties);
    return light;
}

std::unique_ptr<Group> MapDocumentReader::readGroup()
{
    auto group = std::make_unique<Group>();
    while (m_xml.readNextStartElement()) {
        const QStringRef name = m_xml.name();
        if (is(name, QLatin1String("t"), QLatin1String("type"))) {
            group->setType(text().toInt());
        } else if (is(name, QLatin1String("s"), QLatin1String("self"))) {
            group->setUid(hex64(text()));
        } else if (is(name, QLatin1String("n"), QLatin1String("name"))) {
            group->setName(text());
        } else if (name == QLatin1String("o")) {
            group->setOValue(text().toInt());
        } else if (is(name, QLatin1String("c"), QLatin1String("child"))) {
            bool ok = false;
            const quint64 member = hex64(text(), &ok);
            if (ok)
                group->appendChild(member);
        } else {
            m_xml.skipCurrentElement();
        }
    }
    return group;
}

} // namespace

ParsedMap parseMapDocument(QIODevice &device, const MapPropertyFormat &propertyFormat)
{
    return MapDocumentReader(device, propertyFormat).read();
}
