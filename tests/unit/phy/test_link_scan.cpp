#include <utility>

#include "port_life_fixture.h"
#include "storm/storm.h"

namespace {

constexpr uint32_t kUp = 0x3D00C8, kDown = 0x3D00C9;

class LinkScan : public PortLifeTest {
protected:
    void SetUp() override
    {
        PortLifeTest::SetUp();
        make_tables();
        for (int p = 1; p <= 4; ++p) {
            set_port(p, HAPI_PORT_TYPE_COPPER, HAPI_ADMIN_ENABLED);
            add_link_recorder(p);
        }
        hapi::storm::storm_ctl_task_started = 1;  // so link-up notifications are kept
    }
    static void add_link_recorder(int p)
    {
        portCallbacks[p].slot[HAPI_CB_LINK_STATE] = new PortCallbackNode{record<HAPI_CB_LINK_STATE>, nullptr};
    }
    static std::vector<Call> &link_calls() { return slot_calls()[HAPI_CB_LINK_STATE]; }
    static uint32_t storm_speed(int p) { return hapi::storm::storm_ctl_table[p].speed; }
};

TEST_F(LinkScan, FirstPassReportsEveryPortAsAChange)
{
    port(3).link = 0;
    port(4).link = 0;
    ASSERT_TRUE(hapi::phy::linkscan_pass());

    EXPECT_EQ(link_events(kUp), (std::vector<int>{1, 2}));
    EXPECT_EQ(link_events(kDown), (std::vector<int>{3, 4}));
    EXPECT_EQ(link_calls(), (std::vector<Call>{{1, 1}, {2, 1}, {3, 2}, {4, 2}}));
    for (int p = 1; p <= 4; ++p)
        EXPECT_EQ(portSettings[p].linkState, p <= 2 ? 1u : 2u) << p;
    EXPECT_EQ(storm_speed(1), 1000u);
    EXPECT_EQ(storm_speed(2), 1000u);
    EXPECT_EQ(storm_speed(3), 0u);
    EXPECT_EQ(led_calls(1), 1u);  // through the link-state step
}

TEST_F(LinkScan, SteadyLinkGetsCallbacksEveryPassAndOneReport)
{
    for (int pass = 0; pass < 3; ++pass)
        ASSERT_TRUE(hapi::phy::linkscan_pass());
    std::vector<Call> port1;
    for (const Call &c : link_calls())
        if (c.physical == 1)
            port1.push_back(c);
    EXPECT_EQ(port1, (std::vector<Call>{{1, 1}, {1, 1}, {1, 1}}));
    EXPECT_EQ(link_events(kUp), (std::vector<int>{1, 2, 3, 4}));

    port(2).link = 0;
    ASSERT_TRUE(hapi::phy::linkscan_pass());
    EXPECT_EQ(link_events(kDown), (std::vector<int>{2}));
    EXPECT_EQ(portSettings[2].linkState, 2u);
}

TEST_F(LinkScan, SfpPortWakesItsThreadOnLinkUpAndParksItOnLinkDown)
{
    set_port(3, HAPI_PORT_TYPE_SFP, HAPI_ADMIN_ENABLED);
    portThreadInfo[3].signalEvent = 2;
    ASSERT_TRUE(hapi::phy::linkscan_pass());
    EXPECT_EQ(portThreadInfo[3].signalEvent, 1u);
    EXPECT_EQ(led_calls(3), 0u);  // the link-state step was not called
    EXPECT_EQ(storm_speed(3), 1000u);
    EXPECT_EQ(link_events(kUp), (std::vector<int>{1, 2, 3, 4}));

    port(3).link = 0;
    ASSERT_TRUE(hapi::phy::linkscan_pass());
    EXPECT_EQ(portThreadInfo[3].signalEvent, 2u);
    EXPECT_EQ(portSettings[3].linkState, 2u);
    EXPECT_EQ(led_calls(3), 1u);
    EXPECT_EQ(link_events(kDown), (std::vector<int>{3}));
}

TEST_F(LinkScan, DisabledTypePortGetsCallbacksStormAndReportButNoLinkStep)
{
    set_port(2, HAPI_PORT_TYPE_DISABLED, HAPI_ADMIN_ENABLED);
    ASSERT_TRUE(hapi::phy::linkscan_pass());
    EXPECT_EQ(portSettings[2].linkState, 1u);  // the scan's own store
    EXPECT_EQ(link_calls()[1], (Call{2, 1}));
    EXPECT_EQ(storm_speed(2), 1000u);
    EXPECT_EQ(link_events(kUp), (std::vector<int>{1, 2, 3, 4}));
    EXPECT_EQ(led_calls(2), 0u);
    EXPECT_EQ(portThreadInfo[2].signalEvent, 0u);
}

TEST_F(LinkScan, AdminDisabledPortIsSeenDownByItsCallbacks)
{
    set_port(1, HAPI_PORT_TYPE_COPPER, HAPI_ADMIN_DISABLED);
    port(1).settings.duplex = DUPLEX_UNKNOWN;  // interface down: the forced-down rule holds it at 2
    ASSERT_TRUE(hapi::phy::linkscan_pass());
    EXPECT_EQ(link_calls()[0], (Call{1, 2}));
    EXPECT_EQ(portSettings[1].linkState, 2u);
    EXPECT_EQ(reports("Link state is forced to down ").size(), 1u);
}

TEST_F(LinkScan, PreviousStatesCoverEveryPortBelowNumOfPorts)
{
    constexpr int kMany = 8;
    for (int p = 1; p <= 4; ++p)
        delete portCallbacks[p].slot[HAPI_CB_LINK_STATE];
    std::free(portSettings);
    std::free(portCallbacks);
    std::free(portThreadInfo);
    make_tables(kMany);
    for (unsigned n = 5; n < kMany; ++n) {
        fake::add_interface(name_of(n), n);
        fake::add_port(name_of(n), n);
        torvikSwitchingHw.portMap[n] = SwitchPortMapEntry{0, 0, static_cast<int16_t>(n)};
    }
    for (int p = 1; p < kMany; ++p)
        set_port(p, HAPI_PORT_TYPE_COPPER, HAPI_ADMIN_ENABLED);
    ASSERT_TRUE(hapi::phy::linkscan_pass());
    EXPECT_EQ(link_events(kUp), (std::vector<int>{1, 2, 3, 4, 5, 6, 7}));
    ASSERT_TRUE(hapi::phy::linkscan_pass());
    EXPECT_EQ(link_events(kUp).size(), 7u);  // no change, no report
}

TEST_F(LinkScan, MissingTableEndsTheScan)
{
    std::free(std::exchange(portSettings, nullptr));
    EXPECT_FALSE(hapi::phy::linkscan_pass());
    EXPECT_EQ(hapiPhyReturnLastError(), -17);
    EXPECT_EQ(reports("PHY struct is NULL").size(), 1u);
}

class SetLinkstate : public LinkScan {};

TEST_F(SetLinkstate, DisabledPortWithInterfaceDownIsForcedDown)
{
    set_port(2, HAPI_PORT_TYPE_COPPER, HAPI_ADMIN_DISABLED, HAPI_LINK_UP);
    port(2).settings.duplex = DUPLEX_UNKNOWN;
    hapiPhyInternalSetLinkstate(2, HAPI_LINK_UP);
    EXPECT_EQ(portSettings[2].linkState, 2u);
    EXPECT_EQ(link_calls(), (std::vector<Call>{{2, 2}}));
    const auto forced = reports("Link state is forced to down ");
    ASSERT_EQ(forced.size(), 1u);
    EXPECT_EQ(forced[0].id, 0x3D0000u);
    EXPECT_EQ(forced[0].severity, 191u);
    EXPECT_EQ(forced[0].items, (std::vector<vekpf::LogItem>{number(2), text("hapiPhyInternalSetLinkstate"),
                                                            text("Link state is forced to down "), number(1)}));
    EXPECT_EQ(led_calls(2), 1u);
}

TEST_F(SetLinkstate, DisabledPortWithInterfaceUpAndSfpPortsAreNotForced)
{
    set_port(2, HAPI_PORT_TYPE_COPPER, HAPI_ADMIN_DISABLED, HAPI_LINK_DOWN);
    hapiPhyInternalSetLinkstate(2, HAPI_LINK_UP);
    EXPECT_EQ(portSettings[2].linkState, 1u);

    set_port(3, HAPI_PORT_TYPE_SFP, HAPI_ADMIN_DISABLED, HAPI_LINK_DOWN);
    port(3).settings.duplex = DUPLEX_UNKNOWN;
    hapiPhyInternalSetLinkstate(3, HAPI_LINK_UP);
    EXPECT_EQ(portSettings[3].linkState, 1u);
    EXPECT_TRUE(reports("Link state is forced to down ").empty());

    hapiPhyInternalSetLinkstate(3, HAPI_LINK_UP);  // unchanged: no callbacks, LED still checked
    EXPECT_EQ(link_calls(), (std::vector<Call>{{2, 1}, {3, 1}}));
    EXPECT_EQ(led_calls(3), 2u);
}

}  // namespace
