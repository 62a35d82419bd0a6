#include <linux/ethtool.h>

#include "port_life_fixture.h"

namespace {

class Phases : public PortLifeTest {
protected:
    // Runs the boot phase and brings the front interfaces back up, as if
    // nothing had touched them yet.
    void boot(int count = kPorts)
    {
        ASSERT_EQ(hapiPhyEnterBootPhase(count), 0);
        for (fake::Interface &i : os().interfaces)
            i.flags = IFF_UP | IFF_RUNNING;
    }
    uint32_t init(int16_t p)
    {
        const usp_t usp{1, 1, p};
        uint32_t result[2] = {99, 99};
        EXPECT_EQ(hapiPhyInitPort(&usp, 0, result), 0) << "port " << p;
        return result[1];
    }
};

TEST_F(Phases, BootRefusesCountsOutside1To95AndAllocatesNothing)
{
    for (int count : {0, 96}) {
        EXPECT_EQ(hapiPhyEnterBootPhase(count), 1);
        EXPECT_EQ(numOfPorts, count);
        EXPECT_EQ(hapiPhyReturnLastError(), -4);
        EXPECT_EQ(portSettings, nullptr);
        EXPECT_EQ(finalPowerState, nullptr);
        const auto wrong = reports("Wrong param");
        ASSERT_EQ(wrong.size(), 1u);
        EXPECT_EQ(wrong[0].severity, 186u);
        EXPECT_EQ(wrong[0].id, 0x3D0004u);
        EXPECT_EQ(wrong[0].items.back(), number(count));
        platform().messages.clear();
    }
    EXPECT_EQ(hapiPhyEnterBootPhase(95), 0);
    EXPECT_EQ(phyDeviceState, 1);
    EXPECT_EQ(platform().preInitPorts, 95);
}

TEST_F(Phases, BootRecordsPowerOffForFrontPortsAndKeepsType5PortsDown)
{
    boot();
    portSettings[2].portType = HAPI_PORT_TYPE_DISABLED;
    ASSERT_EQ(hapiPhyEnterBootPhase(kPorts), 0);  // again, reusing the tables
    EXPECT_EQ(std::vector<uint32_t>(finalPowerState, finalPowerState + kPorts),
              (std::vector<uint32_t>{0, 4, 0, 4, 4}));
    EXPECT_FALSE(interface_up(2));
    EXPECT_TRUE(interface_up(1));  // only recorded outside the running phase
    EXPECT_EQ(reports("(ETHPORT)Setting power state-nonRUNNING").size(), 3u + 4u);
    // A later boot may not ask for more ports than the tables hold.
    EXPECT_EQ(hapiPhyEnterBootPhase(kPorts + 1), 1);
    EXPECT_EQ(numOfPorts, kPorts);
}

TEST_F(Phases, BootRegistersFdbCallbacksBeforeNotificationCallbacks)
{
    boot();
    for (int p = 0; p < kPorts; ++p) {
        const PortCallbackNode *link = portCallbacks[p].slot[HAPI_CB_LINK_STATE];
        ASSERT_TRUE(link && link->next) << p;
        EXPECT_EQ(link->callback, hapiBroadAddrLinkStateChangeCB);
        EXPECT_EQ(link->next->callback, hapiPhyInftLinkStateCB);
        const PortCallbackNode *admin = portCallbacks[p].slot[HAPI_CB_ADMIN_STATE];
        ASSERT_TRUE(admin && admin->next) << p;
        EXPECT_EQ(admin->callback, hapiBroadAddrAdminStateChangeCB);
        EXPECT_EQ(admin->next->callback, hapiPhyInftAdminStateCB);
    }
}

TEST_F(Phases, RunningBringsFrontPortsDownUnlessPowerOnWasRecorded)
{
    boot();
    ASSERT_EQ(hapiPhyInternalSetPowerState(2, HAPI_POWER_ON), 0);
    EXPECT_EQ(hapiPhyEnterRunningPhase(), 0);
    EXPECT_EQ(phyDeviceState, 3);
    for (int n = 1; n <= 4; ++n)
        EXPECT_EQ(interface_up(n), n == 2) << n;
    EXPECT_EQ(hapiPhyEnterRunningPhase(), 0);  // already running: nothing more
    EXPECT_EQ(reports("(BCMPORT)Setting power state-RUNNING").size(), 4u);
}

TEST_F(Phases, UnconfigureThenRunningWithoutRecordsFailsButStaysRunning)
{
    boot();
    for (int16_t p = 1; p <= 4; ++p)
        hapiPhyInternalSetPowerState(p, HAPI_POWER_ON);
    ASSERT_EQ(hapiPhyEnterRunningPhase(), 0);
    ASSERT_TRUE(interface_up(3));

    EXPECT_EQ(hapiPhyEnterUnconfigurePhase(), 0);
    EXPECT_EQ(phyDeviceState, 2);
    for (int n = 1; n <= 4; ++n)
        EXPECT_FALSE(interface_up(n)) << n;
    EXPECT_EQ(std::vector<uint32_t>(finalPowerState, finalPowerState + kPorts), std::vector<uint32_t>(kPorts, 0));
    EXPECT_EQ(hapiPhyEnterUnconfigurePhase(), 0);  // no-op outside the running phase

    EXPECT_EQ(hapiPhyEnterRunningPhase(), 1);
    EXPECT_EQ(hapiPhyReturnLastError(), -1);
    EXPECT_EQ(phyDeviceState, 3);
    const auto failed = reports("Failed setting power state after init phase");
    ASSERT_EQ(failed.size(), 4u);
    for (size_t i = 0; i < failed.size(); ++i)
        EXPECT_EQ(failed[i].items, (std::vector<vekpf::LogItem>{text("Failed setting power state after init phase"),
                                                               number(static_cast<int>(i) + 1),
                                                               text("hapiPhyInternalResurrectAllPorts"),
                                                               number(0)}));
    EXPECT_EQ(reports("Errors while entering the RUNNING phase").size(), 1u);
}

TEST_F(Phases, PowerStateOutsideTheTablesIsRefused)
{
    EXPECT_EQ(hapiPhyInternalSetPowerState(1, HAPI_POWER_OFF), 1);  // before boot: no table
    EXPECT_EQ(hapiPhyReturnLastError(), -17);
    boot();
    EXPECT_EQ(hapiPhyInternalSetPowerState(77, HAPI_POWER_OFF), -18);  // no logical port
    phyDeviceState = 3;
    EXPECT_EQ(hapiPhyInternalSetPowerState(1, 7), -4);
}

TEST_F(Phases, InitPortFillsTheRecordAndTellsTheCallbacks)
{
    boot();
    ASSERT_EQ(hapiPhyCallbackPort(2, 0, 9, record<HAPI_CB_ADVERTISEMENT>), 0);
    ASSERT_EQ(hapiPhyCallbackPort(2, 0, 1, record<HAPI_CB_PORT_TYPE>), 0);
    ASSERT_EQ(hapiPhyCallbackPort(2, 0, 7, record<HAPI_CB_SPEED_DUPLEX>), 0);
    EXPECT_EQ(init(2), 1u);
    const PhyPortSettings &s = portSettings[2];
    EXPECT_EQ(s.linkState, 2u);
    EXPECT_EQ(s.speedDuplex, 0x10u);
    EXPECT_EQ(s.maxSpeedDuplex, 0x10u);
    EXPECT_EQ(s.capabilities[0], 31u);
    EXPECT_EQ(s.capabilities[1], 4u);
    EXPECT_EQ(s.flowControl, 0u);
    EXPECT_EQ(s.advertisement, port(2).settings.advertising);
    EXPECT_EQ(slot_calls()[HAPI_CB_ADVERTISEMENT], (std::vector<Call>{{2, port(2).settings.advertising}}));
    EXPECT_EQ(slot_calls()[HAPI_CB_PORT_TYPE], (std::vector<Call>{{2, 1}}));
    EXPECT_EQ(slot_calls()[HAPI_CB_SPEED_DUPLEX], (std::vector<Call>{{2, 0x10}}));
    EXPECT_EQ(portThreadInfo[2].signalEvent, 0u);
}

TEST_F(Phases, SecondInitPortReturnsTheStoredTypeWithoutTheDeviceLayer)
{
    boot();
    init(1);
    fake::driver().requests.clear();
    portSettings[1].portType = 2;
    EXPECT_EQ(init(1), 2u);
    EXPECT_TRUE(fake::driver().requests.empty());
}

TEST_F(Phases, InitPortTypeFromMediumOrPlatform)
{
    boot();
    port(3).settings.port = PORT_FIBRE;
    EXPECT_EQ(init(3), 2u);
    EXPECT_EQ(portThreadInfo[3].signalEvent, 0u);

    platform().portType[4] = HAPI_PORT_TYPE_SFP;
    EXPECT_EQ(init(4), 4u);
    EXPECT_EQ(portThreadInfo[4].signalEvent, 2u);  // its SFP thread waits for a link
    EXPECT_NE(portThreadInfo[4].thread, pthread_t{});
}

TEST_F(Phases, InitPortRefusesUnmappedPortsAndFailedReads)
{
    boot();
    torvikSwitchingHw.portMap[3].physicalPort = -1;
    const usp_t usp{1, 1, 3};
    uint32_t result[2] = {7, 7};
    EXPECT_EQ(hapiPhyInitPort(&usp, 0, result), 1);
    EXPECT_EQ(result[1], 0u);
    EXPECT_EQ(hapiPhyReturnLastError(), -18);
    EXPECT_EQ(reports("Wrong port").size(), 1u);

    port(4).failing.insert(ETHTOOL_GSET);
    const usp_t four{1, 1, 4};
    EXPECT_EQ(hapiPhyInitPort(&four, 0, result), 1);
    EXPECT_EQ(hapiPhyReturnLastError(), -1);
    EXPECT_EQ(reports("Get type failed").size(), 1u);
    EXPECT_EQ(portSettings[4].portType, 0u);  // a later call tries again
}

class Callbacks : public PortLifeTest {
protected:
    void SetUp() override
    {
        PortLifeTest::SetUp();
        make_tables();
    }
};

TEST_F(Callbacks, RegistrationChecksTypeAndPortAndPutsNewestFirst)
{
    EXPECT_EQ(hapiPhyCallbackPort(2, 0, 10, record<0>), -4);
    EXPECT_EQ(hapiPhyCallbackPort(9, 0, 0, record<0>), -18);
    for (int p = 0; p < kPorts; ++p)
        for (PortCallbackNode *head : portCallbacks[p].slot)
            EXPECT_EQ(head, nullptr);

    ASSERT_EQ(hapiPhyCallbackPort(2, 0, 9, record<HAPI_CB_ADVERTISEMENT>), 0);
    ASSERT_EQ(hapiPhyCallbackPort(2, 0, 9, record<HAPI_CB_FLOW_CONTROL>), 0);
    EXPECT_EQ(portCallbacks[2].slot[HAPI_CB_UNUSED], nullptr);
    hapi::phy::invoke_callbacks(2, HAPI_CB_ADVERTISEMENT, 0x2F);
    EXPECT_EQ(slot_calls()[HAPI_CB_ADVERTISEMENT], (std::vector<Call>{{2, 0x2F}}));
    EXPECT_EQ(slot_calls()[HAPI_CB_FLOW_CONTROL], (std::vector<Call>{{2, 0x2F}}));
    EXPECT_EQ(portCallbacks[2].slot[HAPI_CB_ADVERTISEMENT]->callback, record<HAPI_CB_FLOW_CONTROL>);
}

TEST_F(Callbacks, AllPortsStopsAtAnUnmappedPortAndKeepsEarlierOnes)
{
    torvikSwitchingHw.portMap[3].physicalPort = -1;
    EXPECT_EQ(hapiPhyCallbackAllPorts(0, 0, record<0>), 1);
    for (int p = 0; p < kPorts; ++p)
        EXPECT_EQ(portCallbacks[p].slot[0] != nullptr, p < 3) << p;
    const auto wrong = reports("Wrong port");
    ASSERT_EQ(wrong.size(), 1u);
    EXPECT_EQ(wrong[0].id, 0x3D0012u);
    EXPECT_EQ(wrong[0].items, (std::vector<vekpf::LogItem>{text("Wrong port"), number(3),
                                                           text("hapiPhyCallbackAllPorts"), number(0)}));
    torvikSwitchingHw.portMap[3].physicalPort = 3;
    EXPECT_EQ(hapiPhyCallbackAllPorts(0, 10, record<0>), 1);
    EXPECT_EQ(reports("Set failed").size(), 1u);
}

}  // namespace
