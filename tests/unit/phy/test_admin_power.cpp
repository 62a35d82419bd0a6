#include <cstdlib>

#include "port_life_fixture.h"
#include "notify/channel.h"

namespace {

class AdminPower : public PortLifeTest {
protected:
    void SetUp() override
    {
        PortLifeTest::SetUp();
        make_tables();
        for (int p = 1; p <= 4; ++p)
            set_port(p, HAPI_PORT_TYPE_COPPER, HAPI_ADMIN_ENABLED);
        finalPowerState = static_cast<uint32_t *>(std::calloc(kPorts, sizeof(uint32_t)));
        phyDeviceState = HAPI_PHY_PHASE_RUNNING;
        portCallbacks[2].slot[HAPI_CB_ADMIN_STATE] = new PortCallbackNode{record<HAPI_CB_ADMIN_STATE>, nullptr};
        portCallbacks[2].slot[HAPI_CB_POWER_STATE] = new PortCallbackNode{record<HAPI_CB_POWER_STATE>, nullptr};
    }
    static int admin(int16_t p, uint32_t command, uint16_t value = 0)
    {
        const usp_t usp{1, 1, p};
        PhyStateCommand block{command, value};
        return hapiPhyAdminstate(&usp, 0, &block);
    }
    static int power(int16_t p, uint32_t command, uint16_t value = 0)
    {
        const usp_t usp{1, 1, p};
        PhyStateCommand block{command, value};
        return hapiPhyPowerState(&usp, 0, &block);
    }
    static uint16_t get_power(int16_t p, uint32_t command)
    {
        const usp_t usp{1, 1, p};
        PhyStateCommand block{command, 0xFFFF};
        EXPECT_EQ(hapiPhyPowerState(&usp, 0, &block), 0);
        return block.value;
    }
};

TEST_F(AdminPower, DisableAppliesTheStoredPowerState)
{
    struct Case {
        uint32_t stored;
        bool upAfter;
    };
    for (const Case c : {Case{4, false}, Case{3, true}, Case{0, false}}) {
        set_port(2, HAPI_PORT_TYPE_COPPER, HAPI_ADMIN_ENABLED, HAPI_LINK_DOWN, c.stored);
        // With nothing stored the interface keeps whatever state it has.
        os().find(2u)->flags = c.stored == 0 ? 0 : IFF_UP | IFF_RUNNING;
        slot_calls()[HAPI_CB_ADMIN_STATE].clear();
        EXPECT_EQ(admin(2, HAPI_PHY_CMD_SET, HAPI_ADMIN_DISABLED), 0);
        EXPECT_EQ(interface_up(2), c.upAfter) << "power state " << c.stored;
        EXPECT_EQ(portSettings[2].adminState, 2u);
        EXPECT_EQ(slot_calls()[HAPI_CB_ADMIN_STATE], (std::vector<Call>{{2, 2}}));
    }
}

TEST_F(AdminPower, EnableAlwaysBringsTheInterfaceUp)
{
    set_port(2, HAPI_PORT_TYPE_COPPER, HAPI_ADMIN_DISABLED, HAPI_LINK_DOWN, HAPI_POWER_OFF);
    os().find(2u)->flags = 0;
    EXPECT_EQ(admin(2, HAPI_PHY_CMD_SET, HAPI_ADMIN_ENABLED), 0);
    EXPECT_TRUE(interface_up(2));
    EXPECT_EQ(portSettings[2].adminState, 1u);
    const auto set = reports("Function call-SET");
    ASSERT_EQ(set.size(), 1u);
    EXPECT_EQ(set[0].items, (std::vector<vekpf::LogItem>{number(2), text("hapiPhyAdminstate"),
                                                         text("Function call-SET"), number(1)}));
}

TEST_F(AdminPower, PowerOffOnAnEnabledPortWaitsForTheNextDisable)
{
    EXPECT_EQ(power(2, HAPI_PHY_CMD_SET, HAPI_POWER_OFF), 0);
    EXPECT_EQ(portSettings[2].powerState, 4u);
    EXPECT_EQ(slot_calls()[HAPI_CB_POWER_STATE], (std::vector<Call>{{2, 4}}));
    EXPECT_TRUE(interface_up(2));
    EXPECT_EQ(reports("Function call-SET(adminstatus=ON)").size(), 1u);

    EXPECT_EQ(admin(2, HAPI_PHY_CMD_SET, HAPI_ADMIN_DISABLED), 0);
    EXPECT_FALSE(interface_up(2));
    // Power on while disabled acts at once.
    EXPECT_EQ(power(2, HAPI_PHY_CMD_SET, HAPI_POWER_ON), 0);
    EXPECT_TRUE(interface_up(2));
    EXPECT_EQ(reports("Function call-SET(adminstatus=OFF)").size(), 1u);
}

TEST_F(AdminPower, BadValuesAndCommandsChangeNothing)
{
    EXPECT_EQ(power(2, HAPI_PHY_CMD_SET, 5), 1);
    EXPECT_EQ(hapiPhyReturnLastError(), -4);
    EXPECT_EQ(reports("Wrong param").size(), 1u);

    set_port(2, HAPI_PORT_TYPE_COPPER, HAPI_ADMIN_DISABLED, HAPI_LINK_DOWN, HAPI_POWER_ON);
    EXPECT_EQ(power(2, HAPI_PHY_CMD_SET, 5), 1);
    EXPECT_EQ(hapiPhyReturnLastError(), -4);
    const auto failed = reports("Set failed");
    ASSERT_EQ(failed.size(), 1u);
    EXPECT_EQ(failed[0].id, 0x3D0004u);
    EXPECT_EQ(failed[0].items.back(), number(5));
    EXPECT_EQ(portSettings[2].powerState, 3u);
    EXPECT_TRUE(slot_calls()[HAPI_CB_POWER_STATE].empty());

    EXPECT_EQ(admin(2, 3), 1);
    EXPECT_EQ(hapiPhyReturnLastError(), -4);
    EXPECT_EQ(admin(2, HAPI_PHY_CMD_SET, 9), 1);
    EXPECT_EQ(hapiPhyReturnLastError(), -4);
    EXPECT_EQ(portSettings[2].adminState, 2u);
    EXPECT_TRUE(slot_calls()[HAPI_CB_ADMIN_STATE].empty());

    EXPECT_EQ(get_power(2, 3), 3u);  // any command but SET reads
    EXPECT_EQ(get_power(2, HAPI_PHY_CMD_GET), 3u);
}

TEST_F(AdminPower, PortsAndInputsAreCheckedFirst)
{
    PhyStateCommand block{HAPI_PHY_CMD_SET, 1};
    EXPECT_EQ(hapiPhyAdminstate(nullptr, 0, &block), 1);
    EXPECT_EQ(hapiPhyReturnLastError(), -4);
    EXPECT_EQ(reports("NULL INPUT PARAM").size(), 1u);
    const usp_t usp{1, 1, 2};
    EXPECT_EQ(hapiPhyPowerState(&usp, 0, nullptr), 1);
    EXPECT_EQ(hapiPhyReturnLastError(), -4);

    torvikSwitchingHw.portMap[3].physicalPort = -1;
    EXPECT_EQ(admin(3, HAPI_PHY_CMD_SET, 1), 1);
    EXPECT_EQ(hapiPhyReturnLastError(), -18);
    EXPECT_EQ(power(200, HAPI_PHY_CMD_GET), 1);
    EXPECT_EQ(hapiPhyReturnLastError(), -18);
    EXPECT_EQ(reports("Wrong port").size(), 2u);
}

TEST_F(AdminPower, PortKeptDisabledGoesDownForAnyValue)
{
    for (uint16_t value : {1, 2, 7}) {
        set_port(4, HAPI_PORT_TYPE_DISABLED, HAPI_ADMIN_ENABLED);
        os().find(4u)->flags = IFF_UP;
        EXPECT_EQ(admin(4, HAPI_PHY_CMD_SET, value), 0);
        EXPECT_FALSE(interface_up(4));
        EXPECT_EQ(portSettings[4].adminState, value);
    }
}

TEST_F(AdminPower, LinkUpWithoutPowerOnIsReEvaluated)
{
    set_port(2, HAPI_PORT_TYPE_COPPER, HAPI_ADMIN_ENABLED, HAPI_LINK_UP);
    EXPECT_EQ(power(2, HAPI_PHY_CMD_SET, HAPI_POWER_ON), 0);
    EXPECT_EQ(led_calls(2), 1u);  // the operation's own LED check only
    EXPECT_EQ(power(2, HAPI_PHY_CMD_SET, HAPI_POWER_OFF), 0);
    EXPECT_EQ(led_calls(2), 3u);  // and the link-state step's

    // Disabled with the interface down, the re-evaluation forces the link down.
    port(2).settings.duplex = DUPLEX_UNKNOWN;
    EXPECT_EQ(admin(2, HAPI_PHY_CMD_SET, HAPI_ADMIN_DISABLED), 0);
    EXPECT_EQ(portSettings[2].linkState, 2u);
    EXPECT_EQ(reports("Link state is forced to down ").size(), 1u);
}

TEST_F(AdminPower, OutsideTheRunningPhaseOnlyTheRecordChanges)
{
    phyDeviceState = HAPI_PHY_PHASE_BOOT;
    set_port(2, HAPI_PORT_TYPE_COPPER, HAPI_ADMIN_ENABLED, HAPI_LINK_DOWN, HAPI_POWER_OFF);
    EXPECT_EQ(admin(2, HAPI_PHY_CMD_SET, HAPI_ADMIN_DISABLED), 0);
    EXPECT_TRUE(interface_up(2));
    EXPECT_EQ(finalPowerState[2], 4u);
    EXPECT_EQ(portSettings[2].adminState, 2u);
}

// The notification callbacks, against the channel on the fake netlink socket.
class NotifyCallbacks : public AdminPower {
protected:
    void SetUp() override
    {
        AdminPower::SetUp();
        ASSERT_EQ(hapi::notify::open_channel(kPorts), 0);
        for (int p = 1; p < kPorts; ++p)
            vekNetlinkNotifyAddIntf(p);
    }
    void TearDown() override { vekNetlinkNotifyDestroy(); }
    static uint32_t flags(int p)
    {
        std::lock_guard guard(vekNetlinkNotifyLock());
        return vekNetlinkNotifyFindIntf(p)->flags;
    }
};

TEST_F(NotifyCallbacks, LinkCallbackRaisesAndClearsRunningOfEnabledPorts)
{
    hapiPhyInftLinkStateCB(0, 2, HAPI_LINK_UP);
    EXPECT_EQ(flags(2), 0x41u);
    hapiPhyInftLinkStateCB(0, 2, HAPI_LINK_DOWN);
    EXPECT_EQ(flags(2), 0x01u);
    portSettings[3].adminState = HAPI_ADMIN_DISABLED;
    hapiPhyInftLinkStateCB(0, 3, HAPI_LINK_UP);
    EXPECT_EQ(flags(3), 0u);
    EXPECT_EQ(hapiPhyInftLinkStateCB(0, 77, HAPI_LINK_UP), 0);  // no such port: nothing
}

TEST_F(NotifyCallbacks, AdminCallbackPublishesUpWithTheLinkAndClearsBoth)
{
    portSettings[2].linkState = HAPI_LINK_UP;
    hapiPhyInftAdminStateCB(0, 2, HAPI_ADMIN_ENABLED);
    EXPECT_EQ(flags(2), 0x41u);
    portSettings[3].linkState = HAPI_LINK_DOWN;
    hapiPhyInftAdminStateCB(0, 3, HAPI_ADMIN_ENABLED);
    EXPECT_EQ(flags(3), 0x01u);
    hapiPhyInftAdminStateCB(0, 2, HAPI_ADMIN_DISABLED);
    EXPECT_EQ(flags(2), 0u);
}

}  // namespace
