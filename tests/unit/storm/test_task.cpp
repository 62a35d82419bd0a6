#include <chrono>
#include <thread>

#include "storm_fixture.h"

namespace {

using hapi::storm::storm_ctl_table;

struct Seen {
    std::string command;
    std::thread::id thread;
    bool mutexHeld;
};

class StormTask : public StormControl {
protected:
    void SetUp() override
    {
        StormControl::SetUp();
        auto modelHook = os().shellHook;
        os().shellHook = [this, modelHook](const std::string &c) {
            // Taking it without waiting fails exactly while someone holds it.
            const bool held = vekApiOsSemaTake(hapi::storm::storm_ctl_mutex, 0) != 0;
            if (!held)
                vekApiOsSemaGive(hapi::storm::storm_ctl_mutex);
            seen.push_back({c, std::this_thread::get_id(), held});
            return modelHook(c);
        };
    }

    // Polls until a command naming dev with this text has run; nullptr after 5 s.
    const Seen *await(const std::string &command)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (std::chrono::steady_clock::now() < deadline) {
            {
                std::lock_guard<std::recursive_mutex> guard(os().lock);
                for (const Seen &s : seen)
                    if (s.command == command)
                        return &s;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return nullptr;
    }

    size_t commands_on(const std::string &dev)
    {
        std::lock_guard<std::recursive_mutex> guard(os().lock);
        size_t n = 0;
        for (const Seen &s : seen)
            n += s.command.find(" dev " + dev + " ") != std::string::npos;
        return n;
    }

    std::vector<Seen> seen;  // guarded by the fake OS lock
};

TEST_F(StormTask, LinkUpAtANewSpeedReappliesPercentagesFromTheTask)
{
    link_up(1, 100);
    apply(1, percent_bcast(10));
    apply(1, percent_mcast(5));
    hapiSysIfIngressStormCtlLinkUpNotify(1, 1000);

    const Seen *b = await("tc filter add dev port00 ingress prio 1 u32 match ether dst "
                          "FF:FF:FF:FF:FF:FF police rate 100000kbit burst 100k");
    const Seen *m = await("tc filter add dev port00 ingress prio 1 u32 match u16 0x0100 0x0100 at "
                          "-14 police rate 50000kbit burst 100k");
    ASSERT_TRUE(b && m);
    EXPECT_NE(b->thread, std::this_thread::get_id());
    EXPECT_EQ(b->thread, m->thread);
    EXPECT_TRUE(b->mutexHeld);
    EXPECT_TRUE(m->mutexHeld);
    EXPECT_EQ(storm_ctl_table[1].speed, 1000u);
}

TEST_F(StormTask, OnlyAChangedSpeedOnAPortWithPercentagesWakesIt)
{
    link_up(1, 100);
    link_up(2, 100);
    apply(1, percent_bcast(10));
    apply(2, percent_bcast(10));
    const size_t port00Before = commands_on("port00");

    hapiSysIfIngressStormCtlLinkUpNotify(1, 100);  // unchanged
    hapiSysIfIngressStormCtlLinkUpNotify(3, 10);   // no percentages: stored only
    EXPECT_EQ(storm_ctl_table[3].speed, 10u);
    EXPECT_EQ(storm_ctl_table[3].pending, 0u);
    hapiSysIfIngressStormCtlLinkUpNotify(2, 10);   // the task's next pass shows the others were left

    ASSERT_TRUE(await("tc filter add dev port01 ingress prio 1 u32 match ether dst "
                      "FF:FF:FF:FF:FF:FF police rate 1000kbit burst 100k"));
    EXPECT_EQ(commands_on("port00"), port00Before);
    EXPECT_EQ(commands_on("port02"), 0u);
}

TEST_F(StormTask, ReportsBeforeTheTaskAreIgnored)
{
    hapiSysIfIngressStormCtlLinkUpNotify(1, 100);
    EXPECT_EQ(storm_ctl_table[1].speed, 0u);
    EXPECT_EQ(hapi::storm::storm_ctl_task_started, 0);
}

}  // namespace
