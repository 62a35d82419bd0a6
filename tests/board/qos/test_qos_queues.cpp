// 802.1p queues on the simulated board: what start-up builds on every port,
// read back from the kernel, and a tagged frame classified by its PCP.
#include <net/if.h>

#include <set>

#include "board_harness.h"
#include "hapi/hapi_init.h"
#include "hapi/hapi_qos.h"
#include "tc_readback.h"

using namespace std::chrono_literals;
using tcread::json;

namespace {

// Class of each PCP under the start-up map 2,0,1,3,4,5,6,7.
const char *const kClassOfPcp[8] = {"1:6", "1:8", "1:7", "1:5", "1:4", "1:3", "1:2", "1:1"};

class QosQueues : public BoardTest {
protected:
    void SetUpBoard() override
    {
        HAPI_REQUIRE_KERNEL(board::Feature::PrioQdisc);
        HAPI_REQUIRE_KERNEL(board::Feature::SfqQdisc);
        HAPI_REQUIRE_KERNEL(board::Feature::SkbeditAction);
        ASSERT_EQ(hapiInit(), 0);
        hapiSysQosDot1pMappingInit();
    }

    static std::string pcp_match(int pcp)
    {
        return "meta(vlan mask 0x0000e000 eq " + std::to_string(pcp << 13) + ")";
    }
};

TEST_F(QosQueues, EveryPortHasEightSfqBandsAndTheIngressClassifiers)
{
    for (int n = 1; n <= 4; ++n) {
        const std::string dev = board::port_if(n);
        SCOPED_TRACE(dev);
        std::set<std::string> sfqParents, sfqHandles;
        bool prioRoot = false, ingress = false;
        for (const json &q : tcread::qdiscs(dev)) {
            if (q["kind"] == "prio" && q.value("root", false) && q["handle"] == "1:")
                prioRoot = q["options"]["bands"] == 8;
            if (q["kind"] == "sfq") {
                sfqParents.insert(q.value("parent", ""));
                sfqHandles.insert(q.value("handle", ""));
            }
            ingress |= q["kind"] == "ingress";
        }
        EXPECT_TRUE(prioRoot);
        EXPECT_TRUE(ingress);
        EXPECT_EQ(sfqParents, (std::set<std::string>{"1:1", "1:2", "1:3", "1:4", "1:5", "1:6", "1:7", "1:8"}));
        EXPECT_EQ(sfqHandles, (std::set<std::string>{"10:", "20:", "30:", "40:", "50:", "60:", "70:", "80:"}));

        std::map<std::string, std::string> classOfMatch;
        int defaults = 0;
        for (const tcread::Filter &f : tcread::ingress_filters(dev)) {
            ASSERT_EQ(f.kind, "basic");
            const json &action = f.options["actions"][0];
            EXPECT_EQ(action["kind"], "skbedit");
            if (f.pref == 2) {
                classOfMatch[f.match] = action.value("priority", "");
            } else {
                ASSERT_EQ(f.pref, 3);
                ++defaults;
                EXPECT_EQ(f.match, "NOT cmp(u16 at 12 layer 0 mask 0xffff eq 33024)");
                EXPECT_EQ(action["priority"], "1:6");
                EXPECT_EQ(action["control_action"]["type"], "continue");
            }
        }
        std::map<std::string, std::string> expected;
        for (int pcp = 0; pcp < 8; ++pcp)
            expected[pcp_match(pcp)] = kClassOfPcp[pcp];
        EXPECT_EQ(classOfMatch, expected);
        EXPECT_EQ(defaults, 1);
    }
}

TEST_F(QosQueues, TaggedFrameIsCountedByItsPcpFilterOnly)
{
    // The skbedit action of each port00 filter, by its match.
    std::map<std::string, int> actionOf;
    for (const tcread::Filter &f : tcread::ingress_filters("port00"))
        actionOf[f.match] = f.options["actions"][0].value("index", -1);
    ASSERT_EQ(actionOf.size(), 9u);
    const int pcp5 = actionOf.at(pcp_match(5));
    const auto before = tcread::action_stats("skbedit");

    board::StationSocket station(1);
    ASSERT_TRUE(station.ok());
    const auto frame = board::StationSocket::frame(board::StationSocket::mac(1), board::StationSocket::mac(2), 64,
                                                   {0x81, 0x00, 0xa0, 0x64, 0x88, 0xb5});  // PCP 5, VID 100
    constexpr int kFrames = 5;
    for (int i = 0; i < kFrames; ++i)
        ASSERT_TRUE(station.send(frame));

    auto packets = [](const std::map<int, json> &stats, int index) -> long {
        auto it = stats.find(index);
        return it == stats.end() ? -1 : it->second.value("packets", -1L);
    };
    std::map<int, json> after;
    EXPECT_TRUE(board::wait_until([&] {
        after = tcread::action_stats("skbedit");
        return packets(after, pcp5) - packets(before, pcp5) >= kFrames;
    }, 5s));
    for (const auto &[match, index] : actionOf)
        EXPECT_EQ(packets(after, index) - packets(before, index), index == pcp5 ? kFrames : 0)
            << match;
}

}  // namespace
