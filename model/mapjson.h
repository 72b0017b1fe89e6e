#pragma once

#include <QJsonObject>

class DataSupply;
class Group;
class Light;
class MapModel;

// The model as JSON for scripts: camelCase field names taken from the model, numbers as
// JSON numbers (exact up to 2^53, which covers uids, serials and RDM ids in practice). A
// light's "portIndex" is the index of its port in the supply's port list, counted from 0;
// a supply's ports carry their own "number", counted from 1 as people see it.
namespace MapJson {

QJsonObject supply(const DataSupply &supply);
QJsonObject light(const Light &light);
QJsonObject group(const Group &group);
// {"imageFile", "supplies", "lights", "groups"}, each list in uid order.
QJsonObject map(const MapModel &model);
// Everything a map file carries, for comparing two models: map() with the effects and
// without the supplies' missing flag, which is run-time state that files never hold.
QJsonObject fileContent(const MapModel &model);

} // namespace MapJson
