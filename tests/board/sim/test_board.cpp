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

TEST_F(BoardTest, StationsReachEachOtherThroughTheBridge)
{
    const auto rx0 = board::counter("port00", "rx_packets");
    const auto tx1 = board::counter("port01", "tx_packets");
    ASSERT_TRUE(rx0 && tx1);
    ASSERT_TRUE(board::ping(1, 2, 3));
    EXPECT_GE(*board::counter("port00", "rx_packets"), *rx0 + 3);
    EXPECT_GE(*board::counter("port01", "tx_packets"), *tx1 + 3);
}

TEST_F(BoardTest, RawFrameFromOneStationArrivesAtAnother)
{
    board::StationSocket from(3), to(4);
    ASSERT_TRUE(from.ok() && to.ok());
    std::vector<uint8_t> frame = board::StationSocket::mac(4);
    const auto src = board::StationSocket::mac(3);
    frame.insert(frame.end(), src.begin(), src.end());
    frame.insert(frame.end(), {0x88, 0xb5});  // local experimental EtherType
    frame.resize(60, 0xa5);
    to.drain();
    ASSERT_TRUE(from.send(frame));
    // Flooded or forwarded, the frame reaches station 4 unchanged.
    std::optional<std::vector<uint8_t>> got;
    ASSERT_TRUE(board::wait_until([&] {
        got = to.receive(100ms);
        return got && *got == frame;
    }, 3s));
}

TEST_F(BoardTest, UnpluggingAStationTakesThePortsCarrierAway)
{
    auto carrier = [] { return board::read_file("/sys/class/net/port01/carrier").value_or("?"); };
    ASSERT_TRUE(board::link(2, false));
    EXPECT_TRUE(board::wait_until([&] { return carrier() == "0\n"; }, 1s));
    ASSERT_TRUE(board::link(2, true));
    EXPECT_TRUE(board::wait_until([&] { return carrier() == "1\n"; }, 1s));
}

TEST_F(BoardTest, SfpSignalFollowsTheSubCommand)
{
    uint32_t signal = 9;
    ASSERT_TRUE(board::sfp(3, 0));
    ASSERT_EQ(vekpf_SfpSignalDetectGet(usp_t{1, 1, 3}, &signal), 0);
    EXPECT_EQ(signal, 0u);
    ASSERT_TRUE(board::sfp(3, 1));
    ASSERT_EQ(vekpf_SfpSignalDetectGet(usp_t{1, 1, 3}, &signal), 0);
    EXPECT_EQ(signal, 1u);
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
