#pragma once

#include <QList>
#include <QPoint>
#include <QSize>

#include <optional>

class QSettings;

// Where the main window was and how its panes and columns were divided, kept in the user
// settings as "/appmaximized", "/appx", "/appy", "/appwidth", "/appheight", and
// "/splitterwidth" and "/lightviewcolwidth" each followed by the pane or column index.
struct WindowState
{
    bool maximized = false;
    std::optional<QPoint> position;
    QSize size;                // invalid when none was saved
    QList<int> splitterWidths; // empty unless every pane has a saved width
    QList<int> columnWidths;   // one per column, 0 where none was saved

    static WindowState load(const QSettings &settings, int panes, int columns);
    void save(QSettings &settings) const;
};
