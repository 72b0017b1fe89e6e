#include "clicommand.h"

#include "devices/definitionpropertyformat.h"
#include "devices/deviceresources.h"
#include "model/mapmodel.h"

#include <QFileInfo>
#include <QSaveFile>

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

bool checkWritable(const QString &path, QString *reason)
{
    if (QFileInfo(path).isDir()) {
        *reason = QStringLiteral("it is a directory");
        return false;
    }
    // Saving writes a new file beside the old one and renames it over; opening one the same
    // way and abandoning it checks exactly that, and leaves nothing behind.
    QSaveFile probe(path);
    if (!probe.open(QIODevice::WriteOnly)) {
        *reason = probe.errorString();
        return false;
    }
    probe.cancelWriting();
    return true;
}

bool saveMapFile(MapModel &model, const QString &path)
{
    // The model's save refuses targets that are not regular files and keeps the reason.
    if (model.saveToFile(path))
        return true;
    err() << "orrery-cli: cannot save " << path << ": " << model.saveError() << Qt::endl;
    return false;
}

// Loads a map, collecting the model's messages. Reports failure with those messages on
// standard error.
bool loadMapFile(MapModel &model, const QString &path, QStringList &messages)
{
    // Device properties are read and written as the device definitions describe them.
    DeviceResources::registerResources();
    model.setPropertyFormat(std::make_shared<DefinitionPropertyFormat>());
    QObject::connect(&model, &MapModel::msg, [&messages](const QString &m) { messages << m; });
    if (!QFileInfo::exists(path)) {
        err() << "orrery-cli: no such file: " << path << Qt::endl;
        return false;
    }
    if (model.loadFromFile(path))
        return true;
    for (const QString &m : qAsConst(messages))
        err() << m << "\n";
    err() << "orrery-cli: failed to load map: " << path << ": " << model.loadError() << Qt::endl;
    return false;
}

