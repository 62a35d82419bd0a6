// The channel with the processes around it: the SHDSL line driver, the
// kernel's own link notifications, and a client written elsewhere.
#include <net/if.h>

#include <optional>
#include <string>

#include "hapi/hapi_init.h"
#include "hapi/hapi_phy.h"
#include "notify_board_fixture.h"
#include "phy_tables.h"

namespace {

// Logical port 2 on the board's "port01", with the PHY table and a link
// callback that keeps the channel's flags as the boot phase's does.
class NotifyLineDriverTest : public NotifyChannelTest {
protected:
    static constexpr int kPort = 2;

    void SetUpBoard() override
    {
        NotifyChannelTest::SetUpBoard();
        if (HasFatalFailure())
            return;
        tables.emplace(5, std::array{-1, static_cast<int>(if_nametoindex("port01")), -1, -1});
        for (int p = 0; p < 5; ++p)
            hapi_test::PhyTables::on(p, HAPI_CB_LINK_STATE, link_changed);
    }

    // Runs on the channel's receive thread, which must not hold the lock here.
    static int link_changed(uint32_t, uint32_t physical, uint32_t state)
    {
        EXPECT_EQ(physical, if_nametoindex("port01"));
        return state == HAPI_LINK_UP ? vekNetlinkNotifySetFlags(kPort, 0x41, 1)
                                     : vekNetlinkNotifyClearFlags(kPort, 0x40, 1);
    }
    std::optional<hapi_test::PhyTables> tables;
};

// Link messages of the kernel (the channel has joined the link group) and of
// any other sender are ignored; the line driver's reports drive the port
// interface and its flags.
TEST_F(NotifyLineDriverTest, OnlyLineDriverReportsDriveThePortInterfaceAndItsFlags)
{
    ASSERT_EQ(board::run("ip link set port02 down && ip link set port02 up").status, 0);
    netlink_peer::Peer impostor(1003), driver(1002), requester(56);
    ASSERT_TRUE(impostor.send_link(kChannel, RTM_NEWLINK, 1, 1002, kPort, 0x41));
    // Answered only after everything sent before it was handled.
    ASSERT_TRUE(requester.send_link(kChannel, RTM_GETLINK, 900, 56, 1, 0));
    ASSERT_TRUE(requester.receive_from(kChannel, 5s));
    for (int p = 0; p < 5; ++p)
        EXPECT_EQ(portSettings[p].linkState, 0u) << p;

    ASSERT_TRUE(driver.send_link(kChannel, RTM_NEWLINK, 1, 1002, kPort, 0x41));
    EXPECT_EQ(published(), encode({.ifIndex = kPort, .flags = 0x41, .change = 0x41}));
    EXPECT_TRUE(board::wait_until([] { return board::interface_up("port01"); }));
    EXPECT_EQ(portSettings[kPort].linkState, uint32_t{HAPI_LINK_UP});

    ASSERT_TRUE(driver.send_link(kChannel, RTM_NEWLINK, 2, 1002, kPort, 0x01));
    EXPECT_EQ(published(), encode({.ifIndex = kPort, .flags = 0x01, .change = 0x40}));
    EXPECT_TRUE(board::wait_until([] { return !board::interface_up("port01"); }));
    // No external PHY on this board: the driver gets no acknowledgement.
    EXPECT_FALSE(driver.receive_from(kChannel, 0ms));
}

// `ip monitor link` in this namespace decodes what the channel publishes.
TEST_F(NotifyChannelTest, IpMonitorDecodesPublishedStatusMessages)
{
    // A port number no interface of the board has, so ip shows it as "if150".
    vekNetlinkNotifyDestroy();
    ASSERT_EQ(vekNetlinkNotifyInit(1), 0);
    vekNetlinkNotifyAddIntf(150);
    const std::string out = board::run_file("ipmonitor.out"), pid = board::run_file("ipmonitor.pid");
    ASSERT_EQ(board::run("{ ip -o monitor link >" + out + " 2>&1 & echo $! >" + pid + "; }").status, 0);
    // ip subscribes some time after it starts: publish until it shows one.
    bool up = false;
    EXPECT_TRUE(board::wait_until([&] {
        up = !up;
        EXPECT_EQ(up ? vekNetlinkNotifySetFlags(150, 0x41, 1) : vekNetlinkNotifyClearFlags(150, 0x41, 1), 0);
        // Up and running (no NO-CARRIER), and IFF_BROADCAST always set.
        return board::read_file(out).value_or("").find("150: if150: <BROADCAST,UP>") != std::string::npos;
    }, 10s, 50ms)) << board::read_file(out).value_or("");
    board::run("kill $(cat " + pid + ")");
}

}  // namespace
