// Four application threads change flags and post statistics while the
// receive thread answers link queries: every message arrives whole and in
// each port's order. Run under TSan for the data-race half of the claim.
#include <map>
#include <thread>
#include <vector>

#include "notify_board_fixture.h"

namespace {

using notify_wire::Bytes;
using notify_wire::encode;
using notify_wire::kSentFlags;
using notify_wire::seq_of;

constexpr int kThreads = 4;
constexpr int kRounds = 100;
constexpr int kQueries = 200;

Bytes block_of(int port, int round) { return notify_wire::pattern(VEK_NOTIFY_RMON_STATS_SIZE, uint8_t(port * 16 + round)); }

// The three messages one round publishes for a port: link up, the posted
// statistics, link down.
std::vector<Bytes> round_messages(int port, int round, const std::vector<uint32_t> &seqs)
{
    const Bytes rmon = block_of(port, round);
    return {encode({.nlFlags = kSentFlags, .seq = seqs[0], .ifIndex = port, .flags = 0x41, .change = 0x41}),
            encode({.nlFlags = kSentFlags, .seq = seqs[1], .ifIndex = port, .flags = 0x41, .rmon = &rmon}),
            encode({.nlFlags = kSentFlags, .seq = seqs[2], .ifIndex = port, .change = 0x41})};
}

int32_t index_of(const Bytes &b)
{
    int32_t v = -1;
    if (b.size() >= 24)
        std::memcpy(&v, b.data() + 20, 4);
    return v;
}

TEST_F(NotifyChannelTest, ConcurrentUpdatesAndQueriesLoseAndMixNothing)
{
    std::vector<std::thread> workers;
    for (int t = 0; t < kThreads; ++t)
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
            const int port = k % kRecords + 1;
            if (!requester.send_link(kChannel, RTM_GETLINK, 1000 + k, 55, port, 0))
                return;
            auto reply = requester.receive_from(kChannel, kWithin);
            if (!reply || seq_of(reply->bytes) != uint32_t(1000 + k) || index_of(reply->bytes) != port)
                return;
            const uint32_t length = uint32_t(reply->bytes[0]) | uint32_t(reply->bytes[1]) << 8;
            if (length != reply->bytes.size() || (length != 32 && length != 136))
                return;
            ++answered;
        }
    });

    std::map<int, std::vector<Bytes>> byPort;
    const size_t expected = size_t(kThreads) * 2 * kRounds * 3;
    size_t received = 0;
    while (received < expected) {
        Bytes b = next_published();
        if (b.empty())
            break;
        byPort[index_of(b)].push_back(std::move(b));
        ++received;
    }
    for (auto &w : workers)
        w.join();
    querier.join();

    EXPECT_EQ(received, expected);
    EXPECT_EQ(answered, kQueries);
    for (int port = 1; port <= kRecords; ++port) {
        const std::vector<Bytes> &got = byPort[port];
        ASSERT_EQ(got.size(), size_t(kRounds) * 3) << "port " << port;
        for (int round = 0; round < kRounds; ++round) {
            const size_t at = size_t(round) * 3;
            const std::vector<uint32_t> seqs{seq_of(got[at]), seq_of(got[at + 1]), seq_of(got[at + 2])};
            const std::vector<Bytes> want = round_messages(port, round, seqs);
            ASSERT_EQ(std::vector<Bytes>(got.begin() + at, got.begin() + at + 3), want)
                << "port " << port << " round " << round;
        }
    }
}

}  // namespace
