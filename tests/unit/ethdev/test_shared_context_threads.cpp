// The link scan's queries and a statistics reader share ctx and regs; run
// them together (meant for the TSan build as much as the plain one).
#include "driver_fixture.h"
#include "ethdev/ethdev.h"

namespace {

class SharedContextThreads : public DriverTest {};

TEST_F(SharedContextThreads, LinkScanAndStatisticsDoNotMixRequests)
{
    ASSERT_EQ(veketh_intf_init(), 0);
    port(2).link = 0;
    port(4).link = 0;
    constexpr int kPasses = 300;

    int wrongLinks = 0;
    fake::TestThread scan([&] {
        for (int pass = 0; pass < kPasses; ++pass)
            for (uint32_t p = 1; p <= 4; ++p) {
                uint32_t link = 9, speed = 0;
                veketh_port_link_status_get(p, &link);
                veketh_port_speed_get(p, &speed);
                wrongLinks += link != (p % 2 ? 1u : 0u);
            }
    });

    int foreignDumps = 0, failedFetches = 0;
    fake::TestThread statistics([&] {
        hapi::eth::RegisterWords words{};
        for (int pass = 0; pass < kPasses; ++pass) {
            const uint32_t p = 1 + pass % 4;
            if (hapi::eth::fetch_dump(name_of(p).c_str(), words) != hapi::Status::ok) {
                ++failedFetches;
                continue;
            }
            for (uint32_t k = 3; k < VEKETH_REGS_WORDS; ++k)
                if (words[k] != (p << 16 | k)) {
                    ++foreignDumps;
                    break;
                }
        }
    });
    scan.join();
    statistics.join();
    EXPECT_EQ(wrongLinks, 0);
    EXPECT_EQ(failedFetches, 0);
    EXPECT_EQ(foreignDumps, 0);
}

}  // namespace
