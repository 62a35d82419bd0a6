#include <atomic>
#include <chrono>
#include <thread>

#include "port_life_fixture.h"

namespace {

using namespace std::chrono_literals;

// An SFP port (front port 3) initialised on the tables the boot phase leaves,
// with its signal scan thread started (a real one, owned by the fake) and waiting.
class SfpThread : public PortLifeTest {
protected:
    void SetUp() override
    {
        PortLifeTest::SetUp();
        platform().portType[3] = HAPI_PORT_TYPE_SFP;
        fake::threads().real = true;  // stopped and joined by the fixture's teardown
        make_tables();
        const usp_t usp{1, 1, 3};
        uint32_t result[2] = {};
        ASSERT_EQ(hapiPhyInitPort(&usp, 0, result), 0);
        ASSERT_EQ(result[1], 4u);
        portSettings[3].adminState = HAPI_ADMIN_ENABLED;
    }
    static uint32_t link_state()
    {
        hapi::phy::TableLock lock;
        return portSettings[3].linkState;
    }
    template <class Condition>
    static bool eventually(Condition c, std::chrono::milliseconds within = 3s)
    {
        const auto deadline = std::chrono::steady_clock::now() + within;
        while (!c()) {
            if (std::chrono::steady_clock::now() > deadline)
                return false;
            std::this_thread::sleep_for(2ms);
        }
        return true;
    }
    void set_signal(uint32_t s)
    {
        std::lock_guard guard(platform().lock);
        platform().sfpSignal[3] = s;
    }
    int reads()
    {
        std::lock_guard guard(platform().lock);
        return platform().sfpReads;
    }
};

TEST_F(SfpThread, FollowsTheSignalWhileTheLinkIsUp)
{
    set_signal(0);
    EXPECT_EQ(reads(), 0);
    ASSERT_TRUE(hapi::phy::linkscan_pass());  // link up: the thread starts polling
    EXPECT_TRUE(eventually([] { return link_state() == HAPI_LINK_DOWN; }));
    set_signal(1);
    EXPECT_TRUE(eventually([] { return link_state() == HAPI_LINK_UP; }));
    set_signal(0);
    EXPECT_TRUE(eventually([] { return link_state() == HAPI_LINK_DOWN; }));

    // The scan compares with the link the port last held, which the thread
    // sets: with the signal back, the next pass keeps it up.
    set_signal(1);
    ASSERT_TRUE(eventually([] { return link_state() == HAPI_LINK_UP; }));
    ASSERT_TRUE(hapi::phy::linkscan_pass());
    set_signal(0);
    {
        std::lock_guard guard(fake::driver().lock);
        port(3).link = 0;
    }
    ASSERT_TRUE(hapi::phy::linkscan_pass());  // link down: parked, state 2
    EXPECT_EQ(link_state(), HAPI_LINK_DOWN);
    EXPECT_EQ(portThreadInfo[3].signalEvent, 2u);
}

TEST_F(SfpThread, FailedPlatformUpdateReadsAsNoSignal)
{
    set_signal(1);
    ASSERT_TRUE(hapi::phy::linkscan_pass());
    ASSERT_TRUE(eventually([] { return link_state() == HAPI_LINK_UP; }));
    {
        std::lock_guard guard(platform().lock);
        platform().spiUpdateResult = -1;
    }
    EXPECT_TRUE(eventually([] { return link_state() == HAPI_LINK_DOWN; }));
    EXPECT_TRUE(eventually([&] { return reports("ERROR UPDATING PORT VALUES").size() >= 2; }));
    const auto failed = reports("ERROR UPDATING PORT VALUES")[0];
    EXPECT_EQ(failed.items, (std::vector<vekpf::LogItem>{text("ERROR UPDATING PORT VALUES"), number(3),
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
