#include "model/mapfilewriter.h"

#include "model/datasupply.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapfileformat.h"
#include "model/mapmodel.h"
#include "model/modellogging.h"

#include <QBuffer>
#include <QIODevice>
#include <QScopeGuard>
#include <QXmlStreamWriter>

#include <algorithm>

namespace {

const QString kFormatVersion = QStringLiteral("2.3.1");

QString hex(quint64 value)
{
    return QString::number(value, 16).toUpper();
}

QString fixed6(double value)
{
    return QString::number(value, 'f', 6);
}

// XML 1.0 cannot carry most control characters, not even escaped. Names and texts can come
// from devices on the network, so drop such characters rather than write a file that no
// reader accepts.
bool isXmlChar(uint c)
{
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF)
           || (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}

// Most texts are plain: check them cheaply before converting anything.
bool needsCleaning(const QString &text)
{
    return std::any_of(text.cbegin(), text.cend(), [](QChar c) {
        const ushort u = c.unicode();
        return (u < 0x20 && u != 0x9 && u != 0xA && u != 0xD) || u >= 0xD800;
    });
}

QString xmlSafe(const QString &text)
{
    if (!needsCleaning(text))
        return text;
    const QVector<uint> codePoints = text.toUcs4();
    QVector<uint> kept;
    std::copy_if(codePoints.cbegin(), codePoints.cend(), std::back_inserter(kept), isXmlChar);
    return QString::fromUcs4(kept.constData(), kept.size());
}

class MapDocumentWriter
{
public:
    MapDocumentWriter(const MapModel &model, QIODevice &device, const ProgressReporter &progress)
        : m_model(model), m_device(device), m_progress(progress)
    {
        m_chunk.open(QIODevice::WriteOnly);
        m_xml.setDevice(&m_chunk);
        m_xml.setAutoFormatting(true);
        m_xml.setAutoFormattingIndent(1);
    }

    bool write();

private:
    void element(const QString &tag, const QString &text);
    void writeSupply(const DataSupply &supply);
    void writeLight(const Light &light);
    void writeGroup(const Group &group);
    void writeProperties(const PropertyList &properties);
    void countItem();
    bool flush();

