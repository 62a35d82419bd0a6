// RTM_GETLINK round trips against the notification channel's receive
// thread, and as the reference a raw netlink ping-pong between two sockets
// (one echoed by a thread) in the same run. Needs root: it runs in a network
// namespace of its own so port 1001 is free.
#include <benchmark/benchmark.h>
#include <sched.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <thread>

#include "netlink_peer.h"
#include "notify/notify.h"

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

// The echo side is as lean as a netlink peer gets: blocking receive into a
// fixed buffer, send back. The asking side is the same as above.
void BM_RawNetlinkPingPong(benchmark::State &state)
{
    netlink_peer::Peer ping(60), pong(61);
    std::thread echo([&pong] {
        char buf[8192];
        for (;;) {
            const ssize_t n = ::recv(pong.fd(), buf, sizeof buf, 0);
            if (n < static_cast<ssize_t>(sizeof(nlmsghdr)))
                return;  // the short stop message, or an error
            pong.send_to(60, buf, static_cast<size_t>(n));
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
    const char stop = 0;
    ping.send_to(61, &stop, 1);
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
