#include "colour/ledprofileregistry.h"

#include "colour/colourlogging.h"

#include <QFile>
#include <QSet>
#include <QXmlStreamReader>

#include <mutex>

// The compiled resource bundle lives in the core's static library; its initialiser has to be
// called by name from outside any namespace.
static void initColourProfileResources()
{
    Q_INIT_RESOURCE(colourprofiles);
}

namespace {

std::optional<int> intAttribute(const QXmlStreamAttributes &attributes, const QString &name)
{
    bool ok = false;
    const int value = attributes.value(name).toInt(&ok);
    return ok ? std::optional<int>(value) : std::nullopt;
}

std::optional<LedProfileMode> readMode(const QXmlStreamReader &xml, int profileId)
{
    const QXmlStreamAttributes attributes = xml.attributes();
    const std::optional<int> input = intAttribute(attributes, QStringLiteral("input"));
    const std::optional<int> channels = intAttribute(attributes, QStringLiteral("channels"));
    bool gammaOk = false;
    const double gamma = attributes.value(QStringLiteral("gamma")).toDouble(&gammaOk);
    LedProfileMode mode;
    mode.profileId = profileId;
    mode.chemistry = attributes.value(QStringLiteral("chemistry")).toString();
    if (!input || !channels || *channels < 1 || *channels > LedProfileRegistry::kMaxChannels ||
        !LedProfileRegistry::isKnownChemistry(mode.chemistry) || !gammaOk || gamma <= 0.0 ||
        gamma > 10.0)
        return std::nullopt;
    mode.inputMode = *input;
    mode.channels = *channels;
    mode.gamma = gamma;
    return mode;
}

} // namespace

LedProfileRegistry &LedProfileRegistry::instance()
{
    static LedProfileRegistry registry = [] {
        registerResources();
        return LedProfileRegistry(databasePath());
    }();
    return registry;
}

void LedProfileRegistry::registerResources()
{
    static std::once_flag once;
    std::call_once(once, initColourProfileResources);
}

LedProfileRegistry::LedProfileRegistry(const QString &path)
{
    load(path);
}

bool LedProfileRegistry::isKnownChemistry(const QString &chemistry)
{
    // The kinds encodeChannels (colour/channelencoding.h) knows how to drive.
    static const QSet<QString> known = {
        QStringLiteral("RGB"), QStringLiteral("RGBW"), QStringLiteral("RGBAW"),
        QStringLiteral("RGBA"), QStringLiteral("WW"), QStringLiteral("NW"),
        QStringLiteral("CW"), QStringLiteral("A"), QStringLiteral("WWCW"),
    };
    return known.contains(chemistry);
}

std::optional<LedProfileMode> LedProfileRegistry::mode(int profileId, int inputMode) const
{
    const auto it = m_modes.constFind(qMakePair(profileId, inputMode));
    if (it == m_modes.cend())
        return std::nullopt;
    return *it;
}

QStringList LedProfileRegistry::chemistries() const
{
    QSet<QString> seen;
    for (const LedProfileMode &mode : m_modes)
        seen.insert(mode.chemistry);
    QStringList sorted(seen.cbegin(), seen.cend());
    sorted.sort();
    return sorted;
}

void LedProfileRegistry::load(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qCWarning(lcColour) << "could not open tintlock profile database";
        return;
    }
    QXmlStreamReader xml(&file);
    int profileId = -1;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == QLatin1String("profile")) {
            const std::optional<int> id = intAttribute(xml.attributes(), QStringLiteral("id"));
            profileId = id && !m_names.contains(*id) ? *id : -1;
            if (profileId < 0)
                qCWarning(lcColour) << "LED profile without a valid, unique id at line"
                                    << xml.lineNumber() << "skipped";
            else
                m_names.insert(profileId,
                               xml.attributes().value(QStringLiteral("name")).toString());
        } else if (xml.name() == QLatin1String("mode") && profileId >= 0) {
            const std::optional<LedProfileMode> mode = readMode(xml, profileId);
            const auto key = mode ? qMakePair(mode->profileId, mode->inputMode) : qMakePair(0, 0);
            if (!mode || m_modes.contains(key))
                qCWarning(lcColour)
                    << "invalid LED profile mode at line" << xml.lineNumber() << "skipped";
            else
                m_modes.insert(key, *mode);
        }
    }
    if (xml.hasError()) {
        qCWarning(lcColour) << "LED profile database:" << xml.errorString() << "at line"
                            << xml.lineNumber();
        m_names.clear();
        m_modes.clear();
        return;
    }
    m_loaded = true;
}
