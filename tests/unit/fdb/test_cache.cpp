#include <linux/netlink.h>
#include <syslog.h>

#include <cerrno>
#include <functional>
#include <vector>

#include "fake_netlink.h"
#include "fdb/fdb.h"
#include "neigh_wire.h"
#include "unit_fixture.h"

namespace {

using namespace neigh_wire;
using Bytes = std::vector<uint8_t>;
using D = std::vector<fake::Datagram>;

class FdbCache : public UnitTest {
protected:
    void TearDown() override { hapiFdbCleanup(); }
    static bool every_socket_closed()
    {
        for (const fake::NetlinkSocket &s : fake::netlink().sockets)
            if (s.open)
                return false;
        return true;
    }
};

// Without a socket the scratch record is still allocated and the traversal sends nothing.
TEST_F(FdbCache, InitOpensABlockingRouteSocketAndTheScratchRecordCleanupDropsBoth)
{
    fake::netlink().openErrno = EMFILE;
    EXPECT_EQ(hapiFdbInit(), 0);
    vekL2Traverse();
    EXPECT_TRUE(fake::netlink().sent.empty());
    const fake::LogLine allocated{LOG_DEBUG, "HAPI FDB hapiAllocateL2AddrTbl(): memory allocated: 16"};
    EXPECT_EQ(os().logs, (std::vector<fake::LogLine>{{LOG_ERR, "HAPI FDB init: vekNetlinkL2NeighCacheInit() failed!"}, allocated}));
    fake::netlink().openErrno = 0;
    os().logs.clear();
    vekL2AddrEntry *first = hapi::fdb::cache().scratch.get();
    EXPECT_EQ(hapiFdbInit(), 0);  // keeps the record, says so again
    EXPECT_EQ(hapi::fdb::cache().scratch.get(), first);
    EXPECT_EQ(os().logs, (std::vector<fake::LogLine>{allocated}));
    ASSERT_EQ(fake::netlink().sockets.size(), 1u);
    const fake::NetlinkSocket &s = fake::netlink().sockets[0];
    EXPECT_EQ(s.protocol, NETLINK_ROUTE);
    EXPECT_EQ(s.groups, 0u);
    EXPECT_FALSE(s.nonblocking);
    EXPECT_EQ(hapi::fdb::cache().socket.port(), s.port);  // the port the kernel chose
    EXPECT_EQ(vekNetlinkL2NeighCacheInit(), 0);  // replaces the socket
    EXPECT_FALSE(fake::netlink().sockets[0].open);
    hapiFdbCleanup();
    EXPECT_TRUE(every_socket_closed());
    EXPECT_EQ(hapi::fdb::cache().scratch, nullptr);
}

// The traversal against scripted kernel answers: replies over three receive
// buffers, the last one marked interrupted (what was read still counts).
using FdbDump = FdbCache;

TEST_F(FdbDump, RequestAndTheRepliesThatReachTheShadowTable)
{
    ASSERT_EQ(hapiFdbInit(), 0);
    os().logs.clear();
    const Mac a{0x02, 0, 0, 0, 0, 0xA}, b{0x02, 0, 0, 0, 0, 0xB}, c{0x02, 0, 0, 0, 0, 0xC};
    fake::answer_with([&](uint32_t seq, uint32_t port) {
        return D{{fake::join({reply({.mac = a}, seq, port), reply({.mac = b, .ifindex = 2, .vlan = 10}, seq, port)})},
                 {reply({.mac = c, .ifindex = 4}, seq, port, NLM_F_DUMP_INTR)},
                 {fake::message(NLMSG_DONE, NLM_F_MULTI, seq, port, {0, 0, 0, 0})}};
    });
    vekL2Traverse();
    const vekShadowTable &t = fake::shadow_table();
    EXPECT_EQ(std::vector<vekShadowEntry>(t.slots, t.slots + t.totalCount),
              (std::vector<vekShadowEntry>{entry(a, 0, 3, HAPI_FDB_ENTRY_DYNAMIC), entry(b, 10, 2, HAPI_FDB_ENTRY_DYNAMIC),
                                           entry(c, 0, 4, HAPI_FDB_ENTRY_DYNAMIC)}));
    EXPECT_TRUE(os().logs.empty());
    // Every request asks the kernel for every bridge neighbour.
    const uint32_t port = hapi::fdb::cache().socket.port();
    const fake::Sent request{hapi::fdb::cache().socket.fd(), 0, 0,
                             fake::message(RTM_GETNEIGH, 0x305, 1, port, {7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0})};
    EXPECT_EQ(fake::netlink().sent.front(), request);
}

// Static entries: one request on a socket of its own, answered by the kernel.
class FdbStatic : public FdbCache {
protected:
    static constexpr hapiMacAddr kMac{{0x02, 0x11, 0x22, 0x33, 0x44, 0x55}};
    void acknowledge_with(int error)
    {
        fake::netlink().answer = [error](fake::NetlinkSocket &from, const fake::Sent &request) {
            from.inbox.push_back({fake::ack(request.bytes, error)});
        };
    }
};

TEST_F(FdbStatic, RequestsCarryTheEntryAndTheKernelsAnswerDecides)
{
    struct Case {
        int command;
        uint16_t vlan;
        int ackError;
        int result;
        std::vector<fake::LogLine> logs;
        uint16_t type, flags;
    };
    const Case cases[] = {
        {HAPI_FDB_CMD_ADD, 10, 0, 0, {}, RTM_NEWNEIGH, 0x0605},
        {HAPI_FDB_CMD_ADD, 0, -EEXIST, -1, {{LOG_ERR, "hapiBridgeFdbModify: rtnl_neigh_add error:-6"}}, RTM_NEWNEIGH, 0x0605},
        {HAPI_FDB_CMD_DELETE, 10, 0, 0, {}, RTM_DELNEIGH, 0x0005},
        {HAPI_FDB_CMD_DELETE, 0, -ENOENT, -1, {{LOG_ERR, "hapiBridgeFdbModify: rtnl_neigh_delete error:-12"}},
         RTM_DELNEIGH, 0x0005},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << "command " << c.command << " vlan " << c.vlan);
        fake::reset();
        acknowledge_with(c.ackError);
        EXPECT_EQ(hapiBridgeFdbModify(c.command, 3, c.vlan, kMac), c.result);
        EXPECT_EQ(os().logs, c.logs);
        ASSERT_EQ(fake::netlink().sent.size(), 1u);
        const fake::Sent &sent = fake::netlink().sent[0];
        EXPECT_EQ(sent.port, 0u);
        const uint32_t port = fake::netlink().sockets[0].port;
        Bytes expected = fake::message(c.type, c.flags, 1, port,
                                       {7, 0, 0, 0, 3, 0, 0, 0, 0x42, 0, 0x04, 0,  // ndmsg: bridge, port 3, static
                                        10, 0, 2, 0, 0x02, 0x11, 0x22, 0x33, 0x44, 0x55, 0, 0});  // NDA_LLADDR
        if (c.vlan) {
            const Bytes vlan = {6, 0, 5, 0, static_cast<uint8_t>(c.vlan), 0, 0, 0};  // NDA_VLAN
            expected.insert(expected.end(), vlan.begin(), vlan.end());
            expected[0] = static_cast<uint8_t>(expected.size());
        }
        EXPECT_EQ(sent.bytes, expected);
        EXPECT_TRUE(every_socket_closed());
    }
}

TEST_F(FdbStatic, NoSocketOrAnUnknownCommandSendsNothing)
{
    EXPECT_EQ(hapiBridgeFdbModify(30, 3, 0, kMac), -1);
    fake::netlink().openErrno = EMFILE;
    EXPECT_EQ(hapiBridgeFdbModify(HAPI_FDB_CMD_ADD, 3, 0, kMac), -1);
    EXPECT_EQ(os().logs, (std::vector<fake::LogLine>{{LOG_ERR, "hapiBridgeFdbModify: Invalid cmd"},
                                                     {LOG_ERR, "hapiBridgeFdbModify: nl_connect error"}}));
    EXPECT_TRUE(fake::netlink().sent.empty());
    EXPECT_TRUE(every_socket_closed());
}

}  // namespace
