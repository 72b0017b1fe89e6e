#include "model/undoaction.h"

#include "model/light.h"
#include "model/mapmodel.h"

Placement Placement::of(const Light &light)
{
    return Placement{light.x(), light.y(), light.z(), light.q0(), light.q1(), light.q2(),
                     light.q3()};
}

void Placement::applyTo(Light &light) const
{
    light.setPosition(x, y, z);
    light.setOrientation(q0, q1, q2, q3);
}

bool Placement::operator==(const Placement &o) const
{
    return x == o.x && y == o.y && z == o.z && q0 == o.q0 && q1 == o.q1 && q2 == o.q2 &&
           q3 == o.q3;
}

quint64 PlacementUndoAction::apply(MapModel &model, PlacementView *view)
{
    Light *light = model.light(m_lightUid);
    if (!view || !light)
        return 0;
    const Placement current = Placement::of(*light);
    m_placement.applyTo(*light);
    // The canvas follows the light; it is told as well, for the case it did not listen.
    view->moveLightItem(m_lightUid, m_placement);
    // What the light held is what the opposite direction restores.
    m_placement = current;
    return m_lightUid;
}
