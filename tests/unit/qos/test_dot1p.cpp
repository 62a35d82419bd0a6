#include <cstring>
#include <linux/netlink.h>
#include <unistd.h>

#include "hapi/hapi_init.h"
#include "hapi/hapi_qos.h"
#include "unit_fixture.h"

namespace {

const std::string kRoot00 = "tc qdisc add dev port00 parent root handle 1:0 prio bands 8";

std::string pcp_filter(const std::string &dev, int pcp, int band)
{
    static const char *hex = "02468ace";
    return "tc filter add dev " + dev +
           " ingress prio 2 protocol all basic match 'meta(vlan mask 0xe000 eq 0x" + hex[pcp] +
           "000)' action skbedit priority 1:" + std::to_string(band);
}

std::string default_filter(const std::string &dev, int band)
{
    return "tc filter add dev " + dev +
           " ingress prio 3 protocol all basic match 'not cmp(u16 at 12 layer link mask 0xffff eq "
           "0x8100)' action skbedit priority 1:" +
           std::to_string(band) + " continue";
}

std::string count_default(const std::string &dev)
{
    return "tc filter show dev " + dev + " ingress | grep 'pref 3' | awk 'END{print NR}'";
}

class Dot1pMapping : public UnitTest {};

TEST_F(Dot1pMapping, InitBuildsEveryPortThenTheDefaultMapAndTheSocket)
{
    int boundPid = 0;
    os().bindHook = [&](int, const sockaddr *a, socklen_t len) {
        EXPECT_EQ(len, sizeof(sockaddr_nl));
        auto *nl = reinterpret_cast<const sockaddr_nl *>(a);
        EXPECT_EQ(nl->nl_family, AF_NETLINK);
        EXPECT_EQ(nl->nl_groups, 0u);
        boundPid = static_cast<int>(nl->nl_pid);
        return 0;
    };
    hapiSysQosDot1pMappingInit();

    const std::vector<std::string> port00 = {
        kRoot00,
        "tc qdisc add dev port00 ingress",
        "tc qdisc add dev port00 parent 1:1 handle 10:0 sfq",
        "tc qdisc add dev port00 parent 1:2 handle 20:0 sfq",
        "tc qdisc add dev port00 parent 1:3 handle 30:0 sfq",
        "tc qdisc add dev port00 parent 1:4 handle 40:0 sfq",
        "tc qdisc add dev port00 parent 1:5 handle 50:0 sfq",
        "tc qdisc add dev port00 parent 1:6 handle 60:0 sfq",
        "tc qdisc add dev port00 parent 1:7 handle 70:0 sfq",
        "tc qdisc add dev port00 parent 1:8 handle 80:0 sfq"};
    const auto &c = os().commands;
    ASSERT_EQ(c.size(), 4 * 10 + 4 * (1 + 8 + 1 + 1));
    EXPECT_EQ(std::vector<std::string>(c.begin(), c.begin() + 10), port00);
    EXPECT_EQ(c[30], "tc qdisc add dev port03 parent root handle 1:0 prio bands 8");
    // Default map 2,0,1,3,4,5,6,7: class 1:(8 - map[pcp]).
    const std::vector<std::string> mapping00 = {
        "tc filter del dev port00 ingress prio 2",
        pcp_filter("port00", 0, 6), pcp_filter("port00", 1, 8), pcp_filter("port00", 2, 7),
        pcp_filter("port00", 3, 5), pcp_filter("port00", 4, 4), pcp_filter("port00", 5, 3),
        pcp_filter("port00", 6, 2), pcp_filter("port00", 7, 1),
        count_default("port00"), default_filter("port00", 6)};
    EXPECT_EQ(std::vector<std::string>(c.begin() + 40, c.begin() + 51), mapping00);
    EXPECT_EQ(c.back(), default_filter("port03", 6));

    ASSERT_EQ(os().socketCalls.size(), 1u);
    EXPECT_EQ(os().socketCalls[0].domain, AF_NETLINK);
    EXPECT_EQ(os().socketCalls[0].type, SOCK_RAW);
    EXPECT_EQ(os().socketCalls[0].protocol, 30);
    EXPECT_GE(_portprio_sockfd, 0);
    EXPECT_EQ(boundPid, getpid());
    EXPECT_TRUE(os().logs.empty());
}

TEST_F(Dot1pMapping, RootFailureOnTheFirstPortStopsEverything)
{
    os().shellResult[kRoot00] = 2;
    hapiSysQosDot1pMappingInit();
    EXPECT_EQ(os().commands, std::vector<std::string>{kRoot00});
    EXPECT_TRUE(os().logged("[[QOS]] " + kRoot00 + " Failed "));
    EXPECT_EQ(_portprio_sockfd, -1);
    EXPECT_EQ(os().socketsOpened, 0);
    const uint8_t initial[8] = {2, 0, 1, 3, 4, 5, 6, 7};
    EXPECT_EQ(0, std::memcmp(dot1p_cos_map, initial, 8));
}

TEST_F(Dot1pMapping, SocketFailuresAreLoggedAndBindFailureClosesIt)
{
    os().socketFails = true;
    hapiSysQosDot1pMappingInit();
    EXPECT_TRUE(os().logged("vekInitPortPriorityMap error! _portprio_sockfd:-1 \n"));
    EXPECT_TRUE(os().logged("hapiSysQosDot1pMappingInit: Failed to init socket! \n"));

    fake::reset();
    os().bindHook = [](int, const sockaddr *, socklen_t) { return -1; };
    hapiSysQosDot1pMappingInit();
    EXPECT_TRUE(os().logged("vekInitPortPriorityMap Failure in Socket bind \n"));
    EXPECT_TRUE(os().logged("hapiSysQosDot1pMappingInit: Failed to init socket! \n"));
    EXPECT_EQ(os().socketsOpen, 0);
    EXPECT_GE(_portprio_sockfd, 0);  // the closed number stays
}

TEST_F(Dot1pMapping, NewMapReappliesEachPortsDefaultPriorityThroughIt)
{
    dot1d_port_default_priority[1] = 3;
    os().pipeOutput[count_default("port01")] = "1\n";
    hapiDot1pMappingRecord record = {{9, 9, 9, 9}, {7, 6, 5, 4, 3, 2, 1, 0}};
    ASSERT_EQ(hapiSysQosDot1pMappingSet(nullptr, 0, &record), 0);

    const auto &c = os().commands;
    EXPECT_EQ(c[1], pcp_filter("port00", 0, 1));
    EXPECT_EQ(c[8], pcp_filter("port00", 7, 8));
    EXPECT_EQ(c[10], default_filter("port00", 1));  // priority 0 -> class 7 -> 1:1
    const std::vector<std::string> tail01 = {count_default("port01"),
                                             "tc filter del dev port01 ingress prio 3",
                                             default_filter("port01", 4)};
    EXPECT_EQ(std::vector<std::string>(c.begin() + 20, c.begin() + 23), tail01);

    hapiDot1pMappingRecord read = {};
    ASSERT_EQ(hapiSysQosDot1pMappingGet(nullptr, 0, &read), 0);
    EXPECT_EQ(0, std::memcmp(read.map, record.map, 8));
    EXPECT_EQ(hapiSysQosDot1pMappingGet(nullptr, 0, nullptr), 1);
    EXPECT_EQ(hapiSysQosDot1pMappingSet(nullptr, 0, nullptr), 1);
}

TEST_F(Dot1pMapping, FailedPortLeavesEarlierPortsOnTheNewMap)
{
    os().shellResult[pcp_filter("port01", 4, 8)] = 1;
    hapiDot1pMappingRecord record = {{}, {0, 0, 0, 0, 0, 0, 0, 0}};
    EXPECT_EQ(hapiSysQosDot1pMappingSet(nullptr, 0, &record), 1);
    EXPECT_EQ(os().commands.back(), pcp_filter("port01", 4, 8));
    EXPECT_TRUE(os().logged("hapiSysQosDot1pMappingSet: Error in applying user defined 802.1p "
                            "mapping! \n"));
    EXPECT_EQ(0, std::memcmp(dot1p_cos_map, record.map, 8));

    // A class without a band touches no port.
    fake::reset();
    record.map[5] = 8;
    EXPECT_EQ(hapiSysQosDot1pMappingSet(nullptr, 0, &record), 1);
    EXPECT_TRUE(os().commands.empty());
}

TEST_F(Dot1pMapping, PortFiltersOfTheRebuild)
{
    EXPECT_EQ(sysQosPortDot1pMappingSet("port02"), 0);
    ASSERT_EQ(os().commands.size(), 8u);
    EXPECT_EQ(os().commands[2], pcp_filter("port02", 2, 7));

    fake::reset();
    os().shellResult[pcp_filter("port02", 0, 6)] = 256;
    EXPECT_EQ(sysQosPortDot1pMappingSet("port02"), 1);
    EXPECT_EQ(os().commands.size(), 1u);
    EXPECT_TRUE(os().logged("714: Error in applying tagged vlan priority filter for port02!"));

    fake::reset();
    EXPECT_EQ(sysQosPortDot1pMappingUnset("port02"), 0);
    EXPECT_EQ(os().commands, std::vector<std::string>{"tc filter del dev port02 ingress prio 2"});
    EXPECT_EQ(sysQosPortDot1pMappingSet(nullptr), 1);
    EXPECT_EQ(sysQosPortDot1pMappingUnset(nullptr), 1);
}

}  // namespace
