#pragma once

#include "model/mapfileformat.h"

#include <QSet>
#include <QString>
#include <QStringList>
#include <QXmlStreamReader>

#include <optional>

class QIODevice;

// The XML side of the map file reader. Every token passes through next(), which counts the
// nesting, so no file, however deep, costs more than a counter, and one nested past
// MapFileFormat::kMaxDepth is a parse error. Element texts are bounded in length, and a
// field's value is either taken (it parses and lies in its range) or left with a note that
// names the field, the text and what the field keeps instead. The caller turns the notes of
// one object into the loader's messages once it knows the object's uid.
class MapFieldReader final
{
public:
    explicit MapFieldReader(QIODevice &device);

    QXmlStreamReader &xml() { return m_xml; }
    QXmlStreamReader::TokenType next();
    // Like QXmlStreamReader::readNextStartElement() and skipCurrentElement(), bounded.
    bool nextChildElement();
    void skipElement();
    // Skips an element that is not part of the format, noting it once per kind and tag.
    void skipUnknown(const QString &kind);
    void fail(const QString &reason) { m_xml.raiseError(reason); }

    // The current element's text, the text of child elements included (older files wrap
    // names in markup). A longer text than `limit` is not returned; its note ends with
    // `outcome` ("not kept", "kept \"Default Light\"").
    std::optional<QString> text(const QString &field, const QString &outcome,
                                int limit = MapFileFormat::kMaxTextLength);
    std::optional<qint64> integer(const QString &field, qint64 min, qint64 max, qint64 kept);
    std::optional<quint64> unsignedNumber(const QString &field, int base, quint64 max,
                                          quint64 kept);
    // Positions and orientations: finite, not absurd, and as the file writes them.
    std::optional<double> coordinate(const QString &field, double kept);
    // A uid in a list (a supply's lights, a group's members).
    std::optional<quint64> listedUid(const QString &field);

    // One field of the object being read: a field given twice is noted (the last one is
    // taken), and `set` gets the value when it is taken.
    template <typename Set> void textField(const QString &field, const QString &current, Set set)
    {
        noteRepeat(field);
        if (const auto value = text(field, QStringLiteral("kept ") + quoted(current)))
            set(*value);
    }
    template <typename Set>
    void integerField(const QString &field, qint64 min, qint64 max, qint64 current, Set set)
    {
        noteRepeat(field);
        if (const auto value = integer(field, min, max, current))
            set(*value);
    }
    template <typename Set>
    void unsignedField(const QString &field, int base, quint64 max, quint64 current, Set set)
    {
        noteRepeat(field);
        if (const auto value = unsignedNumber(field, base, max, current))
            set(*value);
    }
    template <typename Set> void coordinateField(const QString &field, double current, Set set)
    {
        noteRepeat(field);
        if (const auto value = coordinate(field, current))
            set(*value);
    }

    // Notes past MapFileFormat::kMaxNotes in one file are only counted.
    void note(const QString &text);
    void noteRepeat(const QString &field);
    // The notes of the object just read, each prefixed ("loadLight: light 2A: ").
    QStringList takeNotes(const QString &prefix);
    int notesNotKept() const { return m_notesNotKept; }

    static QString quoted(const QString &text);
    static QString hex(quint64 value);

private:
    QXmlStreamReader m_xml;
    int m_depth = 0;
    QStringList m_notes;
    int m_notesKept = 0;
    int m_notesNotKept = 0;
    QSet<QString> m_fieldsSeen;
    QSet<QString> m_unknownNoted;
};
