#pragma once

// Puts a few objects into a model for tests that need them, as loading a map would: a uid of
// 0 takes a fresh one from the model. Each returns the object's uid.
#include "model/datasupply.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapmodel.h"

#include <QBuffer>

namespace MapBuild {

inline quint64 supply(MapModel &model, const QString &name = QStringLiteral("Supply"),
                      quint64 uid = 0, unsigned int type = DataSupply::VistraIp)
{
    auto supply = std::make_unique<DataSupply>(type);
    supply->setUid(uid ? uid : model.newUid());
    supply->setName(name);
    uid = supply->uid();
    return model.addDataSupply(std::move(supply)) ? uid : 0;
}

// A light on the given supply (which also lists it, when the map holds that supply).
inline quint64 light(MapModel &model, quint64 supply = 0, unsigned int port = 0, int number = 0,
                     const QString &name = QStringLiteral("Light"), quint64 uid = 0)
{
    auto light = std::make_unique<Light>();
    light->setUid(uid ? uid : model.newUid());
    light->setName(name);
    light->setDataSupply(supply);
    light->setPortNumber(port);
    light->setLightNumber(number);
    uid = light->uid();
    if (!model.addLight(std::move(light)))
        return 0;
    if (DataSupply *owner = model.dataSupply(supply))
        owner->addLight(uid);
    return uid;
}

inline quint64 lightAt(MapModel &model, double x, double y, quint64 uid = 0)
{
    uid = light(model, 0, 0, 0, QStringLiteral("Light"), uid);
    model.light(uid)->setPosition(x, y, 0);
    return uid;
}

inline quint64 group(MapModel &model, const QString &name, const QList<quint64> &members = {},
                     quint64 uid = 0)
{
    auto group = std::make_unique<Group>();
    group->setUid(uid ? uid : model.newUid());
    group->setName(name);
    for (quint64 member : members)
        group->appendChild(member);
    uid = group->uid();
    return model.addGroup(std::move(group)) ? uid : 0;
}

// The map file of a model as bytes (empty when the save fails), and a model loaded from bytes.
inline QByteArray saved(MapModel &model)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    return model.saveToDevice(buffer) ? buffer.data() : QByteArray();
}

inline bool load(MapModel &model, QByteArray bytes)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    return model.loadFromDevice(buffer);
}

} // namespace MapBuild
