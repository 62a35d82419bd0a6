#include <syslog.h>

#include <climits>
#include <cstring>
#include <regex>

#include "notify_fixture.h"

namespace {

using notify_wire::Bytes;
using notify_wire::pattern;

class NotifyTable : public NotifyTest {};

TEST_F(NotifyTable, LookupFindsEveryRecordAndNoOther)
{
    std::lock_guard guard(vekNetlinkNotifyLock());
    for (int p = 1; p <= kRecords; ++p) {
        vekNotifyIfEntry *e = vekNetlinkNotifyFindIntf(p);
        ASSERT_NE(e, nullptr) << p;
        EXPECT_EQ(e->ifIndex, p);
    }
    for (int missing : {0, 9, -1, INT_MIN, INT_MAX})
        EXPECT_EQ(vekNetlinkNotifyFindIntf(missing), nullptr) << missing;
}

TEST_F(NotifyTable, LookupDoesNotOverflowAtTheExtremesOfTheKey)
{
    vekNetlinkNotifyDestroy();
    ASSERT_EQ(hapi::notify::open_channel(4), 0);
    for (int p : {INT_MIN, -5, 7, INT_MAX})
        vekNetlinkNotifyAddIntf(p);
    std::lock_guard guard(vekNetlinkNotifyLock());
    for (int p : {INT_MIN, -5, 7, INT_MAX})
        EXPECT_NE(vekNetlinkNotifyFindIntf(p), nullptr) << p;
    EXPECT_EQ(vekNetlinkNotifyFindIntf(0), nullptr);
}

TEST_F(NotifyTable, AddingRefusesDuplicatesAndAFullTable)
{
    vekNetlinkNotifyAddIntf(3);
    vekNetlinkNotifyAddIntf(9);
    EXPECT_EQ(hapi::notify::channel().count, kRecords);
    EXPECT_EQ(vekNetlinkNotifySetFlags(9, 1, 1), -1);
    EXPECT_TRUE(sent().empty());
}

TEST_F(NotifyTable, SetReplacesTheChangeMaskWithTheNewlySetBits)
{
    EXPECT_EQ(vekNetlinkNotifySetFlags(3, 0x40, 0), 0);
    EXPECT_EQ(record(3).flags, 0x40u);
    EXPECT_EQ(record(3).changed, 0x40u);  // kept pending: not sent
    EXPECT_EQ(vekNetlinkNotifySetFlags(3, 0x41, 0), 0);
    EXPECT_EQ(record(3).flags, 0x41u);
    EXPECT_EQ(record(3).changed, 0x01u);
    EXPECT_EQ(vekNetlinkNotifySetFlags(3, 0x41, 0), 0);
    EXPECT_EQ(record(3).changed, 0u);
    EXPECT_EQ(vekNetlinkNotifySetFlags(0, 1, 1), -1);
    EXPECT_EQ(vekNetlinkNotifySetFlags(9, 1, 1), -1);
    EXPECT_TRUE(sent().empty());
}

TEST_F(NotifyTable, SendingEmptiesThePendingStateButKeepsTheBlocks)
{
    const Bytes rmon = pattern(VEK_NOTIFY_RMON_STATS_SIZE, 7);
    ASSERT_EQ(vekNetlinkNotifySetRmonStats(4, rmon.data(), 0), 0);
    ASSERT_EQ(vekNetlinkNotifySetFlags(4, 0x41, 1), 0);
    EXPECT_EQ(sent().size(), 1u);
    EXPECT_EQ(record(4).changed, 0u);
    EXPECT_EQ(record(4).cemask, 0u);
    EXPECT_EQ(Bytes(record(4).rmonStats, record(4).rmonStats + 76), rmon);
    EXPECT_EQ(record(4).flags, 0x41u);
}

TEST_F(NotifyTable, StoringForPortZeroFillsEveryRecord)
{
    const Bytes ifTable = pattern(VEK_NOTIFY_IFTABLE_STATS_SIZE, 3);
    const Bytes rmon = pattern(VEK_NOTIFY_RMON_STATS_SIZE, 9);
    EXPECT_EQ(vekNetlinkNotifySetIfTableStats(0, ifTable.data(), 0), 0);
    EXPECT_EQ(vekNetlinkNotifySetRmonStats(0, rmon.data(), 0), 0);
    for (int p = 1; p <= kRecords; ++p) {
        EXPECT_EQ(Bytes(record(p).ifTableStats, record(p).ifTableStats + 176), ifTable) << p;
        EXPECT_EQ(Bytes(record(p).rmonStats, record(p).rmonStats + 76), rmon) << p;
        EXPECT_EQ(record(p).cemask, 0x6u) << p;
    }
    EXPECT_EQ(vekNetlinkNotifySetRmonStats(9, rmon.data(), 0), -1);
    EXPECT_TRUE(sent().empty());
}

TEST_F(NotifyTable, MissingStatisticsBlockIsRefusedBeforeAnyRecordIsTouched)
{
    EXPECT_EQ(vekNetlinkNotifySetIfTableStats(0, nullptr, 0), -1);
    EXPECT_EQ(vekNetlinkNotifySetRmonStats(2, nullptr, 1), -1);
    for (int p = 1; p <= kRecords; ++p)
        EXPECT_EQ(record(p).cemask, 0u);
}

TEST_F(NotifyTable, PostingEveryPortLogsEachRecordAndSendsOnlyPendingOnes)
{
    const Bytes rmon(VEK_NOTIFY_RMON_STATS_SIZE, 0);
    ASSERT_EQ(vekNetlinkNotifySetRmonStats(2, rmon.data(), 0), 0);
    ASSERT_EQ(vekNetlinkNotifySetFlags(5, 0x41, 0), 0);
    EXPECT_EQ(vekNetlinkNotifyPostChanges(0), 0);
    std::vector<std::string> lines;
    for (const fake::LogLine &l : os().logs) {
        EXPECT_EQ(l.priority, LOG_INFO);
        lines.push_back(std::regex_replace(l.text, std::regex(":[0-9]+\\]"), ":0]"));
    }
    std::vector<std::string> expected;
    for (int p = 1; p <= kRecords; ++p) {
        char line[128];
        std::snprintf(line, sizeof line, "[vekNetlinkNotifyPostChanges:0] ifIndeX: %d changed: %d cemask: %d", p,
                      p == 5 ? 0x41 : 0, p == 2 ? 4 : 0);
        expected.push_back(line);
    }
    EXPECT_EQ(lines, expected);
    using notify_test::status;
    EXPECT_EQ(sent(), (std::vector<fake::Sent>{status(0, 1, {.seq = 1, .ifIndex = 2, .rmon = &rmon}),
                                               status(0, 1, {.seq = 2, .ifIndex = 5, .flags = 0x41, .change = 0x41})}));
    EXPECT_EQ(record(2).cemask, 0u);
    EXPECT_EQ(record(5).changed, 0u);
}

}  // namespace
