#include "clicommand.h"
#include "devicescommand.h"
#include "mapcommand.h"

#include <QCoreApplication>

#include <functional>

namespace {

struct Command
{
    const char *name;
    const char *summary;
    std::function<int(const QStringList &)> run;
};

const Command kCommands[] = {
    {"map", "inspect and rewrite map files (info, resave)", runMapCommand},
    {"devices", "list device definitions; which one a serial belongs to", runDevicesCommand},
};

void printUsage(QTextStream &stream)
{
    stream << "Usage: orrery-cli COMMAND [OPTIONS] ...\n\nCommands:\n";
    for (const Command &c : kCommands)
        stream << "  " << QString::fromLatin1(c.name).leftJustified(10) << c.summary << "\n";
    stream << "\n'orrery-cli COMMAND --help' describes a command." << Qt::endl;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Taviren"));
    QCoreApplication::setApplicationName(QStringLiteral("Orrery"));

    const QStringList arguments = QCoreApplication::arguments();
    const QString name = arguments.value(1);
    if (name == QLatin1String("--help") || name == QLatin1String("-h")) {
        printUsage(out());
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
