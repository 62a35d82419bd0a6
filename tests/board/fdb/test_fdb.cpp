// The forwarding database against the board's real bridge: the traversal's
// mirror, static entries, flush, ageing and the platform's sync thread.
#include <algorithm>
#include <cstdio>
#include <net/if.h>
#include <sstream>
#include <tuple>

#include "board_harness.h"
#include "hapi/hapi_fdb.h"
#include "platform/vekplatform.h"

using namespace std::chrono_literals;

namespace {

using Mac = std::vector<uint8_t>;
// (MAC text, VLAN ID, port, entry type)
using Row = std::tuple<std::string, int, int, int>;

std::string mac_text(const uint8_t *m)
{
    char text[18];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", m[0], m[1], m[2], m[3], m[4], m[5]);
    return text;
}

// What the mirror must hold, worked out from "bridge fdb show" text with the
// mirroring rules: unicast only; permanent on indexes 112..127 static, entries
// without a state word (reachable) dynamic; the bridge's index is port 0.
std::vector<Row> expected_from_bridge_dump()
{
    std::vector<Row> rows;
    std::istringstream lines(board::run("bridge fdb show").output);
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        std::string mac, word, dev;
        int vlan = 0;
        bool permanent = false, stateless = true;
        words >> mac;
        while (words >> word) {
            if (word == "dev")
                words >> dev;
            else if (word == "vlan")
                words >> vlan;
            else if (word == "permanent")
                permanent = true;
            if (word == "permanent" || word == "static" || word == "stale")
                stateless = false;
        }
        if (std::stoi(mac.substr(0, 2), nullptr, 16) & 1)
            continue;
        const int p = static_cast<int8_t>(if_nametoindex(dev.c_str()) & 0xFF);
        const int port = p == 112 ? 0 : p;
        if (p > 111 && permanent)
            rows.emplace_back(mac, vlan, port, 5);
        else if (stateless)
            rows.emplace_back(mac, vlan, port, 3);
    }
    std::sort(rows.begin(), rows.end());
    return rows;
}

std::vector<Row> mirrored()
{
    const auto &t = *static_cast<const vekShadowTable *>(shadowTbl);
    std::vector<Row> rows;
    for (uint32_t i = 0; i < t.totalCount; ++i) {
        const vekL2AddrEntry &e = t.slots[i].entry;
        rows.emplace_back(mac_text(e.macAddr), e.vlanId, e.port, static_cast<int>(e.entryType));
    }
    std::sort(rows.begin(), rows.end());
    return rows;
}

bool bridge_lists(const std::string &pattern)
{
    return board::run("bridge fdb show br eth1 | grep -q '" + pattern + "'").status == 0;
}

class FdbBoard : public BoardTest {
protected:
    void SetUpBoard() override
    {
        ASSERT_EQ(hapiFdbInit(), 0);
        ASSERT_EQ(hapiFdbCacheInit(), 0);
    }
    // A running sync thread keeps using the cache until the process ends, as
    // on the product, where nothing cleans up after start-up.
    void TearDown() override
    {
        if (!syncRunning_)
            hapiFdbCleanup();
    }
    bool syncRunning_ = false;

    // Station n sends one frame from `source`; true once the bridge has learned it.
    bool learn(int n, const Mac &source)
    {
        board::StationSocket station(n);
        const std::string pattern = mac_text(source.data()) + " dev " + board::port_if(n) + " master";
        return station.ok() && board::wait_until([&] {
                   station.send(board::StationSocket::frame(source, Mac(6, 0xff)));
                   return bridge_lists(pattern);
               }, 3s, 50ms);
    }
};

