#pragma once

#include <QObject>
#include <QString>

class KestrelUi;
class LayoutView;
class LivePlayer;
class MapModel;
class QGraphicsScene;
class UndoManager;
class UserPrompts;
struct KestrelSettings;

// The "Layout" pane: the canvas with its scene, the undo manager its gestures go to, and the
// Layout View menu's actions (grid, snapping, zoom, select all) and the window's Undo and
// Redo wired to them. The background image is kept relative to the map where it can be.
class LayoutPane final : public QObject
{
    Q_OBJECT
public:
    LayoutPane(MapModel &model, LivePlayer &live, const KestrelUi &ui,
               const KestrelSettings &settings, UserPrompts &prompts, QObject *parent);
    ~LayoutPane() override;

    LayoutView *view() const { return m_view; }
    UndoManager *undoManager() const { return m_undo; }

    // Canvas size, grid and zoom from the settings.
    void applySettings(const KestrelSettings &settings);
    // A new or opened map: both undo stacks emptied, its background image shown (a path
    // relative to the map's folder is read from there). Returns a status text when the image
    // cannot be shown, else an empty text.
    QString mapReplaced(const QString &mapPath);
    // The image the map should name when saved at mapPath: relative to its folder when the
    // image lies inside it.
    QString imageFileFor(const QString &mapPath) const;
    // Shows the image and returns false when it cannot be read.
    bool setBackgroundImage(const QString &absolutePath);

signals:
    void setDirty(bool dirty);
    void statusMsg(const QString &text, int timeoutMs);

private:
    MapModel &m_model;
    QGraphicsScene *m_scene = nullptr;
    LayoutView *m_view = nullptr;
    UndoManager *m_undo = nullptr;
    QString m_imagePath;
};
