// The library's Ethernet device access against the simulated board: its
// requests reach the substitute driver, and the ethtool tool it runs too.
#include <linux/ethtool.h>
#include <net/if.h>

#include <cstring>

#include "board_harness.h"
#include "hapi/hapi_veketh.h"

using namespace std::chrono_literals;

namespace {

class LibraryOnBoardTest : public BoardTest {
protected:
    void SetUp() override
    {
        BoardTest::SetUp();
        if (IsSkipped())
            return;
        ASSERT_EQ(veketh_intf_init(), 0);
    }
    static uint32_t word(unsigned n)
    {
        uint32_t w;
        std::memcpy(&w, reinterpret_cast<const uint8_t *>(regs) + 4 * n, sizeof w);
        return w;
    }
    static uint32_t index_of(int port) { return if_nametoindex(board::port_if(port).c_str()); }
};

}  // namespace

TEST_F(LibraryOnBoardTest, StatisticsFetchSeesTrafficAndResetClearsIt)
{
    ASSERT_TRUE(board::ping(1, 2, 3));
    ASSERT_EQ(vekprv_getstats("port00"), 0);
    EXPECT_EQ(regs->len, static_cast<uint32_t>(VEKETH_REGDUMP_DATA_SIZE));
    EXPECT_GE(word(83), 3u);       // received packets
    EXPECT_GE(word(87), 3u * 98);  // received octets
    EXPECT_GE(word(86), 3u);       // transmitted packets (the replies)

    ASSERT_EQ(veketh_reset_stats(index_of(1)), 0);
    ASSERT_EQ(vekprv_getstats("port00"), 0);
    EXPECT_EQ(word(83), 0u);
    EXPECT_EQ(word(89), 0u);
}

TEST_F(LibraryOnBoardTest, PauseSettingRoundTripsThroughTheDriver)
{
    uint8_t pause = 9;
    ASSERT_EQ(vekprv_setpause("port02", 5), 0);
    ASSERT_EQ(vekprv_getpause("port02", &pause), 0);
    EXPECT_EQ(pause, 1);
    ASSERT_EQ(vekprv_setpause("port02", 0), 0);
    ASSERT_EQ(vekprv_getpause("port02", &pause), 0);
    EXPECT_EQ(pause, 0);
}

TEST_F(LibraryOnBoardTest, LinkQueryFollowsTheCable)
{
    uint32_t link = 9;
    ASSERT_EQ(veketh_port_link_status_get(index_of(4), &link), 0);
    EXPECT_EQ(link, 1u);
    ASSERT_TRUE(board::link(4, false));
    EXPECT_TRUE(board::wait_until([&] {
        return veketh_port_link_status_get(index_of(4), &link) == 0 && link == 0;
    }, 1s));
}

TEST_F(LibraryOnBoardTest, CableCrossingRunsTheEthtoolToolAgainstTheDriver)
{
    ASSERT_EQ(veketh_port_mdix_set(index_of(2), 2), 0);  // "on": forced MDI-X
    ethtool_cmd c{ETHTOOL_GSET};
    ASSERT_EQ(board::ethtool("port01", &c), 0);
    EXPECT_EQ(c.eth_tp_mdix_ctrl, ETH_TP_MDI_X);
    uint32_t medium = 9;
    ASSERT_EQ(veketh_port_medium_get(index_of(2), &medium), 0);
    EXPECT_EQ(medium, static_cast<uint32_t>(PORT_TP));
}
