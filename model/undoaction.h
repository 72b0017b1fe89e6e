#pragma once

#include <QList>
#include <QtGlobal>

class Light;
class MapModel;

// Where a light stands and how it is turned on the layout canvas.
struct Placement
{
    double x = 0;
    double y = 0;
    double z = 0;
    double q0 = 1;
    double q1 = 0;
    double q2 = 0;
    double q3 = 0;

    static Placement of(const Light &light);
    void applyTo(Light &light) const;
    bool operator==(const Placement &other) const;
};

// The canvas as undo sees it: moves a light's item and says where the item was.
class PlacementView
{
public:
    virtual ~PlacementView() = default;
    virtual Placement moveLightItem(quint64 uid, const Placement &placement) = 0;
};

// One recorded change of one light. Applying it exchanges the recorded state with the light's
// current state, so the same action undoes and redoes. Kind 0 is a placement on the canvas;
// other kinds (the light-property editor's edits) bring their own apply().
class UndoAction
{
public:
    enum Kind : int { PlacementKind = 0, CreationKind = 1, LightEditKind = 2, GroupEditKind = 3 };

    explicit UndoAction(int kind) : m_kind(kind) {}
    virtual ~UndoAction() = default;
    int kind() const { return m_kind; }
    // Returns the uid of the light it changed, or 0 when it changed nothing (a light deleted
    // since, or a placement without a canvas).
    virtual quint64 apply(MapModel &model, PlacementView *view) = 0;

private:
    int m_kind;
};

class PlacementUndoAction final : public UndoAction
{
public:
    PlacementUndoAction(quint64 lightUid, const Placement &placement)
        : UndoAction(PlacementKind), m_lightUid(lightUid), m_placement(placement)
    {
    }
    quint64 lightUid() const { return m_lightUid; }
    const Placement &placement() const { return m_placement; }
    quint64 apply(MapModel &model, PlacementView *view) override;

private:
    quint64 m_lightUid;
    Placement m_placement;
};

// One user gesture: the actions of every light it touched, in the order recorded. Whoever
// holds the list owns its actions.
using UndoActionList = QList<UndoAction *>;
