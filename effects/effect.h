#pragma once

#include "model/effectrecord.h"

#include <QDateTime>
#include <QObject>
#include <QString>

#include <memory>

class MapModel;

// One effect the engine plays: timing, triggers and the group it applies to, common to every
// kind, and a frame computation each kind supplies. Only enabled effects render.
//
// An effect is saved as the "effect" element of a map file, one child element per field.
// Kinds this program does not play are kept as they were read (their parameters travel with
// them) so that a map never loses an effect on its way through the program.
class Effect : public QObject
{
    Q_OBJECT
public:
    Effect(MapModel *model, quint64 gid, QObject *parent = nullptr);
    ~Effect() override;

    // Builds the effect a record describes: a selection effect for its type name, a kept
    // effect of another kind otherwise.
    static std::unique_ptr<Effect> fromRecord(const EffectRecord &record, MapModel *model);
    // The record in the map file's element order: the common fields, then the kind's own.
    EffectRecord toRecord() const;

    // Stores the frame time and number, computes the frame when enabled, and remembers the
    // time as the last frame's.
    void render(const QDateTime &now, quint32 frameNumber);

    MapModel *model() const { return m_model; }

    qint32 begin = 0;
    qint32 end = 0;
    qint32 fadein = 0;
    qint32 fadeout = 0;
    bool enabled = false;
    QString name = QStringLiteral("Unnamed Effect");
    QString typeName = QStringLiteral("Generic Effect");
    quint64 gid = 0;
    double transparency = 0;
    qint32 priority = 0;
    qint32 eid = -1;
    quint32 starttype = 0;
    qint32 startlinkeid = -1;
    qint32 startfixedtime = 0;
    quint32 startlinkstart = 1;
    double startlinkoffset = 0;
    quint32 endtype = 0;
    qint32 endlinkeid = -1;
    qint32 endfixedtime = 0;
    quint32 endlinkstart = 1;
    double endlinkoffset = 0;
    qint32 endcyclecount = 1;

    QDateTime startTime;
    QDateTime frameTime;
    QDateTime lastFrameTime;
    quint32 frameNumber = 0;
    const QDateTime creationTime = QDateTime::currentDateTime();

protected:
    virtual void computeFrame() {}
    // A kind's own parameters, after the common fields, and reading them back; the base
    // keeps whatever parameters it was given.
    virtual void writeParameters(EffectRecord &record) const;
    virtual void readParameter(const QString &name, const QString &value);

    // Takes every field the record holds (the kind's parameters through readParameter).
    void readRecord(const EffectRecord &record);

private:
    MapModel *m_model = nullptr;
    QVector<QPair<QString, QString>> m_parameters;
};
