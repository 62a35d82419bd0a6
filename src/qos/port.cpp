// Per-port pieces of the QoS configuration: the default priority filter,
// the routing-port flag and the queueing disciplines, which the PVID
// rebuild tears down and builds again.
#include <syslog.h>

#include "core/diag.h"
#include "hapi/hapi_qos.h"
#include "core/os.h"
#include "core/port_map.h"
#include "qos/qos.h"
#include "qos/commands.h"
#include "core/tc_command.h"

namespace hapi::qos {

int setSysQvlanPortPriority(const char *ifname, unsigned priority)
{
    constexpr const char *kStep = "setSysQvlanPortPriority";
    if (priority >= static_cast<unsigned>(kBands)) {
        os::syslog(LOG_ERR, text::kBadPriority, kStep);
        return 1;
    }
    tc::Command command;
    int count = 0;
    switch (tc::count_prio(ifname, kPrioDefault, count, command)) {
    case Status::bad_argument:
        os::syslog(LOG_ERR, text::kCreatingCmdFailed, kStep, command);
        return 2;
    case Status::os_error:
        os::syslog(LOG_ERR, text::kOpeningPipeFailed, kStep);
        return 2;
    default:  // no output: no filter to replace
        break;
    }
    if (count >= 1 && !tc::delete_prio(diag::kTagQos, ifname, kPrioDefault))
        return 1;
    const int band = class_of(dot1p_cos_map[priority]);
    return tc::run(diag::kTagQos, text::kDefaultPriorityFilter, ifname, kPrioDefault, band) ? 0 : 1;
}

}  // namespace hapi::qos

using namespace hapi;

extern "C" HAPI_API int sysQvlanPortPriorityUnset(const char *ifname) noexcept
{
    if (!ifname)
        return 1;
    const int port = ports::front_port_of(static_cast<int>(os::if_nametoindex(ifname)));
    if (port == ports::kNoPort)
        return 1;
    if (!tc::delete_prio(diag::kTagQos, ifname, qos::kPrioDefault))
        return 1;
    routing_portmap[port - 1] = 1;
    dot1d_port_default_priority[port - 1] = 0;
    return 0;
}

extern "C" HAPI_API int sysQvlanPortPriorityReset(int ifindex) noexcept
{
    const int port = ports::front_port_of(ifindex);
    if (port == ports::kNoPort)
        return 1;
    routing_portmap[port - 1] = 0;
    return 0;
}

extern "C" HAPI_API int sysQosPortDelQdisc(const char *ifname) noexcept
{
    constexpr const char *kStep = "sysQosPortDelQdisc";
    if (!ifname)
        return 1;
    if (!tc::run(diag::kTagQos, qos::text::kDeleteIngress, ifname)) {
        os::syslog(LOG_ERR, qos::text::kRemoveIngressFailed, kStep, ifname);
        return 1;
    }
    if (!tc::run(diag::kTagQos, qos::text::kDeleteRoot, ifname)) {
        os::syslog(LOG_ERR, qos::text::kRemoveRootFailed, kStep, ifname);
        return 1;
    }
    return 0;
}

extern "C" HAPI_API int sysQosPortAddQdisc(const char *ifname) noexcept
{
    constexpr const char *kStep = "sysQosPortAddQdisc";
    if (!ifname)
        return 1;
    if (!tc::run(diag::kTagQos, qos::text::kRootQdisc, ifname)) {
        os::syslog(LOG_ERR, qos::text::kReapplyRootFailed, kStep, ifname);
        return 1;
    }
    for (int band = 1; band <= qos::kBands; ++band) {
        if (!tc::run(diag::kTagQos, qos::text::kBandQdisc, ifname, band, 10 * band)) {
            os::syslog(LOG_ERR, qos::text::kReapplyBandFailed, kStep, ifname);
            return 1;
        }
    }
    if (!tc::run(diag::kTagQos, qos::text::kIngressQdisc, ifname)) {
        os::syslog(LOG_ERR, qos::text::kReapplyIngressFailed, kStep, ifname);
        return 1;
    }
    return 0;
}
