#include "clicommand.h"

#include <cstdio>

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

int parseCommandLine(QCommandLineParser &parser, const QStringList &arguments,
                     const QString &usage)
{
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Show this help."));
    parser.addOption(help);
    if (!parser.parse(arguments)) {
        err() << "orrery-cli: " << parser.errorText() << "\n" << usage << Qt::endl;
        return ExitUsage;
    }
    if (parser.isSet(help)) {
        out() << usage << "\n\n" << parser.helpText().section(QLatin1Char('\n'), 2) << Qt::flush;
        return ExitOk;
    }
    return -1;
}
