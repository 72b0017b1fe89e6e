#pragma once

#include "model/effectrecord.h"
#include "model/mappropertyformat.h"

#include <QHash>
#include <QMultiHash>
#include <QObject>
#include <QRect>
#include <QString>

#include <memory>

class DataSupply;
class Group;
class Light;
class QIODevice;
struct ParsedMap;
struct ParsedMapChild;

// The in-memory picture of one installation: every supply, light and group, owned here and
// keyed by uid. Everything else refers to these objects by uid and follows them through
// the signals below.
class MapModel final : public QObject
{
    Q_OBJECT
public:
    // Installations reach 15,000 lights; reserving up front keeps loads free of rehashing.
    static constexpr int kReservedEntries = 15000;
    // A map of 15,000 lights takes about 8 MB; anything past this is not a map we wrote and
    // would only exhaust memory.
    static constexpr qint64 kMaxMapFileBytes = qint64(256) << 20;

    explicit MapModel(QObject *parent = nullptr);
    ~MapModel() override;

    // A uid that no supply, light or group of this model holds.
    quint64 newUid() const;

    // Each add takes ownership. An object whose uid is already held by any supply, light or
    // group is refused, reported through msg() and destroyed; the map is unchanged.
    bool addDataSupply(std::unique_ptr<DataSupply> supply);
    bool addLight(std::unique_ptr<Light> light);
    bool addGroup(std::unique_ptr<Group> group);

    // Removing deletes the object. A removed light also leaves its supply's light list and
    // every group it belonged to.
    bool removeDataSupply(quint64 uid);
    // Takes the supply out of the map without deleting it (undo of the creation that made
    // it keeps it for redo). Its lights stay, driven by nobody until it is added back. Views
    // hear of it as updatedDataSupply for a uid the model no longer holds.
    std::unique_ptr<DataSupply> takeDataSupply(quint64 uid);
    bool removeLight(quint64 uid);
    bool removeGroup(quint64 uid);

    // Group membership of groups held by the model (keeps the member connections right).
    bool addLightToGroup(quint64 groupUid, quint64 lightUid);
    bool removeLightFromGroup(quint64 groupUid, quint64 lightUid);
    // Makes the group's members exactly these lights, in this order (each once; uids that
    // are not lights of the model are left out). One announcement of the group.
    bool setGroupMembers(quint64 groupUid, const QList<quint64> &lightUids);
    // Groups that list the light as a member.
    QList<quint64> groupsOfLight(quint64 lightUid) const { return m_groupsOfLight.values(lightUid); }
    // Recomputes the group's bounding box from its members' current positions.
    QRectF groupBounds(quint64 groupUid);

    DataSupply *dataSupply(quint64 uid) const { return m_dataSupplies.value(uid); }
    Light *light(quint64 uid) const { return m_lights.value(uid); }
    Group *group(quint64 uid) const { return m_groups.value(uid); }

    QList<DataSupply *> dataSupplies() const { return valuesOf(m_dataSupplies); }
    QList<Light *> lights() const { return valuesOf(m_lights); }
    // Every light by uid, without copying: what a live frame walks.
    const QHash<quint64, Light *> &lightHash() const { return m_lights; }
    QList<Group *> groups() const { return valuesOf(m_groups); }
    int dataSupplyCount() const { return m_dataSupplies.size(); }
    int lightCount() const { return m_lights.size(); }
    int groupCount() const { return m_groups.size(); }
    bool isEmpty() const;

    // Removes and deletes everything, reporting progress as "Clearing Map...".
    void clear();

    QString imageFile() const { return m_imageFile; }
    void setImageFile(const QString &path);

    QRect canvasRect() const { return m_canvasRect; }
    void setCanvasRect(const QRect &rect) { m_canvasRect = rect; }

    // Live play: while off, the supplies' frames are not sent to the installation, so the
    // user can edit the map without the lights following every selection.
    bool livePlay() const { return m_livePlay; }
    void setLivePlay(bool on);
    // Writes one frame of every supply from its lights' current colours and sends it through
    // the supplies' transport signals; while live play is off nothing is written or sent.
    void updateLights();

