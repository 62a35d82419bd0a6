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
    // Sorted front of distinct addresses, all still unconfirmed.
    void seed(std::initializer_list<vekShadowEntry> entries)
    {
        uint32_t i = 0;
        for (const vekShadowEntry &e : entries)
            table().slots[i++] = e;
        table().sortedCount = table().totalCount = i;
    }
    size_t flushes() const
    {
        const auto &w = fake::os().fileWrites;
        return static_cast<size_t>(std::count(w.begin(), w.end(), kFlushFile));
    }
};

TEST_F(FdbMatch, LearnedEntryIsAppendedAsDynamicWithItsPortAndVlan)
{
    EXPECT_EQ(feed({.ifindex = 3}), NL_OK);
    EXPECT_EQ(feed({.mac = {0x02, 0, 0, 0, 0, 9}, .ifindex = 2, .vlan = 10}), NL_OK);
    ASSERT_EQ(table().totalCount, 2u);
    EXPECT_EQ(table().sortedCount, 0u);
    EXPECT_EQ(table().slots[0], entry(kStation, 0, 3, HAPI_FDB_ENTRY_DYNAMIC));
    EXPECT_EQ(table().slots[1], entry({0x02, 0, 0, 0, 0, 9}, 10, 2, HAPI_FDB_ENTRY_DYNAMIC));
    EXPECT_EQ(shadowTblChanged, 0);
}

TEST_F(FdbMatch, EntriesTheRulesLeaveOutChangeNothing)
{
    EXPECT_EQ(feed({.mac = kGroup, .ifindex = 112, .state = NUD_PERMANENT}), NL_OK);
    EXPECT_EQ(feed({.mac = kGroup}), NL_OK);
    EXPECT_EQ(feed({.ifindex = 112, .state = NUD_NOARP}), NL_OK);           // static, not permanent
    EXPECT_EQ(feed({.ifindex = 3, .state = NUD_PERMANENT}), NL_OK);         // a port's own address
    EXPECT_EQ(feed({.ifindex = 3, .state = NUD_STALE}), NL_OK);
    EXPECT_EQ(feed({.ifindex = 3, .vlan = 0}), NL_OK);
    EXPECT_EQ(feed({.ifindex = 0x1FF}), NL_OK);                              // low byte reads as -1
    EXPECT_EQ(feed({.family = AF_INET}), NL_OK);
    EXPECT_EQ(table().totalCount, 0u);
    EXPECT_TRUE(fake::os().fileWrites.empty());
}

TEST_F(FdbMatch, BridgeAddressIsStaticOnPortZero)
{
    EXPECT_EQ(feed({.ifindex = 112, .state = NUD_PERMANENT}), NL_OK);
    EXPECT_EQ(feed({.mac = {0x02, 0, 0, 0, 0, 7}, .ifindex = 113, .state = NUD_PERMANENT}), NL_OK);
    ASSERT_EQ(table().totalCount, 2u);
    EXPECT_EQ(table().slots[0], entry(kStation, 0, 0, HAPI_FDB_ENTRY_STATIC));
    EXPECT_EQ(table().slots[1], entry({0x02, 0, 0, 0, 0, 7}, 0, 113, HAPI_FDB_ENTRY_STATIC));
}

TEST_F(FdbMatch, KnownAddressOnItsPortOnlyLosesItsMark)
{
    const Mac low{0x00, 0, 0, 0, 0, 1};
    seed({entry(low, 0, 1, 3, 1), entry(kStation, 0, 3, HAPI_FDB_ENTRY_STATIC, 1)});
    EXPECT_EQ(feed({.ifindex = 3}), NL_OK);
    EXPECT_EQ(table().slots[1], entry(kStation, 0, 3, HAPI_FDB_ENTRY_STATIC, 0));
    EXPECT_EQ(table().slots[0].mark, 1u);
    EXPECT_EQ(table().totalCount, 2u);
    EXPECT_EQ(shadowTblChanged, 0);
}

