#include <chrono>
#include <set>
#include <thread>

#include "hapi/hapi_init.h"
#include "hapi/hapi_storm.h"
#include "storm_fixture.h"

namespace {

using hapi::storm::storm_ctl_table;
using vekpf::LogItem;

const std::string kDel00 = "tc filter del dev port00 ingress prio 1";
const std::string kBcastPercent00 =
    "tc filter add dev port00 ingress prio 1 u32 match ether dst FF:FF:FF:FF:FF:FF police rate "
    "10000kbit burst 100k";

TEST_F(StormControl, TenPercentBroadcastOnA100MbPort)
{
    link_up(1, 100);
    EXPECT_EQ(apply(1, percent_bcast(10)), 0);
    EXPECT_EQ(os().commands, (std::vector<std::string>{kDel00, kBcastPercent00}));

    forget();
    EXPECT_EQ(apply(1, percent_bcast(150)), 0);  // counts as 100
    EXPECT_EQ(os().commands.back(),
              "tc filter add dev port00 ingress prio 1 u32 match ether dst FF:FF:FF:FF:FF:FF police "
              "rate 100000kbit burst 100k");

    forget();
    EXPECT_EQ(apply(1, percent_bcast(0)), 0);
    EXPECT_EQ(os().commands, std::vector<std::string>{kDel00});
    EXPECT_TRUE(platform().messages.empty());
}

TEST_F(StormControl, PercentOnAPortOfUnknownSpeedInstallsNothing)
{
    EXPECT_EQ(apply(2, percent_bcast(10)), 0);
    EXPECT_EQ(os().commands, std::vector<std::string>{"tc filter del dev port01 ingress prio 1"});
    EXPECT_EQ(storm_ctl_table[2].percent[hapi::storm::kBroadcast], 10);
    EXPECT_TRUE(platform().messages.empty());
}

TEST_F(StormControl, RateModeValueOfZeroOrLessStoresDisabled)
{
    hapiStormCtlRecord r = rate(HAPI_STORM_UNICAST, 20);
    EXPECT_EQ(apply(1, r), 0);
    EXPECT_EQ(os().commands.back(), "tc filter add dev port00 ingress prio 1 u32 match u16 0x0000 "
                                    "0x0100 at -14 police rate 30000bps burst 100k");
    EXPECT_EQ(storm_ctl_table[1].enable[hapi::storm::kUnicast], 1u);
    for (int value : {0, -5}) {
        forget();
        EXPECT_EQ(apply(1, rate(HAPI_STORM_UNICAST, value)), 0);
        EXPECT_EQ(os().commands, std::vector<std::string>{kDel00});
        EXPECT_EQ(storm_ctl_table[1].enable[hapi::storm::kUnicast], 0u);
    }
}

TEST_F(StormControl, MulticastRateDropsTheBroadcastPercentage)
{
    link_up(1, 100);
    apply(1, percent_bcast(10));
    EXPECT_EQ(filters("port00"), std::vector<std::string>{kBcastPercent00.substr(40)});
    apply(1, rate(HAPI_STORM_MULTICAST, 10));
    EXPECT_EQ(filters("port00"), std::vector<std::string>{
                                     "u32 match u16 0x0100 0x0100 at -14 police rate 15000bps burst 100k"});
}

TEST_F(StormControl, RateModeReaddsTheOthersInItsOrder)
{
    apply(3, rate(HAPI_STORM_BROADCAST, 10));
    apply(3, rate(HAPI_STORM_UNICAST, 20));
    forget();
    apply(3, rate(HAPI_STORM_MULTICAST, 30));
    EXPECT_EQ(os().commands,
              (std::vector<std::string>{
                  "tc filter del dev port02 ingress prio 1",
                  "tc filter add dev port02 ingress prio 1 u32 match u16 0x0000 0x0100 at -14 police "
                  "rate 30000bps burst 100k",
                  "tc filter add dev port02 ingress prio 1 u32 match ether dst FF:FF:FF:FF:FF:FF "
                  "police rate 15000bps burst 100k",
                  "tc filter add dev port02 ingress prio 1 u32 match u16 0x0100 0x0100 at -14 police "
                  "rate 45000bps burst 100k"}));
}

TEST_F(StormControl, ClearAllLeavesNoFilterWhateverTheMode)
{
    link_up(4, 1000);
    apply(4, rate(HAPI_STORM_BROADCAST, 100));
    apply(4, rate(HAPI_STORM_MULTICAST, 100));
    hapiStormCtlRecord r = percent_bcast(5);
    r.actions = HAPI_STORM_UNICAST;
    r.unicastEnable = 1;
    r.unicastValue = 5;
    apply(4, r);
    ASSERT_FALSE(filters("port03").empty());

    hapiStormCtlRecord clear = {};
    clear.actions = HAPI_STORM_CLEAR_ALL;
    EXPECT_EQ(apply(4, clear), 0);
    EXPECT_TRUE(filters("port03").empty());
    EXPECT_EQ(storm_ctl_table[4].level[hapi::storm::kBroadcast], 0);
    EXPECT_EQ(storm_ctl_table[4].percent[hapi::storm::kUnicast], 0);
}

TEST_F(StormControl, OtherCommandsChangeNothing)
{
    for (uint32_t command : {297u, 299u}) {
        const hapiStormCtlRecord r = rate(HAPI_STORM_BROADCAST, 10);
        const usp_t usp = {1, 1, 1};
        EXPECT_EQ(hapiSysIfIngressStormCtl(&usp, command, &r), 1);
    }
    EXPECT_TRUE(os().commands.empty());
    EXPECT_EQ(platform().semaphoresCreated, 0);
    EXPECT_EQ(storm_ctl_table[1].level[hapi::storm::kBroadcast], 0);
}

TEST_F(StormControl, PortsOutsideTheTableAreRefusedAndReported)
{
    torvikSwitchingHw.portMap[5] = SwitchPortMapEntry{0, 0, 5};
    EXPECT_EQ(apply(96, rate(HAPI_STORM_BROADCAST, 10)), 1);
    EXPECT_EQ(apply(5, rate(HAPI_STORM_BROADCAST, 10)), 1);
    EXPECT_TRUE(os().commands.empty());
    ASSERT_EQ(platform().messages.size(), 2u);
    const fake::LogMessage &m = platform().messages[1];
    EXPECT_EQ(m.source, "src/veksys_all");
    EXPECT_EQ(m.id, 0x3a0001u);
    EXPECT_EQ(m.severity, 187u);
    EXPECT_EQ(m.facility, 58u);
    EXPECT_EQ(m.items, (std::vector<LogItem>{{1, 4, 5, {}}, {1, 2, 5, {}}}));
    EXPECT_EQ(platform().messages[0].items, (std::vector<LogItem>{{1, 4, -1, {}}, {1, 2, 96, {}}}));

    const usp_t usp = {1, 1, 1};
    const hapiStormCtlRecord r = {};
    EXPECT_EQ(hapiSysIfIngressStormCtl(nullptr, 298, &r), 1);
    EXPECT_EQ(hapiSysIfIngressStormCtl(&usp, 298, nullptr), 1);
}

TEST_F(StormControl, FailedFiltersAreReportedWithTheirType)
{
    link_up(2, 100);
    apply(2, percent_mcast(20));
    forget();
    failing.insert("u32 match u16 0x0100 0x0100 at -14 police rate 20000kbit burst 100k");
    failing.insert("u32 match ether dst FF:FF:FF:FF:FF:FF police rate 1500bps burst 100k");
    apply(2, percent_bcast(10));
    apply(2, rate(HAPI_STORM_BROADCAST, 1));

    std::vector<std::vector<LogItem>> reports;
    for (const fake::LogMessage &m : platform().messages) {
        EXPECT_EQ(m.id, 0x3a0009u);
        reports.push_back(m.items);
    }
    const LogItem port{1, 4, 2, {}};
    EXPECT_EQ(reports, (std::vector<std::vector<LogItem>>{
                           {{3, 0x7fffffff, 0, "multicast bandwidth"}, port},
                           {{3, 0x7fffffff, 0, "broadcast rate"}, port}}));
}

TEST_F(StormControl, MissingMutexIsReportedAndTheSettingStillApplies)
{
    platform().semaphoreCreateFails = true;
    EXPECT_EQ(apply(1, rate(HAPI_STORM_BROADCAST, 10)), 0);
    EXPECT_EQ(os().commands.size(), 2u);
    ASSERT_EQ(platform().messages.size(), 1u);
    EXPECT_EQ(platform().messages[0].id, 0x3a0008u);
    EXPECT_EQ(platform().messages[0].items, (std::vector<LogItem>{{3, 0x7fffffff, 0, "mutex"}}));
    EXPECT_EQ(hapi::storm::storm_ctl_task_started, 0);

    platform().semaphoreCreateFails = false;
    apply(1, rate(HAPI_STORM_BROADCAST, 10));
    EXPECT_EQ(hapi::storm::storm_ctl_task_started, 1);
    EXPECT_EQ(platform().semaphoresCreated, 2);
}

TEST_F(StormControl, RebuildClearsAndReappliesTheStoredLimits)
{
    apply(2, rate(HAPI_STORM_BROADCAST, 10));
    apply(2, rate(HAPI_STORM_UNICAST, 10));
    const std::vector<std::string> before = filters("port01");
    EXPECT_EQ(vekIngress_clear_all("port01"), 0);
    EXPECT_TRUE(filters("port01").empty());
    vekIngress_reapply_all(2);
    const std::vector<std::string> after = filters("port01");
    EXPECT_EQ(std::multiset<std::string>(before.begin(), before.end()),
              std::multiset<std::string>(after.begin(), after.end()));

    forget();
    vekIngress_reapply_all(5);
    vekIngress_reapply_all(0);
    EXPECT_TRUE(os().commands.empty());
    os().shellResult["tc filter del dev port01 ingress prio 1"] = 1;
    failing.insert("*");
    EXPECT_EQ(vekIngress_clear_all("port01"), 1);
    EXPECT_TRUE(os().logged("[[QOS]] tc filter del dev port01 ingress prio 1 Failed "));
    EXPECT_EQ(vekIngress_clear_all(nullptr), 1);
}

}  // namespace
