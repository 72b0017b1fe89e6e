// Feeds arbitrary datagrams to the protocol's reply parsing: it must never crash, read past the
// datagram or hang, whatever arrives on the socket.
#include "net/vistrareplies.h"

#include <QLoggingCategory>

#include <cstddef>
#include <cstdint>

namespace {

// Touches every value a reply carries, so a parser that reads out of bounds while filling one
// is caught even where the value would otherwise go unused.
struct Consume
{
    size_t operator()(const VistraReplies::DiscoverReply &r) const
    {
        return r.mac[5] + r.ip + r.serial + r.version + r.universe + size_t(r.versionText.size()) +
               size_t(r.idText.size());
    }
    size_t operator()(const VistraReplies::PortsReply &r) const
    {
        size_t sum = r.ip;
        for (int i = 0; i < r.portNumbers.size(); ++i)
            sum += r.portNumbers.at(i) + r.portTypes.at(i);
        return sum;
    }
    size_t operator()(const VistraReplies::BlinkScan2Reply &r) const
    {
        size_t sum = r.ip + r.entryCount + r.more + size_t(r.entryBytes.size());
        for (const auto &entry : r.entries) {
            for (quint64 value : entry.values)
                sum += value;
        }
        return sum;
    }
    size_t operator()(const VistraReplies::RdmGetReply &r) const
    {
        return r.sourceUid + r.pid + size_t(r.text.size());
    }
    template <typename Reply> size_t operator()(const Reply &r) const { return r.ip; }
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    QLoggingCategory::setFilterRules(QStringLiteral("orrery.*=false"));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    // The fuzzer's buffer is exactly the input's size, so the sanitizer sees any read past it.
    const QByteArray datagram =
        QByteArray::fromRawData(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const std::optional<VistraReplies::Reply> reply =
        VistraReplies::parseReply(datagram, 0x7F000001);
    if (reply) {
        volatile size_t sink = std::visit(Consume(), *reply);
        (void)sink;
    }
    return 0;
}
