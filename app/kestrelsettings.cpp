#include "app/kestrelsettings.h"

#include <QSettings>

namespace {

int positiveInt(const QSettings &settings, const QString &key, int fallback)
{
    bool ok = false;
    const int value = settings.value(key, fallback).toInt(&ok);
    return ok && value > 0 ? value : fallback;
}

} // namespace

void KestrelSettings::load(const QSettings &settings)
{
    const KestrelSettings defaults;
    mapPath = settings.value(QStringLiteral("/map_path"), defaults.mapPath).toString();
    showGrid = settings.value(QStringLiteral("/show_grid"), defaults.showGrid).toBool();
    snapGrid = settings.value(QStringLiteral("/snap_grid"), defaults.snapGrid).toBool();
    // A hand-edited or damaged settings file must not give a zero grid or canvas: the
    // canvas divides by them.
    canvasWidth = positiveInt(settings, QStringLiteral("/canvas_width"), defaults.canvasWidth);
    canvasHeight = positiveInt(settings, QStringLiteral("/canvas_height"), defaults.canvasHeight);
    grid = positiveInt(settings, QStringLiteral("/grid"), defaults.grid);
    zoom = positiveInt(settings, QStringLiteral("/zoom"), defaults.zoom);
    recentMapsEnabled =
        settings.value(QStringLiteral("/recent_maps_enabled"), defaults.recentMapsEnabled).toBool();
    numRecentMaps =
        positiveInt(settings, QStringLiteral("/num_recent_maps"), defaults.numRecentMaps);
    livePlay = settings.value(QStringLiteral("/live_play"), defaults.livePlay).toBool();
    frameRate = positiveInt(settings, QStringLiteral("/frame_rate"), defaults.frameRate);
}

void KestrelSettings::save(QSettings &settings) const
{
    settings.setValue(QStringLiteral("/map_path"), mapPath);
    settings.setValue(QStringLiteral("/show_grid"), showGrid);
    settings.setValue(QStringLiteral("/snap_grid"), snapGrid);
    settings.setValue(QStringLiteral("/canvas_width"), canvasWidth);
    settings.setValue(QStringLiteral("/canvas_height"), canvasHeight);
    settings.setValue(QStringLiteral("/grid"), grid);
    settings.setValue(QStringLiteral("/zoom"), zoom);
    settings.setValue(QStringLiteral("/recent_maps_enabled"), recentMapsEnabled);
    settings.setValue(QStringLiteral("/num_recent_maps"), numRecentMaps);
    settings.setValue(QStringLiteral("/live_play"), livePlay);
    settings.setValue(QStringLiteral("/frame_rate"), frameRate);
}
