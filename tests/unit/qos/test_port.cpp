#include "hapi/hapi_init.h"
#include "hapi/hapi_qos.h"
#include "qos/qos.h"
#include "unit_fixture.h"

namespace {

const std::string kCount01 = "tc filter show dev port01 ingress | grep 'pref 3' | awk 'END{print NR}'";

// Front ports at kernel indexes 7..10, as on a PC; index 5 is some other device.
class QosPort : public UnitTest {
protected:
    void SetUp() override
    {
        UnitTest::SetUp();
        platform().uspToPhysical = {{1, 7}, {2, 8}, {3, 9}, {4, 10}};
        for (unsigned n = 0; n < 4; ++n)
            fake::add_interface("port0" + std::to_string(n), 7 + n);
        fake::add_interface("eth9", 5);
        ASSERT_EQ(hapiInit(), 0);
        forget();
    }
    void forget()
    {
        os().commands.clear();
        os().logs.clear();
        os().shellResult.clear();
    }
};

TEST_F(QosPort, DefaultPriorityFilterIsReplacedOnlyWhenPresent)
{
    using hapi::qos::setSysQvlanPortPriority;
    const std::string add =
        "tc filter add dev port01 ingress prio 3 protocol all basic match 'not cmp(u16 at 12 layer "
        "link mask 0xffff eq 0x8100)' action skbedit priority 1:1 continue";
    EXPECT_EQ(setSysQvlanPortPriority("port01", 7), 0);
    EXPECT_EQ(os().commands, (std::vector<std::string>{kCount01, add}));

    forget();
    os().pipeOutput[kCount01] = "2\n";
    os().shellResult["tc filter del dev port01 ingress prio 3"] = 1;
    EXPECT_EQ(setSysQvlanPortPriority("port01", 7), 1);
    EXPECT_EQ(os().commands.back(), "tc filter del dev port01 ingress prio 3");

    forget();
    EXPECT_EQ(setSysQvlanPortPriority("port01", 8), 1);
    EXPECT_TRUE(os().commands.empty());
    EXPECT_TRUE(os().logged("setSysQvlanPortPriority: Error in priority value! \n"));

    os().pipeFails.push_back(kCount01);
    EXPECT_EQ(setSysQvlanPortPriority("port01", 0), 2);
    EXPECT_TRUE(os().logged("setSysQvlanPortPriority: Error in opening pipe! \n"));

    const std::string longName(300, 'x');
    EXPECT_EQ(setSysQvlanPortPriority(longName.c_str(), 0), 2);
    EXPECT_EQ(os().logs.back().text.rfind("setSysQvlanPortPriority: Error in creating cmd! tc filter", 0),
              0u);
}

TEST_F(QosPort, UnsetMakesARoutingPortAndResetClearsItThroughThePortMap)
{
    dot1d_port_default_priority[2] = 5;
    EXPECT_EQ(sysQvlanPortPriorityUnset("eth9"), 1);  // index 5: no front port
    EXPECT_EQ(sysQvlanPortPriorityUnset("nosuch"), 1);
    EXPECT_EQ(sysQvlanPortPriorityUnset(nullptr), 1);
    EXPECT_TRUE(os().commands.empty());

    os().shellResult["tc filter del dev port02 ingress prio 3"] = 1;
    EXPECT_EQ(sysQvlanPortPriorityUnset("port02"), 1);
    EXPECT_EQ(routing_portmap[2], 0);
    EXPECT_EQ(dot1d_port_default_priority[2], 5);

    os().shellResult.clear();
    EXPECT_EQ(sysQvlanPortPriorityUnset("port02"), 0);
    EXPECT_EQ(routing_portmap[2], 1);
    EXPECT_EQ(dot1d_port_default_priority[2], 0);

    EXPECT_EQ(sysQvlanPortPriorityReset(3), 1);  // the number, not port02's index
    EXPECT_EQ(sysQvlanPortPriorityReset(5), 1);
    EXPECT_EQ(routing_portmap[2], 1);
    EXPECT_EQ(sysQvlanPortPriorityReset(9), 0);
    EXPECT_EQ(routing_portmap[2], 0);
}

TEST_F(QosPort, QdiscTeardownAndRebuild)
{
    EXPECT_EQ(sysQosPortDelQdisc("port03"), 0);
    EXPECT_EQ(os().commands, (std::vector<std::string>{"tc qdisc del dev port03 ingress",
                                                       "tc qdisc del dev port03 parent root"}));
    forget();
    os().shellResult["tc qdisc del dev port03 ingress"] = 1;
    EXPECT_EQ(sysQosPortDelQdisc("port03"), 1);
    EXPECT_EQ(os().commands.size(), 1u);
    EXPECT_TRUE(os().logged("sysQosPortDelQdisc: Error in removing ingress qdisc on port03!\n"));

    forget();
    EXPECT_EQ(sysQosPortAddQdisc("port03"), 0);
    ASSERT_EQ(os().commands.size(), 10u);
    EXPECT_EQ(os().commands[0], "tc qdisc add dev port03 parent root handle 1:0 prio bands 8");
    EXPECT_EQ(os().commands[8], "tc qdisc add dev port03 parent 1:8 handle 80:0 sfq");
    EXPECT_EQ(os().commands[9], "tc qdisc add dev port03 ingress");

    forget();
    os().shellResult["tc qdisc add dev port03 parent 1:3 handle 30:0 sfq"] = 1;
    EXPECT_EQ(sysQosPortAddQdisc("port03"), 1);
    EXPECT_EQ(os().commands.size(), 4u);
    EXPECT_TRUE(os().logged("[[QOS]] tc qdisc add dev port03 parent 1:3 handle 30:0 sfq Failed "));
    EXPECT_TRUE(os().logged("sysQosPortAddQdisc: Error in re-applying sfq qdisc on port03\n"));
    EXPECT_EQ(sysQosPortAddQdisc(nullptr), 1);
    EXPECT_EQ(sysQosPortDelQdisc(nullptr), 1);
}

}  // namespace
