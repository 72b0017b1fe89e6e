#include "model/mapjson.h"

#include "model/datasupply.h"
#include "model/effectrecord.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapmodel.h"

#include <QJsonArray>

#include <algorithm>

namespace {

QJsonValue number(quint64 value)
{
    return static_cast<double>(value);
}

QJsonArray uidArray(const QList<quint64> &uids)
{
    QJsonArray array;
    for (quint64 uid : uids)
        array.append(number(uid));
    return array;
}

QJsonObject propertyObject(const QMap<QString, QString> &properties)
{
    QJsonObject object;
    for (auto it = properties.cbegin(); it != properties.cend(); ++it)
        object.insert(it.key(), it.value());
    return object;
}

template <typename T> QList<T *> byUid(QList<T *> list)
{
    std::sort(list.begin(), list.end(), [](const T *a, const T *b) { return a->uid() < b->uid(); });
    return list;
}

} // namespace

namespace MapJson {

QJsonObject supply(const DataSupply &s)
{
    QJsonArray ports;
    for (const SupplyPort &p : s.ports())
        ports.append(QJsonObject{{QStringLiteral("number"), p.number},
                                 {QStringLiteral("type"), p.type},
                                 {QStringLiteral("flags"), p.flags}});
    return QJsonObject{
        {QStringLiteral("uid"), number(s.uid())},
        {QStringLiteral("type"), number(s.type())},
        {QStringLiteral("name"), s.name()},
        {QStringLiteral("serialNumber"), number(s.serialNumber())},
        {QStringLiteral("ip"), s.ipAddress().toString()},
        {QStringLiteral("mac"), s.macAddress()},
        {QStringLiteral("universe"), number(s.universe())},
        {QStringLiteral("dmxBufferSize"), s.dmxBufSize()},
        {QStringLiteral("version"), s.version()},
        {QStringLiteral("versionString"), s.versionString()},
        {QStringLiteral("family"), s.family()},
        {QStringLiteral("missing"), s.missing()},
        {QStringLiteral("ports"), ports},
        {QStringLiteral("lights"), uidArray(s.lights())},
        {QStringLiteral("properties"), propertyObject(s.deviceProperties())},
    };
}

QJsonObject light(const Light &l)
{
    return QJsonObject{
        {QStringLiteral("uid"), number(l.uid())},
        {QStringLiteral("name"), l.name()},
        {QStringLiteral("dataSupply"), number(l.dataSupply())},
        {QStringLiteral("portIndex"), number(l.portNumber())},
        {QStringLiteral("lightNumber"), l.lightNumber()},
        {QStringLiteral("fixture"), number(l.fixture())},
        {QStringLiteral("fixtureCode"), number(l.fixtureCode())},
        {QStringLiteral("x"), l.x()},
        {QStringLiteral("y"), l.y()},
        {QStringLiteral("z"), l.z()},
        {QStringLiteral("q0"), l.q0()},
        {QStringLiteral("q1"), l.q1()},
        {QStringLiteral("q2"), l.q2()},
        {QStringLiteral("q3"), l.q3()},
        {QStringLiteral("channel"), l.channel()},
        {QStringLiteral("serialNumber"), number(l.serialNumber())},
        {QStringLiteral("tintlockProfileId"), l.tintlockProfileId()},
        {QStringLiteral("tintlockIoMode"), l.tintlockIoMode()},
        {QStringLiteral("properties"), propertyObject(l.deviceProperties())},
    };
}

QJsonObject group(const Group &g)
{
    return QJsonObject{
        {QStringLiteral("uid"), number(g.uid())},
        {QStringLiteral("type"), g.type()},
        {QStringLiteral("name"), g.name()},
        {QStringLiteral("o"), g.oValue()},
        {QStringLiteral("lightsPerStep"), g.lightsPerStep()},
        {QStringLiteral("children"), uidArray(g.children())},
    };
}

QJsonObject map(const MapModel &model)
{
    QJsonArray supplies, lights, groups;
    for (const DataSupply *s : byUid(model.dataSupplies()))
        supplies.append(supply(*s));
    for (const Light *l : byUid(model.lights()))
        lights.append(light(*l));
    for (const Group *g : byUid(model.groups()))
        groups.append(group(*g));
    return QJsonObject{
        {QStringLiteral("imageFile"), model.imageFile()},
        {QStringLiteral("supplies"), supplies},
        {QStringLiteral("lights"), lights},
        {QStringLiteral("groups"), groups},
    };
}

QJsonObject fileContent(const MapModel &model)
{
    QJsonObject content = map(model);
    QJsonArray supplies;
    for (const QJsonValue &supply : content.value(QStringLiteral("supplies")).toArray()) {
        QJsonObject object = supply.toObject();
        object.remove(QStringLiteral("missing"));
        supplies.append(object);
    }
    content.insert(QStringLiteral("supplies"), supplies);
    QJsonArray effects;
    for (const EffectRecord &effect : model.effects()) {
        QJsonArray elements;
        for (const auto &element : effect.elements)
            elements.append(QJsonArray{element.first, element.second});
        effects.append(elements);
    }
    content.insert(QStringLiteral("effects"), effects);
    return content;
}

} // namespace MapJson
