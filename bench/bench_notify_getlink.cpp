// RTM_GETLINK round trips against the notification channel's receive
// thread, and as the reference a raw netlink ping-pong between two sockets
// (one echoed by a thread) in the same run. Needs root: it runs in a network
// namespace of its own so port 1001 is free.
#include <benchmark/benchmark.h>
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <iostream>
#include <thread>

#include "../tests/support/netlink_peer.h"
#include "vek_netlink_notify.h"

namespace {

using namespace std::chrono_literals;
constexpr uint32_t kChannel = 1001;

void BM_ChannelGetlinkRoundTrip(benchmark::State &state)
{
    netlink_peer::Peer requester(55);
    uint32_t seq = 0;
    for (auto _ : state) {
        requester.send_link(kChannel, RTM_GETLINK, ++seq, 55, 5, 0);
        auto reply = requester.receive_from(kChannel, 1s);
        if (!reply) {
            state.SkipWithError("no reply from the channel");
            break;
        }
    }
    state.counters["round_trips"] = benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
}

void BM_RawNetlinkPingPong(benchmark::State &state)
{
    netlink_peer::Peer ping(60), pong(61);
    std::atomic<bool> stop{false};
    std::thread echo([&] {
        while (!stop) {
            auto r = pong.receive(100ms);
            if (r)
                pong.send_to(60, r->bytes.data(), r->bytes.size());
        }
    });
    uint32_t seq = 0;
    for (auto _ : state) {
        ping.send_link(61, RTM_GETLINK, ++seq, 60, 5, 0);
        if (!ping.receive(1s)) {
            state.SkipWithError("no echo");
            break;
        }
    }
    stop = true;
    echo.join();
    state.counters["round_trips"] = benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
}

BENCHMARK(BM_ChannelGetlinkRoundTrip)->UseRealTime();
BENCHMARK(BM_RawNetlinkPingPong)->UseRealTime();

}  // namespace

int main(int argc, char **argv)
{
    if (::unshare(CLONE_NEWNET) != 0) {
        std::cerr << "bench_notify_getlink: needs root for a network namespace of its own\n";
        return 0;
    }
    // The receive thread prints every request; the results go to stderr.
    if (!std::freopen("/dev/null", "w", stdout))
        return 1;
    if (vekNetlinkNotifyInit(8) != 0) {
        std::cerr << "bench_notify_getlink: channel did not open\n";
        return 1;
    }
    for (int p = 1; p <= 8; ++p)
        vekNetlinkNotifyAddIntf(p);
    benchmark::Initialize(&argc, argv);
    benchmark::ConsoleReporter reporter;
    reporter.SetOutputStream(&std::cerr);
    reporter.SetErrorStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    vekNetlinkNotifyDestroy();
    return 0;
}
