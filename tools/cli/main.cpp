#include "clicommand.h"
#include "devicescommand.h"
#include "discovercommand.h"
#include "highlightcommand.h"
#include "mapcommand.h"
#include "patchcommand.h"
#include "net/dottedquad.h"
#include "net/ksocket.h"

#include <QCoreApplication>
#include <QGuiApplication>

#include <functional>
#include <memory>

namespace {

struct Command
{
    const char *name;
    const char *summary;
    std::function<int(const QStringList &)> run;
};

const Command kCommands[] = {
    {"map", "inspect, build and rewrite map files; print their patch lists", runMapCommand},
    {"discover", "find the supplies on the network and their ports", runDiscoverCommand},
    {"scan", "discover, then find the lights on every port", runDiscoverCommand},
    {"read", "scan, then read every light's stored data", runDiscoverCommand},
    {"highlight", "light chosen lights, supplies or groups of a map live", runHighlightCommand},
    {"devices", "list device definitions; which one a serial belongs to", runDevicesCommand},
};

void printUsage(QTextStream &stream)
{
    stream << "Usage: orrery-cli COMMAND [OPTIONS] ...\n\nCommands:\n";
    for (const Command &c : kCommands)
        stream << "  " << QString::fromLatin1(c.name).leftJustified(10) << c.summary << "\n";
    stream << "\nGlobal options:\n"
              "  --broadcast ADDRESS  send the protocol's broadcasts to ADDRESS (for example the\n"
              "                       directed broadcast of the installation's network) instead\n"
              "                       of eth0's broadcast address or 255.255.255.255\n";
    stream << "  --version            print the version and exit\n";
    stream << "\n'orrery-cli COMMAND --help' describes a command." << Qt::endl;
}

// Takes the global "--broadcast ADDRESS" (or "--broadcast=ADDRESS") out of the arguments, so
// the commands' own parsers never see it, and makes ADDRESS the broadcast address of every
// protocol socket created from now on. False, with a message, when the value is missing or not
// a dotted-quad address.
bool takeBroadcastOption(QStringList &arguments)
{
    const QString option = QStringLiteral("--broadcast");
    for (int i = 1; i < arguments.size() && arguments.at(i) != QLatin1String("--");) {
        QString value;
        if (arguments.at(i) == option) {
            if (i + 1 >= arguments.size()) {
                err() << "orrery-cli: --broadcast needs an ADDRESS\n";
                return false;
            }
            value = arguments.at(i + 1);
            arguments.erase(arguments.begin() + i, arguments.begin() + i + 2);
        } else if (arguments.at(i).startsWith(option + QLatin1Char('='))) {
            value = arguments.takeAt(i).mid(option.size() + 1);
        } else {
            ++i;
            continue;
        }
        const std::optional<quint32> address = parseDottedQuad(value);
        if (!address) {
            err() << "orrery-cli: --broadcast needs an IPv4 address such as 192.168.1.255, not: "
                  << value << "\n";
            return false;
        }
        KSocket::setDefaultBroadcastAddress(QHostAddress(*address));
    }
    return true;
}

} // namespace

int main(int argc, char *argv[])
{
    std::unique_ptr<QCoreApplication> app;
    if (needsGuiApplication(argc, argv)) {
        // A PDF needs fonts, not a screen: the offscreen platform works over ssh and in
        // scripts without a display, unless the user chose a platform.
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        app = std::make_unique<QGuiApplication>(argc, argv);
    } else {
        app = std::make_unique<QCoreApplication>(argc, argv);
    }
    QCoreApplication::setOrganizationName(QStringLiteral("Taviren"));
    QCoreApplication::setApplicationName(QStringLiteral("Orrery"));

    QStringList arguments = QCoreApplication::arguments();
    if (!takeBroadcastOption(arguments)) {
        printUsage(err());
        return ExitUsage;
    }
    const QString name = arguments.value(1);
    if (name == QLatin1String("--help") || name == QLatin1String("-h")) {
        printUsage(out());
        return ExitOk;
    }
    if (name == QLatin1String("--version")) {
        out() << "orrery-cli " ORRERY_VERSION << Qt::endl;
        return ExitOk;
    }
    for (const Command &c : kCommands) {
        if (name == QLatin1String(c.name))
            return c.run(arguments);
    }
    if (name.isEmpty())
        err() << "orrery-cli: no command given\n";
    else
        err() << "orrery-cli: unknown command: " << name << "\n";
    printUsage(err());
    return ExitUsage;
}
