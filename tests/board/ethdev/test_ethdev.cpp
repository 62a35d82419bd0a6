// The Ethernet device access layer against the substitute driver and real
// veth ports: flags, settings, link, counters and pause as the kernel and
// the driver see them.
#include <linux/ethtool.h>
#include <net/if.h>

#include <atomic>
#include <thread>

#include "board_harness.h"
#include "hapi/hapi_phy.h"
#include "hapi/hapi_veketh.h"

#define REQUIRE_SUBSTITUTE_DRIVER()                                                        \
    do {                                                                                   \
        if (!substitute_driver())                                                          \
            GTEST_SKIP() << "needs the substitute port driver (hapi-simport) on the ports"; \
    } while (0)

using namespace std::chrono_literals;

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
        if (!from.ok())
            return false;
        std::vector<uint8_t> frame(6, 0xFF);
        const auto src = board::StationSocket::mac(n);
        frame.insert(frame.end(), src.begin(), src.end());
        frame.insert(frame.end(), {0x88, 0xb5});
        frame.resize(60, 0x5a);
        for (int i = 0; i < count; ++i)
            if (!from.send(frame))
                return false;
        return true;
    }
};

bool interface_up(const std::string &ifname)
{
    const auto r = board::run("ip -o link show dev " + ifname);
    const auto open = r.output.find('<'), close = r.output.find('>');
    if (r.status != 0 || open == std::string::npos || close == std::string::npos)
        return false;
    const std::string flags = "," + r.output.substr(open + 1, close - open - 1) + ",";
    return flags.find(",UP,") != std::string::npos;
}

TEST_F(EthDevice, EnableSetChangesTheInterfaceUpFlag)
{
    ASSERT_TRUE(interface_up("port01"));
    EXPECT_EQ(veketh_port_enable_set(index_of(2), 0), 0);
    EXPECT_FALSE(interface_up("port01"));
    EXPECT_EQ(veketh_port_enable_set(index_of(2), 1), 0);
    EXPECT_TRUE(interface_up("port01"));
}

TEST_F(EthDevice, SpeedAndDuplexCommandsChangeWhatTheDriverReports)
{
    REQUIRE_SUBSTITUTE_DRIVER();
    ethPortSpeed = 10;
    ethPortDuplex = 0;
    ASSERT_EQ(veketh_port_speed_set(index_of(3), 0), 0);
    uint32_t speed = 0, duplex = 9;
    EXPECT_TRUE(board::wait_until([&] {
        return veketh_port_speed_get(index_of(3), &speed) == 0 && speed == 10 &&
               veketh_port_duplex_get(index_of(3), &duplex) == 0 && duplex == 0;
    })) << "speed " << speed << " duplex " << duplex;

    ethPortSpeed = 100;
    ethPortDuplex = 1;
    ASSERT_EQ(veketh_port_duplex_set(index_of(3), 0), 0);
    EXPECT_TRUE(board::wait_until([&] {
        return veketh_port_speed_get(index_of(3), &speed) == 0 && speed == 100 &&
               veketh_port_duplex_get(index_of(3), &duplex) == 0 && duplex == 1;
    })) << "speed " << speed << " duplex " << duplex;
}

TEST_F(EthDevice, LinkStatusFollowsTheStation)
{
    uint32_t link = 9;
    ASSERT_EQ(veketh_port_link_status_get(index_of(4), &link), 0);
    EXPECT_EQ(link, 1u);
    ASSERT_TRUE(board::link(4, false));
    EXPECT_TRUE(board::wait_until([&] { return veketh_port_link_status_get(index_of(4), &link) == 0 && link == 0; }));
    ASSERT_TRUE(board::link(4, true));
    EXPECT_TRUE(board::wait_until([&] { return veketh_port_link_status_get(index_of(4), &link) == 0 && link == 1; }));
}

