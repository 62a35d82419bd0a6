// The storm-control task: recomputes a port's percentage limits after its
// link came up at a new speed. Created by the first setting, never ends.
#include <mutex>
#include <syslog.h>

#include "hapi/hapi_storm.h"
#include "core/os.h"
#include "core/port_map.h"
#include "storm/storm.h"

namespace hapi::storm {

VEK_SEM_ID storm_ctl_mutex = nullptr;
VEK_SEM_ID storm_ctl_task_sem = nullptr;
std::atomic<int> storm_ctl_task_started{0};

namespace {

inline constexpr int kMutexOptions = 13;
inline constexpr int kTaskSemOptions = 0;
inline constexpr int kTaskSemInitial = 1;
inline constexpr int kMaxIndex = 95;
inline constexpr const char *kTaskStartFailed =
    "hapiSysIfIngressStormCtlInit: hapiSysIngressStormCtlTask() failed!";

void *task_entry(void *)
{
    hapiSysIngressStormCtlTask();
    return nullptr;
}

}  // namespace

void start_task()
{
    // Two first callers at once must not create two tasks.
    static std::mutex starting;
    std::lock_guard<std::mutex> guard(starting);
    if (storm_ctl_task_started)
        return;
    if (!storm_ctl_mutex && !(storm_ctl_mutex = _vekApiOsSemaMCreate(kMutexOptions))) {
        report_no_resource(__LINE__, "mutex");
        return;
    }
    if (!storm_ctl_task_sem &&
        !(storm_ctl_task_sem = _vekApiOsSemaBCreate(kTaskSemOptions, kTaskSemInitial))) {
        report_no_resource(__LINE__, "task semaphore");
        return;
    }
    if (os::thread_start(nullptr, task_entry, nullptr, true) != 0) {
        os::syslog(LOG_ERR, "%s", kTaskStartFailed);
        return;
    }
    storm_ctl_task_started = 1;
}

}  // namespace hapi::storm

using namespace hapi;
using namespace hapi::storm;

extern "C" HAPI_API void hapiSysIfIngressStormCtlLinkUpNotify(int ifindex, uint32_t speed) noexcept
{
    if (!storm_ctl_task_started || ifindex > kMaxIndex)
        return;
    // Indexes of no front port have no record.
    const int port = ports::front_port_of(ifindex);
    if (port == ports::kNoPort)
        return;
    PortLimits &limits = storm_ctl_table[port];
    if (limits.speed == speed)
        return;
    limits.speed = speed;
    for (const auto &percent : limits.percent) {
        if (percent != 0) {
            limits.pending = 1;
            vekApiOsSemaGive(storm_ctl_task_sem);
            return;
        }
    }
}

extern "C" HAPI_API void hapiSysIngressStormCtlTask(void) noexcept
{
    // Called before the first setting created them, there is nothing to serve.
    if (!storm_ctl_task_sem || !storm_ctl_mutex)
        return;
    while (os::thread_keep_running()) {
        // A take fails only when the wait is cut short: nothing to serve then.
        if (vekApiOsSemaTake(storm_ctl_task_sem, VEK_WAIT_FOREVER) != 0 ||
            vekApiOsSemaTake(storm_ctl_mutex, VEK_WAIT_FOREVER) != 0)
            continue;
        for (int port = 1; port < kTableSize; ++port) {
            PortLimits &limits = storm_ctl_table[port];
            if (!limits.pending.exchange(0))
                continue;
            for (Type type : {kBroadcast, kMulticast, kUnicast})
                if (limits.percent[type] != 0)
                    vekrate_percent_set(type, port);
        }
        vekApiOsSemaGive(storm_ctl_mutex);
    }
}
