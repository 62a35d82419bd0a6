#include "storm_fixture.h"

namespace {

using hapi::storm::storm_ctl_table;

struct Seen {
    std::string command;
    bool mutexHeld;
};

// The task runs on this thread, one pass at a time, from the entry the
// library asked the OS to start.
class StormTask : public StormControl {
protected:
    void SetUp() override
    {
        StormControl::SetUp();
        auto modelHook = os().shellHook;
        os().shellHook = [this, modelHook](const std::string &c) {
            seen.push_back({c, fake::semaphore_held(hapi::storm::storm_ctl_mutex)});
            return modelHook(c);
        };
    }

    // One pass of the task; its semaphore must have been given.
    void run_task_pass()
    {
        ASSERT_EQ(fake::threads().started.size(), 1u);
        const fake::ThreadStart task = fake::threads().started[0];
        EXPECT_TRUE(task.detached);
        seen.clear();
        fake::threads().passes = 1;
        task.entry(task.argument);
    }

    std::vector<Seen> seen;
};

TEST_F(StormTask, LinkUpAtANewSpeedReappliesPercentagesFromTheTask)
{
    link_up(1, 100);
    link_up(1, 100);  // one task, however often it is asked for
    apply(1, percent_bcast(10));
    apply(1, percent_mcast(5));
    run_task_pass();  // the pass the task's initial semaphore state allows: nothing pending
    EXPECT_TRUE(seen.empty());

    hapiSysIfIngressStormCtlLinkUpNotify(1, 1000);
    EXPECT_EQ(storm_ctl_table[1].speed, 1000u);
    run_task_pass();
    EXPECT_FALSE(seen.empty());
    for (const Seen &s : seen)
        EXPECT_TRUE(s.mutexHeld) << s.command;
    EXPECT_EQ(filters("port00"),
              (std::vector<std::string>{"u32 match ether dst FF:FF:FF:FF:FF:FF police rate 100000kbit burst 100k",
                                        "u32 match u16 0x0100 0x0100 at -14 police rate 50000kbit burst 100k"}));
}

TEST_F(StormTask, OnlyAChangedSpeedOnAPortWithPercentagesWakesIt)
{
    link_up(1, 100);
    link_up(2, 100);
    apply(1, percent_bcast(10));
    apply(2, percent_bcast(10));
    run_task_pass();

    hapiSysIfIngressStormCtlLinkUpNotify(1, 100);  // unchanged
    hapiSysIfIngressStormCtlLinkUpNotify(3, 10);   // no percentages: stored only
    EXPECT_EQ(storm_ctl_table[3].speed, 10u);
    EXPECT_EQ(storm_ctl_table[3].pending, 0u);
    hapiSysIfIngressStormCtlLinkUpNotify(2, 10);

    run_task_pass();
    EXPECT_FALSE(seen.empty());
    for (const Seen &s : seen)
        EXPECT_NE(s.command.find(" dev port01 "), std::string::npos) << s.command;
    EXPECT_EQ(filters("port01"),
              std::vector<std::string>{"u32 match ether dst FF:FF:FF:FF:FF:FF police rate 1000kbit burst 100k"});
}

TEST_F(StormTask, ReportsBeforeTheTaskAreIgnored)
{
    hapiSysIfIngressStormCtlLinkUpNotify(1, 100);
    EXPECT_EQ(storm_ctl_table[1].speed, 0u);
    EXPECT_EQ(hapi::storm::storm_ctl_task_started, 0);
    EXPECT_TRUE(fake::threads().started.empty());
}

}  // namespace