TEST_F(EthDevice, CountersGrowWithTrafficAndResetClearsThem)
{
    REQUIRE_SUBSTITUTE_DRIVER();
    const auto before = dump_word(1, kRxPacketsWord);
    ASSERT_TRUE(before);
    EXPECT_EQ(regs->cmd, uint32_t{ETHTOOL_GREGS});
    EXPECT_EQ(regs->len, uint32_t{VEKETH_REGDUMP_DATA_SIZE});
    ASSERT_TRUE(send_broadcasts(1, 20));
    std::optional<uint32_t> after;
    EXPECT_TRUE(board::wait_until([&] { return (after = dump_word(1, kRxPacketsWord)) && *after >= *before + 20; }))
        << "before " << *before << " after " << after.value_or(0);
    const auto octets = dump_word(1, kRxOctetsWord);
    ASSERT_TRUE(octets);
    EXPECT_GE(*octets, 20u * 60);

    ASSERT_EQ(veketh_reset_stats(index_of(1)), 0);
    const auto cleared = dump_word(1, kRxPacketsWord);
    ASSERT_TRUE(cleared);
    EXPECT_LT(*cleared, 20u);  // only what arrived since the clear
}

TEST_F(EthDevice, PauseRoundTrips)
{
    REQUIRE_SUBSTITUTE_DRIVER();
    uint8_t on = 9;
    ASSERT_EQ(vekprv_setpause("port02", 1), 0);
    ASSERT_EQ(vekprv_getpause("port02", &on), 0);
    EXPECT_EQ(on, 1);
    ASSERT_EQ(vekprv_setpause("port02", 0), 0);
    ASSERT_EQ(vekprv_getpause("port02", &on), 0);
    EXPECT_EQ(on, 0);
}

// A statistics reader beside link queries made the way the link scan makes
// them: every dump read belongs to the port fetched (ports were given clearly
// different packet counts), and every link answer to the port asked (TSan
// watches ctx and regs in that build).
TEST_F(EthDevice, StatisticsAndLinkScanQueriesDoNotMix)
{
    REQUIRE_SUBSTITUTE_DRIVER();
    constexpr int kFramesPerStep = 60;
    for (int n = 1; n <= 4; ++n)
        ASSERT_TRUE(send_broadcasts(n, n * kFramesPerStep));
    std::array<uint32_t, 5> baseline{};
    for (int n = 1; n <= 4; ++n)
        ASSERT_TRUE(board::wait_until([&] {
            const auto w = dump_word(n, kRxPacketsWord);
            return w && *w >= static_cast<uint32_t>(n * kFramesPerStep) && (baseline[n] = *w, true);
        })) << "port " << n;
    ASSERT_TRUE(board::link(2, false));
    ASSERT_TRUE(board::wait_until([&] {
        uint32_t link = 9;
        return veketh_port_link_status_get(index_of(2), &link) == 0 && link == 0;
    }));

    std::atomic<bool> done{false};
    int wrongLinks = 0, scans = 0;
    std::thread scan([&] {
        while (!done) {
            for (int n = 1; n <= 4; ++n) {
                uint32_t link = 9, speed = 0;
                veketh_port_link_status_get(index_of(n), &link);
                veketh_port_speed_get(index_of(n), &speed);
                wrongLinks += link != (n == 2 ? 0u : 1u);
            }
            ++scans;
        }
    });
    int foreign = 0, failed = 0;
    for (int pass = 0; pass < 400; ++pass) {
        const int n = 1 + pass % 4;
        const auto w = dump_word(n, kRxPacketsWord);
        if (!w)
            ++failed;
        else if (*w < baseline[n] || *w >= baseline[n] + kFramesPerStep / 2)  // background chatter stays small
            ++foreign;
    }
    done = true;
    scan.join();
    EXPECT_GT(scans, 0);
    EXPECT_EQ(failed, 0);
    EXPECT_EQ(foreign, 0);
    EXPECT_EQ(wrongLinks, 0);
}

}  // namespace
