#pragma once

#include "layout/creationrules.h"
#include "layout/lightcreator.h"

#include <QObject>

class DeviceDictionary;
class MapModel;
class QWidget;
class UndoManager;
class UserPrompts;
struct KestrelSettings;
struct KestrelUi;

// The window's Add Lights, Add String, Add Tile, Add White Lights and Add Module: opens the
// creation dialogs, makes what they ask for through the core's LightCreator under a
// cancellable "Creating Lights" progress dialog, and hands the creation to undo as one step.
class LightCreation final : public QObject
{
    Q_OBJECT
public:
    LightCreation(MapModel &model, const KestrelUi &ui, const KestrelSettings &settings,
                  UserPrompts &prompts, UndoManager &undo, QWidget *window);

    // Stops the creation under way after the lights made so far (the progress dialog's
    // Cancel does the same).
    void cancelCreation() { m_cancelled = true; }

public slots:
    void handleAddLightsAction();
    void handleAddWhiteLightsAction();
    void handleAddModuleAction();
    void handleAddStringAction();
    void handleAddTileAction();

signals:
    void setDirty(bool dirty);
    // After each step of a creation: lights made so far of the total.
    void creationProgress(int made, int total);

private:
    enum class LightsKind { Any, WhiteOnly, Module };
    void addLights(LightsKind kind, const QString &fixtureType = QString());
    void addString(bool tile);
    // Checks and makes the request; true when lights were made.
    bool create(const CreationRequest &request, int progressInterval);

    MapModel &m_model;
    const KestrelSettings &m_settings;
    UserPrompts &m_prompts;
    UndoManager &m_undo;
    QWidget *m_window = nullptr;
    const DeviceDictionary &m_dictionary;
    bool m_cancelled = false;
};
