#pragma once

#include <QDialog>

class QCheckBox;
class QSpinBox;

// "Edit Preferences": the live-play frame rate, the canvas grid and size, and the length of
// the recent-maps list. The window fills it and takes its values over on OK.
class EditPreferencesDialog final : public QDialog
{
    Q_OBJECT
public:
    // The grid spin box keeps a spin box's own upper bound.
    static constexpr int kMinGridSize = 12;
    static constexpr int kMaxGridSize = 99;

    explicit EditPreferencesDialog(QWidget *parent = nullptr);

    int frameRate() const;
    void setFrameRate(int fps);
    int canvasWidth() const;
    void setCanvasWidth(int width);
    int canvasHeight() const;
    void setCanvasHeight(int height);
    int gridSize() const;
    void setGridSize(int size);
    bool recentMapsEnabled() const;
    void setRecentMapsEnabled(bool on);
    int numRecentMaps() const;
    void setNumRecentMaps(int count);

private:
    QSpinBox *m_frameRateSpinBox = nullptr;
    QSpinBox *m_gridSizeSpinBox = nullptr;
    QSpinBox *m_canvasHeightSpinBox = nullptr;
    QSpinBox *m_canvasWidthSpinBox = nullptr;
    QCheckBox *m_recentMapsCheckBox = nullptr;
    QSpinBox *m_recentMapsSpinBox = nullptr;
};
