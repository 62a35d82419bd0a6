#include "notify_board_fixture.h"

namespace {

using notify_wire::Bytes;
using notify_wire::encode;
using notify_wire::kSentFlags;
using notify_wire::pattern;
using notify_wire::seq_of;

// Each change goes to the link group once: a repeated change or post
// publishes nothing, which the next expected message being next proves.
TEST_F(NotifyChannelTest, ChangesArePublishedOnceEachToTheLinkGroup)
{
    ASSERT_EQ(vekNetlinkNotifySetFlags(3, 0x41, 1), 0);
    Bytes set = next_published();
    EXPECT_EQ(set, encode({.nlFlags = kSentFlags, .seq = seq_of(set), .ifIndex = 3, .flags = 0x41,
                           .change = 0x41}));
    EXPECT_NE(seq_of(set), 0u);  // libnl numbers events
    EXPECT_EQ(vekNetlinkNotifySetFlags(3, 0x41, 1), 0);
    EXPECT_EQ(vekNetlinkNotifyClearFlags(3, 0x40, 0), 0);
    Bytes cleared = next_published();
    EXPECT_EQ(cleared, encode({.nlFlags = kSentFlags, .seq = seq_of(cleared), .ifIndex = 3, .flags = 0x01,
                               .change = 0x40}));

    const Bytes rmon = pattern(VEK_NOTIFY_RMON_STATS_SIZE, 0x40);
    const Bytes ifTable = pattern(VEK_NOTIFY_IFTABLE_STATS_SIZE, 0x80);
    ASSERT_EQ(vekNetlinkNotifySetRmonStats(3, rmon.data(), 0), 0);
    ASSERT_EQ(vekNetlinkNotifyPostChanges(3), 0);
    Bytes only = next_published();
    EXPECT_EQ(only.size(), 136u);
    EXPECT_EQ(only, encode({.nlFlags = kSentFlags, .seq = seq_of(only), .ifIndex = 3, .flags = 0x01,
                            .rmon = &rmon}));
    ASSERT_EQ(vekNetlinkNotifyPostChanges(3), 0);

    // Posting every port sends only the pending records, in order.
    ASSERT_EQ(vekNetlinkNotifySetRmonStats(2, rmon.data(), 0), 0);
    ASSERT_EQ(vekNetlinkNotifySetIfTableStats(2, ifTable.data(), 0), 0);
    ASSERT_EQ(vekNetlinkNotifySetFlags(6, 0x40, 0), 0);
    ASSERT_EQ(vekNetlinkNotifyPostChanges(0), 0);
    Bytes both = next_published();
    EXPECT_EQ(both.size(), 316u);
    EXPECT_EQ(both, encode({.nlFlags = kSentFlags, .seq = seq_of(both), .ifIndex = 2, .ifTable = &ifTable,
                            .rmon = &rmon}));
    Bytes flags = next_published();
    EXPECT_EQ(flags, encode({.nlFlags = kSentFlags, .seq = seq_of(flags), .ifIndex = 6, .flags = 0x40,
                             .change = 0x40}));
    expect_nothing_published();
}

TEST_F(NotifyChannelTest, QueryIsAnsweredToTheRequesterAloneAndKeepsPendingState)
{
    const Bytes rmon = pattern(VEK_NOTIFY_RMON_STATS_SIZE, 0x20);
    ASSERT_EQ(vekNetlinkNotifySetRmonStats(5, rmon.data(), 0), 0);
    netlink_peer::Peer requester(55);
    ASSERT_TRUE(requester.ok());

    ASSERT_TRUE(requester.send_link(kChannel, RTM_GETLINK, 42, 55, 6, 0));  // no record 6 pending
    ASSERT_TRUE(requester.send_link(kChannel, RTM_GETLINK, 43, 55, 99, 0));  // no record at all
    ASSERT_TRUE(requester.send_link(kChannel, RTM_GETLINK, 77, 55, 5, 0));
    auto first = requester.receive_from(kChannel, kWithin);
    ASSERT_TRUE(first);
    EXPECT_EQ(seq_of(first->bytes), 42u);
    auto reply = requester.receive_from(kChannel, kWithin);
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->groups, 0u);
    EXPECT_EQ(reply->bytes, encode({.nlFlags = kSentFlags, .seq = 77, .ifIndex = 5, .rmon = &rmon}));

    // Still pending: the post sends the block the reply carried.
    ASSERT_EQ(vekNetlinkNotifyPostChanges(5), 0);
    Bytes posted = next_published();
    EXPECT_EQ(posted, encode({.nlFlags = kSentFlags, .seq = seq_of(posted), .ifIndex = 5, .rmon = &rmon}));
}

// Port 1001 is the open channel's alone; closed, the channel refuses changes;
// opening again fails cleanly while another socket holds the port and works
// once it is free.
TEST_F(NotifyChannelTest, OpensOnceFailsCleanlyWhenThePortIsTakenAndAgainOnceFree)
{
    EXPECT_EQ(vekNetlinkNotifyInit(kRecords), -1);
    ASSERT_EQ(vekNetlinkNotifySetFlags(4, 0x01, 1), 0);
    EXPECT_FALSE(next_published().empty());

    vekNetlinkNotifyDestroy();  // returns only once the receive thread has stopped
    EXPECT_EQ(vekNetlinkNotifySetFlags(4, 0x40, 1), -1);
    EXPECT_EQ(vekNetlinkNotifyPostChanges(0), 0);
    {
        netlink_peer::Peer squatter(kChannel);
        ASSERT_TRUE(squatter.ok());
        EXPECT_EQ(vekNetlinkNotifyInit(kRecords), -1);
        vekNetlinkNotifyAddIntf(1);
        EXPECT_EQ(vekNetlinkNotifySetFlags(1, 0x01, 1), -1);
    }
    EXPECT_EQ(vekNetlinkNotifyInit(0), -1);
    EXPECT_EQ(vekNetlinkNotifyInit(-3), -1);

    ASSERT_EQ(vekNetlinkNotifyInit(2), 0);
    vekNetlinkNotifyAddIntf(1);
    netlink_peer::Peer requester(55);
    ASSERT_TRUE(requester.send_link(kChannel, RTM_GETLINK, 5, 55, 1, 0));
    auto reply = requester.receive_from(kChannel, kWithin);
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->bytes, encode({.nlFlags = kSentFlags, .seq = 5, .ifIndex = 1}));
}

}  // namespace
