// The notification channel as the rest of the library sees it: the boot
// phase adds the records, the PHY layer synchronises with the channel's
// lock, statistics and tests read the record layout.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>

#include "hapi/hapi_notify.h"

struct vekNotifyIfEntry {
    int32_t ifIndex;   // logical port; the sort key
    uint32_t flags;    // IFF_UP, IFF_RUNNING
    uint32_t changed;  // bits the last flag update changed
    uint32_t cemask;   // kNotifyPendingIfTable | kNotifyPendingRmon
    uint8_t ifTableStats[VEK_NOTIFY_IFTABLE_STATS_SIZE];
    uint8_t rmonStats[VEK_NOTIFY_RMON_STATS_SIZE];
};
static_assert(offsetof(vekNotifyIfEntry, cemask) == 12);
static_assert(offsetof(vekNotifyIfEntry, ifTableStats) == 16);
static_assert(offsetof(vekNotifyIfEntry, rmonStats) == 16 + 176);
static_assert(sizeof(vekNotifyIfEntry) == 16 + 176 + 76);

inline constexpr uint32_t kNotifyPendingIfTable = 0x2;
inline constexpr uint32_t kNotifyPendingRmon = 0x4;

// Appends a record for ifIndex when the table exists, has room and has no
// record for it. Callers add ports in ascending order.
void vekNetlinkNotifyAddIntf(int32_t ifIndex);

// The record of ifIndex, or nullptr. Caller holds vekNetlinkNotifyLock().
vekNotifyIfEntry *vekNetlinkNotifyFindIntf(int32_t ifIndex);

// Guards the table, every record and every send. The PHY layer takes and
// releases it once after disabling a port so no send is still in flight.
std::mutex &vekNetlinkNotifyLock();

