// QoS unit tests: the exported map and port tables put back after each test,
// and the tc command texts the module sends.
#pragma once

#include <string>
#include <vector>

#include "../core/core_fixture.h"
#include "hapi/hapi_qos.h"

class QosTest : public CoreTest {
private:
    Kept<decltype(dot1p_cos_map)> map_{dot1p_cos_map};
    Kept<decltype(dot1d_port_default_priority)> priorities_{dot1d_port_default_priority};
    Kept<decltype(routing_portmap)> routing_{routing_portmap};
    Kept<decltype(_portprio_sockfd)> socket_{_portprio_sockfd};
};

namespace qos_text {

inline std::string root(const std::string &dev)
{
    return "tc qdisc add dev " + dev + " parent root handle 1:0 prio bands 8";
}
inline std::string band(const std::string &dev, int band)
{
    return "tc qdisc add dev " + dev + " parent 1:" + std::to_string(band) + " handle " + std::to_string(band) +
           "0:0 sfq";
}
inline std::string del_filters(const std::string &dev, int prio)
{
    return "tc filter del dev " + dev + " ingress prio " + std::to_string(prio);
}
inline std::string pcp_filter(const std::string &dev, int pcp, int band)
{
    return "tc filter add dev " + dev + " ingress prio 2 protocol all basic match 'meta(vlan mask 0xe000 eq 0x" +
           "02468ace"[pcp] + "000)' action skbedit priority 1:" + std::to_string(band);
}
inline std::string default_filter(const std::string &dev, int band)
{
    return "tc filter add dev " + dev + " ingress prio 3 protocol all basic match 'not cmp(u16 at 12 layer link mask "
           "0xffff eq 0x8100)' action skbedit priority 1:" + std::to_string(band) + " continue";
}
inline std::string count_default(const std::string &dev)
{
    return "tc filter show dev " + dev + " ingress | grep 'pref 3' | awk 'END{print NR}'";
}

}  // namespace qos_text
