#include <netlink/handlers.h>
#include <syslog.h>

#include "neigh_wire.h"
#include "unit_fixture.h"

namespace {

using namespace neigh_wire;
constexpr Mac kGroup{0x01, 0x00, 0x5E, 0x00, 0x00, 0x01};
constexpr const char *kFlushFile = "/sys/class/net/eth1/bridge/flush";

// A message holding exactly these bytes, whatever its header claims.
Msg raw(const Msg &from, size_t keep)
{
    Msg msg(nlmsg_alloc_size(keep));
    std::memcpy(nlmsg_hdr(msg.get()), nlmsg_hdr(from.get()), keep);
    return msg;
}

int feed(const Neigh &n) { return vekNetlinkL2NeighMsgValidCB(build(n).get(), nullptr); }

class FdbMatch : public UnitTest {
protected:
    void SetUp() override
    {
        UnitTest::SetUp();
        ASSERT_EQ(hapiAllocateL2AddrTbl(), 0);
        fake::os().logs.clear();
    }
    void TearDown() override { hapiFdbCleanup(); }
    vekShadowTable &table() { return fake::shadow_table(); }
};

// Each case: the table's sorted front (all still unconfirmed), the neighbours
// fed, the table after and whether the changed flag went up.
TEST_F(FdbMatch, NeighboursBecomeEntriesByTheMirroringRules)
{
    const Mac low{0x00, 0, 0, 0, 0, 1}, nine{0x02, 0, 0, 0, 0, 9};
    const auto dyn = HAPI_FDB_ENTRY_DYNAMIC, stat = HAPI_FDB_ENTRY_STATIC;
    struct Case {
        const char *name;
        std::vector<vekShadowEntry> before;
        std::vector<Neigh> fed;
        std::vector<vekShadowEntry> after;
        int changed;
    };
    const Case cases[] = {
        {"learned: appended as dynamic with port and VLAN", {}, {{.ifindex = 3}, {.mac = nine, .ifindex = 2, .vlan = 10}},
         {entry(kStation, 0, 3, dyn), entry(nine, 10, 2, dyn)}, 0},
        {"left out by the rules", {},
         {{.mac = kGroup, .ifindex = 112, .state = NUD_PERMANENT}, {.mac = kGroup}, {.ifindex = 112, .state = NUD_NOARP},
          {.ifindex = 3, .state = NUD_PERMANENT}, {.ifindex = 3, .state = NUD_STALE}, {.ifindex = 3, .vlan = 0},
          {.ifindex = 0x1FF} /* low byte reads as -1 */, {.family = AF_INET}},
         {}, 0},
        {"the bridge's permanent addresses are static, index 112 on port 0", {},
         {{.ifindex = 112, .state = NUD_PERMANENT}, {.mac = nine, .ifindex = 113, .state = NUD_PERMANENT}},
         {entry(kStation, 0, 0, stat), entry(nine, 0, 113, stat)}, 0},
        {"known on its port: only loses its mark", {entry(low, 0, 1, 3, 1), entry(kStation, 0, 3, stat, 1)},
         {{.ifindex = 3}}, {entry(low, 0, 1, 3, 1), entry(kStation, 0, 3, stat)}, 0},
        {"known on a new port: takes the port, keeps VLAN and type", {entry(kStation, 5, 3, stat, 1)},
         {{.ifindex = 4, .vlan = 5}}, {entry(kStation, 5, 4, stat)}, 1},
        {"same address in another VLAN is a new entry", {entry(kStation, 5, 3, dyn, 1)}, {{.ifindex = 4, .vlan = 6}},
         {entry(kStation, 5, 3, dyn, 1), entry(kStation, 6, 4, dyn)}, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        std::copy(c.before.begin(), c.before.end(), table().slots);
        table().sortedCount = table().totalCount = uint32_t(c.before.size());
        shadowTblChanged = 0;
        for (const Neigh &n : c.fed)
            EXPECT_EQ(feed(n), NL_OK);
        EXPECT_EQ(std::vector<vekShadowEntry>(table().slots, table().slots + table().totalCount), c.after);
        EXPECT_EQ(shadowTblChanged, c.changed);
    }
    EXPECT_TRUE(fake::os().fileWrites.empty());
}

// A failed flush is logged where the dump feeds the table and after the dump.
TEST_F(FdbMatch, FullTableAppendsOnceThenFlushesTheBridge)
{
    table().totalCount = 32768;
    EXPECT_EQ(feed({.mac = {0x02, 0, 0, 0, 0, 1}}), NL_OK);
    EXPECT_EQ(table().totalCount, 32769u);
    EXPECT_EQ(table().slots[32768], entry({0x02, 0, 0, 0, 0, 1}, 0, 3, HAPI_FDB_ENTRY_DYNAMIC));
    EXPECT_TRUE(fake::os().fileWrites.empty());
    EXPECT_EQ(feed({.mac = {0x02, 0, 0, 0, 0, 2}}), NL_OK);
    EXPECT_EQ(table().totalCount, 32769u);
    EXPECT_EQ(fake::os().files[kFlushFile], "1\n");
    vekL2Traverse();  // no neighbour socket: only the limit check
    EXPECT_EQ(fake::os().fileWrites, std::vector<std::string>(2, kFlushFile));
    fake::os().unwritableFiles = {kFlushFile};
    feed({});
    vekL2Traverse();
    const fake::LogLine full{LOG_ERR, "vekL2Traverse: Max Entry Reached New Count: 32769"},
        failed{LOG_ERR, "vekL2Traverse: /bridge/flush failed"};
    EXPECT_EQ(fake::os().logs, (std::vector<fake::LogLine>{full, failed, full, failed}));
}

TEST_F(FdbMatch, TruncatedOrMalformedMessagesAreSkippedUnread)
{
    const Msg full = build({});
    const uint32_t len = nlmsg_hdr(full.get())->nlmsg_len;
    ASSERT_EQ(len, 16u + 12u + 12u);
    Msg shortHeader = raw(full, len);
    nlmsg_hdr(shortHeader.get())->nlmsg_len = 27;
    EXPECT_EQ(vekNetlinkL2NeighMsgValidCB(shortHeader.get(), nullptr), NL_SKIP);
    // The header claims the address the buffer does not hold.
    EXPECT_EQ(vekNetlinkL2NeighMsgValidCB(raw(full, len - 4).get(), nullptr), NL_SKIP);
    auto attribute_cut = [](const Neigh &n, size_t at, uint16_t length) {
        Msg msg = build(n);
        reinterpret_cast<nlattr *>(reinterpret_cast<char *>(nlmsg_hdr(msg.get())) + at)->nla_len = length;
        return vekNetlinkL2NeighMsgValidCB(msg.get(), nullptr);
    };
    EXPECT_EQ(attribute_cut({}, 28, 4 + 4), NL_SKIP);           // a 4-byte address
    EXPECT_EQ(attribute_cut({.vlan = 5}, 40, 4 + 1), NL_SKIP);  // a 1-byte VLAN ID
    EXPECT_EQ(table().totalCount, 0u);
}

TEST_F(FdbMatch, OtherMessagesAndAMissingScratchRecordAreIgnored)
{
    Msg done(nlmsg_alloc_simple(NLMSG_DONE, NLM_F_MULTI));
    EXPECT_EQ(vekNetlinkL2NeighMsgValidCB(done.get(), nullptr), NL_OK);
    hapiFdbCleanup();
    EXPECT_EQ(feed({}), NL_OK);
    EXPECT_EQ(table().totalCount, 0u);
}

}  // namespace
