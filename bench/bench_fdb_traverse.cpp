// One FDB traversal of a bridge holding 32768 learned addresses, against
// iproute2's "bridge fdb show" of the same table, in a private network
// namespace (needs root). Learned means learned from real frames.
#include <benchmark/benchmark.h>

#include <arpa/inet.h>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include "hapi/hapi_fdb.h"
#include "platform/vekplatform.h"

// Allocation counter: every malloc, calloc and realloc of the process.
static std::atomic<long> g_allocations{0};
extern "C" void *__libc_malloc(size_t);
extern "C" void *__libc_calloc(size_t, size_t);
extern "C" void *__libc_realloc(void *, size_t);
extern "C" void *malloc(size_t n)
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(n);
}
extern "C" void *calloc(size_t n, size_t size)
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(n, size);
}
extern "C" void *realloc(void *p, size_t n)
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(p, n);
}

namespace {

constexpr int kLearned = 32768;
constexpr const char *kBridgeShow = "bridge fdb show br eth1 > /dev/null";

bool run(const std::string &command)
{
    if (std::system(command.c_str()) == 0)
        return true;
    std::fprintf(stderr, "failed: %s\n", command.c_str());
    return false;
}

bool make_board()
{
    // No IPv6 chatter: the station's own address would be one entry too many.
    return run("sysctl -qw net.ipv6.conf.all.disable_ipv6=1 net.ipv6.conf.default.disable_ipv6=1") &&
           run("ip link set lo up") && run("ip link add eth1 index 112 type bridge") &&
           run("ip link add port00 type veth peer name st00") && run("ip link set port00 master eth1") &&
           run("ip link set eth1 up") && run("ip link set port00 up") && run("ip link set st00 up");
}

// Frames from kLearned source addresses, sent by the station in rounds until
// the bridge knows them all (a veth drops what its backlog cannot hold).
int learned_count()
{
    FILE *p = popen("bridge fdb show br eth1 | grep -c '^02:00:.* dev port00 master eth1 *$'", "r");
    int n = 0;
    if (p) {
        if (std::fscanf(p, "%d", &n) != 1)
            n = 0;
        pclose(p);
    }
    return n;
}

bool learn_addresses()
{
    int fd = socket(AF_PACKET, SOCK_RAW, htons(ETH_P_ALL));
    if (fd < 0)
        return false;
    sockaddr_ll to{};
    to.sll_family = AF_PACKET;
    to.sll_ifindex = static_cast<int>(if_nametoindex("st00"));
    to.sll_halen = 6;
    unsigned char frame[60] = {0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x02, 0, 0, 0, 0, 0, 0x88, 0xb5};
    for (int round = 0; round < 20 && learned_count() < kLearned; ++round) {
        for (int i = 0; i < kLearned; ++i) {
            frame[9] = static_cast<unsigned char>(i >> 16);
            frame[10] = static_cast<unsigned char>(i >> 8);
            frame[11] = static_cast<unsigned char>(i);
            sendto(fd, frame, sizeof frame, 0, reinterpret_cast<sockaddr *>(&to), sizeof to);
            if (i % 256 == 255)
                sched_yield();  // let the backlog drain
        }
    }
    close(fd);
    return learned_count() == kLearned;
}

const vekShadowTable &table() { return *static_cast<const vekShadowTable *>(shadowTbl); }

double self_ms(bool user)
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const timeval &t = user ? usage.ru_utime : usage.ru_stime;
    return t.tv_sec * 1e3 + t.tv_usec / 1e3;
}

void BM_Traverse(benchmark::State &state)
{
    long allocations = 0;
    const double user = self_ms(true), system = self_ms(false);
    for (auto _ : state) {
        const long before = g_allocations.load();
        vekL2Traverse();
        allocations = g_allocations.load() - before;
    }
    const auto n = static_cast<double>(state.iterations());
    state.counters["user_ms"] = (self_ms(true) - user) / n;
    state.counters["kernel_ms"] = (self_ms(false) - system) / n;
    if (table().totalCount != static_cast<uint32_t>(kLearned))
        state.SkipWithError("shadow table does not hold the learned addresses");
    state.counters["entries"] = table().totalCount;
    state.counters["allocs_per_traversal"] = static_cast<double>(allocations);
}

double children_cpu_ms()
{
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    auto ms = [](const timeval &t) { return t.tv_sec * 1e3 + t.tv_usec / 1e3; };
    return ms(usage.ru_utime) + ms(usage.ru_stime);
}

// The tool runs in a child: its CPU time (the shell's included) is reported
// as a counter, to compare with the traversal's CPU time on a busy machine.
void BM_BridgeFdbShow(benchmark::State &state)
{
    const double before = children_cpu_ms();
    for (auto _ : state)
        if (std::system(kBridgeShow) != 0)
            state.SkipWithError("bridge fdb show failed");
    state.counters["child_cpu_ms"] =
        benchmark::Counter((children_cpu_ms() - before) / static_cast<double>(state.iterations()));
}

}  // namespace

BENCHMARK(BM_Traverse)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_BridgeFdbShow)->Unit(benchmark::kMillisecond)->MinTime(2.0);

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    // A network namespace of our own, with /sys showing its devices, as
    // "ip netns exec" sets it up; both vanish with the process.
    if (unshare(CLONE_NEWNET | CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) ||
        umount2("/sys", MNT_DETACH) || mount("sysfs", "/sys", "sysfs", 0, nullptr)) {
        std::fprintf(stderr, "bench_fdb_traverse: needs root for a private network namespace\n");
        return 0;
    }
    if (!make_board() || !learn_addresses()) {
        std::fprintf(stderr, "bench_fdb_traverse: could not learn %d addresses (have %d)\n", kLearned,
                     learned_count());
        return 1;
    }
    if (hapiFdbInit() != 0 || hapiFdbCacheInit() != 0 || vekFdbShadowSync() < 0)
        return 1;
    std::fprintf(stderr, "shadow table after the first sync: %u entries\n", table().totalCount);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
