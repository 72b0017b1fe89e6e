#include "mapcommand.h"

#include "clicommand.h"
#include "mapcreatecommand.h"
#include "patchcommand.h"
#include "model/mapjson.h"
#include "model/mapmodel.h"

#include <QJsonDocument>

namespace {

const QString kUsage = QStringLiteral(
    "Usage: orrery-cli map info [--json] FILE\n"
    "       orrery-cli map resave IN OUT\n"
    "%1\n%2\n\n"
    "  info        load a map and print its counts and the loader's messages;\n"
    "              --json prints the whole map as one JSON document\n"
    "  resave      load a map and write it again in the current format\n%3\n%4")
                             .arg(mapPatchSynopsis(), mapCreateSynopsis(), mapPatchHelp(),
                                  mapCreateHelp());

int runInfo(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Print the whole map as JSON."));
    parser.addOption(json);
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("Map file."));
    if (int status = parseCommandLine(parser, arguments, kUsage); status >= 0)
        return status;
    if (parser.positionalArguments().size() != 1) {
        err() << "orrery-cli: map info takes one FILE\n" << kUsage << Qt::endl;
        return ExitUsage;
    }

    MapModel model;
    QStringList messages;
    if (!loadMapFile(model, parser.positionalArguments().constFirst(), messages))
        return ExitFailure;

    if (parser.isSet(json)) {
        out() << QJsonDocument(MapJson::map(model)).toJson(QJsonDocument::Indented) << Qt::flush;
        return ExitOk;
    }
    for (const QString &m : qAsConst(messages))
        out() << m << "\n";
    out() << "Supplies: " << model.dataSupplyCount() << "\n"
          << "Lights: " << model.lightCount() << "\n"
          << "Groups: " << model.groupCount() << "\n";
    if (!model.imageFile().isEmpty())
        out() << "Background image: " << model.imageFile() << "\n";
    out() << Qt::flush;
    return ExitOk;
}

int runResave(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("IN"), QStringLiteral("Map file to read."));
    parser.addPositionalArgument(QStringLiteral("OUT"), QStringLiteral("Map file to write."));
    if (int status = parseCommandLine(parser, arguments, kUsage); status >= 0)
        return status;
    const QStringList files = parser.positionalArguments();
    if (files.size() != 2) {
        err() << "orrery-cli: map resave takes IN and OUT\n" << kUsage << Qt::endl;
        return ExitUsage;
    }

    QString reason;
    if (!checkWritable(files.at(1), &reason)) {
        err() << "orrery-cli: cannot save " << files.at(1) << ": " << reason << Qt::endl;
        return ExitFailure;
    }
    MapModel model;
    QStringList messages;
    if (!loadMapFile(model, files.at(0), messages))
        return ExitFailure;
    if (!saveMapFile(model, files.at(1)))
        return ExitFailure;
    out() << "Wrote " << model.dataSupplyCount() << " supplies, " << model.lightCount()
          << " lights, " << model.groupCount() << " groups to " << files.at(1) << Qt::endl;
    return ExitOk;
}

} // namespace

int runMapCommand(const QStringList &arguments)
{
    // arguments: "orrery-cli map <sub> ..."; the parser wants the program name first.
    const QString sub = arguments.value(2);
    QStringList rest = arguments.mid(3);
    rest.prepend(QStringLiteral("orrery-cli map ") + sub);
    if (sub == QLatin1String("info"))
        return runInfo(rest);
    if (sub == QLatin1String("resave"))
        return runResave(rest);
    if (sub == QLatin1String("patch"))
        return runMapPatch(rest);
    if (sub == QLatin1String("new"))
        return runMapNew(rest);
    if (sub == QLatin1String("add-lights"))
        return runMapAddLights(rest);
    if (sub == QLatin1String("add-string"))
        return runMapAddString(rest);
    if (sub == QLatin1String("--help") || sub == QLatin1String("-h") || sub.isEmpty()) {
        (sub.isEmpty() ? err() : out()) << kUsage << Qt::endl;
        return sub.isEmpty() ? ExitUsage : ExitOk;
    }
    err() << "orrery-cli: unknown map command: " << sub << "\n" << kUsage << Qt::endl;
    return ExitUsage;
}
