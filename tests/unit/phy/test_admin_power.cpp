#include "port_life_fixture.h"
#include "notify/channel.h"

namespace {

using Op = int (*)(const usp_t *, uint32_t, PhyStateCommand *) noexcept;

// Four enabled copper ports in the running phase; port 2 records its admin
// and power callbacks.
class AdminPower : public PortLifeTest {
protected:
    void SetUp() override
    {
        PortLifeTest::SetUp();
        for (int p = 1; p <= 4; ++p)
            set_port(p, HAPI_PORT_TYPE_COPPER, HAPI_ADMIN_ENABLED);
        phyDeviceState = HAPI_PHY_PHASE_RUNNING;
        tables.on(2, HAPI_CB_ADMIN_STATE, record<HAPI_CB_ADMIN_STATE>);
        tables.on(2, HAPI_CB_POWER_STATE, record<HAPI_CB_POWER_STATE>);
    }
    // The operation on port p; a null usp for p < 0 and a null block for command 0.
    static int call(Op op, int16_t p, uint32_t command, uint16_t value = 0, uint16_t *read = nullptr)
    {
        const usp_t usp{1, 1, p};
        PhyStateCommand block{command, value};
        const int r = op(p < 0 ? nullptr : &usp, 0, command ? &block : nullptr);
        if (read)
            *read = block.value;
        return r;
    }
    static int admin(uint32_t value, int16_t p = 2) { return call(hapiPhyAdminstate, p, HAPI_PHY_CMD_SET, value); }
    static int power(uint32_t value, int16_t p = 2) { return call(hapiPhyPowerState, p, HAPI_PHY_CMD_SET, value); }
};

TEST_F(AdminPower, AdminStateAppliesTheStoredPowerState)
{
    struct Case {
        uint32_t from, stored, to;
        bool upBefore, upAfter;
    };
    const Case cases[] = {
        {HAPI_ADMIN_ENABLED, HAPI_POWER_OFF, HAPI_ADMIN_DISABLED, true, false},
        {HAPI_ADMIN_ENABLED, HAPI_POWER_ON, HAPI_ADMIN_DISABLED, true, true},
        {HAPI_ADMIN_ENABLED, 0, HAPI_ADMIN_DISABLED, false, false},  // nothing stored: left as it is
        {HAPI_ADMIN_DISABLED, HAPI_POWER_OFF, HAPI_ADMIN_ENABLED, false, true},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.stored);
        set_port(2, HAPI_PORT_TYPE_COPPER, c.from, HAPI_LINK_DOWN, c.stored);
        os().find(2u)->flags = c.upBefore ? IFF_UP | IFF_RUNNING : 0;
        slot_calls()[HAPI_CB_ADMIN_STATE].clear();
        platform().messages.clear();
        EXPECT_EQ(admin(c.to), 0);
        EXPECT_EQ(interface_up(2), c.upAfter);
        EXPECT_EQ(portSettings[2].adminState, c.to);
        EXPECT_EQ(slot_calls()[HAPI_CB_ADMIN_STATE], (std::vector<Call>{{2, c.to}}));
        const auto set = reports("Function call-SET");
        ASSERT_EQ(set.size(), 1u);
        EXPECT_EQ(set[0].items, (std::vector<vekpf::LogItem>{number(2), text("hapiPhyAdminstate"),
                                                             text("Function call-SET"), number(int(c.to))}));
    }
}

TEST_F(AdminPower, PowerOffOnAnEnabledPortWaitsForTheNextDisable)
{
    EXPECT_EQ(power(HAPI_POWER_OFF), 0);
    EXPECT_EQ(portSettings[2].powerState, 4u);
    EXPECT_EQ(slot_calls()[HAPI_CB_POWER_STATE], (std::vector<Call>{{2, 4}}));
    EXPECT_TRUE(interface_up(2));
    EXPECT_EQ(reports("Function call-SET(adminstatus=ON)").size(), 1u);

    EXPECT_EQ(admin(HAPI_ADMIN_DISABLED), 0);
    EXPECT_FALSE(interface_up(2));
    EXPECT_EQ(power(HAPI_POWER_ON), 0);  // while disabled: at once
    EXPECT_TRUE(interface_up(2));
    EXPECT_EQ(reports("Function call-SET(adminstatus=OFF)").size(), 1u);
}

