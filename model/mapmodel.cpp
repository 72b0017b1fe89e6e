#include "model/mapmodel.h"

#include "model/datasupply.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapfilereader.h"
#include "model/mapfilewriter.h"
#include "model/modellogging.h"
#include "model/progress.h"
#include "model/uidallocator.h"

#include <QFile>
#include <QSaveFile>

#include <cmath>
#include <limits>

MapModel::MapModel(QObject *parent)
    : QObject(parent), m_propertyFormat(std::make_shared<MapPropertyFormat>())
{
    UidAllocator::seedRandom();
    m_lights.reserve(kReservedEntries);
    m_groups.reserve(kReservedEntries);
    m_dataSupplies.reserve(kReservedEntries);
}

MapModel::~MapModel()
{
    // Children are deleted by QObject; drop the connections first so that no signal of a
    // dying light reaches a group that is already gone.
    for (Light *light : qAsConst(m_lights))
        light->disconnect();
}

quint64 MapModel::newUid() const
{
    return UidAllocator::next([this](quint64 uid) {
        return m_dataSupplies.contains(uid) || m_lights.contains(uid) || m_groups.contains(uid);
    });
}

bool MapModel::isEmpty() const
{
    return m_lights.isEmpty() && m_groups.isEmpty() && m_dataSupplies.isEmpty();
}

bool MapModel::addDataSupply(std::unique_ptr<DataSupply> supply)
{
    return insertDataSupply(std::move(supply), Announce::Yes);
}

bool MapModel::addLight(std::unique_ptr<Light> light)
{
    return insertLight(std::move(light), Announce::Yes);
}

bool MapModel::addGroup(std::unique_ptr<Group> group)
{
    return insertGroup(std::move(group), Announce::Yes);
}

bool MapModel::insertDataSupply(std::unique_ptr<DataSupply> supply, Announce announce)
{
    if (!supply)
        return false;
    if (m_dataSupplies.contains(supply->uid())) {
        emit msg(QStringLiteral("loadDataSupply: uid already exists"));
        return false;
    }
    DataSupply *s = supply.release();
    s->setParent(this);
    m_dataSupplies.insert(s->uid(), s);
    connect(s, &DataSupply::updatedDataSupply, this, &MapModel::updatedDataSupply);
    connect(s, &DataSupply::updatedLightProperty, this, &MapModel::updatedLightProperty);
    connect(s, &DataSupply::msg, this, &MapModel::msg);
    s->setLightLookup([this](quint64 uid) { return m_lights.value(uid); });
    s->setLive(m_livePlay);
    if (announce == Announce::Yes)
        emit newDataSupply(s->uid());
    return true;
}

bool MapModel::insertLight(std::unique_ptr<Light> light, Announce announce)
{
    if (!light)
        return false;
    if (m_lights.contains(light->uid())) {
        emit msg(QStringLiteral("loadLight: uid already exists"));
        return false;
    }
    Light *l = light.release();
    l->setParent(this);
    m_lights.insert(l->uid(), l);
    // A supply may list the light already (files list a supply's lights before the lights).
    LightOutput::touchLayout();
    connect(l, &Light::updatedLight, this, &MapModel::updatedLight);
    connect(l, &Light::updatedLightPosition, this, &MapModel::updatedLightPosition);
    connect(l, &Light::updatedLightProperty, this, &MapModel::updatedLightProperty);
    // Groups may name the light before it arrives (hand-edited files, undo of a delete).
    const QList<quint64> groupUids = m_groupsOfLight.values(l->uid());
    for (quint64 groupUid : groupUids) {
        if (Group *g = m_groups.value(groupUid))
            connect(l, &Light::updatedLight, g, &Group::handleUpdatedLight);
    }
    if (announce == Announce::Yes)
        emit newLight(l->uid());
    return true;
}

bool MapModel::insertGroup(std::unique_ptr<Group> group, Announce announce)
{
    if (!group)
        return false;
    if (m_groups.contains(group->uid())) {
        emit msg(QStringLiteral("loadGroup: uid already exists"));
        return false;
    }
    Group *g = group.release();
    g->setParent(this);
    m_groups.insert(g->uid(), g);
    connect(g, &Group::updatedGroup, this, &MapModel::updatedGroup);
    for (quint64 member : g->children())
        connectMember(g, member);
    groupBounds(g->uid());
    if (announce == Announce::Yes)
        emit newGroup(g->uid());
    return true;
}

void MapModel::connectMember(Group *group, quint64 lightUid)
{
    m_groupsOfLight.insert(lightUid, group->uid());
    if (Light *l = m_lights.value(lightUid))
        connect(l, &Light::updatedLight, group, &Group::handleUpdatedLight, Qt::UniqueConnection);
}

