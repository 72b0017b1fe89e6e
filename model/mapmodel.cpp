#include "model/mapmodel.h"

#include "model/datasupply.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapfileformat.h"
#include "model/mapfilereader.h"
#include "model/mapfilewriter.h"
#include "model/modellogging.h"
#include "model/progress.h"
#include "model/uidallocator.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSet>

#include <cmath>
#include <limits>

namespace {

QString hex(quint64 value)
{
    return QString::number(value, 16).toUpper();
}

// Empties a hash, deleting its objects through `remove`, but keeps its buckets: the capacity
// reserved for an installation stays, and a clear costs nothing but the walk. The model is
// empty while its objects go, as whoever hears of a removal may look at it.
template <typename T, typename Remove> void removeAll(QHash<quint64, T *> &hash, Remove remove)
{
    if (hash.isEmpty())
        return;
    QHash<quint64, T *> objects;
    objects.swap(hash);
    for (auto it = objects.begin(); it != objects.end(); it = objects.erase(it))
        remove(it.key(), it.value());
    if (hash.isEmpty())
        hash.swap(objects);
}

} // namespace

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
    for (Light *light : lights())
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

// Uids are unique across supplies, lights and groups: views and references name an object
// by its uid alone.
bool MapModel::holdsUid(quint64 uid) const
{
    return m_dataSupplies.contains(uid) || m_lights.contains(uid) || m_groups.contains(uid);
}

