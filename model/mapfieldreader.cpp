#include "model/mapfieldreader.h"

#include <QIODevice>

#include <cmath>
#include <limits>

namespace {

// Positions and orientations are small numbers (scene units); past this a value is no place
// on any canvas and no longer fits the canvas's integer rectangle.
constexpr double kMaxCoordinate = 1e9;

// The file writes positions with six decimals. Reading them as the file would give them
// back keeps a loaded map equal to the map its own file loads to.
double asWritten(double value)
{
    return QString::number(value, 'f', 6).toDouble();
}

} // namespace

MapFieldReader::MapFieldReader(QIODevice &device) : m_xml(&device)
{
}

QString MapFieldReader::quoted(const QString &text)
{
    // The text may be megabytes long.
    constexpr int kShown = 40;
    return QLatin1Char('"') +
           (text.size() <= kShown ? text : text.left(kShown) + QStringLiteral("...")) +
           QLatin1Char('"');
}

QString MapFieldReader::hex(quint64 value)
{
    return QString::number(value, 16).toUpper();
}

QXmlStreamReader::TokenType MapFieldReader::next()
{
    const QXmlStreamReader::TokenType token = m_xml.readNext();
    if (token == QXmlStreamReader::StartElement) {
        if (++m_depth > MapFileFormat::kMaxDepth)
            m_xml.raiseError(QStringLiteral("Elements are nested deeper than %1 levels.")
                                 .arg(MapFileFormat::kMaxDepth));
    } else if (token == QXmlStreamReader::EndElement) {
        --m_depth;
    }
    return m_xml.tokenType();
}

bool MapFieldReader::nextChildElement()
{
    while (!m_xml.atEnd()) {
        switch (next()) {
        case QXmlStreamReader::StartElement:
            return true;
        case QXmlStreamReader::EndElement:
        case QXmlStreamReader::Invalid:
            return false;
        default:
            break;
        }
    }
    return false;
}

void MapFieldReader::skipElement()
{
    const int depth = m_depth;
    while (!m_xml.atEnd() && m_depth >= depth)
        next();
}

void MapFieldReader::skipUnknown(const QString &kind)
{
    const QString tag = m_xml.name().toString();
    const QString key = kind + QLatin1Char('/') + tag;
    if (!m_unknownNoted.contains(key)) {
        m_unknownNoted.insert(key);
        note(QStringLiteral("unknown element \"%1\" in %2; not kept (noted once)").arg(tag, kind));
    }
    skipElement();
}

std::optional<QString> MapFieldReader::text(const QString &field, const QString &outcome, int limit)
{
    const int depth = m_depth;
    QString text;
    qint64 length = 0;
    while (!m_xml.atEnd() && m_depth >= depth) {
        switch (next()) {
        case QXmlStreamReader::Characters:
        case QXmlStreamReader::EntityReference:
            // Past the limit only the length is counted: the text itself is not wanted.
            length += m_xml.text().size();
            if (length <= limit)
                text += m_xml.text();
            break;
        default:
            break;
        }
    }
    if (length <= limit)
        return text;
    note(QStringLiteral("%1 is %2 characters long (at most %3); %4")
             .arg(field)
             .arg(length)
             .arg(limit)
             .arg(outcome));
    return std::nullopt;
}

std::optional<qint64> MapFieldReader::integer(const QString &field, qint64 min, qint64 max,
                                              qint64 kept)
{
    const std::optional<QString> value = text(field, QStringLiteral("kept %1").arg(kept));
    if (!value)
        return std::nullopt;
    bool ok = false;
    const qint64 number = value->toLongLong(&ok, 10);
    if (ok && number >= min && number <= max)
        return number;
    note(QStringLiteral("%1 %2 is not a whole number from %3 to %4; kept %5")
             .arg(field, quoted(*value))
             .arg(min)
             .arg(max)
             .arg(kept));
    return std::nullopt;
}

std::optional<quint64> MapFieldReader::unsignedNumber(const QString &field, int base, quint64 max,
                                                      quint64 kept)
{
    const auto form = [base](quint64 number) {
        return base == 16 ? hex(number) : QString::number(number);
    };
    const std::optional<QString> value = text(field, QStringLiteral("kept ") + form(kept));
    if (!value)
        return std::nullopt;
    bool ok = false;
    const quint64 number = value->toULongLong(&ok, base);
    if (ok && number <= max)
        return number;
    const QString kind =
        base == 16 ? QStringLiteral("a hexadecimal number") : QStringLiteral("a whole number");
    const QString range = max == std::numeric_limits<quint64>::max()
                              ? QString()
                              : QStringLiteral(" from 0 to ") + form(max);
    note(QStringLiteral("%1 %2 is not %3%4; kept %5")
             .arg(field, quoted(*value), kind, range, form(kept)));
    return std::nullopt;
}

std::optional<double> MapFieldReader::coordinate(const QString &field, double kept)
{
    const std::optional<QString> value = text(field, QStringLiteral("kept %1").arg(kept));
    if (!value)
        return std::nullopt;
    bool ok = false;
    const double number = value->toDouble(&ok);
    if (ok && std::isfinite(number) && std::abs(number) <= kMaxCoordinate)
        return asWritten(number);
    note(QStringLiteral("%1 %2 is not a number from -%3 to %3; kept %4")
             .arg(field, quoted(*value))
             .arg(kMaxCoordinate, 0, 'f', 0)
             .arg(kept));
    return std::nullopt;
}

std::optional<quint64> MapFieldReader::listedUid(const QString &field)
{
    const std::optional<QString> value = text(field, QStringLiteral("not kept"));
    if (!value)
        return std::nullopt;
    bool ok = false;
    const quint64 uid = value->toULongLong(&ok, 16);
    if (ok)
        return uid;
    note(QStringLiteral("%1 %2 is not a hexadecimal uid; not kept").arg(field, quoted(*value)));
    return std::nullopt;
}

void MapFieldReader::note(const QString &text)
{
    if (m_notesKept < MapFileFormat::kMaxNotes) {
        ++m_notesKept;
        m_notes << text;
    } else {
        ++m_notesNotKept;
    }
}

void MapFieldReader::noteRepeat(const QString &field)
{
    if (m_fieldsSeen.contains(field))
        note(QStringLiteral("%1 is given more than once; the last one is taken").arg(field));
    m_fieldsSeen.insert(field);
}

QStringList MapFieldReader::takeNotes(const QString &prefix)
{
    QStringList notes;
    notes.reserve(m_notes.size());
    for (const QString &n : qAsConst(m_notes))
        notes << prefix + n;
    m_notes.clear();
    m_fieldsSeen.clear();
    return notes;
}
