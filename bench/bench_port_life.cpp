// The port's life on the simulated board (root): CPU time of the library's
// threads while idle (four ports, front port 3 an SFP port with link up),
// and how long a link change takes to reach linkState, for a copper port
// and the SFP port, over 50 flaps. Run as root outside a board: it brings
// one up, runs itself inside it and takes it down.
//   HAPI_BENCH_IDLE_S  idle period in seconds (default 60)
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <iterator>
#include <sstream>
#include <thread>
#include <string>
#include <vector>

#include "port_life_board.h"
#include "station_cable.h"

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int kFlaps = 50;
constexpr int kCopperPort = 2;

// user + system time of every thread of this process but the calling one, in ms.
double other_threads_cpu_ms()
{
    const long ticks = sysconf(_SC_CLK_TCK);
    const std::string self = std::to_string(gettid());
    double total = 0;
    DIR *dir = opendir("/proc/self/task");
    if (!dir)
        return -1;
    while (dirent *e = readdir(dir)) {
        const std::string tid = e->d_name;
        if (tid == "." || tid == ".." || tid == self)
            continue;
        std::ifstream in("/proc/self/task/" + tid + "/stat");
        std::string stat((std::istreambuf_iterator<char>(in)), {});
        const size_t close = stat.rfind(')');
        if (close == std::string::npos)
            continue;
        std::istringstream fields(stat.substr(close + 2));
        std::string skip;
        for (int i = 0; i < 11; ++i)  // state .. cmajflt; utime and stime follow
            fields >> skip;
        unsigned long utime = 0, stime = 0;
        fields >> utime >> stime;
        total += 1000.0 * static_cast<double>(utime + stime) / static_cast<double>(ticks);
    }
    closedir(dir);
    return total;
}

double ms_since(Clock::time_point t) { return std::chrono::duration<double, std::milli>(Clock::now() - t).count(); }

// Time from the end of `act` (the change) until linkState of `port` is `wanted`, polled every 200 us; -1 after 10 s.
template <class Act>
double detection_ms(int port, uint32_t wanted, Act act)
{
    act();
    const Clock::time_point start = Clock::now();
    while (port_life::link_state(port) != wanted) {
        if (ms_since(start) > 10000)
            return -1;
        std::this_thread::sleep_for(200us);
    }
    return ms_since(start);
}

void report(benchmark::State &state, const std::string &what, std::vector<double> samples)
{
    std::sort(samples.begin(), samples.end());
    if (samples.empty() || samples.front() < 0) {
        state.SkipWithError((what + ": a change was not seen within 10 s").c_str());
        return;
    }
    state.counters[what + "_median_ms"] = samples[samples.size() / 2];
    state.counters[what + "_max_ms"] = samples.back();
}

bool ready(benchmark::State &state)
{
    const std::string failure = port_life::bring_up();
    if (!failure.empty())
        state.SkipWithError(failure.c_str());
    return failure.empty();
}

void BM_IdleThreadsCpu(benchmark::State &state)
{
    if (!ready(state))
        return;
    const char *env = std::getenv("HAPI_BENCH_IDLE_S");
    const int seconds = env ? std::atoi(env) : 60;
    for (auto _ : state) {
        // The SFP port's thread polls while its link is up; let it start.
        board::wait_until([] { return port_life::link_state(port_life::kSfpPort) == HAPI_LINK_UP; }, 5s);
        const double before = other_threads_cpu_ms();
        std::this_thread::sleep_for(std::chrono::seconds(seconds));
        const double used = other_threads_cpu_ms() - before;
        state.counters["idle_s"] = seconds;
        state.counters["threads_cpu_ms"] = used;
        state.counters["threads_cpu_percent"] = used / (10.0 * seconds);
    }
}

void flaps(benchmark::State &state, int port, const char *name)
{
    if (!ready(state))
        return;
    port_life::StationCable cable(port);
    if (!cable.ok()) {
        state.SkipWithError("cannot reach the station");
        return;
    }
    // Changes at a random point of the scan period, not right after a pass.
    std::mt19937 random(12345);
    std::uniform_int_distribution<int> offsetMs(0, 2500);
    auto after_offset = [&](bool in) {
        std::this_thread::sleep_for(std::chrono::milliseconds(offsetMs(random)));
        cable.plug(in);
    };
    for (auto _ : state) {
        std::vector<double> down, up;
        for (int i = 0; i < kFlaps; ++i) {
            down.push_back(detection_ms(port, HAPI_LINK_DOWN, [&] { after_offset(false); }));
            up.push_back(detection_ms(port, HAPI_LINK_UP, [&] { after_offset(true); }));
        }
        report(state, std::string(name) + "_down", down);
        report(state, std::string(name) + "_up", up);
    }
}

void BM_CopperLinkDetection(benchmark::State &state) { flaps(state, kCopperPort, "copper"); }
void BM_SfpLinkDetection(benchmark::State &state) { flaps(state, port_life::kSfpPort, "sfp"); }

void BM_SfpSignalDetection(benchmark::State &state)
{
    if (!ready(state))
        return;
    const int port = port_life::kSfpPort;
    board::wait_until([&] { return port_life::link_state(port) == HAPI_LINK_UP; }, 5s);
    for (auto _ : state) {
        std::vector<double> lost, back;
        for (int i = 0; i < kFlaps; ++i) {
            lost.push_back(detection_ms(port, HAPI_LINK_DOWN, [&] { board::sfp(port, 0); }));
            back.push_back(detection_ms(port, HAPI_LINK_UP, [&] { board::sfp(port, 1); }));
        }
        report(state, "signal_lost", lost);
        report(state, "signal_back", back);
    }
}

BENCHMARK(BM_IdleThreadsCpu)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_CopperLinkDetection)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_SfpLinkDetection)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_SfpSignalDetection)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

int run_in_board(char **argv)
{
    const std::string name = "b" + std::to_string(getpid());
    const std::string sim = HAPI_BOARDSIM;
    if (std::system((sim + " up " + name + " >/dev/null").c_str()) != 0) {
        std::fprintf(stderr, "bench: could not bring board %s up\n", name.c_str());
        return 1;
    }
    std::string command = sim + " -b " + name + " exec /proc/self/exe";
    char self[4096];
    const ssize_t len = readlink("/proc/self/exe", self, sizeof self - 1);
    if (len > 0)
        command = sim + " -b " + name + " exec " + std::string(self, static_cast<size_t>(len));
    for (char **a = argv + 1; *a; ++a)
        command += std::string(" '") + *a + "'";
    const int status = std::system(command.c_str());
    std::system((sim + " down " + name + " >/dev/null").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

}  // namespace

int main(int argc, char **argv)
{
    if (!board::inside()) {
        if (geteuid() != 0) {
            std::fprintf(stderr, "bench_port_life: needs root to bring a simulated board up\n");
            return 1;
        }
        return run_in_board(argv);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