bool MapModel::addLightToGroup(quint64 groupUid, quint64 lightUid)
{
    Group *g = m_groups.value(groupUid);
    if (!g || g->hasChild(lightUid))
        return false;
    connectMember(g, lightUid);
    g->appendChild(lightUid);
    return true;
}

bool MapModel::removeLightFromGroup(quint64 groupUid, quint64 lightUid)
{
    Group *g = m_groups.value(groupUid);
    if (!g || !g->hasChild(lightUid))
        return false;
    m_groupsOfLight.remove(lightUid, groupUid);
    if (Light *l = m_lights.value(lightUid))
        disconnect(l, &Light::updatedLight, g, &Group::handleUpdatedLight);
    g->removeChild(lightUid);
    return true;
}

QRectF MapModel::groupBounds(quint64 groupUid)
{
    Group *g = m_groups.value(groupUid);
    if (!g)
        return {};
    g->resetBounds();
    for (quint64 member : g->children()) {
        if (const Light *l = m_lights.value(member))
            g->includeInBounds(l->x(), l->y());
    }
    return g->bounds();
}

bool MapModel::removeDataSupply(quint64 uid)
{
    DataSupply *s = m_dataSupplies.take(uid);
    if (!s)
        return false;
    delete s;
    return true;
}

bool MapModel::removeLight(quint64 uid)
{
    Light *l = m_lights.take(uid);
    if (!l)
        return false;
    l->disconnect();
    const QList<quint64> groupUids = m_groupsOfLight.values(uid);
    m_groupsOfLight.remove(uid);
    for (quint64 groupUid : groupUids) {
        if (Group *g = m_groups.value(groupUid))
            g->removeChild(uid);
    }
    if (DataSupply *s = m_dataSupplies.value(l->dataSupply()))
        s->removeLight(uid);
    emit deletedLight(uid);
    delete l;
    return true;
}

bool MapModel::removeGroup(quint64 uid)
{
    Group *g = m_groups.take(uid);
    if (!g)
        return false;
    for (quint64 member : g->children())
        m_groupsOfLight.remove(member, uid);
    emit deletedGroup(uid);
    delete g;
    return true;
}

void MapModel::clear()
{
    const int total = m_lights.size() + m_groups.size() + m_dataSupplies.size();
    const int step = progressStep(total);
    emit progressStarted(0, total, QStringLiteral("Clearing Map..."));
    int count = 0;
    auto advance = [&] {
        if (++count % step == 0)
            emit progressUpdated(count);
    };

    // Everything goes, so skip the per-light bookkeeping of removeLight().
    const QHash<quint64, Light *> lights = std::exchange(m_lights, {});
    for (auto it = lights.cbegin(); it != lights.cend(); ++it) {
        it.value()->disconnect();
        emit deletedLight(it.key());
        delete it.value();
        advance();
    }
    const QHash<quint64, Group *> groups = std::exchange(m_groups, {});
    for (auto it = groups.cbegin(); it != groups.cend(); ++it) {
        emit deletedGroup(it.key());
        delete it.value();
        advance();
    }
    const QHash<quint64, DataSupply *> supplies = std::exchange(m_dataSupplies, {});
    for (DataSupply *s : supplies) {
        delete s;
        advance();
    }
    m_groupsOfLight.clear();
    m_lights.reserve(kReservedEntries);
    m_groups.reserve(kReservedEntries);
    m_dataSupplies.reserve(kReservedEntries);
    m_imageFile.clear();
    m_effects.clear();
    m_canvasRect = QRect();

    emit progressUpdated(total);
    emit clearedMap();
}

void MapModel::setImageFile(const QString &path)
{
    m_imageFile = path;
}

void MapModel::setPropertyFormat(std::shared_ptr<const MapPropertyFormat> format)
{
    m_propertyFormat = format ? std::move(format) : std::make_shared<MapPropertyFormat>();
}

bool MapModel::loadFromFile(const QString &path)
{
    emit msg(QStringLiteral("Opening map file: ") + path);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qCDebug(lcModel) << "Error: Unable to open file.";
        emit msg(QStringLiteral("Error: Unable to open file."));
        return false;
    }
    if (file.size() > kMaxMapFileBytes) {
        const QString text = QStringLiteral("Error: Map file is too large (%1 bytes; the limit is %2 MB).")
                                 .arg(file.size())
                                 .arg(kMaxMapFileBytes >> 20);
        qCDebug(lcModel) << text;
        emit msg(text);
        return false;
    }
    return loadFromDevice(file);
}

