#include "highlightcommand.h"

#include "clicommand.h"
#include "colour/velacolor.h"
#include "discovery/discoveryengine.h"
#include "effects/effectengine.h"
#include "effects/selectioneffect.h"
#include "model/datasupply.h"
#include "model/mapmodel.h"
#include "net/streamoutput.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSettings>
#include <QTimer>

#include <atomic>
#include <csignal>

namespace {

const QString kUsage = QStringLiteral(
    "Usage: orrery-cli highlight MAP [--light UID]... [--supply UID]... [--group UID]...\n"
    "                            [--all] [--fg COLOR] [--bg COLOR] [--fps N] [--for MS]\n"
    "\n"
    "Lights the chosen lights, the lights of the chosen supplies and groups (or --all) in\n"
    "the foreground colour and every other light of the map in the background colour, live\n"
    "on the installation, until interrupted or for MS milliseconds. UIDs are hexadecimal as\n"
    "map files write them. COLOR is a colour name (red, orange), #RRGGBB, or a saved colour\n"
    "text (aRgb;...). Defaults: the map's selection colours, else red on black; N from the\n"
    "setting /frame_rate (1 to 100).");

constexpr int kMinFps = 1;
constexpr int kMaxFps = 100;
constexpr int kDefaultFps = 10;

std::atomic<bool> g_interrupted{false};

void handleInterrupt(int)
{
    g_interrupted = true;
}

std::optional<VelaColor> colourFrom(const QString &text)
{
    if (std::optional<VelaColor> saved = VelaColor::fromString(text))
        return saved;
    VelaColor named;
    if (named.setNamedColor(text))
        return named;
    return std::nullopt;
}

struct Choice
{
    QList<quint64> lights, supplies, groups;
};

// Reads hexadecimal uids of one kind; false, with a message, for text that is no uid or a
// uid the map does not hold.
template<typename Lookup>
bool readUids(const QStringList &texts, const char *kind, Lookup exists, QList<quint64> &uids)
{
    for (const QString &text : texts) {
        bool ok = false;
        const quint64 uid = text.trimmed().toULongLong(&ok, 16);
        if (!ok) {
            err() << "orrery-cli: not a hexadecimal uid: " << text << Qt::endl;
            return false;
        }
        if (!exists(uid)) {
            err() << "orrery-cli: the map holds no " << kind << " with uid " << text.toUpper()
                  << Qt::endl;
            return false;
        }
        uids.append(uid);
    }
    return true;
}

} // namespace

int runHighlightCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption light(QStringLiteral("light"), QStringLiteral("Light to light."),
                                   QStringLiteral("UID"));
    const QCommandLineOption supply(QStringLiteral("supply"),
                                    QStringLiteral("Supply whose lights to light."),
                                    QStringLiteral("UID"));
    const QCommandLineOption group(QStringLiteral("group"),
                                   QStringLiteral("Group whose lights to light."),
                                   QStringLiteral("UID"));
    const QCommandLineOption all(QStringLiteral("all"), QStringLiteral("Light every light."));
    const QCommandLineOption fg(QStringLiteral("fg"), QStringLiteral("Foreground colour."),
                                QStringLiteral("COLOR"));
    const QCommandLineOption bg(QStringLiteral("bg"), QStringLiteral("Background colour."),
                                QStringLiteral("COLOR"));
    const QCommandLineOption fps(QStringLiteral("fps"), QStringLiteral("Frames a second."),
                                 QStringLiteral("N"));
    const QCommandLineOption duration(QStringLiteral("for"),
                                      QStringLiteral("Stop after MS milliseconds."),
                                      QStringLiteral("MS"));
    parser.addOptions({light, supply, group, all, fg, bg, fps, duration});
    parser.addPositionalArgument(QStringLiteral("MAP"), QStringLiteral("Map file."));
    // arguments: "orrery-cli highlight ..."; the parser wants the program name first.
    QStringList rest = arguments.mid(2);
    rest.prepend(QStringLiteral("orrery-cli highlight"));
    if (int status = parseCommandLine(parser, rest, kUsage); status >= 0)
        return status;
    if (parser.positionalArguments().size() != 1) {
        err() << "orrery-cli: highlight takes one MAP\n" << kUsage << Qt::endl;
        return ExitUsage;
    }

    QSettings settings;
    int framesPerSecond = settings.value(QStringLiteral("/frame_rate"), kDefaultFps).toInt();
    if (framesPerSecond < kMinFps || framesPerSecond > kMaxFps)
        framesPerSecond = kDefaultFps;
    if (parser.isSet(fps)) {
        bool ok = false;
        framesPerSecond = parser.value(fps).toInt(&ok);
        if (!ok || framesPerSecond < kMinFps || framesPerSecond > kMaxFps) {
            err() << "orrery-cli: --fps takes a whole number from 1 to 100, not: "
                  << parser.value(fps) << Qt::endl;
            return ExitUsage;
        }
    }
    qint64 forMs = -1;
    if (parser.isSet(duration)) {
        bool ok = false;
        forMs = parser.value(duration).toLongLong(&ok);
        if (!ok || forMs < 0) {
            err() << "orrery-cli: --for takes a number of milliseconds (0 or more), not: "
                  << parser.value(duration) << Qt::endl;
            return ExitUsage;
        }
    }
    std::optional<VelaColor> fgColour, bgColour;
    for (const auto &[option, colour] : {std::pair{&fg, &fgColour}, std::pair{&bg, &bgColour}}) {
        if (!parser.isSet(*option))
            continue;
        *colour = colourFrom(parser.value(*option));
        if (!*colour) {
            err() << "orrery-cli: --" << option->names().constFirst()
                  << " takes a colour name, #RRGGBB or a saved colour text, not: "
                  << parser.value(*option) << Qt::endl;
            return ExitUsage;
        }
    }

    MapModel model;
    QStringList messages;
    if (!loadMapFile(model, parser.positionalArguments().constFirst(), messages))
        return ExitFailure;
    Choice choice;
    if (!readUids(parser.values(light), "light", [&](quint64 u) { return model.light(u); },
                  choice.lights) ||
        !readUids(parser.values(supply), "supply",
                  [&](quint64 u) { return model.dataSupply(u); }, choice.supplies) ||
        !readUids(parser.values(group), "group", [&](quint64 u) { return model.group(u); },
                  choice.groups))
        return ExitUsage;

    // The same road as the window's live play: the selection effect in the effect engine,
    // every supply's frames through the discovery engine's transport.
    DiscoveryEngine transport;
    transport.streamOutput()->setCid(StreamOutput::persistentCid(settings));
    transport.driveMap(model);
    SelectionEffect selection(&model);
    selection.readFromMap(model);
    if (fgColour)
        selection.setFgColor(*fgColour);
    if (bgColour)
        selection.setBgColor(*bgColour);
    if (parser.isSet(all))
        selection.selectAll();
    for (const quint64 uid : qAsConst(choice.lights))
        selection.setLightSelected(uid, true);
    for (const quint64 uid : qAsConst(choice.supplies))
        selection.setDataSupplySelected(uid, true);
    for (const quint64 uid : qAsConst(choice.groups))
        selection.setGroupSelected(uid, true);
    EffectEngine engine(&model, {&selection}, 1000 / framesPerSecond);

    std::signal(SIGINT, handleInterrupt);
    std::signal(SIGTERM, handleInterrupt);
    QTimer interruptPoll;
    QObject::connect(&interruptPoll, &QTimer::timeout, [] {
        if (g_interrupted)
            QCoreApplication::quit();
    });
    interruptPoll.start(50);
    if (forMs >= 0)
        QTimer::singleShot(int(std::min<qint64>(forMs, std::numeric_limits<int>::max())),
                           QCoreApplication::instance(), &QCoreApplication::quit);
    out() << "Highlighting " << selection.selectedCount() << " of " << model.lightCount()
          << " lights on " << model.dataSupplyCount() << " supplies at " << framesPerSecond
          << " frames a second" << (forMs >= 0 ? QStringLiteral(" for %1 ms").arg(forMs)
                                               : QStringLiteral(" until interrupted"))
          << Qt::endl;
    QElapsedTimer clock;
    clock.start();
    QCoreApplication::exec();
    engine.pause(true);
    out() << "Sent " << engine.frameCount() << " frames in " << clock.elapsed() << " ms"
          << Qt::endl;
    return ExitOk;
}
