// Probes what the running kernel offers by trying it in a throw-away network
// namespace, so the board itself is never touched.
#include "board_harness.h"

#include <map>
#include <mutex>

namespace board {
namespace {

struct Probe {
    const char *name;
    const char *commands;
};

// In the order of Feature.
constexpr Probe kProbes[] = {
    {"the prio qdisc", "tc qdisc add dev lo root handle 1: prio bands 8"},
    {"the sfq qdisc", "tc qdisc add dev lo root handle 1: sfq"},
    {"the basic classifier with cmp/meta ematches",
     "tc qdisc add dev lo ingress && "
     "tc filter add dev lo ingress prio 3 protocol all basic match "
     "'not cmp(u16 at 12 layer link mask 0xffff eq 0x8100)' classid 1:1 && "
     "tc filter add dev lo ingress prio 2 protocol all basic match "
     "'meta(vlan mask 0xe000 eq 0x2000)' classid 1:1"},
    {"the skbedit action",
     "tc qdisc add dev lo ingress && "
     "tc filter add dev lo ingress prio 1 protocol all u32 match u32 0 0 action skbedit priority 1:1"},
    {"the police action",
     "tc qdisc add dev lo ingress && "
     "tc filter add dev lo ingress prio 1 protocol all u32 match u32 0 0 police rate 1mbit burst 100k"},
    {"bridge VLAN filtering",
     "ip link add br0 type bridge vlan_filtering 1 && ip link add v0 type veth peer name v1 && "
     "ip link set v0 master br0 && bridge vlan add dev v0 vid 5"},
    {"802.1Q VLAN devices",
     "ip link add v0 type veth peer name v1 && ip link add link v0 name v0.5 type vlan id 5"},
};
static_assert(std::size(kProbes) == static_cast<size_t>(Feature::Vlan8021q) + 1);

}  // namespace

bool kernel_has(Feature f)
{
    static std::mutex lock;
    static std::map<Feature, bool> known;
    std::lock_guard<std::mutex> guard(lock);
    if (!known.count(f))
        known[f] = run("unshare -n sh -c \"" + std::string(kProbes[static_cast<int>(f)].commands) +
                       "\" >/dev/null 2>&1").status == 0;
    return known[f];
}

const char *feature_name(Feature f) { return kProbes[static_cast<int>(f)].name; }

std::optional<Feature> missing_vm_feature()
{
    for (int f = 0; f < static_cast<int>(std::size(kProbes)); ++f)
        if (!kernel_has(static_cast<Feature>(f)))
            return static_cast<Feature>(f);
    return std::nullopt;
}

}  // namespace board
