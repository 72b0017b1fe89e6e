#pragma once

#include "model/effectrecord.h"

#include <QString>
#include <QStringList>
#include <QVector>

#include <memory>
#include <optional>
#include <vector>

class DataSupply;
class Group;
class Light;
class MapPropertyFormat;
class QIODevice;

// One child node of the root "map" element, in file order.
struct ParsedMapChild
{
    enum class Kind {
        Supply,         // a supply of a known type, ready to add
        SkippedSupply,  // a supply element of a type we do not create
        Light,
        Group,
        ImageFile,
        PostSync,
        Effect,
        Other,          // "version", unknown elements, comments, ...
    };

    Kind kind = Kind::Other;
    unsigned int supplyType = 0;
    std::unique_ptr<DataSupply> supply;
    std::unique_ptr<Light> light;
    std::unique_ptr<Group> group;
    // A supply's lights or a group's members as the file lists them, each uid once. They
    // are not in the object yet: only the model knows which of them the map holds.
    QVector<quint64> references;
    QString text;
    EffectRecord effect;
    // The loader's messages about this element: values not taken, each naming the object
    // and the field.
    QStringList notes;

    ParsedMapChild();
    ParsedMapChild(ParsedMapChild &&) noexcept;
    ParsedMapChild &operator=(ParsedMapChild &&) noexcept;
    ~ParsedMapChild();
};

struct MapParseError
{
    QString message;
    qint64 line = 0;
    qint64 column = 0;
};

// A map file read into unattached objects. Nothing reaches the model before the whole
// document has parsed, so a broken or truncated file adds nothing.
struct ParsedMap
{
    std::optional<MapParseError> error;
    int topLevelNodes = 0;     // the XML declaration is not a node
    QString rootName;          // tag of the first top-level element
    int rootChildNodes = 0;    // child nodes of the root element
    std::vector<ParsedMapChild> children;
    int notesNotKept = 0; // notes past MapFileFormat::kMaxNotes, only counted
};

// Reads a whole map document. Short and long tag names are both accepted.
//
// A file beyond the limits of MapFileFormat (nesting, number of objects or references) is a
// parse error. Within them, a value that does not parse, lies outside its field's range or
// is too long is not taken: the field keeps what the new object has, and the child's notes
// say so. Elements that are not part of the format are noted once per kind and tag.
// Objects are built but not added anywhere.
ParsedMap parseMapDocument(QIODevice &device, const MapPropertyFormat &propertyFormat);