    const MapModel &m_model;
    QIODevice &m_device;
    // The document is produced in chunks and handed to the device item by item, so that a
    // failing disk stops the save early and memory stays flat for large maps.
    QBuffer m_chunk;
    bool m_atStart = true;
    bool m_failed = false;
    QXmlStreamWriter m_xml;
    const ProgressReporter &m_progress;
    int m_count = 0;
    int m_step = 1;
};

// A reader turns a carriage return written as it is into a line feed (XML normalises line
// ends), so it is written as a character reference and comes back as it was.
void MapDocumentWriter::element(const QString &tag, const QString &text)
{
    const QString safe = xmlSafe(text);
    if (!safe.contains(QLatin1Char('\r'))) {
        m_xml.writeTextElement(tag, safe);
        return;
    }
    m_xml.writeStartElement(tag);
    const QStringList lines = safe.split(QLatin1Char('\r'));
    for (int i = 0; i < lines.size(); ++i) {
        if (i > 0)
            m_xml.writeEntityReference(QStringLiteral("#13"));
        if (!lines.at(i).isEmpty())
            m_xml.writeCharacters(lines.at(i));
    }
    m_xml.writeEndElement();
}

bool MapDocumentWriter::write()
{
    m_xml.writeStartElement(QStringLiteral("map"));
    element(QStringLiteral("imagefile"), m_model.imageFile());
    // "postsync" is always written as 0, whatever the map was loaded with.
    element(QStringLiteral("postsync"), QStringLiteral("0"));
    element(QStringLiteral("version"), kFormatVersion);

    const int total = m_model.dataSupplyCount() + m_model.lightCount() + m_model.groupCount();
    m_step = progressStep(total);
    if (m_progress.started)
        m_progress.started(0, total, QStringLiteral("Saving Interfaces..."));
    // The progress ends at the total whether or not the save gets there, so that whoever
    // shows it closes it also after a failed write.
    const auto finish = qScopeGuard([this, total] {
        if (m_progress.updated)
            m_progress.updated(total);
    });

    // Hash order is random; uid order keeps files stable from one save to the next.
    QList<DataSupply *> supplies = m_model.dataSupplies();
    std::sort(supplies.begin(), supplies.end(),
              [](const DataSupply *a, const DataSupply *b) { return a->uid() < b->uid(); });
    for (const DataSupply *supply : qAsConst(supplies)) {
        if (m_failed)
            return false;
        writeSupply(*supply);
        countItem();
    }

    if (m_progress.textChanged)
        m_progress.textChanged(QStringLiteral("Saving Lights..."));
    QList<Light *> lights = m_model.lights();
    std::sort(lights.begin(), lights.end(), [](const Light *a, const Light *b) {
        if (a->serialNumber() != b->serialNumber())
            return a->serialNumber() < b->serialNumber();
        return a->uid() < b->uid();
    });
    for (const Light *light : qAsConst(lights)) {
        if (m_failed)
            return false;
        writeLight(*light);
        countItem();
    }

    if (m_progress.textChanged)
        m_progress.textChanged(QStringLiteral("Saving Groups..."));
    QList<Group *> groups = m_model.groups();
    std::sort(groups.begin(), groups.end(),
              [](const Group *a, const Group *b) { return a->uid() < b->uid(); });
    for (const Group *group : qAsConst(groups)) {
        if (m_failed)
            return false;
        if (group->isSelectionGroup())
            continue;
        writeGroup(*group);
        countItem();
    }
    for (const EffectRecord &effect : m_model.effects()) {
        m_xml.writeStartElement(QStringLiteral("effect"));
        for (const auto &field : effect.elements) {
            if (MapFileFormat::isElementName(field.first))
                element(field.first, field.second);
            else
                qCWarning(lcModel) << "Not writing effect element with invalid name" << field.first;
        }
        m_xml.writeEndElement();
    }

    m_xml.writeEndElement();
    m_xml.writeEndDocument();
    return flush() && !m_xml.hasError();
}

bool MapDocumentWriter::flush()
{
    QByteArray &bytes = m_chunk.buffer();
    // Without an XML declaration the stream writer opens with a line break; the file starts
    // directly with the root element, as readers of older versions expect.
    if (m_atStart && bytes.startsWith('\n'))
        bytes.remove(0, 1);
    m_atStart = false;
    if (!bytes.isEmpty() && m_device.write(bytes) != bytes.size())
        m_failed = true;
    bytes.clear();
    m_chunk.seek(0);
    return !m_failed;
}

void MapDocumentWriter::countItem()
{
    flush();
    ++m_count;
    if (m_count % m_step == 0 && m_progress.updated)
        m_progress.updated(m_count);
}

void MapDocumentWriter::writeSupply(const DataSupply &supply)
{
    m_xml.writeStartElement(QStringLiteral("c"));
    element(QStringLiteral("t"), QString::number(supply.type()));
    element(QStringLiteral("s"), hex(supply.uid()));
    element(QStringLiteral("n"), supply.name());
    // A supply's serial is hexadecimal while a light's is decimal; existing files rely on it.
    element(QStringLiteral("sn"), hex(supply.serialNumber()));
    element(QStringLiteral("ip"), supply.ipAddress().toString());
    element(QStringLiteral("mac"), supply.macAddress());
    element(QStringLiteral("u"), QString::number(supply.universe()));
    element(QStringLiteral("d"), QString::number(supply.dmxBufSize()));
    element(QStringLiteral("v"), QString::number(supply.version()));
    element(QStringLiteral("vs"), supply.versionString());
    element(QStringLiteral("family"), supply.family());
    m_xml.writeStartElement(QStringLiteral("pl"));
    for (const SupplyPort &port : supply.ports()) {
        m_xml.writeStartElement(QStringLiteral("p"));
        element(QStringLiteral("pn"), QString::number(port.number));
        element(QStringLiteral("pt"), QString::number(port.type));
        // Bit 2 of the port flags is a run-time state and never stored.
        element(QStringLiteral("pf"), hex(port.flags & 0xFFFB));
        m_xml.writeEndElement();
    }
    m_xml.writeEndElement();
    for (quint64 lightUid : supply.lights())
        element(QStringLiteral("l"), hex(lightUid));
    writeProperties(m_model.propertyFormat().supplyPropertiesToWrite(supply));
    m_xml.writeEndElement();
}

void MapDocumentWriter::writeLight(const Light &light)
{
    m_xml.writeStartElement(QStringLiteral("l"));
    element(QStringLiteral("s"), hex(light.uid()));
    element(QStringLiteral("n"), light.name());
    element(QStringLiteral("pn"), QString::number(light.portNumber()));
    element(QStringLiteral("ln"), QString::number(light.lightNumber()));
    element(QStringLiteral("f"), hex(light.fixture()));
    element(QStringLiteral("c"), hex(light.dataSupply()));
    element(QStringLiteral("fc"), hex(light.fixtureCode()));
    element(QStringLiteral("x"), fixed6(light.x()));
    element(QStringLiteral("y"), fixed6(light.y()));
    element(QStringLiteral("z"), fixed6(light.z()));
    element(QStringLiteral("q0"), fixed6(light.q0()));
    element(QStringLiteral("q1"), fixed6(light.q1()));
    element(QStringLiteral("q2"), fixed6(light.q2()));
    element(QStringLiteral("q3"), fixed6(light.q3()));
    element(QStringLiteral("ch"), QString::number(light.channel()));
    element(QStringLiteral("sn"), QString::number(light.serialNumber()));
    element(QStringLiteral("tintlockprofileid"), QString::number(light.tintlockProfileId()));
    element(QStringLiteral("tintlockiomode"), QString::number(light.tintlockIoMode()));
    writeProperties(m_model.propertyFormat().lightPropertiesToWrite(light));
    m_xml.writeEndElement();
}

void MapDocumentWriter::writeGroup(const Group &group)
{
    m_xml.writeStartElement(QStringLiteral("g"));
    element(QStringLiteral("t"), QString::number(group.type()));
    element(QStringLiteral("s"), hex(group.uid()));
    element(QStringLiteral("n"), group.name());
    element(QStringLiteral("o"), QString::number(group.oValue()));
    // Only chases that light more than one member a step carry it, so that every other
    // group is written as it always was.
    if (group.lightsPerStep() != 1)
        element(QStringLiteral("lightsperstep"), QString::number(group.lightsPerStep()));
    for (quint64 member : group.children())
        element(QStringLiteral("c"), hex(member));
    m_xml.writeEndElement();
}

void MapDocumentWriter::writeProperties(const PropertyList &properties)
{
    m_xml.writeStartElement(QStringLiteral("properties"));
    for (const auto &property : properties) {
        if (!MapFileFormat::isElementName(property.first)) {
            qCWarning(lcModel) << "Not writing property with invalid name" << property.first;
            continue;
        }
        element(property.first, property.second);
    }
    m_xml.writeEndElement();
}

} // namespace

bool writeMapDocument(const MapModel &model, QIODevice &device, const ProgressReporter &progress)
{
    return MapDocumentWriter(model, device, progress).write();
}
