// The simulated board itself: what boardsim builds and the harness offers.
#include <net/if.h>

#include "board_harness.h"
#include "platform/vekplatform.h"

using namespace std::chrono_literals;

// The bridge, its four ports, and the platform's view of them.
TEST_F(BoardTest, BridgePortsAndPlatformDescriptionAgree)
{
    EXPECT_EQ(if_nametoindex("eth1"), 112u);
    uint32_t count = 0;
    ASSERT_EQ(vekpf_GetPortCount(&count), 0);
    EXPECT_EQ(count, 4u);
    for (int16_t n = 1; n <= 4; ++n) {
        SCOPED_TRACE(board::port_if(n));
        EXPECT_EQ(board::read_file("/sys/class/net/" + board::port_if(n) + "/master/ifindex"), "112\n");
        int physical = -1;
        uint32_t type = 0;
        ASSERT_EQ(vekpf_VekUspToBcmPort(usp_t{1, 1, n}, &physical), 0);
        EXPECT_EQ(physical, static_cast<int>(if_nametoindex(board::port_if(n).c_str())));
        vekpf_PortTypeGet(usp_t{1, 1, n}, &type);
        EXPECT_EQ(type, 1u);
    }
}

TEST_F(BoardTest, RawFrameFromOneStationArrivesAtAnother)
{
    board::StationSocket from(3), to(4);
    ASSERT_TRUE(from.ok() && to.ok());
    const auto frame = board::StationSocket::frame(board::StationSocket::mac(3), board::StationSocket::mac(4));
    ASSERT_TRUE(from.send(frame));
    // Flooded or forwarded, the frame reaches station 4 unchanged.
    ASSERT_TRUE(board::wait_until([&] { return to.receive(100ms) == frame; }, 3s));
}

TEST_F(BoardTest, SfpSignalFollowsTheSubCommand)
{
    for (uint32_t wanted : {0u, 1u}) {
        uint32_t signal = 9;
        ASSERT_TRUE(board::sfp(3, static_cast<int>(wanted)));
        ASSERT_EQ(vekpf_SfpSignalDetectGet(usp_t{1, 1, 3}, &signal), 0);
        EXPECT_EQ(signal, wanted);
    }
    EXPECT_FALSE(board::sfp(5, 1));
    EXPECT_FALSE(board::sfp(3, 2));
}

TEST_F(BoardTest, BoardsOfDifferentNamesLiveSideBySide)
{
    const std::string other = board::name() + "-side", sim = HAPI_BOARDSIM;
    ASSERT_EQ(board::run(sim + " up " + other).status, 0);
    // Idempotent: a second up leaves the running board as it is.
    EXPECT_EQ(board::run(sim + " up " + other).output, "board " + other + " is up\n");
    const auto index = board::run("{ { " + sim + " -b " + other + " exec cat /sys/class/net/eth1/ifindex; } "
                                  "2>/dev/null; }");
    EXPECT_EQ(index.output, "112\n");
    EXPECT_EQ(if_nametoindex("eth1"), 112u);  // ours is untouched
    ASSERT_EQ(board::run(sim + " down " + other).status, 0);
    EXPECT_NE(board::run(sim + " -b " + other + " exec true").status, 0);
    EXPECT_TRUE(board::read_file(board::run_file("board.conf")).has_value());
}
