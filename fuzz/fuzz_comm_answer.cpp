// Feeds arbitrary datagrams to the parser of answers to our controller announcement: it must
// never crash or hang, and whatever it accepts must be a usable address and port.
#include "net/commmessages.h"

#include <QHostAddress>
#include <QLoggingCategory>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    QLoggingCategory::setFilterRules(QStringLiteral("orrery.*=false"));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray datagram =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const std::optional<CommMessages::Answer> answer = CommMessages::parseAnswer(datagram);
    if (!answer)
        return 0;
    // Exactly four fields; a host text that names the address itself; a port to connect to.
    const QHostAddress address(answer->ip);
    if (datagram.count(':') != 3 || answer->port == 0 || address.toString() != answer->host ||
        answer->ip == 0 || address.isBroadcast() || address.isMulticast())
        __builtin_trap();
    return 0;
}
