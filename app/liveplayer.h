#pragma once

#include <QObject>

class DiscoveryEngine;
class EffectEngine;
class GroupView;
class LightView;
class MapModel;
class QTimer;
class SelectionEffect;

// Live play in the window: the effect engine with the selection effect, driving every supply
// of the map through the discovery engine's transport. Whatever the user selects in the
// light and group panes lights up in the room in the selection colours; a group can run as
// a chase. File actions pause it so that a half-loaded map is never sent.
class LivePlayer final : public QObject
{
    Q_OBJECT
public:
    LivePlayer(MapModel &model, DiscoveryEngine &transport, int framesPerSecond,
               QObject *parent = nullptr);
    ~LivePlayer() override;

    EffectEngine &engine() const { return *m_engine; }
    SelectionEffect &selection() const { return *m_selection; }

    // The frame interval is 1000 / rate milliseconds (whole milliseconds).
    void setFrameRate(int framesPerSecond);
    // The selection of each pane, when the user changes it, becomes the lit selection.
    void follow(LightView *lightView, GroupView *groupView);

    // After a map is opened: its saved selection colours. Before it is saved: ours.
    void readFromMap();
    void writeToMap();

public slots:
    void setPaused(bool paused);
    void highlightGroup(quint64 uid);

private:
    void selectOnly(const QList<quint64> &lightUids);
    void showSelectionInPanes();

    MapModel &m_model;
    LightView *m_lightView = nullptr;
    GroupView *m_groupView = nullptr;
    // The pane the current selection was made in: it is not redrawn from the selection.
    QObject *m_selectionOrigin = nullptr;
    // True while the panes are being brought in line with the selection (their own
    // selection signals then are not a new selection).
    bool m_showingSelection = false;
    QTimer *m_paneSync = nullptr;
    SelectionEffect *m_selection = nullptr;
    EffectEngine *m_engine = nullptr;
};
