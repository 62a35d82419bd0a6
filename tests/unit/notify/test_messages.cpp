#include <linux/rtnetlink.h>

#include <cstring>

#include "notify_fixture.h"

namespace {

using notify_wire::Bytes;
using notify_wire::encode;
using notify_wire::pattern;

class NotifyMessages : public UnitTest {
protected:
    vekNotifyIfEntry entry{};
    Bytes ifTable = pattern(VEK_NOTIFY_IFTABLE_STATS_SIZE, 0x10);
    Bytes rmon = pattern(VEK_NOTIFY_RMON_STATS_SIZE, 0xA0);

    void SetUp() override
    {
        UnitTest::SetUp();
        entry.ifIndex = 3;
        entry.flags = 0x41;
        entry.changed = 0x41;
        std::memcpy(entry.ifTableStats, ifTable.data(), ifTable.size());
        std::memcpy(entry.rmonStats, rmon.data(), rmon.size());
    }
    MsgPtr status(uint32_t port, uint32_t groups, uint32_t seq)
    {
        return MsgPtr(hapi::notify::build_link_msg(RTM_NEWLINK, entry, port, groups, seq, true));
    }
    static void expect_destination(nl_msg *msg, uint32_t pid, uint32_t groups)
    {
        const sockaddr_nl *dst = nlmsg_get_dst(msg);
        EXPECT_EQ(dst->nl_family, AF_NETLINK);
        EXPECT_EQ(dst->nl_pid, pid);
        EXPECT_EQ(dst->nl_groups, groups);
    }
};

TEST_F(NotifyMessages, FlagChangeIsTheBare32ByteLinkMessageToTheLinkGroup)
{
    MsgPtr msg = status(0, 1, 0);
    ASSERT_TRUE(msg);
    EXPECT_EQ(bytes_of(msg.get()), encode({.ifIndex = 3, .flags = 0x41, .change = 0x41}));
    expect_destination(msg.get(), 0, 1);
}

TEST_F(NotifyMessages, StatisticsAttributesFollowTheContentMaskIfTableFirst)
{
    struct Case {
        uint32_t cemask;
        const Bytes *ifTable;
        const Bytes *rmon;
        size_t length;
    };
    for (const Case &c : {Case{0x4, nullptr, &rmon, 136}, Case{0x2, &ifTable, nullptr, 236},
                          Case{0x6, &ifTable, &rmon, 316}}) {
        SCOPED_TRACE(c.cemask);
        entry.cemask = c.cemask;
        MsgPtr msg = status(0, 1, 0);
        ASSERT_TRUE(msg);
        const Bytes got = bytes_of(msg.get());
        EXPECT_EQ(got.size(), c.length);
        EXPECT_EQ(got, encode({.ifIndex = 3, .flags = 0x41, .change = 0x41, .ifTable = c.ifTable,
                               .rmon = c.rmon}));
    }
}

TEST_F(NotifyMessages, QueryReplyCarriesTheRequestersSequenceAndAddress)
{
    entry.cemask = 0x4;
    MsgPtr msg = status(55, 0, 77);
    ASSERT_TRUE(msg);
    EXPECT_EQ(bytes_of(msg.get()),
              encode({.seq = 77, .ifIndex = 3, .flags = 0x41, .change = 0x41, .rmon = &rmon}));
    expect_destination(msg.get(), 55, 0);
}

TEST_F(NotifyMessages, AcknowledgementToTheLineDriverHasNoAttributes)
{
    entry.cemask = 0x6;
    entry.changed = 0x1;
    MsgPtr msg(hapi::notify::build_link_msg(RTM_SETLINK, entry, 1002, 0, 0, false));
    ASSERT_TRUE(msg);
    EXPECT_EQ(bytes_of(msg.get()),
              encode({.type = notify_wire::kSetLink, .ifIndex = 3, .flags = 0x41, .change = 0x1}));
    expect_destination(msg.get(), 1002, 0);
}

}  // namespace
