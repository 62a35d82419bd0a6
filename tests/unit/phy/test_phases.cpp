#include <linux/ethtool.h>

#include "port_life_fixture.h"

namespace {

// No tables until the boot phase allocates them.
class Phases : public PortLifeTest {
protected:
    Phases() : PortLifeTest(0) {}
    // Runs the boot phase and brings the front interfaces back up, as if
    // nothing had touched them yet.
    void boot()
    {
        ASSERT_EQ(hapiPhyEnterBootPhase(kPorts), 0);
        for (fake::Interface &i : os().interfaces)
            i.flags = IFF_UP | IFF_RUNNING;
    }
    static int init(int16_t p, uint32_t &type)
    {
        const usp_t usp{1, 1, p};
        uint32_t result[2] = {99, 99};
        const int r = hapiPhyInitPort(&usp, 0, result);
        type = result[1];
        return r;
    }
    std::vector<uint32_t> final_power() { return {finalPowerState, finalPowerState + kPorts}; }
};

TEST_F(Phases, BootRefusesCountsOutside1To95AndAllocatesNothing)
{
    for (int count : {0, 96}) {
        EXPECT_EQ(hapiPhyEnterBootPhase(count), 1);
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

using Slot = std::tuple<unsigned, PhyPortCallback, PhyPortCallback>;

TEST_F(Phases, BootRecordsPowerOffKeepsType5PortsDownAndRegistersCallbacks)
{
    boot();
    for (int p = 0; p < kPorts; ++p)
        for (auto [slot, fdb, notify] : {Slot{HAPI_CB_LINK_STATE, hapiBroadAddrLinkStateChangeCB, hapiPhyInftLinkStateCB},
                                         Slot{HAPI_CB_ADMIN_STATE, hapiBroadAddrAdminStateChangeCB, hapiPhyInftAdminStateCB}}) {
            // Newest first: the FDB callbacks run before the notification ones.
            const PortCallbackNode *head = portCallbacks[p].slot[slot];
            ASSERT_TRUE(head && head->next && !head->next->next) << p;
            EXPECT_EQ(head->callback, fdb);
            EXPECT_EQ(head->next->callback, notify);
        }
    portSettings[2].portType = HAPI_PORT_TYPE_DISABLED;
    platform().messages.clear();
    ASSERT_EQ(hapiPhyEnterBootPhase(kPorts), 0);  // again, reusing the tables
    EXPECT_EQ(final_power(), (std::vector<uint32_t>{0, 4, 0, 4, 4}));
    EXPECT_FALSE(interface_up(2));
    EXPECT_TRUE(interface_up(1));  // only recorded outside the running phase
    EXPECT_EQ(reports("(ETHPORT)Setting power state-nonRUNNING").size(), 3u);
    // A later boot may not ask for more ports than the tables hold.
    EXPECT_EQ(hapiPhyEnterBootPhase(kPorts + 1), 1);
    EXPECT_EQ(numOfPorts, kPorts);
}

TEST_F(Phases, RunningAppliesTheRecordsAndUnconfigureKillsThePorts)
{
    EXPECT_EQ(hapiPhyInternalSetPowerState(1, HAPI_POWER_OFF), 1);  // before boot: no table
    EXPECT_EQ(hapiPhyReturnLastError(), -17);
    boot();
    EXPECT_EQ(hapiPhyInternalSetPowerState(77, HAPI_POWER_OFF), -18);  // no logical port
    for (int p : {2, 3})
        ASSERT_EQ(hapiPhyInternalSetPowerState(p, HAPI_POWER_ON), 0);
    EXPECT_EQ(hapiPhyEnterRunningPhase(), 0);
    EXPECT_EQ(phyDeviceState, 3);
    for (int n = 1; n <= 4; ++n)
        EXPECT_EQ(interface_up(n), n == 2 || n == 3) << n;
    EXPECT_EQ(hapiPhyEnterRunningPhase(), 0);  // already running: nothing more
    EXPECT_EQ(reports("(BCMPORT)Setting power state-RUNNING").size(), 4u);
    EXPECT_EQ(hapiPhyInternalSetPowerState(1, 7), -4);

    EXPECT_EQ(hapiPhyEnterUnconfigurePhase(), 0);
    EXPECT_EQ(phyDeviceState, 2);
    for (int n = 1; n <= 4; ++n)
        EXPECT_FALSE(interface_up(n)) << n;
    EXPECT_EQ(final_power(), std::vector<uint32_t>(kPorts, 0));
    EXPECT_EQ(hapiPhyEnterUnconfigurePhase(), 0);  // no-op outside the running phase

    // Nothing recorded since: every port fails, the phase is entered anyway.
    EXPECT_EQ(hapiPhyEnterRunningPhase(), 1);
    EXPECT_EQ(hapiPhyReturnLastError(), -1);
    EXPECT_EQ(phyDeviceState, 3);
    const auto failed = reports("Failed setting power state after init phase");
    ASSERT_EQ(failed.size(), 4u);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(failed[static_cast<size_t>(i)].items,
                  (std::vector<vekpf::LogItem>{text("Failed setting power state after init phase"), number(i + 1),
                                               text("hapiPhyInternalResurrectAllPorts"), number(0)}));
    EXPECT_EQ(reports("Errors while entering the RUNNING phase").size(), 1u);
}

TEST_F(Phases, InitPortFillsTheRecordOnceAndTellsTheCallbacks)
{
    boot();
    ASSERT_EQ(hapiPhyCallbackPort(2, 0, 9, record<HAPI_CB_ADVERTISEMENT>), 0);
    ASSERT_EQ(hapiPhyCallbackPort(2, 0, 1, record<HAPI_CB_PORT_TYPE>), 0);
    ASSERT_EQ(hapiPhyCallbackPort(2, 0, 7, record<HAPI_CB_SPEED_DUPLEX>), 0);
    uint32_t type = 0;
    EXPECT_EQ(init(2, type), 0);
    EXPECT_EQ(type, 1u);
    const uint32_t advert = port(2).settings.advertising;
    const auto *words = reinterpret_cast<const uint32_t *>(&portSettings[2]);
    EXPECT_EQ(std::vector(words, words + sizeof(PhyPortSettings) / 4),
              (std::vector<uint32_t>{2, 1, 0, 0, 0, 0, 0, 0x10, 0x10, 31, 4, advert, 0, 0}));
    EXPECT_EQ(slot_calls()[HAPI_CB_ADVERTISEMENT], (std::vector<Call>{{2, advert}}));
    EXPECT_EQ(slot_calls()[HAPI_CB_PORT_TYPE], (std::vector<Call>{{2, 1}}));
    EXPECT_EQ(slot_calls()[HAPI_CB_SPEED_DUPLEX], (std::vector<Call>{{2, 0x10}}));
    EXPECT_EQ(portThreadInfo[2].signalEvent, 0u);

    fake::driver().requests.clear();
    portSettings[2].portType = 2;
    EXPECT_EQ(init(2, type), 0);
    EXPECT_EQ(type, 2u);  // the stored type, without the device layer
    EXPECT_TRUE(fake::driver().requests.empty());

    port(3).settings.port = PORT_FIBRE;
    EXPECT_EQ(init(3, type), 0);
    EXPECT_EQ(type, 2u);
    platform().portType[4] = HAPI_PORT_TYPE_SFP;
    EXPECT_EQ(init(4, type), 0);
    EXPECT_EQ(type, 4u);
    EXPECT_EQ(portThreadInfo[4].signalEvent, 2u);  // its SFP thread waits for a link
    EXPECT_NE(portThreadInfo[4].thread, pthread_t{});
}

TEST_F(Phases, InitPortRefusesUnmappedPortsAndFailedReads)
{
    boot();
    torvikSwitchingHw.portMap[3].physicalPort = -1;
    uint32_t type = 7;
    EXPECT_EQ(init(3, type), 1);
    EXPECT_EQ(type, 0u);
    EXPECT_EQ(hapiPhyReturnLastError(), -18);
    EXPECT_EQ(reports("Wrong port").size(), 1u);

    port(4).failing.insert(ETHTOOL_GSET);
    EXPECT_EQ(init(4, type), 1);
    EXPECT_EQ(hapiPhyReturnLastError(), -1);
    EXPECT_EQ(reports("Get type failed").size(), 1u);
    EXPECT_EQ(portSettings[4].portType, 0u);  // a later call tries again
}

using Callbacks = PortLifeTest;

TEST_F(Callbacks, RegistrationChecksTypeAndPortAndAllPortsStopsAtAnUnmappedPort)
{
    EXPECT_EQ(hapiPhyCallbackPort(2, 0, 10, record<0>), -4);
    EXPECT_EQ(hapiPhyCallbackPort(9, 0, 0, record<0>), -18);
    ASSERT_EQ(hapiPhyCallbackPort(2, 0, 9, record<HAPI_CB_ADVERTISEMENT>), 0);
    ASSERT_EQ(hapiPhyCallbackPort(2, 0, 9, record<HAPI_CB_FLOW_CONTROL>), 0);
    EXPECT_EQ(portCallbacks[2].slot[HAPI_CB_ADVERTISEMENT]->callback, record<HAPI_CB_FLOW_CONTROL>);

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
