#include "app/recentmaps.h"

#include <QRegularExpression>
#include <QSettings>

#include <algorithm>

void RecentMaps::setMaximum(int maximum)
{
    m_maximum = std::max(maximum, 1);
    trim();
}

void RecentMaps::add(const QString &path)
{
    m_paths.removeAll(path);
    m_paths.prepend(path);
    trim();
}

void RecentMaps::remove(const QString &path)
{
    m_paths.removeAll(path);
}

void RecentMaps::load(const QSettings &settings)
{
    // Read the whole stored list, then trim: the maximum may have shrunk since it was saved.
    constexpr int kMostKeysRead = 100;
    m_paths.clear();
    for (int index = 0; index < kMostKeysRead; ++index) {
        const QString path = settings.value(key(index)).toString();
        if (path.isEmpty())
            break;
        if (!m_paths.contains(path))
            m_paths.append(path);
    }
    trim();
}

void RecentMaps::save(QSettings &settings) const
{
    for (int index = 0; index < m_paths.size(); ++index)
        settings.setValue(key(index), m_paths.at(index));
    // Keys of a longer list written earlier would come back at the next start.
    static const QRegularExpression pattern(QStringLiteral("^recentmap(\\d+)$"));
    const QStringList keys = settings.childKeys();
    for (const QString &stored : keys) {
        const QRegularExpressionMatch match = pattern.match(stored);
        if (match.hasMatch() && match.captured(1).toInt() >= m_paths.size())
            settings.remove(stored);
    }
}

void RecentMaps::trim()
{
    while (m_paths.size() > m_maximum)
        m_paths.removeLast();
}
