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

// The filters' texts are compared whole in the unit tests; here the kernel
// shows the disciplines they hang on, and nine ingress filters per port.
TEST_F(QosQueues, EveryPortHasEightSfqBandsAndTheIngressClassifiers)
{
    for (int n = 1; n <= 4; ++n) {
        const std::string dev = board::port_if(n);
        SCOPED_TRACE(dev);
        std::set<std::string> sfq;
        bool prioRoot = false, ingress = false;
        for (const json &q : tcread::qdiscs(dev)) {
            prioRoot |= q["kind"] == "prio" && q.value("root", false) && q["handle"] == "1:" && q["options"]["bands"] == 8;
            if (q["kind"] == "sfq")
                sfq.insert(q.value("parent", "") + "=" + q.value("handle", ""));
            ingress |= q["kind"] == "ingress";
        }
        EXPECT_TRUE(prioRoot);
        EXPECT_TRUE(ingress);
        std::set<std::string> bands;
        for (int b = 1; b <= 8; ++b)
            bands.insert("1:" + std::to_string(b) + "=" + std::to_string(b) + "0:");
        EXPECT_EQ(sfq, bands);
        EXPECT_EQ(tcread::ingress_filters(dev).size(), 9u);
    }
}

TEST_F(QosQueues, TaggedFrameIsCountedByItsPcpFilterOnly)
{
    // The skbedit action of each port00 filter, by its match.
    std::map<std::string, int> actionOf;
    for (const tcread::Filter &f : tcread::ingress_filters("port00")) {
        actionOf[f.match] = f.options["actions"][0].value("index", -1);
        if (f.match == pcp_match(5)) {  // class 5 of the start-up map 2,0,1,3,4,5,6,7
            EXPECT_EQ(f.options["actions"][0]["priority"], "1:3");
        }
    }
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
