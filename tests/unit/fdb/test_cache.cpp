#include <cstring>
#include <linux/neighbour.h>
#include <linux/rtnetlink.h>
#include <netlink/handlers.h>
#include <netlink/msg.h>
#include <netlink/socket.h>
#include <syslog.h>
#include <vector>

#include "fdb/fdb.h"
#include "hapi/hapi_fdb.h"
#include "unit_fixture.h"

namespace {

std::vector<uint8_t> g_sent;
int g_receives = 0;

int capture_send(nl_sock *, nl_msg *msg)
{
    const nlmsghdr *hdr = nlmsg_hdr(msg);
    const auto *bytes = reinterpret_cast<const uint8_t *>(hdr);
    g_sent.assign(bytes, bytes + hdr->nlmsg_len);
    return static_cast<int>(hdr->nlmsg_len);
}

int no_reply(nl_sock *, nl_cb *)
{
    ++g_receives;
    return 0;
}

class FdbCache : public UnitTest {
protected:
    void TearDown() override { hapiFdbCleanup(); }
};

TEST_F(FdbCache, InitOpensTheCacheAndTheScratchRecord)
{
    EXPECT_EQ(hapiFdbInit(), 0);
    EXPECT_NE(hapi::fdb::g_neighSocket, nullptr);
    EXPECT_NE(hapi::fdb::g_scratch, nullptr);
    EXPECT_EQ(os().logs, (std::vector<fake::LogLine>{
                             {LOG_DEBUG, "HAPI FDB hapiAllocateL2AddrTbl(): memory allocated: 16"}}));
    // A second allocation keeps the record and says so again.
    vekL2AddrEntry *first = hapi::fdb::g_scratch;
    EXPECT_EQ(hapiAllocateL2AddrTbl(), 0);
    EXPECT_EQ(hapi::fdb::g_scratch, first);
    EXPECT_EQ(os().count_logs("HAPI FDB hapiAllocateL2AddrTbl(): memory allocated: 16"), 2u);

    hapiFdbCleanup();
    EXPECT_EQ(hapi::fdb::g_neighSocket, nullptr);
    EXPECT_EQ(hapi::fdb::g_scratch, nullptr);
}

TEST_F(FdbCache, DumpRequestsEveryBridgeNeighbourAndReceivesOnTheCallbackSet)
{
    ASSERT_EQ(hapiFdbInit(), 0);
    nl_cb *socketCallbacks = nl_socket_get_cb(hapi::fdb::g_neighSocket);
    nl_cb_overwrite_send(socketCallbacks, capture_send);
    nl_cb_put(socketCallbacks);
    nl_cb_overwrite_recvmsgs(hapi::fdb::g_neighCallbacks, no_reply);

    vekNetlinkL2NeighDump();
    ASSERT_EQ(g_sent.size(), 28u);
    uint32_t seq, port;
    std::memcpy(&seq, &g_sent[8], 4);
    std::memcpy(&port, &g_sent[12], 4);
    EXPECT_EQ(port, nl_socket_get_local_port(hapi::fdb::g_neighSocket));
    std::vector<uint8_t> expected = {28, 0, 0, 0, 30, 0, 0x05, 0x03};
    for (uint32_t word : {seq, port})
        for (int i = 0; i < 4; ++i)
            expected.push_back(static_cast<uint8_t>(word >> (8 * i)));
    expected.insert(expected.end(), {7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(g_sent, expected);
    EXPECT_EQ(g_receives, 1);
}

TEST_F(FdbCache, WithoutInitTheDumpSendsNothing)
{
    vekNetlinkL2NeighDump();
    vekL2Traverse();
    EXPECT_TRUE(os().logs.empty());
    EXPECT_TRUE(os().fileWrites.empty());
}

TEST_F(FdbCache, StaticEntryRefusesAnUnknownCommand)
{
    EXPECT_EQ(hapiBridgeFdbModify(30, 3, 0, hapiMacAddr{{0x02, 0, 0, 0, 0, 1}}), -1);
    EXPECT_EQ(os().logs, (std::vector<fake::LogLine>{{LOG_ERR, "hapiBridgeFdbModify: Invalid cmd"}}));
}

}  // namespace
