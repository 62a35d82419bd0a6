// What the board's kernel must offer for QoS, marking, storm control and
// VLANs. On a trimmed kernel these steps fail and the tests that need them
// skip; inside the VM (kernel label) they run.
#include "board_harness.h"

using namespace std::chrono_literals;

namespace {

constexpr const char *kRootPrio = "tc qdisc add dev port00 parent root handle 1:0 prio bands 8";
constexpr const char *kIngress = "tc qdisc add dev port00 ingress";
constexpr const char *kPcpFilter =
    "tc filter add dev port00 ingress prio 2 protocol all basic match "
    "'meta(vlan mask 0xe000 eq 0xa000)' action skbedit priority 1:3";
constexpr const char *kVlanFiltering = "echo 1 > /sys/class/net/eth1/bridge/vlan_filtering";

class KernelFeatureTest : public BoardTest {};

}  // namespace

// The probes decide which tests skip; they must say what the board does.
TEST_F(KernelFeatureTest, ProbesAgreeWithTheBoard)
{
    SCOPED_TRACE(board::environment());
    EXPECT_EQ(board::run(kRootPrio).status == 0, board::kernel_has(board::Feature::PrioQdisc));
    ASSERT_EQ(board::run(kIngress).status, 0);  // every kernel we run on has ingress
    EXPECT_EQ(board::run(kPcpFilter).status == 0, board::kernel_has(board::Feature::BasicMatch) &&
                                                      board::kernel_has(board::Feature::SkbeditAction));
    EXPECT_EQ(board::run(kVlanFiltering).status == 0,
              board::kernel_has(board::Feature::BridgeVlanFiltering));
}

TEST_F(KernelFeatureTest, InsideTheVmNothingIsMissing)
{
    if (board::environment().rfind("VM", 0) != 0)
        GTEST_SKIP() << "runs inside the VM only (" << board::environment() << ")";
    const auto missing = board::missing_vm_feature();
    EXPECT_FALSE(missing) << "the VM kernel lacks " << board::feature_name(*missing);
}

TEST_F(KernelFeatureTest, QosQueuesAndPcpFilterInstall)
{
    HAPI_REQUIRE_KERNEL(board::Feature::PrioQdisc);
    HAPI_REQUIRE_KERNEL(board::Feature::SfqQdisc);
    HAPI_REQUIRE_KERNEL(board::Feature::BasicMatch);
    HAPI_REQUIRE_KERNEL(board::Feature::SkbeditAction);
    ASSERT_EQ(board::run(kRootPrio).status, 0);
    for (int band = 1; band <= 8; ++band) {
        const std::string leaf = "tc qdisc add dev port00 parent 1:" + std::to_string(band) + " handle " +
                                 std::to_string(10 * band) + ":0 sfq";
        ASSERT_EQ(board::run(leaf).status, 0) << leaf;
    }
    ASSERT_EQ(board::run(kIngress).status, 0);
    const auto filter = board::run(kPcpFilter);
    ASSERT_EQ(filter.status, 0) << filter.output;
    EXPECT_EQ(board::run("tc filter show dev port00 ingress | grep -c 'pref 2'").output, "2\n");
    EXPECT_EQ(board::run("tc qdisc show dev port00 | grep -c sfq").output, "8\n");
}

TEST_F(KernelFeatureTest, BridgeVlanMembershipSeparatesStations)
{
    HAPI_REQUIRE_KERNEL(board::Feature::BridgeVlanFiltering);
    ASSERT_EQ(board::run(kVlanFiltering).status, 0);
    // Stations 1 and 2 share VLAN 10; station 3 is in none.
    for (int port : {1, 2, 3})
        ASSERT_EQ(board::run("bridge vlan del dev " + board::port_if(port) + " vid 1").status, 0);
    for (int port : {1, 2})
        ASSERT_EQ(board::run("bridge vlan add dev " + board::port_if(port) + " vid 10 pvid untagged").status, 0);
    EXPECT_EQ(board::run("bridge -j vlan show dev port01").output,
              "[{\"ifname\":\"port01\",\"vlans\":[{\"vlan\":10,\"flags\":[\"PVID\",\"Egress Untagged\"]}]}]\n");
    EXPECT_TRUE(board::ping(1, 2, 2));
    EXPECT_EQ(board::station(1, "ping -q -n -c 1 -W 1 " + board::station_ip(3)).status, 1);
}
