// What the board's kernel must offer for QoS, marking, storm control and
// VLANs. On a trimmed kernel these steps fail and the tests that need them
// skip; inside the VM (kernel label) they run.
#include "board_harness.h"

namespace {

constexpr const char *kVlanFiltering = "echo 1 > /sys/class/net/eth1/bridge/vlan_filtering";

class KernelFeatureTest : public BoardTest {};

}  // namespace

// The probes decide which tests skip: they must say what the board does,
// and inside the VM find nothing missing.
TEST_F(KernelFeatureTest, ProbesAgreeWithTheBoard)
{
    using board::Feature;
    SCOPED_TRACE(board::environment());
    EXPECT_EQ(board::run("tc qdisc add dev port00 parent root handle 1:0 prio bands 8").status == 0,
              board::kernel_has(Feature::PrioQdisc));
    ASSERT_EQ(board::run("tc qdisc add dev port00 ingress").status, 0);  // every kernel we run on has it
    EXPECT_EQ(board::run("tc filter add dev port00 ingress prio 2 protocol all basic match "
                         "'meta(vlan mask 0xe000 eq 0xa000)' action skbedit priority 1:3").status == 0,
              board::kernel_has(Feature::BasicMatch) && board::kernel_has(Feature::SkbeditAction));
    EXPECT_EQ(board::run(kVlanFiltering).status == 0, board::kernel_has(Feature::BridgeVlanFiltering));
    if (board::environment().rfind("VM", 0) == 0) {
        const auto missing = board::missing_vm_feature();
        EXPECT_FALSE(missing) << "the VM kernel lacks " << board::feature_name(*missing);
    }
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
    EXPECT_EQ(board::station(1, "ping -q -n -c 1 -W 1 10.0.0.3").status, 1);
}
