#include "notify_board_fixture.h"

namespace {

// Changes reach the link group, a query only its requester; port 1001 is the
// open channel's alone, and opening again works once another holder frees it.
TEST_F(NotifyChannelTest, PublishesToTheLinkGroupAnswersTheRequesterAndOwnsItsPort)
{
    EXPECT_EQ(vekNetlinkNotifyInit(8), -1);
    const Bytes rmon = notify_wire::pattern(VEK_NOTIFY_RMON_STATS_SIZE, 0x40);
    ASSERT_EQ(vekNetlinkNotifySetRmonStats(3, rmon.data(), 0), 0);
    netlink_peer::Peer requester(55);
    ASSERT_TRUE(requester.send_link(kChannel, RTM_GETLINK, 77, 55, 3, 0));
    auto reply = requester.receive_from(kChannel, 5s);
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->groups, 0u);
    EXPECT_EQ(reply->bytes, encode({.seq = 77, .ifIndex = 3, .rmon = &rmon}));
    ASSERT_EQ(vekNetlinkNotifySetFlags(3, 0x41, 1), 0);
    EXPECT_EQ(published(), encode({.ifIndex = 3, .flags = 0x41, .change = 0x41, .rmon = &rmon}));

    vekNetlinkNotifyDestroy();  // returns only once the receive thread has stopped
    {
        netlink_peer::Peer squatter(kChannel);
        ASSERT_TRUE(squatter.ok());
        EXPECT_EQ(vekNetlinkNotifyInit(8), -1);
    }
    ASSERT_EQ(vekNetlinkNotifyInit(2), 0);
    vekNetlinkNotifyAddIntf(1);
    ASSERT_TRUE(requester.send_link(kChannel, RTM_GETLINK, 5, 55, 1, 0));
    reply = requester.receive_from(kChannel, 5s);
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->bytes, encode({.seq = 5, .ifIndex = 1}));
}

}  // namespace
