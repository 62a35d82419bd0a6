// Storm control on the simulated board: a broadcast flood from station 1
// against a limit on port00, measured where the frames leave the other ports.
#include <net/if.h>

#include <atomic>
#include <cstdio>
#include <regex>

#include "board_harness.h"
#include "hapi/hapi_init.h"
#include "hapi/hapi_storm.h"
#include "tc_readback.h"

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr size_t kFrameBytes = 1514;  // 1500 bytes past the link header

struct Measured {
    double offeredMbit = 0;    // arriving at port00
    double deliveredMbit = 0;  // leaving each other port, mean of the three
    double deliveredFps = 0;
    uint64_t policeOverlimits = 0;
    uint64_t ingressDrops = 0;
};

class StormFrames : public BoardTest {
protected:
    void SetUpBoard() override
    {
        HAPI_REQUIRE_KERNEL(board::Feature::PoliceAction);
        ASSERT_EQ(hapiInit(), 0);
        // Start-up's ingress discipline, without its 802.1p filters; a whole
        // executable run by hand shares one board, so start from none.
        board::run("tc qdisc del dev port00 ingress 2>/dev/null");
        ASSERT_EQ(board::run("tc qdisc add dev port00 ingress").status, 0);
        ifindex_ = static_cast<int>(if_nametoindex("port00"));
        hapiStormCtlRecord none = {};
        ASSERT_EQ(apply(none), 0);  // starts the task, which then takes link reports
        hapiSysIfIngressStormCtlLinkUpNotify(ifindex_, 100);
    }

    static int apply(const hapiStormCtlRecord &r)
    {
        const usp_t usp = {1, 1, 1};
        return hapiSysIfIngressStormCtl(&usp, HAPI_STORM_CTL_COMMAND, &r);
    }

    // "police 0x1 rate 10Mbit burst 100Kb" lines of port00's filters.
    static std::vector<std::string> police_rates()
    {
        std::vector<std::string> rates;
        const std::string text = board::run("tc filter show dev port00 ingress").output;
        const std::regex police(R"(police 0x[0-9a-f]+ rate (\S+) burst (\S+))");
        for (std::sregex_iterator it(text.begin(), text.end(), police), end; it != end; ++it)
            rates.push_back((*it)[1].str() + " burst " + (*it)[2].str());
        return rates;
    }

    // Floods broadcasts from station 1 at fps for a settling time, then
    // measures over the window.
    static Measured flood(double fps, std::chrono::milliseconds window)
    {
        board::StationSocket station(1);
        EXPECT_TRUE(station.ok());
        std::vector<uint8_t> frame(6, 0xff);
        const auto src = board::StationSocket::mac(1);
        frame.insert(frame.end(), src.begin(), src.end());
        frame.insert(frame.end(), {0x88, 0xb5});
        frame.resize(kFrameBytes, 0x42);

        std::atomic<bool> stop{false};
        std::thread sender([&] {
            const auto start = Clock::now();
            uint64_t sent = 0;
            while (!stop) {
                const double due = std::chrono::duration<double>(Clock::now() - start).count() * fps;
                while (sent < due && station.send(frame))
                    ++sent;
                std::this_thread::sleep_for(1ms);  // pacing, not waiting
            }
        });
        auto counters = [] {
            std::array<uint64_t, 4> c{};
            c[0] = board::counter("port00", "rx_bytes").value_or(0);
            for (int n = 2; n <= 4; ++n)
                c[n - 1] = board::counter(board::port_if(n), "tx_bytes").value_or(0);
            return c;
        };
        std::this_thread::sleep_for(1s);  // past the burst allowance
        const auto c0 = counters();
        const auto t0 = Clock::now();
        std::this_thread::sleep_for(window);
        const auto c1 = counters();
        const double seconds = std::chrono::duration<double>(Clock::now() - t0).count();
        stop = true;
        sender.join();

        Measured m;
        m.offeredMbit = (c1[0] - c0[0]) * 8 / seconds / 1e6;
        double delivered = 0;
        for (int i = 1; i < 4; ++i)
            delivered += static_cast<double>(c1[i] - c0[i]);
        m.deliveredMbit = delivered / 3 * 8 / seconds / 1e6;
        m.deliveredFps = delivered / 3 / kFrameBytes / seconds;
        for (const auto &[index, stats] : tcread::action_stats("police"))
            m.policeOverlimits += stats.value("overlimits", 0ULL);
        const auto ingress = tcread::run_json("tc -s -j qdisc show dev port00 ingress");
        if (ingress && !ingress->empty())
            m.ingressDrops = (*ingress)[0].value("drops", 0ULL);
        std::printf("offered %.2f Mbit/s, delivered %.2f Mbit/s (%.0f frames/s) to each station, "
                    "police overlimits %llu, ingress drops %llu\n",
                    m.offeredMbit, m.deliveredMbit, m.deliveredFps,
                    static_cast<unsigned long long>(m.policeOverlimits),
                    static_cast<unsigned long long>(m.ingressDrops));
        return m;
    }

