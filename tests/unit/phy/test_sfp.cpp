#include "port_life_fixture.h"
#include "wait.h"

namespace {

using hapi_test::wait_until;

// An SFP port (front port 3) initialised on the tables the boot phase leaves,
// its signal scan thread started (a real one, owned by the fake) and waiting.
class SfpThread : public PortLifeTest {
protected:
    void SetUp() override
    {
        forget_links();
        PortLifeTest::SetUp();
        platform().portType[3] = HAPI_PORT_TYPE_SFP;
        fake::threads().real = true;  // stopped and joined by the fixture's teardown
        const usp_t usp{1, 1, 3};
        uint32_t result[2] = {};
        ASSERT_EQ(hapiPhyInitPort(&usp, 0, result), 0);
        ASSERT_EQ(result[1], 4u);
        portSettings[3].adminState = HAPI_ADMIN_ENABLED;
    }
    static bool link_is(uint32_t state)
    {
        return wait_until([state] {
            hapi::phy::TableLock lock;
            return portSettings[3].linkState == state;
        });
    }
    void signal(uint32_t s, int update = 0)
    {
        std::lock_guard guard(platform().lock);
        platform().sfpSignal[3] = s;
        platform().spiUpdateResult = update;
    }
};

TEST_F(SfpThread, FollowsTheSignalWhileTheLinkIsUp)
{
    signal(0);
    EXPECT_EQ(platform().sfpReads, 0);  // waiting, not polling
    ASSERT_TRUE(hapi::phy::linkscan_pass());  // link up: the thread starts polling
    EXPECT_TRUE(link_is(HAPI_LINK_DOWN));
    signal(1);
    EXPECT_TRUE(link_is(HAPI_LINK_UP));
    signal(0);
    EXPECT_TRUE(link_is(HAPI_LINK_DOWN));

    // The scan compares with the link the port last held, which the thread
    // sets: with the signal back, the next pass keeps it up.
    signal(1);
    ASSERT_TRUE(link_is(HAPI_LINK_UP));
    ASSERT_TRUE(hapi::phy::linkscan_pass());
    signal(0);
    {
        std::lock_guard guard(fake::driver().lock);
        port(3).link = 0;
    }
    ASSERT_TRUE(hapi::phy::linkscan_pass());  // link down: parked, state 2
    EXPECT_EQ(portSettings[3].linkState, uint32_t{HAPI_LINK_DOWN});
    EXPECT_EQ(portThreadInfo[3].signalEvent, 2u);
}

TEST_F(SfpThread, FailedPlatformUpdateReadsAsNoSignal)
{
    signal(1);
    ASSERT_TRUE(hapi::phy::linkscan_pass());
    ASSERT_TRUE(link_is(HAPI_LINK_UP));
    signal(1, -1);
    EXPECT_TRUE(link_is(HAPI_LINK_DOWN));
    const auto failed = reports("ERROR UPDATING PORT VALUES");
    ASSERT_FALSE(failed.empty());
    EXPECT_EQ(failed[0].items, (std::vector<vekpf::LogItem>{text("ERROR UPDATING PORT VALUES"), number(3),
                                                            text("hapiPhyInternalGetSignalState"), number(-1)}));
}

TEST_F(SfpThread, BadArgumentsEndTheThreadAfterAReport)
{
    EXPECT_EQ(sfpSignalScanThread(nullptr), nullptr);
    EXPECT_EQ(reports("SFP SW Signal scan thread called with NULL param").size(), 1u);
    auto *argument = static_cast<int *>(std::malloc(sizeof(int)));
    *argument = kPorts;
    EXPECT_EQ(sfpSignalScanThread(argument), nullptr);
    EXPECT_EQ(reports("SFP SW Signal scan thread invalid parameter").size(), 1u);
}

}  // namespace
