// Board tests: the library against a simulated board (sim/boardsim): a real
// bridge eth1 (index 112), veth ports port00..port03, one station namespace
// per port, the substitute port driver preloaded, HAPI_BOARD_DIR set.
//
// Adding a board test file: drop tests/board/<subsystem>/test_<topic>.cpp in and re-run
// cmake. Each such file becomes its own executable board_<topic>, linked with
// libhapi.so, this harness and GoogleTest (main comes from board_main.cpp),
// and each of its tests becomes a ctest test with the label "board". Write
//
//     #include "board_harness.h"
//     TEST_F(BoardTest, BridgeIsIndex112) { EXPECT_EQ(if_nametoindex("eth1"), 112u); }
//
// How a test gets its board: when the executable starts as root outside a
// board, it creates one named t<pid> (sim/boardsim up), runs itself again
// inside it (boardsim exec: board network namespace, its own /sys, driver in
// LD_PRELOAD, HAPI_BOARD_DIR and HAPI_BOARD_NAME set) and removes the board
// afterwards. ctest runs every test in its own process, so every test gets a
// fresh board; a whole executable run by hand shares one board. Not root:
// every BoardTest skips with one line saying so. Boards left behind by a
// killed run are swept by the next run.
//
// Tests that need what only a full distribution kernel has (prio/sfq qdiscs,
// basic classifier, skbedit/police actions, bridge VLAN filtering, 802.1Q)
// start with HAPI_REQUIRE_KERNEL(board::Feature::...); on a kernel without it
// they skip with a one-line reason, and the kernel label runs them inside the
// VM (sim/vmrun).
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "wait.h"

namespace board {

// text in single quotes for /bin/sh.
std::string quote(const std::string &text);
// True inside a board made by boardsim (HAPI_BOARD_NAME and HAPI_BOARD_DIR set).
bool inside();
// Why board tests cannot run here, empty when they can.
std::string unavailable_reason();
std::string name();
std::string run_file(const std::string &file);  // in the board's run directory
std::optional<std::string> read_file(const std::string &path);

// "port%02u" of front port n (1..4); station n is attached to it.
std::string port_if(int n);
// IFF_UP of an interface of the board, from sysfs.
bool interface_up(const std::string &ifname);

struct Result {
    int status = -1;     // exit status, -1 when it could not run or was killed
    std::string output;  // stdout and stderr together
};
// /bin/sh -c command, in the board (inherits the test's namespace and environment).
Result run(const std::string &command);
// The same in station n's namespace (no substitute driver there).
Result station(int n, const std::string &command);
// Station n's cable: false unplugs it (the port loses carrier), true plugs it in.
bool link(int n, bool up);
// Port n's SFP signal-detect reading.
bool sfp(int n, int signal);

// count pings from station `from` to station `to` (10.0.0.n), one every 50 ms; true when all replied.
bool ping(int from, int to, int count = 1);

// A counter of the kernel's interface statistics (/sys/class/net/IF/statistics/NAME).
std::optional<uint64_t> counter(const std::string &ifname, const std::string &stat);

// One SIOCETHTOOL request on `ifname` from this process; 0 or errno.
int ethtool(const std::string &ifname, void *record);

// Raw frames from and to station n's eth0 (an AF_PACKET socket opened in the
// station's namespace; the test process itself stays in the board).
class StationSocket {
public:
    explicit StationSocket(int n);
    ~StationSocket();
    StationSocket(const StationSocket &) = delete;
    StationSocket &operator=(const StationSocket &) = delete;
    bool ok() const { return fd_ >= 0; }
    bool send(const std::vector<uint8_t> &frame);
    // The next frame received before the deadline, if any.
    std::optional<std::vector<uint8_t>> receive(std::chrono::milliseconds within);
    static std::vector<uint8_t> mac(int station);  // 02:00:00:00:01:0n
    // A frame from src to dst: the two addresses, then `type`
    // (by default a local experimental EtherType), padded to `size`.
    static std::vector<uint8_t> frame(const std::vector<uint8_t> &src, std::vector<uint8_t> dst, size_t size = 60,
                                      std::initializer_list<uint8_t> type = {0x88, 0xb5});

private:
    int fd_ = -1;
    int ifindex_ = 0;
};

using hapi_test::wait_until;

// What a full distribution kernel has and a trimmed one may lack. Each is
// probed once per process in a throw-away network namespace.
enum class Feature { PrioQdisc, SfqQdisc, BasicMatch, SkbeditAction, PoliceAction,
                     BridgeVlanFiltering, Vlan8021q };
bool kernel_has(Feature f);
const char *feature_name(Feature f);
// The first feature of the VM kernel list that this kernel lacks, if any.
std::optional<Feature> missing_vm_feature();
// "VM" when running inside sim/vmrun's guest, else "host", with the kernel release.
std::string environment();

}  // namespace board

// Every board test derives from this (TEST_F(BoardTest, ...) or a subclass).
// A subclass sets its test up in SetUpBoard(), which runs only where a board is.
class BoardTest : public ::testing::Test {
protected:
    void SetUp() final
    {
        const std::string reason = board::unavailable_reason();
        if (!reason.empty())
            GTEST_SKIP() << reason;
        SetUpBoard();
    }
    virtual void SetUpBoard() {}
};

#define HAPI_REQUIRE_KERNEL(feature)                                                        \
    do {                                                                                    \
        if (!board::kernel_has(feature))                                                    \
            GTEST_SKIP() << "needs the VM kernel: this kernel (" << board::environment()    \
                         << ") lacks " << board::feature_name(feature);                      \
    } while (0)