TEST_F(FdbMatch, KnownAddressOnANewPortTakesThePortAndSetsTheChangedFlag)
{
    seed({entry(kStation, 5, 3, HAPI_FDB_ENTRY_STATIC, 1)});
    EXPECT_EQ(feed({.ifindex = 4, .vlan = 5}), NL_OK);
    // Port moves; VLAN ID and type stay as the table has them.
    EXPECT_EQ(table().slots[0], entry(kStation, 5, 4, HAPI_FDB_ENTRY_STATIC, 0));
    EXPECT_EQ(table().totalCount, 1u);
    EXPECT_EQ(shadowTblChanged, 1);
}

TEST_F(FdbMatch, SameAddressInAnotherVlanIsANewEntry)
{
    seed({entry(kStation, 5, 3, HAPI_FDB_ENTRY_DYNAMIC, 1)});
    EXPECT_EQ(feed({.ifindex = 4, .vlan = 6}), NL_OK);
    EXPECT_EQ(table().slots[0].mark, 1u);
    ASSERT_EQ(table().totalCount, 2u);
    EXPECT_EQ(table().slots[1], entry(kStation, 6, 4, HAPI_FDB_ENTRY_DYNAMIC));
    EXPECT_EQ(shadowTblChanged, 0);
}

TEST_F(FdbMatch, FullTableAppendsOnceThenFlushesTheBridge)
{
    table().totalCount = 32768;
    EXPECT_EQ(feed({.mac = {0x02, 0, 0, 0, 0, 1}}), NL_OK);
    EXPECT_EQ(table().totalCount, 32769u);
    EXPECT_EQ(table().slots[32768], entry({0x02, 0, 0, 0, 0, 1}, 0, 3, HAPI_FDB_ENTRY_DYNAMIC));
    EXPECT_EQ(flushes(), 0u);

    EXPECT_EQ(feed({.mac = {0x02, 0, 0, 0, 0, 2}}), NL_OK);
    EXPECT_EQ(table().totalCount, 32769u);
    EXPECT_EQ(flushes(), 1u);
    EXPECT_EQ(fake::os().files[kFlushFile], "1\n");

    vekL2Traverse();  // no neighbour socket: only the limit check
    EXPECT_EQ(flushes(), 2u);
    EXPECT_EQ(fake::os().logs, (std::vector<fake::LogLine>{
                                   {LOG_ERR, "vekL2Traverse: Max Entry Reached New Count: 32769"}}));
}

TEST_F(FdbMatch, FailedFlushIsLoggedInTheDumpAndAfterIt)
{
    fake::os().unwritableFiles = {kFlushFile};
    table().totalCount = 32769;
    feed({});
    vekL2Traverse();
    EXPECT_EQ(fake::os().logs, (std::vector<fake::LogLine>{
                                   {LOG_ERR, "vekL2Traverse: /bridge/flush failed"},
                                   {LOG_ERR, "vekL2Traverse: Max Entry Reached New Count: 32769"},
                                   {LOG_ERR, "vekL2Traverse: /bridge/flush failed"}}));
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

    Msg shortAddress = raw(full, len);
    reinterpret_cast<nlattr *>(reinterpret_cast<char *>(nlmsg_hdr(shortAddress.get())) + 28)->nla_len = 4 + 4;
    EXPECT_EQ(vekNetlinkL2NeighMsgValidCB(shortAddress.get(), nullptr), NL_SKIP);

    Msg shortVlan(nlmsg_alloc_simple(RTM_NEWNEIGH, 0));
    ndmsg ndm{AF_BRIDGE, 0, 0, 3, NUD_REACHABLE, 0, 0};
    nlmsg_append(shortVlan.get(), &ndm, sizeof ndm, NLMSG_ALIGNTO);
    nla_put(shortVlan.get(), NDA_LLADDR, 6, kStation.data());
    const uint8_t oneByte = 5;
    nla_put(shortVlan.get(), NDA_VLAN, 1, &oneByte);
    EXPECT_EQ(vekNetlinkL2NeighMsgValidCB(shortVlan.get(), nullptr), NL_SKIP);

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
