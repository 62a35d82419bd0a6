#include <climits>
#include <cerrno>

#include "notify_fixture.h"

namespace {

using NotifyChannel = NotifyTest;

// Set up without the fixture's channel: open failures first, then the one socket.
TEST_F(NotifyChannel, OpensOneNonBlockingRouteSocketOnPort1001InTheLinkGroupUntilClosed)
{
    vekNetlinkNotifyDestroy();
    fake::reset();
    for (int ports : {0, -1})
        EXPECT_EQ(vekNetlinkNotifyInit(ports), -1) << ports;
    EXPECT_TRUE(fake::netlink().sockets.empty());
    fake::netlink().openErrno = EADDRINUSE;
    EXPECT_EQ(vekNetlinkNotifyInit(8), -1);
    vekNetlinkNotifyAddIntf(1);
    EXPECT_EQ(hapi::notify::channel().count, 0);
    fake::netlink().openErrno = 0;

    ASSERT_EQ(hapi::notify::open_channel(8), 0);
    const fake::NetlinkSocket &s = fake::netlink().sockets.back();
    EXPECT_EQ(s.protocol, NETLINK_ROUTE);
    EXPECT_EQ(s.port, 1001u);
    EXPECT_EQ(s.groups, 1u);
    EXPECT_TRUE(s.nonblocking);
    EXPECT_EQ(vekNetlinkNotifyInit(8), -1);  // would steal port 1001 from itself
    vekNetlinkNotifyDestroy();
    EXPECT_FALSE(s.open);
    EXPECT_EQ(vekNetlinkNotifySetFlags(1, 1, 1), -1);
    ASSERT_EQ(hapi::notify::open_channel(8), 0);
    EXPECT_TRUE(fake::netlink().sockets.back().open);
}

// Binary search with a 64-bit difference: records at the extremes of the key are found too.
TEST_F(NotifyChannel, RecordsAreFoundByIndexAndAddingRefusesDuplicatesAndAFullTable)
{
    vekNetlinkNotifyAddIntf(3);
    vekNetlinkNotifyAddIntf(9);
    EXPECT_EQ(hapi::notify::channel().count, 8);
    for (int missing : {0, 9, -1, INT_MIN, INT_MAX})
        EXPECT_EQ(vekNetlinkNotifySetFlags(missing, 1, 1), -1) << missing;
    for (int p = 1; p <= 8; ++p)
        EXPECT_EQ(vekNetlinkNotifySetFlags(p, 0, 1), 0) << p;
    vekNetlinkNotifyDestroy();
    ASSERT_EQ(hapi::notify::open_channel(4), 0);
    for (int p : {INT_MIN, -5, 7, INT_MAX})
        vekNetlinkNotifyAddIntf(p);
    for (int p : {INT_MIN, -5, 7, INT_MAX})
        EXPECT_EQ(vekNetlinkNotifySetFlags(p, 0, 1), 0) << p;
    EXPECT_EQ(vekNetlinkNotifySetFlags(0, 0, 1), -1);
    EXPECT_TRUE(sent().empty());
}

}  // namespace
