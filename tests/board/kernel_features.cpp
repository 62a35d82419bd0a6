// Probes what the running kernel offers by trying it in a throw-away network
// namespace, so the board itself is never touched.
#include "board_harness.h"

#include <array>
#include <map>
#include <mutex>

namespace board {
namespace {

struct Probe {
    Feature feature;
    const char *name;
    const char *commands;
};

constexpr std::array<Probe, 7> kProbes{{
    {Feature::PrioQdisc, "the prio qdisc", "tc qdisc add dev lo root handle 1: prio bands 8"},
    {Feature::SfqQdisc, "the sfq qdisc", "tc qdisc add dev lo root handle 1: sfq"},
    {Feature::BasicMatch, "the basic classifier with cmp/meta ematches",
     "tc qdisc add dev lo ingress && "
     "tc filter add dev lo ingress prio 3 protocol all basic match "
     "'not cmp(u16 at 12 layer link mask 0xffff eq 0x8100)' classid 1:1 && "
     "tc filter add dev lo ingress prio 2 protocol all basic match "
     "'meta(vlan mask 0xe000 eq 0x2000)' classid 1:1"},
    {Feature::SkbeditAction, "the skbedit action",
     "tc qdisc add dev lo ingress && "
     "tc filter add dev lo ingress prio 1 protocol all u32 match u32 0 0 action skbedit priority 1:1"},
    {Feature::PoliceAction, "the police action",
     "tc qdisc add dev lo ingress && "
     "tc filter add dev lo ingress prio 1 protocol all u32 match u32 0 0 police rate 1mbit burst 100k"},
    {Feature::BridgeVlanFiltering, "bridge VLAN filtering",
     "ip link add br0 type bridge vlan_filtering 1 && ip link add v0 type veth peer name v1 && "
     "ip link set v0 master br0 && bridge vlan add dev v0 vid 5"},
    {Feature::Vlan8021q, "802.1Q VLAN devices",
     "ip link add v0 type veth peer name v1 && ip link add link v0 name v0.5 type vlan id 5"},
}};

const Probe &probe_of(Feature f)
{
    for (const Probe &p : kProbes)
        if (p.feature == f)
            return p;
    return kProbes[0];
}

}  // namespace

bool kernel_has(Feature f)
{
    static std::mutex lock;
    static std::map<Feature, bool> known;
    std::lock_guard<std::mutex> guard(lock);
    auto it = known.find(f);
    if (it == known.end()) {
        const std::string script = probe_of(f).commands;
        const Result r = run("unshare -n sh -c \"" + script + "\" >/dev/null 2>&1");
        it = known.emplace(f, r.status == 0).first;
    }
    return it->second;
}

const char *feature_name(Feature f) { return probe_of(f).name; }

std::optional<Feature> missing_vm_feature()
{
    for (const Probe &p : kProbes)
        if (!kernel_has(p.feature))
            return p.feature;
    return std::nullopt;
}

}  // namespace board