TEST_F(FdbBoard, TraversalMirrorsExactlyTheEntriesTheRulesSelect)
{
    for (int n = 1; n <= 4; ++n)
        ASSERT_TRUE(learn(n, board::StationSocket::mac(n))) << "station " << n;
    ASSERT_EQ(board::run("bridge fdb add 02:00:00:00:aa:01 dev port01 master dynamic").status, 0);
    ASSERT_EQ(board::run("bridge fdb add 02:00:00:00:aa:02 dev port02 master static").status, 0);
    // An address of its own gives the bridge a permanent entry on index 112.
    ASSERT_EQ(board::run("ip link set eth1 address 02:00:00:00:aa:03").status, 0);

    vekL2Traverse();
    // Learned, user-added dynamic and the bridge's own address are all there;
    // the user-added static one (no permanent state) is not.
    const auto rows = mirrored();
    EXPECT_EQ(rows, expected_from_bridge_dump());
    EXPECT_GE(rows.size(), 6u);
    EXPECT_EQ(std::count(rows.begin(), rows.end(), Row{"02:00:00:00:aa:03", 0, 0, 5}), 1);
}

// The kernel's EEXIST and ENOENT answer a second add and a second delete.
TEST_F(FdbBoard, StaticEntryIsAddedOnceAndDeleted)
{
    const hapiMacAddr mac{{0x02, 0x00, 0x00, 0x00, 0xbb, 0x01}};
    const int ifindex = static_cast<int>(if_nametoindex("port02"));
    ASSERT_EQ(hapiBridgeFdbModify(HAPI_FDB_CMD_ADD, ifindex, 0, mac), 0);
    EXPECT_TRUE(bridge_lists("^02:00:00:00:bb:01 dev port02 master eth1 static"));
    EXPECT_EQ(hapiBridgeFdbModify(HAPI_FDB_CMD_ADD, ifindex, 0, mac), -1);
    ASSERT_EQ(hapiBridgeFdbModify(HAPI_FDB_CMD_DELETE, ifindex, 0, mac), 0);
    EXPECT_FALSE(bridge_lists("^02:00:00:00:bb:01 "));
    EXPECT_EQ(hapiBridgeFdbModify(HAPI_FDB_CMD_DELETE, ifindex, 0, mac), -1);
}

TEST_F(FdbBoard, StaticEntryInAVlanAndTheVlanOfMirroredEntries)
{
    HAPI_REQUIRE_KERNEL(board::Feature::BridgeVlanFiltering);
    ASSERT_EQ(board::run("ip link set eth1 type bridge vlan_filtering 1 && bridge vlan add vid 10 dev port01 && "
                         "bridge fdb add 02:00:00:00:bb:03 dev port01 vlan 10 master dynamic").status, 0);
    const hapiMacAddr mac{{0x02, 0x00, 0x00, 0x00, 0xbb, 0x02}};
    const int ifindex = static_cast<int>(if_nametoindex("port01"));
    ASSERT_EQ(hapiBridgeFdbModify(HAPI_FDB_CMD_ADD, ifindex, 10, mac), 0);
    EXPECT_TRUE(bridge_lists("^02:00:00:00:bb:02 dev port01 vlan 10 master eth1 static"));
    vekL2Traverse();
    const auto rows = mirrored();
    EXPECT_EQ(rows, expected_from_bridge_dump());
    EXPECT_EQ(std::count(rows.begin(), rows.end(), Row{"02:00:00:00:bb:03", 10, ifindex, 3}), 1);
}

TEST_F(FdbBoard, SyncThreadSeesAnAddressMove)
{
    const auto within = 3s;  // two sync periods (the platform's default) and some
    const Mac roaming{0x02, 0x00, 0x00, 0x00, 0xcc, 0x01};
    auto on = [&](const char *ifname) {
        vekL2AddrEntry e{};
        return vekFdbShadowLookup(roaming.data(), 0, &e) == 0 && e.port == int(if_nametoindex(ifname));
    };

    ASSERT_TRUE(learn(1, roaming));
    ASSERT_EQ(hapiStartSyncShadowFdbThread(), 0);
    syncRunning_ = true;
    ASSERT_TRUE(board::wait_until([&] { return on("port00"); }, within));

    ASSERT_TRUE(learn(2, roaming));
    EXPECT_TRUE(board::wait_until([&] { return on("port01"); }, within));
}

}  // namespace
