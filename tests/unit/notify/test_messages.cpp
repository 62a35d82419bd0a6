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
using notify_test::status;

class NotifyMessages : public NotifyTest {
protected:
    Bytes ifTable = pattern(VEK_NOTIFY_IFTABLE_STATS_SIZE, 0x10);
    Bytes rmon = pattern(VEK_NOTIFY_RMON_STATS_SIZE, 0xA0);
};

// Each case's operations on port 3, and every message they send to the link
// group, in order, with the sequence numbers the channel's socket gives them.
TEST_F(NotifyMessages, StatusMessagesOnTheWire)
{
    struct Case {
        const char *name;
        std::function<void()> act;
        std::vector<Message> sends;
        size_t lastLength;
    };
    const Case cases[] = {
        {"flag change, then the same bits again",
         [] {
             vekNetlinkNotifySetFlags(3, 0x41, 1);
             vekNetlinkNotifySetFlags(3, 0x41, 1);
         },
         {{.seq = 1, .ifIndex = 3, .flags = 0x41, .change = 0x41}},
         32},
        {"clearing is sent although sendNow is 0",
         [] {
             vekNetlinkNotifySetFlags(3, 0x41, 1);
             vekNetlinkNotifyClearFlags(3, 0x40, 0);
         },
         {{.seq = 1, .ifIndex = 3, .flags = 0x41, .change = 0x41}, {.seq = 2, .ifIndex = 3, .flags = 0x01, .change = 0x40}},
         32},
        {"RMON block posted once",
         [&] {
             vekNetlinkNotifySetRmonStats(3, rmon.data(), 0);
             vekNetlinkNotifyPostChanges(3);
             vekNetlinkNotifyPostChanges(3);
         },
         {{.seq = 1, .ifIndex = 3, .rmon = &rmon}},
         136},
        {"if-table block posted",
         [&] {
             vekNetlinkNotifySetIfTableStats(3, ifTable.data(), 0);
             vekNetlinkNotifyPostChanges(3);
         },
         {{.seq = 1, .ifIndex = 3, .ifTable = &ifTable}},
         236},
        {"both blocks, if-table first",
         [&] {
             vekNetlinkNotifySetRmonStats(3, rmon.data(), 0);
             vekNetlinkNotifySetIfTableStats(3, ifTable.data(), 0);
             vekNetlinkNotifyPostChanges(3);
         },
         {{.seq = 1, .ifIndex = 3, .ifTable = &ifTable, .rmon = &rmon}},
         316},
        {"statistics sent now carry the pending flags",
         [&] {
             vekNetlinkNotifySetFlags(3, 0x41, 0);
             vekNetlinkNotifySetRmonStats(3, rmon.data(), 1);
         },
         {{.seq = 1, .ifIndex = 3, .flags = 0x41, .change = 0x41, .rmon = &rmon}},
         136},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        TearDown();
        SetUp();
        c.act();
        std::vector<fake::Sent> expected;
        for (const Message &m : c.sends)
            expected.push_back(status(0, 1, m));
        EXPECT_EQ(sent(), expected);
        ASSERT_FALSE(sent().empty());
        EXPECT_EQ(sent().back().bytes.size(), c.lastLength);
        EXPECT_EQ(record(3).changed | record(3).cemask, 0u);
    }
}

TEST_F(NotifyMessages, AcknowledgementToTheLineDriverHasNoAttributes)
{
    {
        std::lock_guard guard(vekNetlinkNotifyLock());
        vekNotifyIfEntry &e = *vekNetlinkNotifyFindIntf(3);
        e.flags = 0x41;
        e.changed = 0x1;
        e.cemask = 0x6;
        vekNetlinkNotifySendSetMsg(&e);
    }
    EXPECT_EQ(sent(), (std::vector<fake::Sent>{
                          status(1002, 0, {.type = notify_wire::kSetLink, .seq = 1, .ifIndex = 3, .flags = 0x41,
                                           .change = 0x1})}));
    EXPECT_EQ(os().logs, (std::vector<fake::LogLine>{{LOG_INFO, "vekNetlinkNotifySendSetMsg: ifl->flags: 41"}}));
}

TEST_F(NotifyMessages, FailedSendIsLoggedAndThePendingStateClearedAllTheSame)
{
    fake::netlink().sendErrno = ENOBUFS;
    EXPECT_EQ(vekNetlinkNotifySetFlags(3, 0x41, 1), 0);
    ASSERT_EQ(os().logs.size(), 1u);
    EXPECT_EQ(os().logs[0].priority, LOG_ERR);
    // libnl's code for a lack of buffer space.
    EXPECT_TRUE(std::regex_match(os().logs[0].text,
                                 std::regex("\\[vekNetlinkNotifySendNotifyMsg:[0-9]+\\] nl_send_auto failed! err: -5")))
        << os().logs[0].text;
    EXPECT_EQ(record(3).changed, 0u);
}

}  // namespace
