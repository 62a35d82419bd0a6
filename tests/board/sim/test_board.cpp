// The simulated board itself: what boardsim builds and the harness offers.
#include <net/if.h>

#include "board_harness.h"
#include "platform/vekplatform.h"

using namespace std::chrono_literals;

TEST_F(BoardTest, BridgeIsIndex112WithTheFourPortsEnslaved)
{
    EXPECT_EQ(if_nametoindex("eth1"), 112u);
    for (int n = 1; n <= 4; ++n) {
        const auto master = board::read_file("/sys/class/net/" + board::port_if(n) + "/master/ifindex");
        ASSERT_TRUE(master) << board::port_if(n) << " is not enslaved";
        EXPECT_EQ(*master, "112\n") << board::port_if(n);
    }
}

TEST_F(BoardTest, PlatformReadsTheBoardDescription)
{
    uint32_t count = 0;
    ASSERT_EQ(vekpf_GetPortCount(&count), 0);
    EXPECT_EQ(count, 4u);
    for (int16_t n = 1; n <= 4; ++n) {
        int physical = -1;
        ASSERT_EQ(vekpf_VekUspToBcmPort(usp_t{1, 1, n}, &physical), 0);
        EXPECT_EQ(physical, static_cast<int>(if_nametoindex(board::port_if(n).c_str())));
        uint32_t type = 0;
        vekpf_PortTypeGet(usp_t{1, 1, n}, &type);
        EXPECT_EQ(type, 1u) << "port " << n;
    }
}

TEST_F(BoardTest, RawFrameFromOneStationArrivesAtAnother)
{
    board::StationSocket from(3), to(4);
    ASSERT_TRUE(from.ok() && to.ok());
    const auto frame = board::StationSocket::frame(board::StationSocket::mac(3), board::StationSocket::mac(4));
    to.drain();
    ASSERT_TRUE(from.send(frame));
    // Flooded or forwarded, the frame reaches station 4 unchanged.
    std::optional<std::vector<uint8_t>> got;
    ASSERT_TRUE(board::wait_until([&] {
        got = to.receive(100ms);
        return got && *got == frame;
    }, 3s));
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
    const std::string other = board::name() + "-side";
    const std::string sim = HAPI_BOARDSIM;
    ASSERT_EQ(board::run(sim + " up " + other).status, 0);
    // Idempotent: a second up leaves the running board as it is.
    EXPECT_EQ(board::run(sim + " up " + other).output, "board " + other + " is up\n");
    const auto index = board::run("{ { " + sim + " -b " + other + " exec cat /sys/class/net/eth1/ifindex; } 2>/dev/null; }");
    EXPECT_EQ(index.output, "112\n");
    EXPECT_EQ(if_nametoindex("eth1"), 112u);  // ours is untouched
    ASSERT_EQ(board::run(sim + " down " + other).status, 0);
    EXPECT_NE(board::run(sim + " -b " + other + " exec true").status, 0);
    EXPECT_TRUE(board::read_file(board::run_file("board.conf")).has_value());
}
