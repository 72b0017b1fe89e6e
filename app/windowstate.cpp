#include "app/windowstate.h"

#include <QSettings>

#include <algorithm>

namespace {

QString indexedKey(const char *key, int index)
{
    return QStringLiteral("%1%2").arg(QLatin1String(key)).arg(index);
}

} // namespace

WindowState WindowState::load(const QSettings &settings, int panes, int columns)
{
    WindowState state;
    state.maximized = settings.value(QStringLiteral("/appmaximized"), false).toBool();
    if (settings.contains(QStringLiteral("/appx")) && settings.contains(QStringLiteral("/appy")))
        state.position = QPoint(settings.value(QStringLiteral("/appx")).toInt(),
                                settings.value(QStringLiteral("/appy")).toInt());
    const QSize size(settings.value(QStringLiteral("/appwidth"), 0).toInt(),
                     settings.value(QStringLiteral("/appheight"), 0).toInt());
    if (size.width() > 0 && size.height() > 0)
        state.size = size;
    for (int index = 0; index < panes; ++index)
        state.splitterWidths.append(settings.value(indexedKey("/splitterwidth", index), 0).toInt());
    if (!std::all_of(state.splitterWidths.cbegin(), state.splitterWidths.cend(),
                     [](int width) { return width > 0; }))
        state.splitterWidths.clear();
    for (int index = 0; index < columns; ++index)
        state.columnWidths.append(
            std::max(settings.value(indexedKey("/lightviewcolwidth", index), 0).toInt(), 0));
    return state;
}

void WindowState::save(QSettings &settings) const
{
    settings.setValue(QStringLiteral("/appmaximized"), maximized);
    if (position) {
        settings.setValue(QStringLiteral("/appx"), position->x());
        settings.setValue(QStringLiteral("/appy"), position->y());
    }
    settings.setValue(QStringLiteral("/appwidth"), size.width());
    settings.setValue(QStringLiteral("/appheight"), size.height());
    for (int index = 0; index < splitterWidths.size(); ++index)
        settings.setValue(indexedKey("/splitterwidth", index), splitterWidths.at(index));
    for (int index = 0; index < columnWidths.size(); ++index)
        settings.setValue(indexedKey("/lightviewcolwidth", index), columnWidths.at(index));
}
