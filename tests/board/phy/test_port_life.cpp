// The port's life on the simulated board: real carrier changes seen by the
// link scan thread, admin and power state on the interface.
#include "netlink_peer.h"
#include "notify_wire.h"
#include "port_life_board.h"

using namespace std::chrono_literals;
using namespace port_life;

namespace {

// One scan period, and the pass itself on a loaded machine.
constexpr auto kScanDeadline = 3500ms;

// Whether the notification channel publishes, before the deadline, the
// status message of `port` with these flags and changed bits.
bool published(const netlink_peer::Peer &listener, int port, uint32_t flags, uint32_t change)
{
    return board::wait_until([&] {
        const auto r = listener.receive_from(notify_wire::kOwnPort, 100ms);
        return r && r->bytes == notify_wire::encode({.nlFlags = notify_wire::kSentFlags,
                                                     .seq = notify_wire::seq_of(r->bytes), .ifIndex = port,
                                                     .flags = flags, .change = change});
    }, 1500ms, 0ms);
}

TEST_F(PortLifeBoard, StationLinkFlapIsSeenWithinOneScanPeriod)
{
    constexpr int kPort = 2;
    ASSERT_TRUE(board::wait_until([] { return link_state(kPort) == HAPI_LINK_UP; }, kScanDeadline));
    netlink_peer::Peer listener(0, 1);
    ASSERT_TRUE(listener.ok());
    const size_t downReports = link_reports(kPort, false);

    ASSERT_TRUE(board::link(kPort, false));
    EXPECT_TRUE(board::wait_until([] { return link_state(kPort) == HAPI_LINK_DOWN; }, kScanDeadline));
    EXPECT_TRUE(board::wait_until([&] { return link_reports(kPort, false) == downReports + 1; }, 1s));
    EXPECT_EQ(link_states(kPort).back(), uint32_t{HAPI_LINK_DOWN});
    EXPECT_TRUE(published(listener, kPort, IFF_UP, IFF_RUNNING));

    hapi::storm::storm_ctl_table[kPort].speed = 0;  // so the notification shows
    const size_t upReports = link_reports(kPort, true);
    ASSERT_TRUE(board::link(kPort, true));
    EXPECT_TRUE(board::wait_until([] { return link_state(kPort) == HAPI_LINK_UP; }, kScanDeadline));
    uint32_t speed = 0;
    ASSERT_EQ(veketh_port_speed_get(static_cast<uint32_t>(torvikSwitchingHw.portMap[kPort].physicalPort), &speed), 0);
    EXPECT_TRUE(board::wait_until([&] { return hapi::storm::storm_ctl_table[kPort].speed == speed; }, 1s));
    EXPECT_TRUE(board::wait_until([&] { return link_reports(kPort, true) == upReports + 1; }, 1s));
    EXPECT_TRUE(published(listener, kPort, IFF_UP | IFF_RUNNING, IFF_RUNNING));
}

TEST_F(PortLifeBoard, AdminDisableWithPowerOffTakesTheInterfaceDown)
{
    constexpr int kPort = 4;
    ASSERT_TRUE(board::interface_up(board::port_if(kPort)));
    ASSERT_EQ(set_state(hapiPhyPowerState, kPort, HAPI_POWER_OFF), 0);
    EXPECT_TRUE(board::interface_up(board::port_if(kPort)));  // remembered while enabled
    ASSERT_EQ(set_state(hapiPhyAdminstate, kPort, HAPI_ADMIN_DISABLED), 0);
    EXPECT_FALSE(board::interface_up(board::port_if(kPort)));
    EXPECT_TRUE(board::wait_until([] { return link_state(kPort) == HAPI_LINK_DOWN; }, kScanDeadline));
    EXPECT_FALSE(board::ping(1, kPort));

    ASSERT_EQ(set_state(hapiPhyAdminstate, kPort, HAPI_ADMIN_ENABLED), 0);
    EXPECT_TRUE(board::interface_up(board::port_if(kPort)));
    EXPECT_TRUE(board::wait_until([] { return link_state(kPort) == HAPI_LINK_UP; }, kScanDeadline));
    EXPECT_TRUE(board::wait_until([] { return board::ping(1, kPort); }, 5s, 200ms));
}

}  // namespace
