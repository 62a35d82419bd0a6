// Four application threads change flags and post statistics while the
// receive thread answers link queries: every message arrives whole and in
// each port's order. Run under TSan for the data-race half of the claim.
#include <map>
#include <thread>
#include <vector>

#include "notify_board_fixture.h"

namespace {

constexpr int kRounds = 100;
constexpr int kQueries = 200;

Bytes block_of(int port, int round) { return notify_wire::pattern(VEK_NOTIFY_RMON_STATS_SIZE, uint8_t(port * 16 + round)); }

TEST_F(NotifyChannelTest, ConcurrentUpdatesAndQueriesLoseAndMixNothing)
{
    std::vector<std::thread> workers;
    for (int t = 0; t < 4; ++t)
        workers.emplace_back([t] {
            for (int round = 0; round < kRounds; ++round)
                for (int port = 2 * t + 1; port <= 2 * t + 2; ++port) {
                    const Bytes rmon = block_of(port, round);
                    vekNetlinkNotifySetFlags(port, 0x41, 1);
                    vekNetlinkNotifySetRmonStats(port, rmon.data(), 0);
                    vekNetlinkNotifyPostChanges(port);
                    vekNetlinkNotifyClearFlags(port, 0x41, 1);
                }
        });
    int answered = 0;
    std::thread querier([&answered] {
        netlink_peer::Peer requester(55);
        for (int k = 0; k < kQueries; ++k) {
            const int port = k % 8 + 1;
            if (!requester.send_link(kChannel, RTM_GETLINK, 1000 + k, 55, port, 0))
                return;
            auto reply = requester.receive_from(kChannel, 5s);
            if (!reply || notify_wire::seq_of(reply->bytes) != uint32_t(1000 + k) ||
                notify_wire::word_at(reply->bytes, 20) != uint32_t(port) ||
                (reply->bytes.size() != 32 && reply->bytes.size() != 136) ||
                notify_wire::word_at(reply->bytes, 0) != reply->bytes.size())
                return;
            ++answered;
        }
    });
    std::map<int, std::vector<Bytes>> byPort;
    for (int k = 0; k < 4 * 2 * kRounds * 3; ++k) {
        Bytes b = published();
        if (b.empty())
            break;
        byPort[int(notify_wire::word_at(b, 20))].push_back(std::move(b));
    }
    for (auto &w : workers)
        w.join();
    querier.join();

    EXPECT_EQ(answered, kQueries);
    for (int port = 1; port <= 8; ++port) {
        std::vector<Bytes> want;
        for (int round = 0; round < kRounds; ++round) {
            const Bytes rmon = block_of(port, round);
            want.push_back(encode({.ifIndex = port, .flags = 0x41, .change = 0x41}));
            want.push_back(encode({.ifIndex = port, .flags = 0x41, .rmon = &rmon}));
            want.push_back(encode({.ifIndex = port, .change = 0x41}));
        }
        EXPECT_EQ(byPort[port], want) << "port " << port;
    }
}

}  // namespace
