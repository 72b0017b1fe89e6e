#pragma once

#include <QHash>
#include <QMap>
#include <QPair>
#include <QString>
#include <QStringList>

#include <optional>

// How one LED profile drives a light in one input mode: which LED chemistry the channels
// feed ("RGB", "RGBW", "RGBAW", "RGBA", white-only kinds, tunable white), how many channels
// that takes and the exponent of the channels' gamma curve (see colour/channelencoding.h).
struct LedProfileMode
{
    int profileId = 0;
    int inputMode = 0;
    QString chemistry;
    int channels = 0;
    double gamma = 1.0;
};

// The process-wide table of LED profiles, read from the profile database
// ":/FixtureProfiles.xml" compiled into the program. Lights and device definitions refer to
// profiles by id; the colour code asks here how to encode a colour for them. Entries that
// make no sense (unknown chemistry, channel counts out of range, duplicates) are logged and
// skipped so that one bad line does not cost the rest of the table.
class LedProfileRegistry final
{
public:
    static constexpr int kMaxChannels = 16;

    // Built on first use: registers the profile resources and loads the database.
    static LedProfileRegistry &instance();
    // Registers the compiled colour and profile resources; safe to call more than once.
    static void registerResources();
    static QString databasePath() { return QStringLiteral(":/FixtureProfiles.xml"); }

    // Loads the database at path; a missing or unreadable file leaves the table empty.
    explicit LedProfileRegistry(const QString &path);

    bool isLoaded() const { return m_loaded; }
    int profileCount() const { return m_names.size(); }
    QList<int> profileIds() const { return m_names.keys(); }
    QString profileName(int profileId) const { return m_names.value(profileId); }
    std::optional<LedProfileMode> mode(int profileId, int inputMode) const;
    // Every chemistry some profile uses, sorted.
    QStringList chemistries() const;

    static bool isKnownChemistry(const QString &chemistry);

private:
    void load(const QString &path);

    bool m_loaded = false;
    QMap<int, QString> m_names;
    QHash<QPair<int, int>, LedProfileMode> m_modes;
};
