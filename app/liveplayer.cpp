#include "app/liveplayer.h"

#include "discovery/discoveryengine.h"
#include "effects/effectengine.h"
#include "effects/selectioneffect.h"
#include "model/datasupply.h"
#include "model/group.h"
#include "model/mapmodel.h"
#include "net/streamoutput.h"
#include "ui/groupview.h"
#include "ui/lightview.h"

#include <QSet>
#include <QTimer>

#include <algorithm>
#include <QSettings>

namespace {

// Frame rates from 1 to 100 a second, as the preferences offer them.
int intervalFor(int framesPerSecond)
{
    return 1000 / std::clamp(framesPerSecond, 1, 100);
}

} // namespace

LivePlayer::LivePlayer(MapModel &model, DiscoveryEngine &transport, int framesPerSecond,
                       QObject *parent)
    : QObject(parent), m_model(model), m_selection(new SelectionEffect(&model, this)),
      m_engine(new EffectEngine(&model, {}, intervalFor(framesPerSecond), this))
{
    m_engine->addEffect(m_selection);
    // sACN receivers tell sources apart by their CID: ours stays the same from run to run.
    QSettings settings;
    transport.streamOutput()->setCid(StreamOutput::persistentCid(settings));
    transport.driveMap(model);
}

LivePlayer::~LivePlayer() = default;

void LivePlayer::setFrameRate(int framesPerSecond)
{
    m_engine->setInterval(intervalFor(framesPerSecond));
}

void LivePlayer::setPaused(bool paused)
{
    m_engine->pause(paused);
}

void LivePlayer::highlightGroup(quint64 uid)
{
    m_selection->clearSelection();
    m_selection->highlightGroup(uid);
}

void LivePlayer::readFromMap()
{
    m_selection->readFromMap(m_model);
}

void LivePlayer::writeToMap()
{
    m_selection->writeToMap(m_model);
}

void LivePlayer::follow(LightView *lightView, GroupView *groupView)
{
    m_lightView = lightView;
    m_groupView = groupView;
    // A selection made on the canvas (or anywhere else) shows in the light pane, once the
    // burst of changes is over.
    m_paneSync = new QTimer(this);
    m_paneSync->setSingleShot(true);
    m_paneSync->setInterval(0);
    connect(m_paneSync, &QTimer::timeout, this, &LivePlayer::showSelectionInPanes);
    connect(m_selection, &SelectionEffect::lightSelectionChanged, m_paneSync,
            qOverload<>(&QTimer::start));
    connect(lightView, &LightView::updatedSelection, this, [this, lightView] {
        if (m_showingSelection)
            return;
        m_selectionOrigin = lightView;
        QList<quint64> lights = lightView->selectedLightUids();
        for (const quint64 uid : lightView->selectedDataSupplyUids())
            if (const DataSupply *supply = m_model.dataSupply(uid))
                lights += supply->lights();
        selectOnly(lights);
    });
    connect(groupView, &GroupView::updatedSelection, this, [this, groupView] {
        if (m_showingSelection)
            return;
        m_selectionOrigin = groupView;
        QList<quint64> lights = groupView->selectedLightUids();
        const QList<quint64> groups = groupView->selectedGroupUids();
        // A chasing group chosen on its own runs its chase rather than lighting every member.
        if (lights.isEmpty() && groups.size() == 1)
            if (const Group *group = m_model.group(groups.constFirst());
                group && group->isChasing()) {
                highlightGroup(group->uid());
                return;
            }
        for (const quint64 uid : groups)
            if (const Group *group = m_model.group(uid))
                lights += group->children();
        selectOnly(lights);
    });
    connect(groupView, &GroupView::highlightGroupRequested, this, &LivePlayer::highlightGroup);
}

void LivePlayer::showSelectionInPanes()
{
    // A running chase lights a new step every frame; the panes keep what the user chose.
    if (m_selection->isHighlighting())
        return;
    const QList<quint64> selected = m_selection->selectedLights();
    m_showingSelection = true;
    if (m_lightView && m_selectionOrigin != m_lightView)
        m_lightView->showSelectedLights(selected);
    if (m_groupView && m_selectionOrigin != m_groupView)
        m_groupView->showSelectedLights(selected);
    m_showingSelection = false;
    m_selectionOrigin = nullptr;
}

void LivePlayer::selectOnly(const QList<quint64> &lightUids)
{
    const QSet<quint64> wanted(lightUids.cbegin(), lightUids.cend());
    m_selection->stopHighlight();
    for (const quint64 uid : m_selection->selectedLights())
        if (!wanted.contains(uid))
            m_selection->setLightSelected(uid, false);
    for (const quint64 uid : wanted)
        if (!m_selection->isSelected(uid))
            m_selection->setLightSelected(uid, true);
}
