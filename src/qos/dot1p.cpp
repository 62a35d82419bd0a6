// The 802.1p-to-class map: start-up build of every port, map changes, and
// the per-port PCP filters.
#include <algorithm>
#include <array>
#include <cstdio>
#include <syslog.h>

#include "core/diag.h"
#include "hapi/hapi_qos.h"
#include "core/os.h"
#include "core/port_map.h"
#include "qos/qos.h"
#include "qos/commands.h"
#include "core/tc_command.h"

uint8_t dot1p_cos_map[HAPI_DOT1P_PRIORITIES] = {2, 0, 1, 3, 4, 5, 6, 7};
uint8_t dot1d_port_default_priority[HAPI_QOS_PORT_SLOTS] = {};
uint8_t routing_portmap[HAPI_QOS_PORT_SLOTS] = {};
int32_t _portprio_sockfd = -1;

namespace hapi::qos {
namespace {

using diag::kTagQos;

struct PortName {
    char text[HAPI_IFNAME_SIZE] = {};
};

PortName port_name(int n)
{
    PortName name;
    std::snprintf(name.text, sizeof name.text, ports::kFrontPortFormat, static_cast<unsigned>(n));
    return name;
}

// Root, ingress, then the eight band leaves: the start-up order.
bool build_port(const char *ifname)
{
    if (!tc::run(kTagQos, text::kRootQdisc, ifname) ||
        !tc::run(kTagQos, text::kIngressQdisc, ifname))
        return false;
    for (int band = 1; band <= kBands; ++band)
        if (!tc::run(kTagQos, text::kBandQdisc, ifname, band, 10 * band))
            return false;
    return true;
}

bool add_pcp_filters(const char *ifname, const uint8_t (&map)[kBands])
{
    for (int pcp = 0; pcp < kBands; ++pcp)
        if (!tc::run(kTagQos, text::kPcpFilter, ifname, kPrioPcp, 2 * pcp, class_of(map[pcp])))
            return false;
    return true;
}

bool valid_map(const uint8_t (&map)[kBands])
{
    return std::all_of(std::begin(map), std::end(map), [](uint8_t t) { return t < kBands; });
}

}  // namespace

int sysQosDot1pMappingSet(const uint8_t (&requested)[kBands])
{
    // A class outside 0..7 has no band: refused before any port is touched.
    if (!valid_map(requested))
        return 1;
    uint8_t map[kBands];
    std::copy(std::begin(requested), std::end(requested), map);
    for (int n = 0; n < kFrontPorts; ++n) {
        const PortName name = port_name(n);
        tc::delete_prio(kTagQos, name.text, kPrioPcp);
        if (!add_pcp_filters(name.text, map))
            return 1;
        std::copy(std::begin(map), std::end(map), dot1p_cos_map);
        if (setSysQvlanPortPriority(name.text, dot1d_port_default_priority[n]) != 0) {
            os::syslog(LOG_ERR, text::kDefaultFilterFailed, "sysQosDot1pMappingSet");
            return 1;
        }
    }
    return 0;
}

}  // namespace hapi::qos

using namespace hapi;

extern "C" HAPI_API void hapiSysQosDot1pMappingInit(void) noexcept
{
    constexpr const char *kStep = "hapiSysQosDot1pMappingInit";
    for (int n = 0; n < qos::kFrontPorts; ++n)
        if (!qos::build_port(qos::port_name(n).text))
            return;
    if (qos::sysQosDot1pMappingSet(dot1p_cos_map) != 0) {
        os::syslog(LOG_ERR, qos::text::kDefaultMappingFailed, kStep);
        return;
    }
    if (!qos::vekInitPortPriorityMap())
        os::syslog(LOG_ERR, qos::text::kSocketInitFailed, kStep);
}

extern "C" HAPI_API int hapiSysQosDot1pMappingSet(const usp_t *, uint32_t,
                                                  const hapiDot1pMappingRecord *record) noexcept
{
    if (!record)
        return 1;
    const int result = qos::sysQosDot1pMappingSet(record->map);
    if (result != 0)
        os::syslog(LOG_ERR, qos::text::kUserMappingFailed, "hapiSysQosDot1pMappingSet");
    return result;
}

extern "C" HAPI_API int hapiSysQosDot1pMappingGet(const usp_t *, uint32_t,
                                                  hapiDot1pMappingRecord *record) noexcept
{
    if (!record)
        return 1;
    std::copy(std::begin(dot1p_cos_map), std::end(dot1p_cos_map), record->map);
    return 0;
}

extern "C" HAPI_API int sysQosPortDot1pMappingSet(const char *ifname) noexcept
{
    if (!ifname)
        return 1;
    if (!qos::add_pcp_filters(ifname, dot1p_cos_map)) {
        os::syslog(LOG_ERR, qos::text::kTaggedFilterFailed, qos::text::kTaggedFilterLine, ifname);
        return 1;
    }
    return 0;
}

extern "C" HAPI_API int sysQosPortDot1pMappingUnset(const char *ifname) noexcept
{
    if (!ifname)
        return 1;
    return tc::delete_prio(diag::kTagQos, ifname, qos::kPrioPcp) ? 0 : 1;
}
