// Storm control inside the library: the limits table, the filter steps and
// the reports. Ports are front-port numbers 1..4 (the interface index on
// the board); names and reported indexes go through the port map.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/vekplatform.h"

namespace hapi::storm {

enum Type { kBroadcast, kMulticast, kUnicast, kTypeCount };

struct TypeInfo {
    uint32_t code;  // also the stored enable value
    const char *percentFilter;
    const char *rateFilter;
    const char *bandwidthText;
    const char *rateText;
    const char *invalidPort;
    Type rateOthers[2];  // re-added, in this order, when this type is set in rate mode
};

inline constexpr TypeInfo kTypes[kTypeCount] = {
    {4,
     "tc filter add dev %s ingress prio %d u32 match ether dst FF:FF:FF:FF:FF:FF "
     "police rate %dkbit burst 100k",
     "tc filter add dev %s ingress prio %d u32 match ether dst FF:FF:FF:FF:FF:FF "
     "police rate %dbps burst 100k",
     "broadcast bandwidth", "broadcast rate", "vekrate_percent_bcast_set: invalid port number.",
     {kUnicast, kMulticast}},
    {2,
     "tc filter add dev %s ingress prio %d u32 match u16 0x0100 0x0100 at -14 "
     "police rate %dkbit burst 100k",
     "tc filter add dev %s ingress prio %d u32 match u16 0x0100 0x0100 at -14 "
     "police rate %dbps burst 100k",
     "multicast bandwidth", "multicast rate", "vekrate_percent_mcast_set: invalid port number.",
     {kUnicast, kBroadcast}},
    {1,
     "tc filter add dev %s ingress prio %d u32 match u16 0x0000 0x0100 at -14 "
     "police rate %dkbit burst 100k",
     "tc filter add dev %s ingress prio %d u32 match u16 0x0000 0x0100 at -14 "
     "police rate %dbps burst 100k",
     "unicast bandwidth", "unicast rate", "vekrate_percent_ucast_set: invalid port number.",
     {kBroadcast, kMulticast}},
};

inline constexpr int kTableSize = 5;  // index 0 unused, 1..4 the front ports
inline constexpr uint32_t kCommand = 298;

// Speed, pending and the percents are also read and written by the link-up
// notification, which takes no lock; the rest only under storm_ctl_mutex.
struct PortLimits {
    std::atomic<uint32_t> speed{0};
    std::atomic<uint32_t> pending{0};
    int32_t level[kTypeCount] = {};
    uint32_t enable[kTypeCount] = {};
    std::atomic<uint8_t> percent[kTypeCount] = {};
};

extern PortLimits storm_ctl_table[kTableSize];
extern VEK_SEM_ID storm_ctl_mutex;
extern VEK_SEM_ID storm_ctl_task_sem;
extern std::atomic<int> storm_ctl_task_started;

// Filter steps; each returns 0 or -1.
int vekrate_percent_filter_add(int port, Type type, uint8_t percent);
void vekrate_percent_others_reapply(Type type, int port, const char *ifname);
int vekrate_percent_set(Type type, int port);
void vekrate_bps_others_reapply(Type type, int port, const char *ifname);
int vekrate_bps_set(Type type, int32_t level, uint32_t enable, int port);

// Creates the mutex and semaphore and starts the task, once it succeeds.
void start_task();

// Reports on the platform log channel.
void report_no_resource(int line, const char *what);
void report_port_out_of_range(int line, int ifindex, int port);
void report_filter_failed(int line, const char *what, int port);

}  // namespace hapi::storm
