#pragma once

// Runs one of our command-line programs from the build tree and collects what it printed.
#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

struct ProgramRun
{
    int status = -1; // -1 when the program crashed or did not finish
    QByteArray out;
    QByteArray err;
};

inline ProgramRun runProgram(const QString &program, const QStringList &arguments,
                             int timeoutMs = 30000)
{
    QProcess process;
    process.start(program, arguments);
    const bool finished = process.waitForFinished(timeoutMs);
    return {finished && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            process.readAllStandardOutput(), process.readAllStandardError()};
}

inline ProgramRun cli(const QStringList &arguments)
{
    return runProgram(QStringLiteral(ORRERY_BINARY_DIR "/tools/cli/orrery-cli"), arguments);
}
