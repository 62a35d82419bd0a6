// Soak: 1000 link flaps across the four ports, each one seen by the link
// scan, while another thread reads statistics and links and a third
// disables and re-enables the ports not being flapped. Run under ASan/LSan
// and TSan too. Label "soak": not part of the default suite.
#include <array>
#include <atomic>
#include <thread>

#include "port_life_board.h"

using namespace std::chrono_literals;
using namespace port_life;

namespace {

constexpr int kFlaps = 1000;
constexpr auto kSeenWithin = 5s;  // generous: sanitizers on a busy 2-core machine

TEST_F(PortLifeBoard, ThousandFlapsWithStatisticsAndAdminChanges)
{
    std::array<std::mutex, 5> portBusy;  // held by the flapper for its port
    std::atomic<bool> stop{false};
    std::atomic<long> adminFailures{0};

    // Scans back to back, so a flap is seen in milliseconds, beside the
    // library's own 2.5 s scan thread.
    std::thread scanner([&] {
        while (!stop) {
            hapi::phy::linkscan_pass();
            std::this_thread::sleep_for(2ms);
        }
    });
    std::thread reader([&] {
        while (!stop) {
            for (int n = 1; n <= 4; ++n) {
                const auto physical = static_cast<uint32_t>(torvikSwitchingHw.portMap[n].physicalPort);
                uint32_t link = 0, speed = 0;
                vekprv_getstats(board::port_if(n).c_str());
                veketh_port_link_status_get(physical, &link);
                veketh_port_speed_get(physical, &speed);
            }
        }
    });
    std::thread admin([&] {
        for (int n = 1; !stop; n = n % 4 + 1) {
            std::unique_lock busy(portBusy[n], std::try_to_lock);
            if (!busy.owns_lock())
                continue;
            // No power state is configured, so disabling leaves the interface up.
            adminFailures += set_state(hapiPhyAdminstate, n, HAPI_ADMIN_DISABLED) != 0;
            adminFailures += set_state(hapiPhyAdminstate, n, HAPI_ADMIN_ENABLED) != 0;
        }
    });

    int seen = 0;
    for (int flap = 0; flap < kFlaps; ++flap) {
        const int n = flap % 4 + 1;
        std::lock_guard busy(portBusy[n]);
        if (!board::link(n, false) ||
            !board::wait_until([&] { return link_state(n) == HAPI_LINK_DOWN; }, kSeenWithin, 1ms))
            break;
        if (!board::link(n, true) ||
            !board::wait_until([&] { return link_state(n) == HAPI_LINK_UP; }, kSeenWithin, 1ms))
            break;
        ++seen;
    }
    stop = true;
    scanner.join();
    reader.join();
    admin.join();

    EXPECT_EQ(seen, kFlaps);
    EXPECT_EQ(adminFailures, 0);
}

}  // namespace
