#pragma once

// Network tests run only inside a private network namespace: scripts/test starts ctest in
// one (and sets ORRERY_PRIVATE_NETNS=1). A test that binds the protocol port then moves its
// own thread into a further namespace of its own, so that tests running side by side in the
// suite's namespace never see each other's datagrams.

#include <QFile>
#include <QString>

#include <cstring>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace PrivateNetNs {

inline QString namespaceOf(const char *path)
{
    return QFile::symLinkTarget(QString::fromLatin1(path));
}

// Empty when the test may use the network, otherwise why not.
inline QString whyNot()
{
    if (qgetenv("ORRERY_PRIVATE_NETNS") != "1")
        return QStringLiteral("not in the test suite's private network namespace "
                              "(run through scripts/test)");
    const QString own = namespaceOf("/proc/self/ns/net");
    const QString init = namespaceOf("/proc/1/ns/net");
    if (own.isEmpty() || own == init)
        return QStringLiteral("the network namespace is the host's");
    return {};
}

inline bool bringLoopbackUp()
{
    const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
    if (fd < 0)
        return false;
    ifreq request;
    std::memset(&request, 0, sizeof request);
    std::strncpy(request.ifr_name, "lo", IFNAMSIZ - 1);
    bool ok = ::ioctl(fd, SIOCGIFFLAGS, &request) == 0;
    request.ifr_flags |= IFF_UP;
    ok = ok && ::ioctl(fd, SIOCSIFFLAGS, &request) == 0;
    ::close(fd);
    return ok;
}

// Checks the suite's namespace, then enters a fresh one with loopback up. Empty on success,
// otherwise the reason to skip. Call from the main thread before creating any socket.
inline QString enterOwn()
{
    const QString reason = whyNot();
    if (!reason.isEmpty())
        return reason;
    if (::unshare(CLONE_NEWNET) != 0)
        return QStringLiteral("cannot create a network namespace: %1")
            .arg(QString::fromLocal8Bit(std::strerror(errno)));
    if (!bringLoopbackUp())
        return QStringLiteral("cannot bring loopback up in the new namespace");
    return {};
}

} // namespace PrivateNetNs
