#pragma once

#include <QList>
#include <QObject>

#include <functional>

class DeviceDictionary;
class MapModel;
class PropertyMapper;
class QWidget;
class UndoManager;
class UserPrompts;

// The window's editors of what is in the map: the light-property editor ("Edit Light(s)..."
// on the canvas and in the light pane, a double-click on a canvas light) and the Group
// Editor ("Add Group...", "Edit Group..." in the group pane). Each change they make goes to
// the undo stacks as one step and makes the map dirty.
class MapEditing final : public QObject
{
    Q_OBJECT
public:
    using SelectionSource = std::function<QList<quint64>()>;

    MapEditing(MapModel &model, UndoManager &undo, UserPrompts &prompts, SelectionSource selection,
               QWidget *window);

public slots:
    void editLights(const QList<quint64> &lightUids);
    void editLight(quint64 lightUid) { editLights({lightUid}); }
    void addGroup();
    void editGroup(quint64 groupUid);

signals:
    void setDirty(bool dirty);
    void statusMsg(const QString &text, int timeout);

private:
    MapModel &m_model;
    UndoManager &m_undo;
    UserPrompts &m_prompts;
    SelectionSource m_selection;
    QWidget *m_window;
    const DeviceDictionary &m_dictionary;
    const PropertyMapper &m_mapper;
};
