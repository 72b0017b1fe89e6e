#pragma once

#include "devices/propertyvalues.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QVector>

#include <memory>
#include <optional>
#include <variant>

class DeviceDictionary;
class EditLightsCommand;
class MapModel;
class PropertyMapper;

// The light-property editor's view of the selected lights and its rules for changing them.
// The dialog only collects choices; what the lights hold, what may be changed and what an
// edit does to each light is decided here, so that it can be tested without a window.
namespace LightEdit {

// What the selected lights hold in one field: one value for all, or "Various".
struct FieldSummary
{
    bool various = false;
    QString value; // the common value, as the user sees it
    QString text() const;
};

// One device setting that the lights' definitions name.
struct PropertyRow
{
    QString token;
    QString displayName; // from the property map
    QString description;
    PropertyValues values;
    bool editable = false;
    FieldSummary current; // shown through the property map (option names, decimal)
};

struct Summary
{
    int lightCount = 0;
    FieldSummary name;
    FieldSummary dmxAddress; // 1-based
    FieldSummary port;       // from 1
    FieldSummary fixtureType;
    bool fixtureTypeFixed = false; // some light's serial number fixes its type
    int highestPort = 1;           // the most ports any of the lights' supplies has
    QVector<PropertyRow> rows;
};

Summary summarise(const MapModel &model, const QList<quint64> &lightUids,
                  const DeviceDictionary &dictionary, const PropertyMapper &mapper);

// What the user changed; every field left empty is "No Change".
struct Request
{
    enum class DmxMode { NoChange, Same, Consecutive };

    // One light: its name. Several: the stem of numbered names ("Cove 001", "Cove 002", ...).
    std::optional<QString> name;
    DmxMode dmxMode = DmxMode::NoChange;
    int dmxAddress = 1;      // 1-based; with Consecutive the first light's address
    std::optional<int> port; // from 1
    std::optional<QString> fixtureType;
    // Tokens to values as the property map stores them (option values, decimal numbers).
    QMap<QString, QString> properties;

    bool isEmpty() const;
};

// Why an edit was refused before anything changed.
struct Problem
{
    QString text;
};

// The edit as one undoable command, not yet applied, or why it cannot be made. Lights are
// numbered and addressed in the order given.
std::variant<std::unique_ptr<EditLightsCommand>, Problem>
plan(const MapModel &model, const QList<quint64> &lightUids, const Request &request,
     const DeviceDictionary &dictionary, const PropertyMapper &mapper);

// The name rule for several lights given one name.
QString numberedName(const QString &stem, int index, int count);

} // namespace LightEdit
