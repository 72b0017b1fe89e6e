#pragma once

#include <QString>

class QSettings;

// The user settings the main window reads at start and writes back when they change.
// Keys begin with "/" like every key of the program.
struct KestrelSettings
{
    QString mapPath = QStringLiteral("./"); // directory of the last map file dialog
    bool showGrid = true;
    bool snapGrid = true;
    int canvasWidth = 10000;
    int canvasHeight = 10000;
    int grid = 12;
    int zoom = 10;
    bool recentMapsEnabled = true;
    int numRecentMaps = 5;
    bool livePlay = true;
    int frameRate = 10;

    void load(const QSettings &settings);
    void save(QSettings &settings) const;
};
