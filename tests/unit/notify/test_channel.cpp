#include <linux/netlink.h>

#include <cerrno>

#include "notify_fixture.h"

namespace {

class NotifyChannel : public UnitTest {
protected:
    void TearDown() override { vekNetlinkNotifyDestroy(); }
    static const fake::NetlinkSocket *socket_at(size_t k)
    {
        const auto &all = fake::netlink().sockets;
        return k < all.size() ? &all[k] : nullptr;
    }
};

TEST_F(NotifyChannel, OpensOneNonBlockingRouteSocketOnPort1001InTheLinkGroupUntilClosed)
{
    ASSERT_EQ(hapi::notify::open_channel(8), 0);
    const fake::NetlinkSocket *s = socket_at(0);
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->protocol, NETLINK_ROUTE);
    EXPECT_EQ(s->port, 1001u);
    EXPECT_EQ(s->groups, 1u);
    EXPECT_TRUE(s->nonblocking);
    EXPECT_EQ(vekNetlinkNotifyInit(8), -1);  // would steal port 1001 from itself
    EXPECT_EQ(fake::netlink().sockets.size(), 1u);

    vekNetlinkNotifyDestroy();
    EXPECT_FALSE(socket_at(0)->open);
    EXPECT_EQ(hapi::notify::channel().capacity, 0);
    EXPECT_EQ(vekNetlinkNotifySetFlags(1, 1, 1), -1);
    ASSERT_EQ(hapi::notify::open_channel(8), 0);
    EXPECT_TRUE(socket_at(1)->open);
}

TEST_F(NotifyChannel, InitFailsWithoutASocketAndLeavesTheChannelClosed)
{
    for (int ports : {0, -1})
        EXPECT_EQ(vekNetlinkNotifyInit(ports), -1) << ports;
    EXPECT_TRUE(fake::netlink().sockets.empty());
    fake::netlink().openErrno = EADDRINUSE;
    EXPECT_EQ(vekNetlinkNotifyInit(8), -1);
    EXPECT_FALSE(hapi::notify::channel().socket);
    EXPECT_EQ(hapi::notify::channel().capacity, 0);
    vekNetlinkNotifyAddIntf(1);
    EXPECT_EQ(hapi::notify::channel().count, 0);
}

}  // namespace
