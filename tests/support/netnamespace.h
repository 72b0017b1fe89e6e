#pragma once

// Network namespaces for tests that send datagrams. The test command runs every test inside a
// private namespace (ORRERY_PRIVATE_NETNS=1); a test that changes interfaces or binds the
// protocol port moves on into a fresh namespace of its own, so tests running side by side
// never see each other's interfaces or ports, and whatever it creates vanishes with it.
#include <QByteArray>
#include <QRegularExpression>
#include <QThread>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <sched.h>
#include <unistd.h>

namespace NetNamespace {

inline QByteArray link(const char *path)
{
    char target[128] = {};
    const ssize_t length = ::readlink(path, target, sizeof target - 1);
    return length > 0 ? QByteArray(target, int(length)) : QByteArray();
}

// True inside the private namespace the test command made. Where /proc/1 is readable the
// namespace must also differ from init's; some sandboxes hide it, and then the variable alone
// counts. What keeps these tests off the host's network for certain is enterFresh(): a new
// namespace holds nothing but loop-back until the test adds to it.
inline bool isPrivate()
{
    if (qgetenv("ORRERY_PRIVATE_NETNS") != "1")
        return false;
    const QByteArray own = link("/proc/self/ns/net");
    const QByteArray init = link("/proc/1/ns/net");
    return !own.isEmpty() && own != init;
}

inline const char *kNotPrivate =
    "not in a private network namespace: run the tests with scripts/test (it sets "
    "ORRERY_PRIVATE_NETNS=1 inside 'unshare -n'); nothing is sent on the host's network";

// Runs "ip ARGS"; on failure error holds the command and its message.
inline bool ip(const QString &arguments, QString *error = nullptr)
{
    QProcess process;
    process.start(QStringLiteral("ip"), arguments.split(QLatin1Char(' '), Qt::SkipEmptyParts));
    const bool ok = process.waitForFinished(10000) &&
                    process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    if (!ok && error)
        *error =
            QStringLiteral("ip %1: %2")
                .arg(arguments, QString::fromLocal8Bit(process.readAllStandardError()).trimmed());
    return ok;
}

// Moves this thread (the only one) into a new, empty network namespace with loop-back up.
// Call only when isPrivate() holds.
inline bool enterFresh(QString *error)
{
    if (::unshare(CLONE_NEWNET) != 0) {
        *error = QStringLiteral("unshare(CLONE_NEWNET) failed: %1")
                     .arg(QString::fromLocal8Bit(strerror(errno)));
        return false;
    }
    return ip(QStringLiteral("link set lo up"), error);
}

// "ip -o link show dev NAME" of this namespace (sysfs would show the host's interfaces).
inline QString linkLine(const QString &device)
{
    QProcess process;
    process.start(QStringLiteral("ip"), {QStringLiteral("-o"), QStringLiteral("link"),
                                         QStringLiteral("show"), QStringLiteral("dev"), device});
    process.waitForFinished(5000);
    return QString::fromLocal8Bit(process.readAllStandardOutput());
}

// The flags between < and > of a link line.
inline QStringList linkFlags(const QString &line)
{
    const int open = line.indexOf(QLatin1Char('<'));
    const int close = line.indexOf(QLatin1Char('>'), open);
    return open < 0 || close < 0 ? QStringList()
                                 : line.mid(open + 1, close - open - 1).split(QLatin1Char(','));
}

// A veth end brought up is not usable at once: its carrier follows a moment later, and a
// send before then fails. Waits up to two seconds for the carrier, unless the peer is in this
// namespace and down (then it never comes: some tests want exactly that).
inline void waitForCarrier(const QString &device)
{
    static const QRegularExpression peerName(QStringLiteral("^\\d+: [^@:]+@([^:]+):"));
    for (int i = 0; i < 200; ++i) {
        const QString line = linkLine(device);
        if (line.isEmpty() || linkFlags(line).contains(QStringLiteral("LOWER_UP")))
            return;
        const QString peer = peerName.match(line).captured(1);
        if (!peer.isEmpty() && !peer.startsWith(QLatin1String("if"))
            && !linkFlags(linkLine(peer)).contains(QStringLiteral("UP")))
            return;
        QThread::msleep(10);
    }
}

inline bool setUp(const QStringList &commands, QString *error)
{
    for (const QString &command : commands) {
        if (!ip(command, error))
            return false;
    }
    static const QRegularExpression linkUp(QStringLiteral("^link set (\\S+) up$"));
    for (const QString &command : commands) {
        const QRegularExpressionMatch match = linkUp.match(command);
        if (match.hasMatch())
            waitForCarrier(match.captured(1));
    }
    return true;
}

// Checks the suite's namespace, then enters a fresh one with loop-back up. Empty on success,
// otherwise the reason to skip. Call from the main thread before creating any socket.
inline QString enterOwn()
{
    if (!isPrivate())
        return QString::fromLatin1(kNotPrivate);
    QString error;
    if (!enterFresh(&error))
        return error;
    return {};
}

} // namespace NetNamespace

// In a test function: moves into a namespace of the test's own, or skips the test saying why.
#define ORRERY_ENTER_OWN_NETNS_OR_SKIP()                                                       \
    do {                                                                                       \
        const QString orreryNetnsWhy = NetNamespace::enterOwn();                               \
        if (!orreryNetnsWhy.isEmpty())                                                         \
            QSKIP(qPrintable(orreryNetnsWhy));                                                 \
    } while (false)