TEST_F(AdminPower, RefusedRequestsChangeNothing)
{
    struct Case {
        Op op;
        int16_t port;
        uint32_t command;
        uint16_t value;
        uint32_t admin;
        int error;
        const char *report;
    };
    torvikSwitchingHw.portMap[3].physicalPort = -1;
    const Case cases[] = {
        {hapiPhyPowerState, 2, HAPI_PHY_CMD_SET, 5, HAPI_ADMIN_ENABLED, -4, "Wrong param"},
        {hapiPhyPowerState, 2, HAPI_PHY_CMD_SET, 5, HAPI_ADMIN_DISABLED, -4, "Set failed"},
        {hapiPhyAdminstate, 2, 3, 1, HAPI_ADMIN_DISABLED, -4, "Wrong param"},
        {hapiPhyAdminstate, 2, HAPI_PHY_CMD_SET, 9, HAPI_ADMIN_DISABLED, -4, "Wrong param"},
        {hapiPhyAdminstate, -1, HAPI_PHY_CMD_SET, 1, HAPI_ADMIN_DISABLED, -4, "NULL INPUT PARAM"},
        {hapiPhyPowerState, 2, 0, 0, HAPI_ADMIN_DISABLED, -4, "NULL INPUT PARAM"},
        {hapiPhyAdminstate, 3, HAPI_PHY_CMD_SET, 1, HAPI_ADMIN_DISABLED, -18, "Wrong port"},
        {hapiPhyPowerState, 200, HAPI_PHY_CMD_GET, 0, HAPI_ADMIN_DISABLED, -18, "Wrong port"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << c.report << " port " << c.port << " value " << c.value);
        set_port(2, HAPI_PORT_TYPE_COPPER, c.admin, HAPI_LINK_DOWN, HAPI_POWER_ON);
        platform().messages.clear();
        EXPECT_EQ(call(c.op, c.port, c.command, c.value), 1);
        EXPECT_EQ(hapiPhyReturnLastError(), c.error);
        EXPECT_EQ(reports(c.report).size(), 1u);
        EXPECT_EQ(portSettings[2].adminState, c.admin);
        EXPECT_EQ(portSettings[2].powerState, 3u);
    }
    EXPECT_TRUE(slot_calls()[HAPI_CB_ADMIN_STATE].empty());
    EXPECT_TRUE(slot_calls()[HAPI_CB_POWER_STATE].empty());
    uint16_t read = 0;
    EXPECT_EQ(call(hapiPhyPowerState, 2, 3, 0xFFFF, &read), 0);  // any command but SET reads
    EXPECT_EQ(read, 3u);
}

TEST_F(AdminPower, PortKeptDisabledGoesDownForAnyValue)
{
    for (uint16_t value : {1, 2, 7}) {
        set_port(4, HAPI_PORT_TYPE_DISABLED, HAPI_ADMIN_ENABLED);
        os().find(4u)->flags = IFF_UP;
        EXPECT_EQ(admin(value, 4), 0);
        EXPECT_FALSE(interface_up(4));
        EXPECT_EQ(portSettings[4].adminState, value);
    }
}

TEST_F(AdminPower, LinkUpWithoutPowerOnIsReEvaluated)
{
    set_port(2, HAPI_PORT_TYPE_COPPER, HAPI_ADMIN_ENABLED, HAPI_LINK_UP);
    EXPECT_EQ(power(HAPI_POWER_ON), 0);
    EXPECT_EQ(led_calls(2), 1u);  // the operation's own LED check only
    EXPECT_EQ(power(HAPI_POWER_OFF), 0);
    EXPECT_EQ(led_calls(2), 3u);  // and the link-state step's

    // Disabled with the interface down, the re-evaluation forces the link down.
    port(2).settings.duplex = DUPLEX_UNKNOWN;
    EXPECT_EQ(admin(HAPI_ADMIN_DISABLED), 0);
    EXPECT_EQ(portSettings[2].linkState, 2u);
    EXPECT_EQ(reports("Link state is forced to down ").size(), 1u);
}

TEST_F(AdminPower, OutsideTheRunningPhaseOnlyTheRecordChanges)
{
    phyDeviceState = HAPI_PHY_PHASE_BOOT;
    set_port(2, HAPI_PORT_TYPE_COPPER, HAPI_ADMIN_ENABLED, HAPI_LINK_DOWN, HAPI_POWER_OFF);
    EXPECT_EQ(admin(HAPI_ADMIN_DISABLED), 0);
    EXPECT_TRUE(interface_up(2));
    EXPECT_EQ(finalPowerState[2], 4u);
    EXPECT_EQ(portSettings[2].adminState, 2u);
}

// The notification callbacks, against the channel on the fake netlink socket.
TEST_F(AdminPower, NotifyCallbacksKeepTheChannelFlags)
{
    ASSERT_EQ(hapi::notify::open_channel(kPorts), 0);
    for (int p = 1; p < kPorts; ++p)
        vekNetlinkNotifyAddIntf(p);
    const auto flags = [](int p) {
        std::lock_guard guard(vekNetlinkNotifyLock());
        return vekNetlinkNotifyFindIntf(p)->flags;
    };
    hapiPhyInftLinkStateCB(0, 2, HAPI_LINK_UP);
    EXPECT_EQ(flags(2), 0x41u);
    hapiPhyInftLinkStateCB(0, 2, HAPI_LINK_DOWN);
    EXPECT_EQ(flags(2), 0x01u);
    portSettings[3].adminState = HAPI_ADMIN_DISABLED;
    hapiPhyInftLinkStateCB(0, 3, HAPI_LINK_UP);
    EXPECT_EQ(flags(3), 0u);
    EXPECT_EQ(hapiPhyInftLinkStateCB(0, 77, HAPI_LINK_UP), 0);  // no such port: nothing

    portSettings[2].linkState = HAPI_LINK_UP;
    hapiPhyInftAdminStateCB(0, 2, HAPI_ADMIN_ENABLED);
    EXPECT_EQ(flags(2), 0x41u);
    portSettings[4].linkState = HAPI_LINK_DOWN;
    hapiPhyInftAdminStateCB(0, 4, HAPI_ADMIN_ENABLED);
    EXPECT_EQ(flags(4), 0x01u);
    hapiPhyInftAdminStateCB(0, 2, HAPI_ADMIN_DISABLED);
    EXPECT_EQ(flags(2), 0u);
}

}  // namespace
