#include <linux/rtnetlink.h>
#include <syslog.h>

#include <cerrno>
#include <functional>
#include <regex>

#include "notify_fixture.h"

namespace {

using notify_wire::Bytes;
using notify_wire::Message;
using notify_wire::pattern;
using notify_test::msg;

const Bytes ifTable = pattern(VEK_NOTIFY_IFTABLE_STATS_SIZE, 0x10);
const Bytes rmon = pattern(VEK_NOTIFY_RMON_STATS_SIZE, 0xA0);

// Each case's operations on port 3, and every message they send to the link
// group, in order, with the sequence numbers the channel's socket gives them.
TEST_F(NotifyTest, StatusMessagesOnTheWire)
{
    struct Case {
        const char *name;
        std::function<void()> act;
        std::vector<Message> sends;
    };
    const Case cases[] = {
        {"flag change, then the same bits again",
         [] { vekNetlinkNotifySetFlags(3, 0x41, 1), vekNetlinkNotifySetFlags(3, 0x41, 1); },
         {{.seq = 1, .ifIndex = 3, .flags = 0x41, .change = 0x41}}},
        {"clearing is sent although sendNow is 0",
         [] { vekNetlinkNotifySetFlags(3, 0x41, 1), vekNetlinkNotifyClearFlags(3, 0x40, 0); },
         {{.seq = 1, .ifIndex = 3, .flags = 0x41, .change = 0x41}, {.seq = 2, .ifIndex = 3, .flags = 0x01, .change = 0x40}}},
        {"a set replaces the change mask with the newly set bits; posted once",
         [] {
             vekNetlinkNotifySetFlags(3, 0x40, 0), vekNetlinkNotifySetFlags(3, 0x41, 0), vekNetlinkNotifyPostChanges(3);
             vekNetlinkNotifySetFlags(3, 0x41, 0), vekNetlinkNotifyPostChanges(3);
         },
         {{.seq = 1, .ifIndex = 3, .flags = 0x41, .change = 0x01}}},
        {"RMON block posted once",
         [] { vekNetlinkNotifySetRmonStats(3, rmon.data(), 0), vekNetlinkNotifyPostChanges(3), vekNetlinkNotifyPostChanges(3); },
         {{.seq = 1, .ifIndex = 3, .rmon = &rmon}}},
        {"if-table block, then both with if-table first",
         [] {
             vekNetlinkNotifySetIfTableStats(3, ifTable.data(), 0), vekNetlinkNotifyPostChanges(3);
             vekNetlinkNotifySetRmonStats(3, rmon.data(), 0), vekNetlinkNotifySetIfTableStats(3, ifTable.data(), 1);
         },
         {{.seq = 1, .ifIndex = 3, .ifTable = &ifTable}, {.seq = 2, .ifIndex = 3, .ifTable = &ifTable, .rmon = &rmon}}},
        {"statistics sent now carry the pending flags",
         [] { vekNetlinkNotifySetFlags(3, 0x41, 0), vekNetlinkNotifySetRmonStats(3, rmon.data(), 1); },
         {{.seq = 1, .ifIndex = 3, .flags = 0x41, .change = 0x41, .rmon = &rmon}}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        TearDown();
        SetUp();
        c.act();
        std::vector<fake::Sent> expected;
        for (const Message &m : c.sends)
            expected.push_back(msg(0, 1, m));
        EXPECT_EQ(sent(), expected);
    }
}

// Port 0 stores a block in every record; posting every port logs each record
// and sends the pending ones only.
TEST_F(NotifyTest, PostingEveryPort)
{
    EXPECT_EQ(vekNetlinkNotifySetIfTableStats(0, nullptr, 0), -1);
    EXPECT_EQ(vekNetlinkNotifySetRmonStats(9, rmon.data(), 0), -1);
    ASSERT_EQ(vekNetlinkNotifySetIfTableStats(0, ifTable.data(), 0), 0);
    ASSERT_EQ(vekNetlinkNotifySetRmonStats(2, rmon.data(), 0), 0);
    ASSERT_EQ(vekNetlinkNotifySetFlags(5, 0x41, 0), 0);
    EXPECT_EQ(vekNetlinkNotifyPostChanges(0), 0);
    EXPECT_EQ(vekNetlinkNotifyPostChanges(0), 0);
    std::vector<fake::LogLine> logs;
    for (const fake::LogLine &l : os().logs)
        logs.push_back({l.priority, std::regex_replace(l.text, std::regex(":[0-9]+\\]"), ":0]")});
    std::vector<fake::LogLine> expectedLogs;
    std::vector<fake::Sent> expectedSent;
    for (int p = 1; p <= 16; ++p) {
        const int port = (p - 1) % 8 + 1, changed = p == 5 ? 0x41 : 0, cemask = p > 8 ? 0 : p == 2 ? 6 : 2;
        expectedLogs.push_back({LOG_INFO, "[vekNetlinkNotifyPostChanges:0] ifIndeX: " + std::to_string(port) +
                                              " changed: " + std::to_string(changed) + " cemask: " + std::to_string(cemask)});
        if (p <= 8)
            expectedSent.push_back(msg(0, 1, {.seq = uint32_t(p), .ifIndex = port, .flags = uint32_t(changed),
                                               .change = uint32_t(changed), .ifTable = &ifTable,
                                               .rmon = p == 2 ? &rmon : nullptr}));
    }
    EXPECT_EQ(logs, expectedLogs);
    EXPECT_EQ(sent(), expectedSent);
}

TEST_F(NotifyTest, AcknowledgementToTheLineDriverHasNoAttributes)
{
    {
        std::lock_guard guard(vekNetlinkNotifyLock());
        vekNotifyIfEntry &e = *vekNetlinkNotifyFindIntf(3);
        e = {.ifIndex = 3, .flags = 0x41, .changed = 0x1, .cemask = 0x6};
        vekNetlinkNotifySendSetMsg(&e);
    }
    EXPECT_EQ(sent(),
              (std::vector<fake::Sent>{msg(1002, 0, {.type = notify_wire::kSetLink, .seq = 1, .ifIndex = 3, .flags = 0x41, .change = 0x1})}));
    EXPECT_EQ(os().logs, (std::vector<fake::LogLine>{{LOG_INFO, "vekNetlinkNotifySendSetMsg: ifl->flags: 41"}}));
}

TEST_F(NotifyTest, FailedSendIsLoggedAndThePendingStateClearedAllTheSame)
{
    fake::netlink().sendErrno = ENOBUFS;
    EXPECT_EQ(vekNetlinkNotifySetFlags(3, 0x41, 1), 0);
    fake::netlink().sendErrno = 0;
    EXPECT_EQ(vekNetlinkNotifyPostChanges(3), 0);
    ASSERT_EQ(os().logs.size(), 1u);
    EXPECT_EQ(os().logs[0].priority, LOG_ERR);
    // libnl's code for a lack of buffer space.
    EXPECT_TRUE(std::regex_match(os().logs[0].text,
                                 std::regex("\\[vekNetlinkNotifySendNotifyMsg:[0-9]+\\] nl_send_auto failed! err: -5")))
        << os().logs[0].text;
    EXPECT_TRUE(sent().empty());
}

}  // namespace
