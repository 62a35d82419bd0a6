// Storm control's exported operations: the application's setting, and the
// clear and re-apply steps of the port rebuild.
#include "hapi/hapi_storm.h"

#include <syslog.h>

#include "core/diag.h"
#include "core/os.h"
#include "core/port_map.h"
#include "qos/qos.h"
#include "core/tc_command.h"
#include "storm/storm.h"

namespace hapi::storm {
namespace {

inline constexpr int kMaxIndex = 95;
inline constexpr uint32_t kEnabled = 1;

// Holds storm_ctl_mutex for a scope. Without the mutex (its creation
// failed and was reported) the setting still goes ahead, unguarded.
class MutexHold {
public:
    MutexHold() : sem_(storm_ctl_mutex)
    {
        if (sem_)
            vekApiOsSemaTake(sem_, VEK_WAIT_FOREVER);
    }
    ~MutexHold()
    {
        if (sem_)
            vekApiOsSemaGive(sem_);
    }
    MutexHold(const MutexHold &) = delete;
    MutexHold &operator=(const MutexHold &) = delete;

private:
    VEK_SEM_ID sem_;
};

struct Request {
    uint32_t enable;
    int32_t value;
};

void clear_all(int port)
{
    PortLimits &limits = storm_ctl_table[port];
    for (int t = 0; t < kTypeCount; ++t) {
        limits.percent[t] = 0;
        limits.level[t] = 0;
        limits.enable[t] = 0;
    }
    for (Type type : {kBroadcast, kMulticast, kUnicast})
        vekrate_percent_set(type, port);
    for (Type type : {kBroadcast, kMulticast, kUnicast})
        if (vekrate_bps_set(type, 0, 0, port) != 0)
            report_filter_failed(__LINE__, kTypes[type].rateText, port);
}

void set_limit(int port, Type type, bool percentMode, Request request)
{
    PortLimits &limits = storm_ctl_table[port];
    const bool on = request.enable == kEnabled;
    if (percentMode) {
        limits.percent[type] = on ? static_cast<uint8_t>(request.value & 0xFF) : 0;
        vekrate_percent_set(type, port);
        return;
    }
    limits.level[type] = request.value;
    limits.enable[type] = on && request.value >= 1 ? kTypes[type].code : 0;
    if (vekrate_bps_set(type, limits.level[type], limits.enable[type], port) != 0)
        report_filter_failed(__LINE__, kTypes[type].rateText, port);
}

}  // namespace
}  // namespace hapi::storm

using namespace hapi;
using namespace hapi::storm;

extern "C" HAPI_API int hapiSysIfIngressStormCtl(const usp_t *usp, uint32_t command,
                                                 const hapiStormCtlRecord *record) noexcept
{
    if (command != kCommand)
        return 1;
    // Nothing to apply without both: refused before the table is touched.
    if (!usp || !record)
        return 1;
    start_task();

    const int port = usp->port;
    if (port < 0 || port > kMaxIndex) {
        report_port_out_of_range(__LINE__, -1, port);
        return 1;
    }
    const int ifindex = ports::physical_of(port);
    // Ports past the table's four are refused like indexes out of range.
    if (ifindex < 0 || ifindex > kMaxIndex || port >= kTableSize) {
        report_port_out_of_range(__LINE__, ifindex, port);
        return 1;
    }

    MutexHold hold;
    const bool percentMode = record->mode == HAPI_STORM_MODE_PERCENT;
    if (record->actions & HAPI_STORM_CLEAR_ALL)
        clear_all(port);
    if (record->actions & HAPI_STORM_BROADCAST)
        set_limit(port, kBroadcast, percentMode, {record->broadcastEnable, record->broadcastValue});
    if (record->actions & HAPI_STORM_MULTICAST)
        set_limit(port, kMulticast, percentMode, {record->multicastEnable, record->multicastValue});
    if (record->actions & HAPI_STORM_UNICAST)
        set_limit(port, kUnicast, percentMode, {record->unicastEnable, record->unicastValue});
    return 0;
}

extern "C" HAPI_API int vekIngress_clear_all(const char *ifname) noexcept
{
    if (!ifname)
        return 1;
    return tc::delete_prio(diag::kTagQos, ifname, qos::kPrioStorm) ? 0 : 1;
}

extern "C" HAPI_API void vekIngress_reapply_all(int ifindex) noexcept
{
    const int port = ports::front_port_of(ifindex);
    if (port == ports::kNoPort)
        return;
    const PortLimits &limits = storm_ctl_table[port];
    for (Type type : {kBroadcast, kMulticast, kUnicast}) {
        if (limits.level[type] > 0) {
            if (vekrate_bps_set(type, limits.level[type], limits.enable[type], port) != 0) {
                report_filter_failed(__LINE__, kTypes[type].rateText, port);
                return;
            }
        } else if (limits.percent[type] != 0 && vekrate_percent_set(type, port) != 0) {
            return;
        }
    }
}
