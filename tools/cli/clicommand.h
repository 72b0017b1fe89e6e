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

// Loads a map as every command reads maps (device properties as the definitions describe
// them), collecting the model's messages; on failure prints them and the reason to stderr.
bool loadMapFile(MapModel &model, const QString &path, QStringList &messages);
