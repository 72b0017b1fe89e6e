// orrery-sim: a simulated installation on the local machine. Each simulated supply answers
// the lighting protocol from its own loopback address (or the addresses a configuration
// gives), so the program can discover, scan, read and drive lights without any hardware.
// With --controller it also plays a show controller that the program keeps paused.

#include "simview.h"

#include "sim/simcontroller.h"
#include "sim/siminstallation.h"
#include "sim/simlogging.h"
#include "sim/simoutput.h"
#include "sim/simulator.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QJsonDocument>
#include <QLoggingCategory>
#include <QScrollArea>
#include <QTextStream>
#include <QTimer>

#include <cstdio>
#include <memory>
#include <optional>

namespace {

enum ExitCode { ExitOk = 0, ExitFailed = 1, ExitUsage = 2 };

QTextStream &out()
{
    static QTextStream stream(stdout);
    return stream;
}

QTextStream &err()
{
    static QTextStream stream(stderr);
    return stream;
}

struct Options
{
    QString config;
    bool view = false;
    bool list = false;
    bool printConfig = false;
    bool verbose = false;
    bool controller = false;
    bool installation = true;
    bool sharePort = false;
    QString screenshot;
    int screenshotDelayMs = 1000;
    int runForMs = 0;
};

void addOptions(QCommandLineParser &parser)
{
    parser.setApplicationDescription(
        QStringLiteral("Simulated lighting installation: supplies and lights that answer the "
                       "lighting protocol on UDP port 6038 of loopback addresses (127.0.1.x) "
                       "or of the addresses in a configuration file."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOptions({
        {QStringLiteral("config"), QStringLiteral("Installation to simulate (JSON)."),
         QStringLiteral("file")},
        {QStringLiteral("view"), QStringLiteral("Open a window showing every light's colour.")},
        {QStringLiteral("list"), QStringLiteral("Print the installation and exit.")},
        {QStringLiteral("print-config"),
         QStringLiteral("Print the installation as a configuration file and exit.")},
        {QStringLiteral("drop"), QStringLiteral("Share of replies to drop (0..1)."),
         QStringLiteral("share")},
        {QStringLiteral("duplicate"), QStringLiteral("Share of replies to send twice (0..1)."),
         QStringLiteral("share")},
        {QStringLiteral("delay"), QStringLiteral("Share of replies to delay (0..1)."),
         QStringLiteral("share")},
        {QStringLiteral("delay-ms"), QStringLiteral("Delay of delayed replies (default 50)."),
         QStringLiteral("ms")},
        {QStringLiteral("seed"), QStringLiteral("Seed of the fault decisions."),
         QStringLiteral("n")},
        {QStringLiteral("verbose"), QStringLiteral("Log every request and reply.")},
        {QStringLiteral("controller"),
         QStringLiteral("Also play a show controller on 127.0.0.1: it answers the program's "
                        "announcement (UDP 6775) and reports each pause it is sent.")},
        {QStringLiteral("no-installation"),
         QStringLiteral("With --controller: play the controller only (e.g. beside "
                        "orrery --demo, which simulates the installation itself).")},
        {QStringLiteral("screenshot"),
         QStringLiteral("With --view: save the window to a PNG file and exit."),
         QStringLiteral("file")},
        {QStringLiteral("screenshot-delay"),
         QStringLiteral("Wait before the screenshot (default 1000)."), QStringLiteral("ms")},
        {QStringLiteral("share-port"),
         QStringLiteral("Start even when another program (such as a second orrery-sim) already "
                        "holds UDP port 6038 here; both will then answer.")},
        {QStringLiteral("run-for"),
         QStringLiteral("Stop after this long (default: run until "
                        "interrupted)."),
         QStringLiteral("ms")},
    });
}

bool readShare(const QCommandLineParser &parser, const char *name, double *share)
{
    if (!parser.isSet(QLatin1String(name)))
        return true;
    bool ok = false;
    const double value = parser.value(QLatin1String(name)).toDouble(&ok);
    if (!ok || value < 0 || value > 1) {
        err() << "orrery-sim: --" << name << " needs a share between 0 and 1" << Qt::endl;
        return false;
    }
    *share = value;
    return true;
}

bool readNumber(const QCommandLineParser &parser, const char *name, qint64 max, qint64 *number)
{
    if (!parser.isSet(QLatin1String(name)))
        return true;
    bool ok = false;
    const qint64 value = parser.value(QLatin1String(name)).toLongLong(&ok);
    if (!ok || value < 0 || value > max) {
        err() << "orrery-sim: --" << name << " needs a whole number from 0 to " << max << Qt::endl;
        return false;
    }
    *number = value;
    return true;
}

bool readFaults(const QCommandLineParser &parser, SimFaults *faults)
{
    qint64 delayMs = faults->delayMs;
    qint64 seed = faults->seed;
    if (!readShare(parser, "drop", &faults->dropShare) ||
        !readShare(parser, "duplicate", &faults->duplicateShare) ||
        !readShare(parser, "delay", &faults->delayShare) ||
        !readNumber(parser, "delay-ms", 60000, &delayMs) ||
        !readNumber(parser, "seed", 0xFFFFFFFFll, &seed))
        return false;
    faults->delayMs = static_cast<int>(delayMs);
    faults->seed = static_cast<quint32>(seed);
    return true;
}

std::optional<Options> readOptions(const QCommandLineParser &parser)
{
    Options options;
    options.config = parser.value(QStringLiteral("config"));
    options.view = parser.isSet(QStringLiteral("view"));
    options.list = parser.isSet(QStringLiteral("list"));
    options.printConfig = parser.isSet(QStringLiteral("print-config"));
    options.verbose = parser.isSet(QStringLiteral("verbose"));
    options.controller = parser.isSet(QStringLiteral("controller"));
    options.installation = !parser.isSet(QStringLiteral("no-installation"));
    options.sharePort = parser.isSet(QStringLiteral("share-port"));
    options.screenshot = parser.value(QStringLiteral("screenshot"));
    qint64 delay = options.screenshotDelayMs;
    qint64 runFor = 0;
    if (!readNumber(parser, "screenshot-delay", 600000, &delay) ||
        !readNumber(parser, "run-for", 86400000, &runFor))
        return std::nullopt;
    options.screenshotDelayMs = static_cast<int>(delay);
    options.runForMs = static_cast<int>(runFor);
    if (!options.screenshot.isEmpty() && !options.view) {
        err() << "orrery-sim: --screenshot needs --view" << Qt::endl;
        return std::nullopt;
    }
    if (!options.installation && (!options.controller || options.view)) {
        err() << "orrery-sim: --no-installation needs --controller and shows no view" << Qt::endl;
        return std::nullopt;
    }
    return options;
}

std::optional<SimInstallation> loadInstallation(const Options &options)
{
    if (options.config.isEmpty())
        return SimInstallation::builtIn();
    QString error;
    auto installation = SimInstallation::fromFile(options.config, &error);
    if (!installation)
        err() << "orrery-sim: " << error << Qt::endl;
    return installation;
}

void watchTraffic(Simulator &simulator)
{
    QObject::connect(&simulator, &Simulator::requestReceived, &simulator,
                     [](int supply, quint16 type) {
                         out() << "request 0x" << QString::number(type, 16).rightJustified(4, '0')
                               << " for supply " << supply << Qt::endl;
                     });
    QObject::connect(&simulator, &Simulator::replySent, &simulator, [](int supply, quint16 type) {
        out() << "reply   0x" << QString::number(type, 16).rightJustified(4, '0') << " from supply "
              << supply << Qt::endl;
    });
}

std::unique_ptr<QScrollArea> openView(const SimInstallation &installation,
                                      const Simulator &simulator)
{
    std::unique_ptr<QScrollArea> area(SimView::createWindow(installation, simulator.output()));
    area->show();
    return area;
}

// Every pause shows as "paused by NAME at HH:MM:SS" on standard output and in the window's
// title.
void watchController(SimController &controller, QWidget *window)
{
    const QString title = window ? window->windowTitle() : QString();
    QObject::connect(&controller, &SimController::registered, &controller, [](const QString &name) {
        out() << "controller: registered " << name << Qt::endl;
    });
    QObject::connect(&controller, &SimController::paused, &controller,
                     [window, title](const QString &text) {
                         out() << text << Qt::endl;
                         if (window)
                             window->setWindowTitle(title + QStringLiteral(" - ") + text);
                     });
    QObject::connect(&controller, &SimController::faultFound, &controller, [](const QString &what) {
        out() << "controller: rejected a message: " << what << Qt::endl;
    });
}

int run(QCoreApplication &app, const Options &options, const SimInstallation &installation)
{
    QString error;
    std::unique_ptr<Simulator> simulator;
    if (options.installation) {
        // Two simulators on one port both answer: every supply would be found twice over and
        // each light answer twice, which no real installation does.
        if (!options.sharePort && Simulator::protocolPortInUse()) {
            err() << "orrery-sim: UDP port 6038 is already in use on this host, probably by "
                     "another orrery-sim; stop it, or start with --share-port to answer beside it"
                  << Qt::endl;
            return ExitFailed;
        }
        simulator = std::make_unique<Simulator>(installation);
        if (!simulator->start(&error)) {
            err() << "orrery-sim: " << error << Qt::endl;
            return ExitFailed;
        }
        out() << "orrery-sim: " << installation.supplies.size() << " supplies, "
              << installation.lightCount() << " lights, port 6038" << Qt::endl;
        if (options.verbose)
            watchTraffic(*simulator);
    }
    std::unique_ptr<QScrollArea> window;
    if (options.view)
        window = openView(installation, *simulator);
    std::unique_ptr<SimController> controller;
    if (options.controller) {
        controller = std::make_unique<SimController>();
        if (!controller->start(&error)) {
            err() << "orrery-sim: " << error << Qt::endl;
            return ExitFailed;
        }
        out() << "orrery-sim: show controller on 127.0.0.1 TCP port " << controller->tcpPort()
              << ", waiting for announcements on UDP 6775" << Qt::endl;
        watchController(*controller, window.get());
    }
    if (window && !options.screenshot.isEmpty()) {
        QTimer::singleShot(options.screenshotDelayMs, &app, [&] {
            const bool saved = window->grab().save(options.screenshot, "PNG");
            if (!saved)
                err() << "orrery-sim: cannot write " << options.screenshot << Qt::endl;
            app.exit(saved ? ExitOk : ExitFailed);
        });
    }
    if (options.runForMs > 0)
        QTimer::singleShot(options.runForMs, &app, [&app] { app.exit(ExitOk); });
    const int status = app.exec();
    if (simulator) {
        const SimStats &stats = simulator->stats();
        out() << "orrery-sim: " << stats.requests << " requests, " << stats.replies << " replies, "
              << stats.frames << " frames, " << stats.dropped << " dropped" << Qt::endl;
    }
    if (controller) {
        const SimControllerStats &stats = controller->stats();
        out() << "orrery-sim: controller: " << stats.announcements << " announcements, "
              << stats.registrations << " registrations, " << stats.pauses << " pauses, "
              << stats.faults << " rejected" << Qt::endl;
    }
    return status;
}

bool wantsView(int argc, char *argv[])
{
    for (int i = 1; i < argc; ++i) {
        if (qstrcmp(argv[i], "--view") == 0)
            return true;
    }
    return false;
}

} // namespace

int main(int argc, char *argv[])
{
    // The window needs a GUI application; everything else runs headless.
    std::unique_ptr<QCoreApplication> app;
    if (wantsView(argc, argv))
        app = std::make_unique<QApplication>(argc, argv);
    else
        app = std::make_unique<QCoreApplication>(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("orrery-sim"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ORRERY_VERSION));

    QCommandLineParser parser;
    addOptions(parser);
    if (!parser.parse(QCoreApplication::arguments())) {
        err() << "orrery-sim: " << parser.errorText() << Qt::endl;
        return ExitUsage;
    }
    if (parser.isSet(QStringLiteral("help"))) {
        out() << parser.helpText();
        return ExitOk;
    }
    if (parser.isSet(QStringLiteral("version"))) {
        out() << "orrery-sim " << QCoreApplication::applicationVersion() << Qt::endl;
        return ExitOk;
    }
    const auto options = readOptions(parser);
    if (!options)
        return ExitUsage;
    if (options->verbose)
        QLoggingCategory::setFilterRules(QStringLiteral("orrery.sim.debug=true"));
    auto installation = loadInstallation(*options);
    if (!installation)
        return ExitFailed;
    if (!readFaults(parser, &installation->faults))
        return ExitUsage;
    if (options->list) {
        out() << installation->describe();
        return ExitOk;
    }
    if (options->printConfig) {
        out() << QJsonDocument(installation->toJson()).toJson(QJsonDocument::Indented);
        return ExitOk;
    }
    return run(*app, *options, *installation);
}