bool MapModel::insertDataSupply(std::unique_ptr<DataSupply> supply, Announce announce)
{
    if (!supply)
        return false;
    if (holdsUid(supply->uid())) {
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
    if (holdsUid(light->uid())) {
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
    if (holdsUid(group->uid())) {
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

bool MapModel::setGroupMembers(quint64 groupUid, const QList<quint64> &lightUids)
{
    Group *g = m_groups.value(groupUid);
    if (!g)
        return false;
    for (const quint64 uid : g->children()) {
        m_groupsOfLight.remove(uid, groupUid);
        if (Light *l = m_lights.value(uid))
            disconnect(l, &Light::updatedLight, g, &Group::handleUpdatedLight);
    }
    QList<quint64> members;
    members.reserve(lightUids.size());
    QSet<quint64> seen;
    seen.reserve(lightUids.size());
    for (const quint64 uid : lightUids) {
        if (!m_lights.contains(uid) || seen.contains(uid))
            continue;
        seen.insert(uid);
        members.append(uid);
        connectMember(g, uid);
    }
    g->setChildren(members);
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
    return bool(takeDataSupply(uid));
}

std::unique_ptr<DataSupply> MapModel::takeDataSupply(quint64 uid)
{
    DataSupply *s = m_dataSupplies.take(uid);
    if (!s)
        return nullptr;
    s->disconnect(this);
    s->setLive(false);
    s->setParent(nullptr);
    emit updatedDataSupply(uid);
    return std::unique_ptr<DataSupply>(s);
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
    removeAll(m_lights, [&](quint64 uid, Light *light) {
        light->disconnect();
        emit deletedLight(uid);
        delete light;
        advance();
    });
    removeAll(m_groups, [&](quint64 uid, Group *group) {
        emit deletedGroup(uid);
        delete group;
        advance();
    });
    removeAll(m_dataSupplies, [&](quint64, DataSupply *supply) {
        delete supply;
        advance();
    });
    m_groupsOfLight.clear();
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

bool MapModel::failLoad(const QString &reason)
{
    m_loadError = reason;
    return false;
}

bool MapModel::loadFromFile(const QString &path)
{
    m_loadError.clear();
    emit msg(QStringLiteral("Opening map file: ") + path);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qCDebug(lcModel) << "Error: Unable to open file.";
        emit msg(QStringLiteral("Error: Unable to open file."));
        return failLoad(QStringLiteral("Unable to open file: ") + file.errorString());
    }
    if (file.size() > kMaxMapFileBytes) {
        const QString reason =
            QStringLiteral("Map file is too large (%1 bytes; the limit is %2 MB).")
                .arg(file.size())
                .arg(kMaxMapFileBytes >> 20);
        qCDebug(lcModel) << "Error:" << reason;
        emit msg(QStringLiteral("Error: ") + reason);
        return failLoad(reason);
    }
    return loadFromDevice(file);
}

bool MapModel::loadFromDevice(QIODevice &device)
{
    m_loadError.clear();
    ParsedMap parsed = parseMapDocument(device, *m_propertyFormat);
    if (parsed.error) {
        qCDebug(lcModel) << "Error:" << parsed.error->message << "in line " << parsed.error->line
                         << "column" << parsed.error->column;
        const QString where = QStringLiteral("Error in line: %1, column: %2")
                                  .arg(parsed.error->line)
                                  .arg(parsed.error->column);
        emit msg(where);
        return failLoad(where + QStringLiteral(": ") + parsed.error->message);
    }
    emit msg(QStringLiteral("Doc has ") + QString::number(parsed.topLevelNodes) +
             QStringLiteral(" children."));
    if (parsed.topLevelNodes != 1)
        return failLoad(QStringLiteral("The file holds %1 top-level nodes; a map file holds its "
                                       "\"map\" element only.")
                            .arg(parsed.topLevelNodes));
    if (parsed.rootName != QLatin1String("map")) {
        const QString text =
            QStringLiteral("Not a map file (root element \"%1\").").arg(parsed.rootName);
        emit msg(QStringLiteral("Error: ") + text);
        return failLoad(text);
    }
    return applyParsedMap(parsed);
}

// Which objects of a parsed file the model will hold, decided before any is added: a
// reference may point forward in the file (a group listed before its lights).
struct MapModel::LoadPlan
{
    std::vector<bool> accepted;
    QSet<quint64> supplies;
    QSet<quint64> lights;
};

namespace {

quint64 uidOf(const ParsedMapChild &child)
{
    switch (child.kind) {
    case ParsedMapChild::Kind::Supply:
        return child.supply->uid();
    case ParsedMapChild::Kind::Light:
        return child.light->uid();
    default:
        return child.group->uid();
    }
}

} // namespace

// The loader's notes go out as messages, up to a limit: a damaged file can give one for
// every reference it holds, and the log and the status bar must stay usable. The rest are
// counted.
class MapModel::LoadNotes
{
public:
    LoadNotes(MapModel &model, int notShown) : m_model(model), m_hidden(notShown) {}
    void report(const QString &note)
    {
        if (m_left > 0) {
            --m_left;
            emit m_model.msg(note);
        } else {
            ++m_hidden;
        }
    }
    void report(const QStringList &notes)
    {
        for (const QString &note : notes)
            report(note);
    }
    void finish()
    {
        if (m_hidden > 0)
            emit m_model.msg(QStringLiteral("loadMap: %1 more messages like these were not shown.")
                                 .arg(m_hidden));
    }

private:
    MapModel &m_model;
    int m_left = MapFileFormat::kMaxNotes;
    int m_hidden = 0;
};

MapModel::LoadPlan MapModel::planLoad(const ParsedMap &parsed) const
{
    LoadPlan plan;
    plan.accepted.resize(parsed.children.size());
    QSet<quint64> taken;
    for (const DataSupply *supply : dataSupplies())
        plan.supplies.insert(supply->uid());
    for (const Light *light : lights())
        plan.lights.insert(light->uid());
    for (const Group *group : groups())
        taken.insert(group->uid());
    taken += plan.supplies;
    taken += plan.lights;
    // The first object of a uid is added, as the model refuses the others in file order.
    for (size_t i = 0; i < parsed.children.size(); ++i) {
        const ParsedMapChild &child = parsed.children[i];
        const bool isObject =
            child.kind == ParsedMapChild::Kind::Supply ||
            child.kind == ParsedMapChild::Kind::Light ||
            (child.kind == ParsedMapChild::Kind::Group && !child.group->isSelectionGroup());
        if (!isObject || taken.contains(uidOf(child)))
            continue;
        const quint64 uid = uidOf(child);
        taken.insert(uid);
        plan.accepted[i] = true;
        if (child.kind == ParsedMapChild::Kind::Supply)
            plan.supplies.insert(uid);
        else if (child.kind == ParsedMapChild::Kind::Light)
            plan.lights.insert(uid);
    }
    return plan;
}

// A map holds no reference to an object it does not hold: a supply's lights and a group's
// members are lights of the map, a light's supply is a supply of the map or none (0).
// Anything else is dropped and noted.
void MapModel::resolveReferences(ParsedMapChild &child, const LoadPlan &plan, LoadNotes &notes)
{
    const quint64 uid = uidOf(child);
    if (child.kind == ParsedMapChild::Kind::Light) {
        const quint64 supply = child.light->dataSupply();
        if (supply != 0 && !plan.supplies.contains(supply)) {
            notes.report(QStringLiteral("loadLight: light %1: data supply %2 is not a supply of "
                                        "this map; not kept (the light has no supply)")
                             .arg(hex(uid), hex(supply)));
            child.light->setDataSupply(0);
        }
        return;
    }
    const bool isSupply = child.kind == ParsedMapChild::Kind::Supply;
    const QString prefix = isSupply ? QStringLiteral("loadDataSupply: supply %1: light %2")
                                    : QStringLiteral("loadGroup: group %1: member %2");
    for (quint64 light : qAsConst(child.references)) {
        if (!plan.lights.contains(light))
            notes.report(prefix.arg(hex(uid), hex(light)) +
                         QStringLiteral(" is not a light of this map; not kept"));
        else if (isSupply)
            child.supply->addLight(light);
        else
            child.group->appendChild(light);
    }
}

bool MapModel::applyParsedMap(ParsedMap &parsed)
{
    const int count = parsed.rootChildNodes;
    emit msg(QString::asprintf("Map has %d children.", count));
    emit progressStarted(0, count, QStringLiteral("Loading Map"));
    const int step = progressStep(count);
    const LoadPlan plan = planLoad(parsed);
    LoadNotes notes(*this, parsed.notesNotKept);

    QList<quint64> loadedSupplies, loadedLights, loadedGroups;
    for (size_t i = 0; i < parsed.children.size(); ++i) {
        ParsedMapChild &child = parsed.children[i];
        if (child.kind == ParsedMapChild::Kind::Supply)
            emit msg(child.supplyType == DataSupply::VistraIp
                         ? QStringLiteral("Loading a Vistra IP DataSupply.")
                     : child.supplyType == DataSupply::VistraBroadcast
                         ? QStringLiteral("Loading a Vistra Broadcast DataSupply.")
                         : QStringLiteral("Loading a SACN DataSupply."));
        // Notes about a refused object would describe something the map does not keep.
        if (plan.accepted[i]) {
            notes.report(child.notes);
            resolveReferences(child, plan, notes);
        }
        switch (child.kind) {
        case ParsedMapChild::Kind::Supply: {
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
            if (child.group->isSelectionGroup())
                notes.report(QStringLiteral("loadGroup: group %1: \"%2\" is the layout's working "
                                            "selection, not part of the installation; not kept")
                                 .arg(hex(uid), Group::selectionGroupName()));
            else if (insertGroup(std::move(child.group), Announce::No))
                loadedGroups.append(uid);
            break;
        }
        case ParsedMapChild::Kind::ImageFile:
            notes.report(child.notes);
            m_imageFile = child.text;
            break;
        case ParsedMapChild::Kind::Effect:
            notes.report(child.notes);
            m_effects.append(child.effect);
            break;
        case ParsedMapChild::Kind::PostSync:
        case ParsedMapChild::Kind::SkippedSupply:
        case ParsedMapChild::Kind::Other:
            notes.report(child.notes);
            break;
        }
        if (int(i + 1) % step == 0)
            emit progressUpdated(int(i + 1));
    }
    emit progressUpdated(count);
    notes.finish();
    announceLoaded(loadedSupplies, loadedLights, loadedGroups);
    return true;
}

void MapModel::announceLoaded(const QList<quint64> &supplies, const QList<quint64> &lights,
                              const QList<quint64> &groups)
{
    updateCanvasRect();
    if (!m_imageFile.isEmpty())
        emit newImageFile(m_imageFile);
    for (quint64 uid : supplies)
        emit newDataSupply(uid);
    for (quint64 uid : lights)
        emit newLight(uid);
    for (quint64 uid : groups)
        emit newGroup(uid);
}

void MapModel::updateCanvasRect()
{
    // The layout's extent: the box around every light, from the origin.
    double maxX = 0, maxY = 0;
    for (const Light *l : lights()) {
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
    m_saveError.clear();
    // The save replaces the file by renaming a new one over it. Over a device, a pipe or a
    // directory that would replace the node itself (as root, /dev/full would become a
    // regular file), so anything that is not a regular file is left alone. QFileInfo follows
    // symbolic links: a link to a regular file is saved through, as before.
    const QFileInfo target(path);
    if (target.exists() && !target.isFile()) {
        m_saveError = QStringLiteral("%1 exists and is not a regular file; a map is only saved "
                                     "as a regular file.")
                          .arg(path);
        emit msg(QStringLiteral("Error: ") + m_saveError);
        return false;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        m_saveError = file.errorString();
        return false;
    }
    if (!saveToDevice(file)) {
        m_saveError = file.errorString();
        file.cancelWriting();
        return false;
    }
    if (!file.commit()) {
        m_saveError = file.errorString();
        return false;
    }
    return true;
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
