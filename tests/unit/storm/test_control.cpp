#include <set>
#include <utility>

#include "storm_fixture.h"

namespace {

using vekpf::LogItem;
using Commands = std::vector<std::string>;

constexpr uint32_t B = HAPI_STORM_BROADCAST, M = HAPI_STORM_MULTICAST, U = HAPI_STORM_UNICAST;
const std::string kB = "u32 match ether dst FF:FF:FF:FF:FF:FF police rate ";
const std::string kM = "u32 match u16 0x0100 0x0100 at -14 police rate ";
const std::string kU = "u32 match u16 0x0000 0x0100 at -14 police rate ";

std::string del(int port) { return "tc filter del dev port0" + std::to_string(port - 1) + " ingress prio 1"; }
std::string add(int port, const std::string &filter)
{
    return "tc filter add dev port0" + std::to_string(port - 1) + " ingress prio 1 " + filter + " burst 100k";
}

// Every setting deletes the port's filters and re-adds what still applies.
TEST_F(StormControl, SettingsSendTheseCommands)
{
    hapiStormCtlRecord clear = {};
    clear.actions = HAPI_STORM_CLEAR_ALL;
    struct Row {
        const char *what;
        int port;
        uint32_t speed;  // 0: no link report
        std::vector<hapiStormCtlRecord> before;
        hapiStormCtlRecord record;
        Commands commands;
    };
    const Row rows[] = {
        {"10% at 100 Mb/s", 1, 100, {}, limit(B, 10, true), {del(1), add(1, kB + "10000kbit")}},
        {"150% counts as 100", 1, 100, {}, limit(B, 150, true), {del(1), add(1, kB + "100000kbit")}},
        {"0% removes", 1, 100, {limit(B, 10, true)}, limit(B, 0, true), {del(1)}},
        {"percent at unknown speed", 2, 0, {}, limit(B, 10, true), {del(2)}},
        {"packets per second", 1, 0, {}, limit(U, 20), {del(1), add(1, kU + "30000bps")}},
        {"rate 0 disables", 1, 0, {limit(U, 20)}, limit(U, 0), {del(1)}},
        {"negative rate disables", 1, 0, {limit(U, 20)}, limit(U, -5), {del(1)}},
        {"a rate drops the percentages", 1, 100, {limit(B, 10, true)}, limit(M, 10), {del(1), add(1, kM + "15000bps")}},
        {"rate re-adds the others in its order", 3, 0, {limit(B, 10), limit(U, 20)}, limit(M, 30),
         {del(3), add(3, kU + "30000bps"), add(3, kB + "15000bps"), add(3, kM + "45000bps")}},
        {"clear all", 4, 1000, {limit(B | M, 100), limit(U, 5, true)}, clear, Commands(6, del(4))},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.what);
        SetUp();
        if (row.speed)
            link_up(row.port, row.speed);
        for (const hapiStormCtlRecord &r : row.before)
            ASSERT_EQ(apply(row.port, r), 0);
        forget();
        EXPECT_EQ(apply(row.port, row.record), 0);
        EXPECT_EQ(os().commands, row.commands);
        EXPECT_TRUE(platform().messages.empty());
        TearDown();
    }
}

