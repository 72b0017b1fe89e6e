#pragma once

#include <QStringList>

class QSettings;

// The recently used map files, most recent first, at most maximum() of them. Stored as
// "/recentmap0", "/recentmap1", ... in the user settings.
class RecentMaps final
{
public:
    static constexpr int kDefaultMaximum = 5;

    const QStringList &paths() const { return m_paths; }
    int maximum() const { return m_maximum; }
    // Values below 1 count as 1. Entries beyond the new maximum are dropped.
    void setMaximum(int maximum);

    // Puts path first, removing every other entry equal to it, and trims to the maximum.
    void add(const QString &path);
    // Removes every entry equal to path.
    void remove(const QString &path);

    void load(const QSettings &settings);
    // Writes the list and removes the keys of entries that no longer exist.
    void save(QSettings &settings) const;

    static QString key(int index)
    {
        return QStringLiteral("%1%2").arg(QStringLiteral("/recentmap")).arg(index);
    }

private:
    void trim();

    QStringList m_paths;
    int m_maximum = kDefaultMaximum;
};
