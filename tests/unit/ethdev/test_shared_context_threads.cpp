// The link scan's queries and a statistics reader share ctx and regs; run
// them together (meant for the TSan build as much as the plain one).
#include "driver_fixture.h"
#include "ethdev/ethdev.h"

namespace {

using SharedContextThreads = DriverTest;

TEST_F(SharedContextThreads, LinkScanAndStatisticsDoNotMixRequests)
{
    ASSERT_EQ(veketh_intf_init(), 0);
    port(2).link = port(4).link = 0;
    int wrongLinks = 0, wrongDumps = 0;
    fake::TestThread scan([&] {
        for (int pass = 0; pass < 1200; ++pass) {
            const uint32_t p = 1 + pass % 4;
            uint32_t link = 9, speed = 0;
            veketh_port_link_status_get(p, &link);
            veketh_port_speed_get(p, &speed);
            wrongLinks += link != p % 2;
        }
    });
    fake::TestThread statistics([&] {
        hapi::eth::RegisterWords words{};
        for (uint32_t pass = 0; pass < 300; ++pass) {
            const uint32_t p = 1 + pass % 4;
            const bool ok = hapi::eth::fetch_dump(name_of(p).c_str(), words) == hapi::Status::ok;
            wrongDumps += !ok || words[3] != (p << 16 | 3) || words[VEKETH_REGS_WORDS - 1] != (p << 16 | (VEKETH_REGS_WORDS - 1));
        }
    });
    scan.join();
    statistics.join();
    EXPECT_EQ(wrongLinks, 0);
    EXPECT_EQ(wrongDumps, 0);
}

}  // namespace