TEST_F(StormControl, RefusedRequestsChangeNothingAndBadPortsAreReported)
{
    const usp_t usp = {1, 1, 1};
    const hapiStormCtlRecord r = limit(B, 10);
    EXPECT_EQ(hapiSysIfIngressStormCtl(&usp, 297, &r), 1);
    EXPECT_EQ(hapiSysIfIngressStormCtl(&usp, 299, &r), 1);
    EXPECT_EQ(hapiSysIfIngressStormCtl(nullptr, HAPI_STORM_CTL_COMMAND, &r), 1);
    EXPECT_EQ(hapiSysIfIngressStormCtl(&usp, HAPI_STORM_CTL_COMMAND, nullptr), 1);
    EXPECT_EQ(platform().semaphoresCreated, 0);

    const SwitchPortMapEntry kept = std::exchange(torvikSwitchingHw.portMap[5], SwitchPortMapEntry{0, 0, 5});
    EXPECT_EQ(apply(96, r), 1);
    EXPECT_EQ(apply(5, r), 1);
    torvikSwitchingHw.portMap[5] = kept;
    EXPECT_TRUE(os().commands.empty());
    ASSERT_EQ(platform().messages.size(), 2u);
    const fake::LogMessage &m = platform().messages[1];
    EXPECT_EQ(m.source, "src/veksys_all");
    EXPECT_EQ(m.id, 0x3a0001u);
    EXPECT_EQ(m.severity, 187u);
    EXPECT_EQ(m.facility, 58u);
    EXPECT_EQ(m.items, (std::vector<LogItem>{{1, 4, 5, {}}, {1, 2, 5, {}}}));
    EXPECT_EQ(platform().messages[0].items, (std::vector<LogItem>{{1, 4, -1, {}}, {1, 2, 96, {}}}));
}

TEST_F(StormControl, FailedFiltersAreReportedWithTheirType)
{
    link_up(2, 100);
    apply(2, limit(M, 20, true));
    forget();
    failing = {kM + "20000kbit burst 100k", kB + "1500bps burst 100k"};
    apply(2, limit(B, 10, true));
    apply(2, limit(B, 1));
    std::vector<std::vector<LogItem>> reports;
    for (const fake::LogMessage &m : platform().messages) {
        EXPECT_EQ(m.id, 0x3a0009u);
        reports.push_back(m.items);
    }
    const LogItem port{1, 4, 2, {}};
    EXPECT_EQ(reports, (std::vector<std::vector<LogItem>>{{{3, 0x7fffffff, 0, "multicast bandwidth"}, port},
                                                         {{3, 0x7fffffff, 0, "broadcast rate"}, port}}));
}

TEST_F(StormControl, MissingMutexIsReportedAndTheSettingStillApplies)
{
    platform().semaphoreCreateFails = true;
    EXPECT_EQ(apply(1, limit(B, 10)), 0);
    EXPECT_EQ(os().commands.size(), 2u);
    ASSERT_EQ(platform().messages.size(), 1u);
    EXPECT_EQ(platform().messages[0].id, 0x3a0008u);
    EXPECT_EQ(platform().messages[0].items, (std::vector<LogItem>{{3, 0x7fffffff, 0, "mutex"}}));
    EXPECT_EQ(hapi::storm::storm_ctl_task_started, 0);

    platform().semaphoreCreateFails = false;
    apply(1, limit(B, 10));
    EXPECT_EQ(hapi::storm::storm_ctl_task_started, 1);
    EXPECT_EQ(platform().semaphoresCreated, 2);
}

TEST_F(StormControl, RebuildClearsAndReappliesTheStoredLimits)
{
    apply(2, limit(B, 10));
    apply(2, limit(U, 10));
    const std::vector<std::string> before = filters("port01");
    EXPECT_EQ(vekIngress_clear_all("port01"), 0);
    EXPECT_TRUE(filters("port01").empty());
    vekIngress_reapply_all(2);
    const std::vector<std::string> after = filters("port01");
    EXPECT_EQ(std::multiset<std::string>(before.begin(), before.end()),
              std::multiset<std::string>(after.begin(), after.end()));

    hapiStormCtlRecord clear = {};
    clear.actions = HAPI_STORM_CLEAR_ALL;
    apply(2, clear);
    forget();
    vekIngress_reapply_all(2);  // nothing stored any more
    vekIngress_reapply_all(5);
    vekIngress_reapply_all(0);
    EXPECT_TRUE(os().commands.empty());
    os().shellResult[del(2)] = 1;
    failing.insert("*");
    EXPECT_EQ(vekIngress_clear_all("port01"), 1);
    EXPECT_TRUE(os().logged("[[QOS]] tc filter del dev port01 ingress prio 1 Failed "));
    EXPECT_EQ(vekIngress_clear_all(nullptr), 1);
}

}  // namespace
