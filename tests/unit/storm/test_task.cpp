#include "storm_fixture.h"

namespace {

using hapi::storm::storm_ctl_table;

// The task runs on this thread, one pass at a time, from the entry the
// library asked the OS to start; every command it sends must be under the mutex.
class StormTask : public StormControl {
protected:
    void SetUp() override
    {
        StormControl::SetUp();
        os().shellHook = [this, model = os().shellHook](const std::string &c) {
            sent.push_back(c);
            EXPECT_TRUE(fake::semaphore_held(hapi::storm::storm_ctl_mutex)) << c;
            return model(c);
        };
    }

    // One pass; the task sleeps until its semaphore is given.
    void run_task_pass()
    {
        ASSERT_EQ(fake::threads().started.size(), 1u);
        const fake::ThreadStart task = fake::threads().started[0];
        EXPECT_TRUE(task.detached);
        sent.clear();
        fake::threads().passes = 1;
        task.entry(task.argument);
    }

    std::vector<std::string> sent;
};

TEST_F(StormTask, OnlyANewSpeedOnAPortWithPercentagesIsReapplied)
{
    link_up(1, 100);
    link_up(1, 100);  // one task, however often it is asked for
    link_up(2, 100);
    apply(1, limit(HAPI_STORM_BROADCAST, 10, true));
    apply(1, limit(HAPI_STORM_MULTICAST, 5, true));
    apply(2, limit(HAPI_STORM_BROADCAST, 10, true));
    run_task_pass();  // the pass the semaphore's initial state allows: nothing pending
    EXPECT_TRUE(sent.empty());

    hapiSysIfIngressStormCtlLinkUpNotify(2, 100);  // unchanged
    hapiSysIfIngressStormCtlLinkUpNotify(3, 10);   // no percentages: stored only
    EXPECT_EQ(storm_ctl_table[3].speed, 10u);
    EXPECT_EQ(storm_ctl_table[3].pending, 0u);
    hapiSysIfIngressStormCtlLinkUpNotify(1, 1000);
    run_task_pass();
    for (const std::string &c : sent)
        EXPECT_NE(c.find(" dev port00 "), std::string::npos) << c;
    EXPECT_EQ(filters("port00"),
              (std::vector<std::string>{"u32 match ether dst FF:FF:FF:FF:FF:FF police rate 100000kbit burst 100k",
                                        "u32 match u16 0x0100 0x0100 at -14 police rate 50000kbit burst 100k"}));
}

TEST_F(StormTask, ReportsBeforeTheTaskAreIgnored)
{
    hapiSysIfIngressStormCtlLinkUpNotify(1, 100);
    EXPECT_EQ(storm_ctl_table[1].speed, 0u);
    EXPECT_TRUE(fake::threads().started.empty());
}

}  // namespace
