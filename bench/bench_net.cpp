// Protocol speed on the loop-back. Output: the 536-byte port-out datagrams the program sends
// for every port of every supply at each frame, built and sent by Vistra::sendPortOut, against
// a plain sendto() loop of the very same bytes in the same run (the limit the kernel sets).
// Input: parsing a mixed stream of replies as they arrive during discovery and reads.
//
// Every datagram goes to 127.0.0.1 (broadcasts too: the benchmark points the broadcast address
// there), yet run it in a namespace of its own anyway:
//   unshare -n bash -c 'ip link set lo up; build/bench/bench_net'
#include "net/ksocket.h"
#include "net/vistra.h"
#include "net/vistrareplies.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QUdpSocket>

#include <benchmark/benchmark.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <map>
#include <string>

namespace {

const QString kSupply = QStringLiteral("127.0.0.1");
// Items per second of this thread's CPU time (the kernel's work in sendto included), so other
// processes on the machine do not move the figures; wall-clock rates are printed beside them.
std::map<std::string, double> g_rate;
std::map<std::string, double> g_wallRate;

double threadSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

// Measures the loop of a benchmark in wall-clock and thread CPU time.
class Stopwatch
{
public:
    Stopwatch() : m_cpu(threadSeconds()) { m_wall.start(); }
    double cpu() const { return threadSeconds() - m_cpu; }
    double wall() const { return double(m_wall.nsecsElapsed()) / 1e9; }

private:
    QElapsedTimer m_wall;
    double m_cpu;
};

void record(const char *name, const Stopwatch &watch, double items)
{
    g_rate[name] = items / watch.cpu();
    g_wallRate[name] = items / watch.wall();
}

QByteArray frame()
{
    QByteArray data(512, '\0');
    for (int i = 0; i < data.size(); ++i)
        data[i] = char(i * 13);
    return data;
}

const uchar *bytes(const QByteArray &data)
{
    return reinterpret_cast<const uchar *>(data.constData());
}

void BM_PortOutVistra(benchmark::State &state)
{
    Vistra vistra;
    const QByteArray data = frame();
    const Stopwatch watch;
    for (auto _ : state) {
        if (!vistra.sendPortOut(kSupply, 0xFFFFFFFF, 1, 0, 512, 0, bytes(data)))
            state.SkipWithError("send failed");
    }
    record("vistra", watch, double(state.iterations()));
    state.SetItemsProcessed(state.iterations());
}

void BM_PortOutPlainSendto(benchmark::State &state)
{
    const QByteArray datagram = [] {
        QByteArray d =
            QByteArray::fromHex("0401dc4a 0100 0801 00000000 ffffffff 01 00 0000 0002 0000");
        return d + frame();
    }();
    const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(KSocket::kPort);
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const Stopwatch watch;
    for (auto _ : state) {
        if (::sendto(fd, datagram.constData(), size_t(datagram.size()), 0,
                     reinterpret_cast<const sockaddr *>(&to), sizeof to) != datagram.size())
            state.SkipWithError("sendto failed");
    }
    record("sendto", watch, double(state.iterations()));
    state.SetItemsProcessed(state.iterations());
    ::close(fd);
}

// Replies in the proportions of a discovery and read run: mostly EE read bytes and RDM values,
// some scans, a few discover replies.
QVector<QByteArray> mixedStream()
{
    const auto hex = [](const char *text) { return QByteArray::fromHex(text); };
    const QByteArray discover = hex("0401dc4a 0100 0200 00000000 0a200111 001c420b0102 0300 "
                                    "1100a201 07000000 312e322e3300 4e6f72746800");
    const QByteArray ports = hex("0401dc4a 0100 0b00 c0a80114 02 000000 01 05 000000000000 "
                                 "02 06 000000000000");
    QByteArray scan2 = hex("0401dc4a 0100 0802 0a000005 01 00 0000 01 01 c8 00");
    for (int i = 0; i < 50; ++i)
        scan2 += hex("1100a201");
    const QByteArray eeRead = hex("0401dc4a 0100 0402 00000000 1100a201 40 00 12");
    const QByteArray rdm = hex("0401dc4a 0100 0403 00000000 cc 01 2b 7ff0 4f525259 1234 5678abcd "
                               "00 00 00 0000 21 0060 13 0100 04d2 0101 00020a0f 0003 0101 0001 "
                               "0000 00");
    const QByteArray variable = hex("0401dc4a 0100 0601 00000000 0201 0000 78563412");
    QVector<QByteArray> stream;
    for (int i = 0; i < 100; ++i) {
        stream << eeRead << eeRead << eeRead << rdm << variable;
        if (i % 10 == 0)
            stream << discover << ports << scan2;
    }
    return stream;
}

void BM_ParseMixedStream(benchmark::State &state)
{
    const QVector<QByteArray> stream = mixedStream();
    qint64 streamBytes = 0;
    for (const QByteArray &d : stream)
        streamBytes += d.size();
    const Stopwatch watch;
    for (auto _ : state) {
        for (const QByteArray &d : stream) {
            auto reply = VistraReplies::parseReply(d, 0x7F000001);
            benchmark::DoNotOptimize(reply);
        }
    }
    record("parse replies", watch, double(state.iterations()) * stream.size());
    record("parse bytes", watch, double(state.iterations()) * double(streamBytes));
    state.SetItemsProcessed(state.iterations() * stream.size());
    state.SetBytesProcessed(state.iterations() * streamBytes);
}

} // namespace

BENCHMARK(BM_PortOutVistra)->MinTime(2.0);
BENCHMARK(BM_PortOutPlainSendto)->MinTime(2.0);
BENCHMARK(BM_ParseMixedStream)->MinTime(2.0);

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("orrery.*=false"));
    // The start-up syncs are broadcasts: keep them on the loop-back.
    KSocket::setDefaultBroadcastAddress(QHostAddress(QHostAddress::LocalHost));
    // A receiver on the protocol port, so the datagrams are delivered (and dropped once its
    // buffer is full) rather than answered with port-unreachable errors.
    QUdpSocket receiver;
    if (!receiver.bind(QHostAddress(QHostAddress::LocalHost), KSocket::kPort)) {
        std::fprintf(stderr, "cannot bind 127.0.0.1:%d\n", KSocket::kPort);
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    if (g_rate.count("vistra") && g_rate.count("sendto")) {
        std::printf("\nport out (536 bytes), per second of CPU: Vistra %.0f datagrams/s, plain "
                    "sendto %.0f datagrams/s, ratio %.2f\n",
                    g_rate["vistra"], g_rate["sendto"], g_rate["vistra"] / g_rate["sendto"]);
        std::printf(
            "port out, wall clock: Vistra %.0f datagrams/s, plain sendto %.0f datagrams/s\n",
            g_wallRate["vistra"], g_wallRate["sendto"]);
    }
    if (g_rate.count("parse replies")) {
        std::printf("reply parsing (mixed stream), per second of CPU: %.2f million replies/s, "
                    "%.0f MB/s\n",
                    g_rate["parse replies"] / 1e6, g_rate["parse bytes"] / 1e6);
    }
    return 0;
}
