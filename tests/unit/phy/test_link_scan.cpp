#include "port_life_fixture.h"
#include "storm/storm.h"

namespace {

using hapi::storm::storm_ctl_table;
using hapi::storm::storm_ctl_task_started;
constexpr uint32_t kUp = 0x3D00C8, kDown = 0x3D00C9;
constexpr const char *kForced = "Link state is forced to down ";

// Four enabled copper ports with a link recorder each, storm control running
// (so link-up notifications are kept) and no link the scan has seen yet.
class LinkScan : public PortLifeTest {
protected:
    void SetUp() override
    {
        forget_links();
        PortLifeTest::SetUp();
        for (int p = 1; p <= 4; ++p) {
            set_port(p, HAPI_PORT_TYPE_COPPER, HAPI_ADMIN_ENABLED);
            tables.on(p, HAPI_CB_LINK_STATE, record<HAPI_CB_LINK_STATE>);
            storm_ctl_table[p].speed = 0;
        }
        storm_ctl_task_started = 1;
    }
    void TearDown() override
    {
        storm_ctl_task_started = 0;
        for (int p = 1; p <= 4; ++p)
            storm_ctl_table[p].speed = 0;
        PortLifeTest::TearDown();
    }
    static std::vector<Call> &link_calls() { return slot_calls()[HAPI_CB_LINK_STATE]; }
    static bool pass() { return hapi::phy::linkscan_pass(); }
};

TEST_F(LinkScan, FirstPassReportsEveryPortThenOnlyChanges)
{
    port(3).link = 0;
    port(4).link = 0;
    ASSERT_TRUE(pass());
    EXPECT_EQ(link_events(kUp), (std::vector<int>{1, 2}));
    EXPECT_EQ(link_events(kDown), (std::vector<int>{3, 4}));
    EXPECT_EQ(link_calls(), (std::vector<Call>{{1, 1}, {2, 1}, {3, 2}, {4, 2}}));
    for (int p = 1; p <= 4; ++p) {
        EXPECT_EQ(portSettings[p].linkState, p <= 2 ? 1u : 2u) << p;
        EXPECT_EQ(storm_ctl_table[p].speed, p <= 2 ? 1000u : 0u) << p;
    }
    EXPECT_EQ(led_calls(1), 1u);  // through the link-state step

    // A steady link gets its callbacks every pass but no second report.
    port(2).link = 0;
    ASSERT_TRUE(pass());
    EXPECT_EQ(link_calls().size(), 8u);
    EXPECT_EQ(link_events(kUp), (std::vector<int>{1, 2}));
    EXPECT_EQ(link_events(kDown), (std::vector<int>{3, 4, 2}));
    EXPECT_EQ(portSettings[2].linkState, 2u);
}

TEST_F(LinkScan, PortTypeAndAdminStateDecideTheLinkStep)
{
    set_port(1, HAPI_PORT_TYPE_COPPER, HAPI_ADMIN_DISABLED);
    port(1).settings.duplex = DUPLEX_UNKNOWN;  // interface down: the forced-down rule holds it at 2
    set_port(2, HAPI_PORT_TYPE_DISABLED, HAPI_ADMIN_ENABLED);
    set_port(3, HAPI_PORT_TYPE_SFP, HAPI_ADMIN_ENABLED);
    portThreadInfo[3].signalEvent = 2;
    ASSERT_TRUE(pass());
    EXPECT_EQ(link_calls(), (std::vector<Call>{{1, 2}, {2, 1}, {3, 1}, {4, 1}}));
    EXPECT_EQ(portSettings[1].linkState, 2u);
    EXPECT_EQ(reports(kForced).size(), 1u);
    EXPECT_EQ(portSettings[2].linkState, 1u);  // the scan's own store, no link step
    EXPECT_EQ(led_calls(2), 0u);
    EXPECT_EQ(portThreadInfo[2].signalEvent, 0u);
    EXPECT_EQ(portThreadInfo[3].signalEvent, 1u);  // the SFP thread decides while the link is up
    EXPECT_EQ(led_calls(3), 0u);
    EXPECT_EQ(storm_ctl_table[2].speed, 1000u);
    EXPECT_EQ(storm_ctl_table[3].speed, 1000u);
    EXPECT_EQ(link_events(kUp), (std::vector<int>{1, 2, 3, 4}));

    port(3).link = 0;
    ASSERT_TRUE(pass());
    EXPECT_EQ(portThreadInfo[3].signalEvent, 2u);
    EXPECT_EQ(portSettings[3].linkState, 2u);
    EXPECT_EQ(led_calls(3), 1u);
    EXPECT_EQ(link_events(kDown), (std::vector<int>{3}));
}

TEST_F(LinkScan, EveryPortBelowNumOfPortsIsScannedAndRemembered)
{
    hapi_test::PhyTables many(8);
    for (unsigned n = 5; n < 8; ++n) {
        fake::add_interface(name_of(n), n);
        fake::add_port(name_of(n), n);
        torvikSwitchingHw.portMap[n] = SwitchPortMapEntry{0, 0, static_cast<int16_t>(n)};
    }
    for (int p = 1; p < 8; ++p)
        set_port(p, HAPI_PORT_TYPE_COPPER, HAPI_ADMIN_ENABLED);
    ASSERT_TRUE(pass());
    ASSERT_TRUE(pass());
    EXPECT_EQ(link_events(kUp), (std::vector<int>{1, 2, 3, 4, 5, 6, 7}));
}

TEST_F(LinkScan, MissingTableEndsTheScan)
{
    std::free(std::exchange(portSettings, nullptr));
    EXPECT_FALSE(pass());
    EXPECT_EQ(hapiPhyReturnLastError(), -17);
    EXPECT_EQ(reports("PHY struct is NULL").size(), 1u);
}

// The forced-down rule holds only for a disabled non-SFP port whose interface is down.
TEST_F(LinkScan, SetLinkstateForcesDownOnlyDisabledPortsWithTheInterfaceDown)
{
    set_port(2, HAPI_PORT_TYPE_COPPER, HAPI_ADMIN_DISABLED, HAPI_LINK_UP);
    port(2).settings.duplex = DUPLEX_UNKNOWN;
    hapiPhyInternalSetLinkstate(2, HAPI_LINK_UP);
    EXPECT_EQ(portSettings[2].linkState, 2u);
    const auto forced = reports(kForced);
    ASSERT_EQ(forced.size(), 1u);
    EXPECT_EQ(forced[0].id, 0x3D0000u);
    EXPECT_EQ(forced[0].severity, 191u);
    EXPECT_EQ(forced[0].items, (std::vector<vekpf::LogItem>{number(2), text("hapiPhyInternalSetLinkstate"),
                                                            text(kForced), number(1)}));

    set_port(1, HAPI_PORT_TYPE_COPPER, HAPI_ADMIN_DISABLED);
    hapiPhyInternalSetLinkstate(1, HAPI_LINK_UP);
    set_port(3, HAPI_PORT_TYPE_SFP, HAPI_ADMIN_DISABLED);
    port(3).settings.duplex = DUPLEX_UNKNOWN;
    hapiPhyInternalSetLinkstate(3, HAPI_LINK_UP);
    hapiPhyInternalSetLinkstate(3, HAPI_LINK_UP);  // unchanged: no callbacks, LED still checked
    EXPECT_EQ(reports(kForced).size(), 1u);
    EXPECT_EQ(link_calls(), (std::vector<Call>{{2, 2}, {1, 1}, {3, 1}}));
    EXPECT_EQ(led_calls(2), 1u);
    EXPECT_EQ(led_calls(3), 2u);
}

}  // namespace
