#include "editing/editlightscommand.h"

#include "model/light.h"
#include "model/mapmodel.h"

LightFieldValues LightFieldValues::currentOf(const Light &light) const
{
    LightFieldValues current;
    current.lightUid = lightUid;
    if (name)
        current.name = light.name();
    if (portNumber)
        current.portNumber = light.portNumber();
    if (channel)
        current.channel = light.channel();
    for (auto it = properties.cbegin(); it != properties.cend(); ++it)
        current.properties.insert(it.key(),
                                  light.hasDeviceProperty(it.key())
                                      ? std::optional<QString>(light.deviceProperty(it.key()))
                                      : std::nullopt);
    return current;
}

void LightFieldValues::applyTo(Light &light) const
{
    if (name)
        light.setName(*name);
    if (portNumber)
        light.setPortNumber(*portNumber);
    for (auto it = properties.cbegin(); it != properties.cend(); ++it) {
        if (it.value())
            light.setDeviceProperty(it.key(), *it.value());
        else
            light.removeDeviceProperty(it.key());
    }
    // The first channel goes with the stored DMX start, so that the panes show the new
    // address before the next frame is built, and undo gives back the channel it had.
    if (channel)
        light.setChannel(*channel);
}

EditLightsCommand::EditLightsCommand(QVector<LightFieldValues> values)
    : UndoAction(LightEditKind), m_values(std::move(values))
{
}

quint64 EditLightsCommand::apply(MapModel &model, PlacementView *)
{
    for (LightFieldValues &recorded : m_values) {
        Light *light = model.light(recorded.lightUid);
        if (!light)
            continue;
        LightFieldValues current = recorded.currentOf(*light);
        recorded.applyTo(*light);
        recorded = std::move(current);
    }
    return 0;
}
