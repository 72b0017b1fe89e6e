#pragma once

#include "model/undoaction.h"

#include <QMap>
#include <QString>
#include <QVector>

#include <optional>

// The fields of one light that an edit touches. A field left empty is not part of the edit;
// a property mapped to an empty optional is one the light does not hold.
struct LightFieldValues
{
    quint64 lightUid = 0;
    std::optional<QString> name;
    std::optional<unsigned int> portNumber; // 0-based, as the model numbers ports
    std::optional<int> channel;             // the first channel, with DMX_OFFSET
    QMap<QString, std::optional<QString>> properties;

    // The light's current values of the same fields.
    LightFieldValues currentOf(const class Light &light) const;
    void applyTo(Light &light) const;
};

// The light-property editor's change to many lights, as one step of the undo stacks.
// Like a placement, applying it exchanges the recorded values with the lights' current
// ones: built with the new values, the first apply() makes the edit and leaves the old
// values in the command for undo, the next puts them back and keeps the new ones for redo.
class EditLightsCommand final : public UndoAction
{
public:
    explicit EditLightsCommand(QVector<LightFieldValues> values);

    int lightCount() const { return m_values.size(); }
    const QVector<LightFieldValues> &values() const { return m_values; }
    // Lights deleted since are skipped. Returns 0: the lights announce their own changes.
    quint64 apply(MapModel &model, PlacementView *view) override;

private:
    QVector<LightFieldValues> m_values;
};
