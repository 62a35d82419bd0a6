#include "qos/qos.h"
#include "qos_fixture.h"

namespace {

using namespace qos_text;

class QosPort : public QosTest {
protected:
    void SetUp() override
    {
        QosTest::SetUp();
        start_with_pc_indexes();
        fake::add_interface("eth9", 5);  // some other device
    }
};

TEST_F(QosPort, DefaultPriorityFilterIsReplacedOnlyWhenPresent)
{
    using hapi::qos::setSysQvlanPortPriority;
    EXPECT_EQ(setSysQvlanPortPriority("port01", 7), 0);
    EXPECT_EQ(os().commands, (std::vector<std::string>{count_default("port01"), default_filter("port01", 1)}));

    fake::reset();
    os().pipeOutput[count_default("port01")] = "2\n";
    os().shellResult[del_filters("port01", 3)] = 1;
    EXPECT_EQ(setSysQvlanPortPriority("port01", 7), 1);
    EXPECT_EQ(os().commands.back(), del_filters("port01", 3));

    fake::reset();
    EXPECT_EQ(setSysQvlanPortPriority("port01", 8), 1);
    EXPECT_TRUE(os().commands.empty());
    EXPECT_TRUE(os().logged("setSysQvlanPortPriority: Error in priority value! \n"));

    os().pipeFails.push_back(count_default("port01"));
    EXPECT_EQ(setSysQvlanPortPriority("port01", 0), 2);
    EXPECT_TRUE(os().logged("setSysQvlanPortPriority: Error in opening pipe! \n"));

    EXPECT_EQ(setSysQvlanPortPriority(std::string(300, 'x').c_str(), 0), 2);
    EXPECT_EQ(os().logs.back().text.rfind("setSysQvlanPortPriority: Error in creating cmd! tc filter", 0), 0u);
}

TEST_F(QosPort, UnsetMakesARoutingPortAndResetClearsItThroughThePortMap)
{
    dot1d_port_default_priority[2] = 5;
    EXPECT_EQ(sysQvlanPortPriorityUnset("eth9"), 1);  // index 5: no front port
    EXPECT_EQ(sysQvlanPortPriorityUnset("nosuch"), 1);
    EXPECT_EQ(sysQvlanPortPriorityUnset(nullptr), 1);
    EXPECT_TRUE(os().commands.empty());

    os().shellResult[del_filters("port02", 3)] = 1;
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
    fake::reset();
    os().shellResult["tc qdisc del dev port03 ingress"] = 1;
    EXPECT_EQ(sysQosPortDelQdisc("port03"), 1);
    EXPECT_EQ(os().commands.size(), 1u);
    EXPECT_TRUE(os().logged("sysQosPortDelQdisc: Error in removing ingress qdisc on port03!\n"));

    // Rebuilt in another order than at start-up: the ingress discipline last.
    fake::reset();
    EXPECT_EQ(sysQosPortAddQdisc("port03"), 0);
    std::vector<std::string> want = {root("port03")};
    for (int b = 1; b <= 8; ++b)
        want.push_back(band("port03", b));
    want.push_back("tc qdisc add dev port03 ingress");
    EXPECT_EQ(os().commands, want);

    fake::reset();
    os().shellResult[band("port03", 3)] = 1;
    EXPECT_EQ(sysQosPortAddQdisc("port03"), 1);
    EXPECT_EQ(os().commands.size(), 4u);
    EXPECT_TRUE(os().logged("[[QOS]] tc qdisc add dev port03 parent 1:3 handle 30:0 sfq Failed "));
    EXPECT_TRUE(os().logged("sysQosPortAddQdisc: Error in re-applying sfq qdisc on port03\n"));
    EXPECT_EQ(sysQosPortAddQdisc(nullptr), 1);
    EXPECT_EQ(sysQosPortDelQdisc(nullptr), 1);
}

}  // namespace