bool MapModel::loadFromDevice(QIODevice &device)
{
    ParsedMap parsed = parseMapDocument(device, *m_propertyFormat);
    if (parsed.error) {
        qCDebug(lcModel) << "Error:" << parsed.error->message << "in line " << parsed.error->line
                         << "column" << parsed.error->column;
        emit msg(QStringLiteral("Error in line: %1, column: %2")
                     .arg(parsed.error->line)
                     .arg(parsed.error->column));
        return false;
    }
    emit msg(QStringLiteral("Doc has ") + QString::number(parsed.topLevelNodes)
             + QStringLiteral(" children."));
    if (parsed.topLevelNodes != 1)
        return false;
    if (parsed.rootName != QLatin1String("map")) {
        emit msg(QStringLiteral("Error: Not a map file (root element \"%1\").").arg(parsed.rootName));
        return false;
    }
    return applyParsedMap(parsed);
}

bool MapModel::applyParsedMap(ParsedMap &parsed)
{
    const int count = parsed.rootChildNodes;
    emit msg(QString::asprintf("Map has %d children.", count));
    emit progressStarted(0, count, QStringLiteral("Loading Map"));
    const int step = progressStep(count);

    QList<quint64> loadedSupplies, loadedLights, loadedGroups;
    int done = 0;
    for (ParsedMapChild &child : parsed.children) {
        switch (child.kind) {
        case ParsedMapChild::Kind::Supply: {
            switch (child.supplyType) {
            case DataSupply::VistraIp:
                emit msg(QStringLiteral("Loading a Vistra IP DataSupply."));
                break;
            case DataSupply::VistraBroadcast:
                emit msg(QStringLiteral("Loading a Vistra Broadcast DataSupply."));
                break;
            default:
                emit msg(QStringLiteral("Loading a SACN DataSupply."));
                break;
            }
            const quint64 uid = child.supply->uid();
            if (insertDataSupply(std::move(child.supply), Announce::No))
                loadedSupplies.append(uid);
            break;
        }
        case ParsedMapChild::Kind::Light: {
            const quint64 uid = child.light->uid();
            if (insertLight(std::move(child.light), Announce::No))
                loadedLights.append(uid);
            break;
        }
        case ParsedMapChild::Kind::Group: {
            const quint64 uid = child.group->uid();
            if (insertGroup(std::move(child.group), Announce::No))
                loadedGroups.append(uid);
            break;
        }
        case ParsedMapChild::Kind::ImageFile:
            m_imageFile = child.text;
            break;
        case ParsedMapChild::Kind::Effect:
            m_effects.append(child.effect);
            break;
        case ParsedMapChild::Kind::PostSync:
        case ParsedMapChild::Kind::SkippedSupply:
        case ParsedMapChild::Kind::Other:
            break;
        }
        if (++done % step == 0)
            emit progressUpdated(done);
    }
    emit progressUpdated(count);

    updateCanvasRect();
    if (!m_imageFile.isEmpty())
        emit newImageFile(m_imageFile);
    for (quint64 uid : qAsConst(loadedSupplies))
        emit newDataSupply(uid);
    for (quint64 uid : qAsConst(loadedLights))
        emit newLight(uid);
    for (quint64 uid : qAsConst(loadedGroups))
        emit newGroup(uid);
    return true;
}

void MapModel::updateCanvasRect()
{
    // The layout's extent: the box around every light, from the origin.
    double maxX = 0, maxY = 0;
    for (const Light *l : qAsConst(m_lights)) {
        if (std::isfinite(l->x()))
            maxX = std::max(maxX, l->x());
        if (std::isfinite(l->y()))
            maxY = std::max(maxY, l->y());
    }
    constexpr double kLimit = std::numeric_limits<int>::max() / 2;
    m_canvasRect = QRect(0, 0, static_cast<int>(std::ceil(std::min(maxX, kLimit))),
                         static_cast<int>(std::ceil(std::min(maxY, kLimit))));
}

bool MapModel::saveToFile(const QString &path)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    if (!saveToDevice(file)) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

bool MapModel::saveToDevice(QIODevice &device)
{
    ProgressReporter progress;
    progress.started = [this](int min, int max, const QString &text) {
        emit progressStarted(min, max, text);
    };
    progress.updated = [this](int value) { emit progressUpdated(value); };
    progress.textChanged = [this](const QString &text) { emit progressTextChanged(text); };
    return writeMapDocument(*this, device, progress);
}

void MapModel::setLivePlay(bool on)
{
    m_livePlay = on;
    for (DataSupply *supply : qAsConst(m_dataSupplies))
        supply->setLive(on);
}

void MapModel::updateLights()
{
    if (m_livePlay)
        for (DataSupply *supply : qAsConst(m_dataSupplies))
            supply->updateLights();
    LightOutput::nextFrame();
}
