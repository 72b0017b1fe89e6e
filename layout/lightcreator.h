#pragma once

#include "layout/creationrules.h"

#include <QList>
#include <QMap>
#include <QPoint>
#include <QString>
#include <QVector>

#include <functional>
#include <optional>

class DataSupply;
class MapModel;

// What the user chose for a creation, whichever way it was asked for.
struct CreationRequest
{
    enum class InterfaceChoice { New, Existing };

    InterfaceChoice interfaceChoice = InterfaceChoice::New;
    // An existing interface as the combo box shows it: its serial number in hexadecimal,
    // then whatever else the text holds after a blank.
    QString interfaceText;
    int port = 1;           // 1-based, as the port spin box counts
    int baseDmxAddress = 1; // 1..512
    int ports = 1;          // how many ports from `port` the lights may fill
    QString baseName = QStringLiteral("Light");
    // Text put between the prefix and the port in every name, and kept in the light.
    QString typeText;
    // Device properties every new light gets (LED_CHEMISTRY and the other fixture choices).
    QMap<QString, QString> properties;
    // One position per light, in creation order.
    QVector<QPoint> positions;
    // For each light in creation order, its place in the numbering; empty numbers the
    // lights in creation order.
    QVector<int> numbering;
};

// Why a creation was refused before any light was made: a message box's title and text.
struct CreationProblem
{
    QString title;
    QString text;
};

// Makes the lights of one request in the model, a few at a time so that a progress dialog
// can keep the window alive and cancel: prepare() checks everything and makes nothing;
// createNext() makes the next lights. A cancel simply stops calling it; what was made stays.
class LightCreator final
{
public:
    static const QString kParseErrorTitle;
    static const QString kParseErrorText;
    static const QString kFindFailureTitle;
    static const QString kFindFailureText;
    static const QString kLightTypeProperty;

    LightCreator(MapModel &model, CreationRequest request);

    std::optional<CreationProblem> prepare();

    int total() const { return m_slots.size(); }
    int made() const { return m_made; }
    bool isDone() const { return m_made >= m_slots.size(); }
    // Makes up to `count` more lights (the supply first, when new); returns how many.
    int createNext(int count);
    // Makes every light, calling progress(made) every `interval` lights; a progress that
    // returns false stops the creation there.
    void run(int interval, const std::function<bool(int made)> &progress);

    int channelsPerLight() const { return m_channels; }
    quint64 supplyUid() const { return m_supplyUid; }
    bool createdSupply() const { return m_newSupply; }
    const QList<quint64> &createdLights() const { return m_created; }

    // The text a combo box shows for a supply: its serial in upper-case hexadecimal, then
    // its name.
    static QString interfaceText(const DataSupply &supply);
    // The highest 0-based channel that the supply's lights use on a port (0-based index),
    // or 0 when none uses it.
    static int lastUsedChannel(const MapModel &model, const DataSupply &supply, int portIndex);
    // Channels one light with these properties takes in its port's frame.
    static int channelsFor(const QMap<QString, QString> &properties);
    // The positions of the model's lights.
    static QRectF lightBounds(const MapModel &model);

private:
    void makeSupply();
    void makeLight(int index);

    MapModel &m_model;
    CreationRequest m_request;
    QVector<CreationRules::DmxSlot> m_slots;
    QString m_prefix;
    int m_channels = 3;
    int m_made = 0;
    bool m_newSupply = false;
    bool m_supplyReady = false;
    quint64 m_supplyUid = 0;
    QList<quint64> m_created;
};