    // The effects the map file holds, in file order (the effect engine reads and writes them).
    const QVector<EffectRecord> &effects() const { return m_effects; }
    void setEffects(const QVector<EffectRecord> &effects) { m_effects = effects; }

    // Adds the map file's contents to the model (callers clear it first when replacing).
    // What cannot be kept as the file has it is reported through msg(), naming the object
    // and the field; references to objects the map does not hold are dropped (see
    // docs/ARCHITECTURE.md, "The map file").
    bool loadFromFile(const QString &path);
    bool loadFromDevice(QIODevice &device);
    // Why the last load failed, for the user: the system's error text, or the reader's line,
    // column and reason. Empty after a load that succeeded.
    QString loadError() const { return m_loadError; }
    // Writes the whole map. The previous file is replaced only after a complete write, so a
    // failed save leaves it untouched. A path that exists and is not a regular file (a
    // device, a directory, a pipe) is refused; a symbolic link to a regular file is followed.
    bool saveToFile(const QString &path);
    bool saveToDevice(QIODevice &device);
    // Why the last saveToFile() failed; empty after one that succeeded.
    QString saveError() const { return m_saveError; }

    const MapPropertyFormat &propertyFormat() const { return *m_propertyFormat; }
    void setPropertyFormat(std::shared_ptr<const MapPropertyFormat> format);

signals:
    void msg(const QString &text);
    void newDataSupply(quint64 uid);
    void newGroup(quint64 uid);
    void newLight(quint64 uid);
    void newImageFile(const QString &path);
    void updatedDataSupply(quint64 uid);
    void updatedLight(quint64 uid);
    void updatedLightPosition(quint64 uid);
    void updatedLightProperties(quint64 uid, const QString &name, const QString &value);
    void updatedLightProperty(quint64 uid, const QString &name, const QString &value);
    void updatedGroup(quint64 uid);
    void deletedGroup(quint64 uid);
    void deletedLight(quint64 uid);
    void clearedMap();
    void propertiesCompiled();
    void discoveredDataSupply(DataSupply *supply);
    void progressStarted(int minimum, int maximum, const QString &text);
    void progressUpdated(int value);
    void progressTextChanged(const QString &text);

private:
    enum class Announce { Yes, No };

    // A hash reserved for an installation scans all its buckets to find its first entry,
    // even when it holds none; the kinds a map does not have cost nothing this way.
    template <typename T> static QList<T *> valuesOf(const QHash<quint64, T *> &hash)
    {
        return hash.isEmpty() ? QList<T *>() : hash.values();
    }

    bool insertDataSupply(std::unique_ptr<DataSupply> supply, Announce announce);
    bool insertLight(std::unique_ptr<Light> light, Announce announce);
    bool insertGroup(std::unique_ptr<Group> group, Announce announce);
    bool holdsUid(quint64 uid) const;
    struct LoadPlan;
    LoadPlan planLoad(const ParsedMap &parsed) const;
    class LoadNotes;
    void resolveReferences(ParsedMapChild &child, const LoadPlan &plan, LoadNotes &notes);
    bool applyParsedMap(ParsedMap &parsed);
    void announceLoaded(const QList<quint64> &supplies, const QList<quint64> &lights,
                        const QList<quint64> &groups);
    bool failLoad(const QString &reason);
    void connectMember(Group *group, quint64 lightUid);
    void updateCanvasRect();

    QHash<quint64, Light *> m_lights;
    QHash<quint64, Group *> m_groups;
    QHash<quint64, DataSupply *> m_dataSupplies;
    QMultiHash<quint64, quint64> m_groupsOfLight;
    QString m_imageFile;
    QRect m_canvasRect;
    bool m_livePlay = true;
    QVector<EffectRecord> m_effects;
    std::shared_ptr<const MapPropertyFormat> m_propertyFormat;
    QString m_loadError;
    QString m_saveError;
};
