#pragma once

#include <QJsonObject>

class DataSupply;
class Group;
class Light;
class MapModel;

// The model as JSON for scripts: camelCase field names taken from the model, numbers as
// JSON numbers (exact up to 2^53, which covers uids, serials and RDM ids in practice).
namespace MapJson {

QJsonObject supply(const DataSupply &supply);
QJsonObject light(const Light &light);
QJsonObject group(const Group &group);
// {"imageFile", "supplies", "lights", "groups"}, each list in uid order.
QJsonObject map(const MapModel &model);

} // namespace MapJson
