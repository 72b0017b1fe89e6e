#pragma once

#include <QCommandLineParser>
#include <QStringList>
#include <QTextStream>

class MapModel;

// Exit statuses shared by every command.
enum ExitStatus : int {
    ExitOk = 0,
    ExitFailure = 1, // the work itself failed (load, save, devices not answering)
    ExitUsage = 2,   // bad arguments
};

// Standard streams for command output; stdout carries results, stderr messages.
QTextStream &out();
QTextStream &err();

// Parses a command's arguments; prints help or the parser's error and returns the status to
// exit with, or -1 when the command should go on.
int parseCommandLine(QCommandLineParser &parser, const QStringList &arguments,
                     const QString &usage);

// Checks, before any work is done, that a map can be saved at path (the directory exists and
// takes a new file, an existing file may be replaced). False with the system's reason.
bool checkWritable(const QString &path, QString *reason);
// Saves the model at path as the map commands save maps; on failure prints
// "orrery-cli: cannot save PATH: REASON" to stderr, REASON being the system's error text.
bool saveMapFile(MapModel &model, const QString &path);

// Loads a map as every command reads maps (device properties as the definitions describe
// them), collecting the model's messages; on failure prints them and the reason to stderr.
bool loadMapFile(MapModel &model, const QString &path, QStringList &messages);
