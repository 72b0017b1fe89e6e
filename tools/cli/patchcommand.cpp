#include "patchcommand.h"

#include "clicommand.h"
#include "model/mapmodel.h"
#include "print/pdfexport.h"
#include "report/patchlist.h"
#include "report/patchlistformats.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <unistd.h>

namespace {

QString usage()
{
    return QStringLiteral("Usage:\n") + mapPatchSynopsis() + QStringLiteral("\n\n") +
           mapPatchHelp();
}

// Results go out as UTF-8 whatever the locale says, so names survive a pipe into a file.
// False when they could not all be written (a full disk, a closed pipe).
bool writeOut(const QByteArray &bytes)
{
    out().flush();
    if (std::fflush(stdout) != 0)
        return false;
    const char *next = bytes.constData();
    qint64 left = bytes.size();
    while (left > 0) {
        const ssize_t written = ::write(STDOUT_FILENO, next, size_t(left));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        next += written;
        left -= written;
    }
    return true;
}

} // namespace

QString mapPatchSynopsis()
{
    return QStringLiteral("       orrery-cli map patch MAP [--csv|--json|--pdf FILE]");
}

QString mapPatchHelp()
{
    return QStringLiteral(
        "  patch       the patch list: every interface with its address and serial, each\n"
        "              port's lights by DMX address; a table, --csv or --json on standard\n"
        "              output, or --pdf FILE: the printed map (layout and patch list)");
}

bool needsGuiApplication(int argc, char **argv)
{
    bool patch = false;
    for (int i = 1; i + 1 < argc && !patch; ++i)
        patch = std::strcmp(argv[i], "map") == 0 && std::strcmp(argv[i + 1], "patch") == 0;
    if (!patch)
        return false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--pdf") == 0 || std::strncmp(argv[i], "--pdf=", 6) == 0)
            return true;
    }
    return false;
}

int runMapPatch(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption csv(QStringLiteral("csv"),
                                 QStringLiteral("Print the patch list as CSV."));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Print the patch list as JSON."));
    const QCommandLineOption pdf(QStringLiteral("pdf"),
                                 QStringLiteral("Write the printed map to FILE as PDF."),
                                 QStringLiteral("FILE"));
    parser.addOptions({csv, json, pdf});
    parser.addPositionalArgument(QStringLiteral("MAP"), QStringLiteral("Map file."));
    if (int status = parseCommandLine(parser, arguments, usage()); status >= 0)
        return status;
    if (parser.positionalArguments().size() != 1) {
        err() << "orrery-cli: map patch takes one MAP\n" << usage() << Qt::endl;
        return ExitUsage;
    }
    if (int(parser.isSet(csv)) + int(parser.isSet(json)) + int(parser.isSet(pdf)) > 1) {
        err() << "orrery-cli: map patch takes one of --csv, --json and --pdf\n"
              << usage() << Qt::endl;
        return ExitUsage;
    }
    const QString mapPath = parser.positionalArguments().constFirst();
    if (parser.isSet(pdf) && parser.value(pdf).isEmpty()) {
        err() << "orrery-cli: --pdf needs a FILE\n" << usage() << Qt::endl;
        return ExitUsage;
    }
    // Writing the PDF over the map it is made from would lose the map.
    if (parser.isSet(pdf) &&
        QFileInfo(parser.value(pdf)).canonicalFilePath() ==
            QFileInfo(mapPath).canonicalFilePath() &&
        QFileInfo::exists(mapPath)) {
        err() << "orrery-cli: --pdf FILE is the map itself: " << mapPath << Qt::endl;
        return ExitUsage;
    }
    // A PDF that cannot be written is found out before the map is read.
    QString reason;
    if (parser.isSet(pdf) && !checkWritable(parser.value(pdf), &reason)) {
        err() << "orrery-cli: cannot write " << parser.value(pdf) << ": " << reason << Qt::endl;
        return ExitFailure;
    }

    MapModel model;
    QStringList messages;
    if (!loadMapFile(model, mapPath, messages))
        return ExitFailure;

    if (parser.isSet(pdf)) {
        const QString file = parser.value(pdf);
        const int pages = PdfExport::write(model, QFileInfo(mapPath).fileName(),
                                           QDateTime::currentDateTime(), file, &reason);
        if (pages == 0) {
            err() << "orrery-cli: cannot write " << file << ": " << reason << Qt::endl;
            return ExitFailure;
        }
        out() << "Wrote " << pages << (pages == 1 ? " page" : " pages") << " to " << file
              << Qt::endl;
        return ExitOk;
    }
    const PatchList list = PatchList::fromModel(model);
    const QByteArray bytes =
        parser.isSet(csv) ? PatchListFormats::toCsv(list)
        : parser.isSet(json)
            ? QJsonDocument(PatchListFormats::toJson(list)).toJson(QJsonDocument::Indented)
            : PatchListFormats::toText(list).toUtf8();
    if (!writeOut(bytes)) {
        err() << "orrery-cli: could not write the patch list to standard output" << Qt::endl;
        return ExitFailure;
    }
    return ExitOk;
}
