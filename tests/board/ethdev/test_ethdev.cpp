// The Ethernet device access layer against the substitute driver and real
// veth ports: flags, settings, link, counters and pause as the kernel and
// the driver see them.
#include <linux/ethtool.h>
#include <net/if.h>

#include "board_harness.h"
#include "hapi/hapi_phy.h"
#include "hapi/hapi_veketh.h"

#define REQUIRE_SUBSTITUTE_DRIVER()                                                        \
    do {                                                                                   \
        if (!substitute_driver())                                                          \
            GTEST_SKIP() << "needs the substitute port driver (hapi-simport) on the ports"; \
    } while (0)

namespace {

constexpr unsigned kRxPacketsWord = 83;
constexpr unsigned kRxOctetsWord = 87;

class EthDevice : public BoardTest {
protected:
    void SetUpBoard() override
    {
        ASSERT_EQ(veketh_intf_init(), 0);
    }
    // Settings, dumps and pause need the board's substitute port driver; plain
    // veth answers only flags and link.
    static bool substitute_driver()
    {
        ethtool_drvinfo info{};
        info.cmd = ETHTOOL_GDRVINFO;
        return board::ethtool("port00", &info) == 0 && std::string(info.driver) == "hapi-simport";
    }
    static uint32_t index_of(int n) { return if_nametoindex(board::port_if(n).c_str()); }

    // Word k of port n's dump, fetched as the statistics code does.
    static std::optional<uint32_t> dump_word(int n, unsigned k)
    {
        if (vekprv_getstats(board::port_if(n).c_str()) != 0)
            return std::nullopt;
        return reinterpret_cast<const uint32_t *>(regs)[k];
    }

    // Broadcast frames from station n, which its port receives.
    static bool send_broadcasts(int n, int count)
    {
        board::StationSocket from(n);
        const auto frame = board::StationSocket::frame(board::StationSocket::mac(n), std::vector<uint8_t>(6, 0xFF));
        for (int i = 0; i < count; ++i)
            if (!from.send(frame))
                return false;
        return true;
    }
};

TEST_F(EthDevice, EnableSetChangesTheInterfaceUpFlag)
{
    ASSERT_TRUE(board::interface_up("port01"));
    EXPECT_EQ(veketh_port_enable_set(index_of(2), 0), 0);
    EXPECT_FALSE(board::interface_up("port01"));
    EXPECT_EQ(veketh_port_enable_set(index_of(2), 1), 0);
    EXPECT_TRUE(board::interface_up("port01"));
}

TEST_F(EthDevice, SpeedDuplexAndPauseCommandsChangeWhatTheDriverReports)
{
    REQUIRE_SUBSTITUTE_DRIVER();
    struct Case {
        int (*set)(uint32_t, uint32_t);
        uint32_t speed, duplex;
    };
    for (const Case &k : {Case{veketh_port_speed_set, 10, 0}, Case{veketh_port_duplex_set, 100, 1}}) {
        SCOPED_TRACE(k.speed);
        ethPortSpeed = k.speed;
        ethPortDuplex = k.duplex;
        ASSERT_EQ(k.set(index_of(3), 0), 0);
        uint32_t speed = 0, duplex = 9;
        EXPECT_TRUE(board::wait_until([&] {
            return veketh_port_speed_get(index_of(3), &speed) == 0 && speed == k.speed &&
                   veketh_port_duplex_get(index_of(3), &duplex) == 0 && duplex == k.duplex;
        })) << "speed " << speed << " duplex " << duplex;
    }
    for (uint8_t want : {1, 0}) {
        uint8_t on = 9;
        ASSERT_EQ(vekprv_setpause("port02", want), 0);
        ASSERT_EQ(vekprv_getpause("port02", &on), 0);
        EXPECT_EQ(on, want);
    }
}

// Counters follow each port's traffic (ports given clearly different packet
// counts, so a dump read for the wrong port shows), a reset clears them, and
// a cable pulled reads as link down.
TEST_F(EthDevice, StatisticsFollowTrafficAndLinkFollowsTheCable)
{
    REQUIRE_SUBSTITUTE_DRIVER();
    constexpr int kFramesPerStep = 60;
    for (int n = 1; n <= 4; ++n) {
        ASSERT_EQ(veketh_reset_stats(index_of(n)), 0);
        ASSERT_TRUE(send_broadcasts(n, n * kFramesPerStep));
    }
    for (int n = 1; n <= 4; ++n) {
        uint32_t w = 0;
        ASSERT_TRUE(board::wait_until([&] {
            w = dump_word(n, kRxPacketsWord).value_or(0);
            return w >= static_cast<uint32_t>(n * kFramesPerStep);
        })) << "port " << n;
        EXPECT_LT(w, uint32_t(n * kFramesPerStep + kFramesPerStep / 2)) << "port " << n;  // background chatter stays small
    }
    EXPECT_EQ(regs->cmd, uint32_t{ETHTOOL_GREGS});
    EXPECT_EQ(regs->len, uint32_t{VEKETH_REGDUMP_DATA_SIZE});
    EXPECT_GE(dump_word(1, kRxOctetsWord).value_or(0), kFramesPerStep * 60u);
    ASSERT_EQ(veketh_reset_stats(index_of(4)), 0);
    EXPECT_LT(dump_word(4, kRxPacketsWord).value_or(kFramesPerStep), uint32_t{kFramesPerStep / 2});
    ASSERT_TRUE(board::link(2, false));
    EXPECT_TRUE(board::wait_until([&] {
        uint32_t link = 9;
        return veketh_port_link_status_get(index_of(2), &link) == 0 && link == 0;
    }));
}

}  // namespace