    int ifindex_ = 0;
};

TEST_F(StormFrames, TenPercentBroadcastHoldsAFloodToTenMbit)
{
    hapiStormCtlRecord r = {};
    r.actions = HAPI_STORM_BROADCAST;
    r.mode = HAPI_STORM_MODE_PERCENT;
    r.broadcastEnable = 1;
    r.broadcastValue = 10;
    ASSERT_EQ(apply(r), 0);
    ASSERT_EQ(police_rates(), std::vector<std::string>{"10Mbit burst 100Kb"});

    const Measured m = flood(3 * 10e6 / 8 / kFrameBytes, 4s);
    ASSERT_GT(m.offeredMbit, 20.0) << "the flood did not reach twice the limit";
    EXPECT_NEAR(m.deliveredMbit, 10.0, 1.0);
    EXPECT_GT(m.policeOverlimits, 0u);
    EXPECT_GT(m.ingressDrops, 0u);
}

TEST_F(StormFrames, PacketRateLimitHoldsAFloodToItsRate)
{
    constexpr int kPerSecond = 400;
    hapiStormCtlRecord r = {};
    r.actions = HAPI_STORM_BROADCAST;
    r.broadcastEnable = 1;
    r.broadcastValue = kPerSecond;
    ASSERT_EQ(apply(r), 0);
    ASSERT_EQ(police_rates(), std::vector<std::string>{"4800Kbit burst 100Kb"});  // 600000 bytes/s

    const Measured m = flood(3 * kPerSecond, 4s);
    ASSERT_GT(m.offeredMbit, 2 * 4.8) << "the flood did not reach twice the limit";
    EXPECT_NEAR(m.deliveredFps, kPerSecond, kPerSecond / 10.0);
    EXPECT_GT(m.policeOverlimits, 0u);
    EXPECT_GT(m.ingressDrops, 0u);
}

TEST_F(StormFrames, LinkUpAtANewSpeedRecomputesThePercentage)
{
    hapiStormCtlRecord r = {};
    r.actions = HAPI_STORM_BROADCAST | HAPI_STORM_UNICAST;
    r.mode = HAPI_STORM_MODE_PERCENT;
    r.broadcastEnable = r.unicastEnable = 1;
    r.broadcastValue = 10;
    r.unicastValue = 50;
    ASSERT_EQ(apply(r), 0);
    ASSERT_EQ(police_rates().size(), 2u);

    hapiSysIfIngressStormCtlLinkUpNotify(ifindex_, 1000);
    std::vector<std::string> rates;
    EXPECT_TRUE(board::wait_until([&] {
        rates.clear();
        // At these rates the kernel rounds the burst to its clock: rates only.
        for (const std::string &r : police_rates())
            rates.push_back(r.substr(0, r.find(' ')));
        std::sort(rates.begin(), rates.end());
        return rates == std::vector<std::string>{"100Mbit", "500Mbit"};
    }, 10s)) << ::testing::PrintToString(rates);
}

}  // namespace
