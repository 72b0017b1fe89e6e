#include "effects/selectioneffect.h"

#include "effects/effectslogging.h"
#include "model/datasupply.h"
#include "model/group.h"
#include "model/light.h"
#include "model/mapmodel.h"

SelectionEffect::SelectionEffect(MapModel *model, QObject *parent) : Effect(model, 0, parent)
{
    name = QStringLiteral("Selection");
    typeName = kTypeName;
    enabled = true;
    m_selected.reserve(MapModel::kReservedEntries);
    if (!model)
        return;
    for (auto it = model->lightHash().cbegin(); it != model->lightHash().cend(); ++it)
        m_selected.insert(it.key(), false);
    connect(model, &MapModel::newLight, this, &SelectionEffect::handleNewLight);
    connect(model, &MapModel::updatedLight, this, &SelectionEffect::handleUpdatedLight);
    connect(model, &MapModel::deletedLight, this, &SelectionEffect::handleDeletedLight);
    connect(model, &MapModel::clearedMap, this, &SelectionEffect::handleClearedMap);
}

QList<quint64> SelectionEffect::selectedLights() const
{
    QList<quint64> uids;
    for (auto it = m_selected.cbegin(); it != m_selected.cend(); ++it)
        if (it.value())
            uids.append(it.key());
    return uids;
}

int SelectionEffect::selectedCount() const
{
    int count = 0;
    for (const bool selected : m_selected)
        count += selected ? 1 : 0;
    return count;
}

QVector<QVector<quint64>> SelectionEffect::stepsOf(const QList<quint64> &members,
                                                   int lightsPerStep)
{
    const int perStep = std::max(1, lightsPerStep);
    QVector<QVector<quint64>> steps;
    steps.reserve((members.size() + perStep - 1) / perStep);
    for (int i = 0; i < members.size(); i += perStep)
        steps.append(members.mid(i, perStep).toVector());
    return steps;
}

void SelectionEffect::readFromMap(const MapModel &map)
{
    for (const EffectRecord &record : map.effects()) {
        if (record.value(QStringLiteral("type")) != kTypeName)
            continue;
        readRecord(record);
        return;
    }
}

void SelectionEffect::writeToMap(MapModel &map) const
{
    QVector<EffectRecord> effects = map.effects();
    const EffectRecord own = toRecord();
    const auto saved = std::find_if(effects.begin(), effects.end(), [](const EffectRecord &r) {
        return r.value(QStringLiteral("type")) == kTypeName;
    });
    if (saved != effects.end())
        *saved = own;
    else
        effects.append(own);
    map.setEffects(effects);
}

void SelectionEffect::handleNewLight(quint64 uid)
{
    if (!m_selected.contains(uid))
        m_selected.insert(uid, false);
}

void SelectionEffect::handleUpdatedLight(quint64 uid)
{
    handleNewLight(uid);
}

void SelectionEffect::handleDeletedLight(quint64 uid)
{
    m_selected.remove(uid);
}

void SelectionEffect::handleClearedMap()
{
    m_selected.clear();
    m_highlighting = false;
    m_steps.clear();
}

void SelectionEffect::markSelected(quint64 uid, bool selected)
{
    auto it = m_selected.find(uid);
    if (it == m_selected.end())
        return;
    *it = selected;
    setFrameFlag(uid, selected);
    emit lightSelectionChanged(uid, selected);
}

void SelectionEffect::setLightSelected(quint64 uid, bool selected)
{
    m_highlighting = false;
    markSelected(uid, selected);
}

void SelectionEffect::setGroupSelected(quint64 gid, bool selected)
{
    m_highlighting = false;
    const Group *group = model() ? model()->group(gid) : nullptr;
    if (!group)
        return;
    for (const QVector<quint64> &step : stepsOf(group->children(), 1))
        for (const quint64 uid : step)
            markSelected(uid, selected);
}

void SelectionEffect::setDataSupplySelected(quint64 id, bool selected)
{
    m_highlighting = false;
    const DataSupply *supply = model() ? model()->dataSupply(id) : nullptr;
    if (!supply)
        return;
    for (const quint64 uid : supply->lights())
        setLightSelected(uid, selected);
}

void SelectionEffect::highlightGroup(quint64 gid, int lightsPerStep)
{
    const Group *group = model() ? model()->group(gid) : nullptr;
    if (!group || group->children().isEmpty())
        return;
    // Without a step size of its own the chase takes the group's.
    m_steps = stepsOf(group->children(), lightsPerStep > 0 ? lightsPerStep : group->lightsPerStep());
    // The first frame steps on to step 0.
    m_step = -1;
    m_highlighting = true;
    qCDebug(lcEffects) << "highlighting group" << Qt::hex << gid << Qt::dec << "in"
                       << m_steps.size() << "steps";
}

void SelectionEffect::setAll(bool selected)
{
    for (auto it = m_selected.begin(); it != m_selected.end(); ++it) {
        if (it.value() == selected)
            continue;
        it.value() = selected;
        setFrameFlag(it.key(), selected);
        emit lightSelectionChanged(it.key(), selected);
    }
}

void SelectionEffect::clearSelection()
{
    setAll(false);
}

void SelectionEffect::selectAll()
{
    setAll(true);
}

void SelectionEffect::computeFrame()
{
    if (m_highlighting && !m_steps.isEmpty()) {
        m_step = m_step + 1 >= m_steps.size() ? 0 : m_step + 1;
        setAll(false);
        for (const quint64 uid : m_steps.at(m_step))
            if (m_selected.contains(uid))
                markSelected(uid, true);
    }
    if (m_frameListStale || m_frameListEpoch != LightOutput::layoutEpoch())
        rebuildFrameList();
    for (const FrameEntry &entry : qAsConst(m_frameList))
        entry.output->applyContribution(entry.selected ? m_fgColor : m_bgColor, priority);
}

void SelectionEffect::setFrameFlag(quint64 uid, bool selected)
{
    if (m_frameListStale)
        return;
    const auto it = m_frameIndex.constFind(uid);
    if (it != m_frameIndex.cend())
        m_frameList[*it].selected = selected;
    else
        m_frameListStale = true;
}

void SelectionEffect::rebuildFrameList()
{
    const QHash<quint64, Light *> &lights = model()->lightHash();
    m_frameList.resize(lights.size());
    m_frameIndex.clear();
    m_frameIndex.reserve(lights.size());
    int i = 0;
    for (auto it = lights.cbegin(); it != lights.cend(); ++it, ++i) {
        m_frameList[i] = FrameEntry{&it.value()->output(), m_selected.value(it.key())};
        m_frameIndex.insert(it.key(), i);
    }
    m_frameListStale = false;
    m_frameListEpoch = LightOutput::layoutEpoch();
}

void SelectionEffect::writeParameters(EffectRecord &record) const
{
    record.elements.append({QStringLiteral("fgcolor"), m_fgColor.toString()});
    record.elements.append({QStringLiteral("bgcolor"), m_bgColor.toString()});
    // Parameters a saved selection effect carried that this one does not use stay with it.
    Effect::writeParameters(record);
}

void SelectionEffect::readParameter(const QString &elementName, const QString &value)
{
    const bool foreground = elementName == QLatin1String("fgcolor");
    if (!foreground && elementName != QLatin1String("bgcolor")) {
        Effect::readParameter(elementName, value);
        return;
    }
    if (const std::optional<VelaColor> color = VelaColor::fromString(value.trimmed()))
        (foreground ? m_fgColor : m_bgColor) = *color;
    else
        qCWarning(lcEffects) << "selection effect: unreadable colour" << value.left(80);
}
