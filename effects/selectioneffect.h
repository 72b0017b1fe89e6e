#pragma once

#include "colour/velacolor.h"
#include "effects/effect.h"
#include "model/lightoutput.h"

#include <QHash>
#include <QList>
#include <QVector>

// The effect that runs all the time: every selected light shows the foreground colour, every
// other light the background colour, so the installer sees in the room which fixtures are
// selected. A group can also be highlighted as a chase that steps through the group's
// members frame by frame.
//
// The selection is a hash from every light of the model to its selected flag, kept in step
// with the model through its signals.
class SelectionEffect final : public Effect
{
    Q_OBJECT
    Q_PROPERTY(VelaColor fgColor READ fgColor WRITE setFgColor)
    Q_PROPERTY(VelaColor bgColor READ bgColor WRITE setBgColor)
public:
    static inline const QString kTypeName = QStringLiteral("Selection Effect");

    explicit SelectionEffect(MapModel *model, QObject *parent = nullptr);

    VelaColor fgColor() const { return m_fgColor; }
    void setFgColor(const VelaColor &color) { m_fgColor = color; }
    VelaColor bgColor() const { return m_bgColor; }
    void setBgColor(const VelaColor &color) { m_bgColor = color; }

    bool isSelected(quint64 uid) const { return m_selected.value(uid); }
    QList<quint64> selectedLights() const;
    int selectedCount() const;
    bool isHighlighting() const { return m_highlighting; }
    int chaseStep() const { return m_step; }
    // The chase's steps: each step one or more lights, in the group's order.
    const QVector<QVector<quint64>> &chaseSteps() const { return m_steps; }

    // Takes the colours of the map's saved selection effect, when it holds one.
    void readFromMap(const MapModel &model);
    // Puts this effect into the map's effects, replacing a saved selection effect.
    void writeToMap(MapModel &model) const;

    // A group's members cut into steps of lightsPerStep lights, in the group's order.
    static QVector<QVector<quint64>> stepsOf(const QList<quint64> &members, int lightsPerStep);

public slots:
    void handleNewLight(quint64 uid);
    void handleUpdatedLight(quint64 uid);
    void handleDeletedLight(quint64 uid);
    void handleClearedMap();
    void setLightSelected(quint64 uid, bool selected);
    void setGroupSelected(quint64 gid, bool selected);
    void setDataSupplySelected(quint64 id, bool selected);
    // Runs a chase through the group's members, one step a frame, until the next explicit
    // selection. A step is lightsPerStep members, or the group's own number when 0.
    void highlightGroup(quint64 gid, int lightsPerStep = 0);
    void stopHighlight() { m_highlighting = false; }
    void clearSelection();
    void selectAll();

signals:
    void lightSelectionChanged(quint64 uid, bool selected);

protected:
    void computeFrame() override;
    void writeParameters(EffectRecord &record) const override;
    void readParameter(const QString &name, const QString &value) override;

private:
    void setAll(bool selected);
    void markSelected(quint64 uid, bool selected);
    void rebuildFrameList();
    void setFrameFlag(quint64 uid, bool selected);

    VelaColor m_fgColor{Qt::red};
    VelaColor m_bgColor{Qt::black};
    QHash<quint64, bool> m_selected;
    bool m_highlighting = false;
    int m_step = 0;
    QVector<QVector<quint64>> m_steps;

    // Every light's output with its flag, in one array, so that a frame walks memory in
    // order instead of probing the hash 15,000 times. Rebuilt when lights come, go or
    // change; a selection change sets the flags of the lights it changes.
    struct FrameEntry
    {
        LightOutput *output = nullptr;
        bool selected = false;
    };
    QVector<FrameEntry> m_frameList;
    QHash<quint64, int> m_frameIndex;
    bool m_frameListStale = true;
    quint64 m_frameListEpoch = 0;
};
