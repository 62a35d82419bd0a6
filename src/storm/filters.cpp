// The storm-control filters of one port. All three types share filter
// priority 1, so setting one type deletes them all and re-adds the others.
#include <algorithm>
#include <climits>
#include <syslog.h>

#include "core/diag.h"
#include "hapi/hapi_types.h"
#include "core/os.h"
#include "core/port_map.h"
#include "qos/qos.h"
#include "core/tc_command.h"
#include "storm/storm.h"

namespace hapi::storm {

PortLimits storm_ctl_table[kTableSize];

namespace {

using diag::kTagQos;
using qos::kPrioStorm;

inline constexpr uint8_t kMaxPercent = 100;
inline constexpr int64_t kBytesPerPacket = 1500;
inline constexpr Type kAllTypes[kTypeCount] = {kBroadcast, kMulticast, kUnicast};

bool valid_port(int port) { return port >= 1 && port < kTableSize; }

// Packets per second as the byte rate tc polices; beyond what an int holds
// the limit is as good as none.
int rate_of(int32_t level)
{
    return static_cast<int>(std::min<int64_t>(kBytesPerPacket * level, INT_MAX));
}

struct Name {
    char text[HAPI_IFNAME_SIZE] = {};
    bool found = false;
};

Name name_of(int port)
{
    Name name;
    name.found = valid_port(port) && ports::front_ifname(port, name.text);
    return name;
}

}  // namespace

int vekrate_percent_filter_add(int port, Type type, uint8_t percent)
{
    const Name name = name_of(port);
    if (!name.found)
        return -1;
    const uint32_t speed = storm_ctl_table[port].speed;
    const uint32_t product = 1000u * speed * std::min(percent, kMaxPercent);
    if (product <= 99)
        return 0;
    const int kbit = static_cast<int>(product / 100);
    return tc::run(kTagQos, kTypes[type].percentFilter, name.text, kPrioStorm, kbit) ? 0 : -1;
}

void vekrate_percent_others_reapply(Type type, int port, const char *ifname)
{
    tc::delete_prio(kTagQos, ifname, kPrioStorm);
    for (Type other : kAllTypes) {
        if (other == type)
            continue;
        if (vekrate_percent_filter_add(port, other, storm_ctl_table[port].percent[other]) != 0)
            report_filter_failed(__LINE__, kTypes[other].bandwidthText, port);
    }
}

int vekrate_percent_set(Type type, int port)
{
    const Name name = name_of(port);
    if (!name.found) {
        os::syslog(LOG_ERR, "%s", kTypes[type].invalidPort);
        return -1;
    }
    vekrate_percent_others_reapply(type, port, name.text);
    const int result = vekrate_percent_filter_add(port, type, storm_ctl_table[port].percent[type]);
    if (result != 0)
        report_filter_failed(__LINE__, kTypes[type].bandwidthText, port);
    return result;
}

void vekrate_bps_others_reapply(Type type, int port, const char *ifname)
{
    tc::delete_prio(kTagQos, ifname, kPrioStorm);
    const PortLimits &limits = storm_ctl_table[port];
    for (Type other : kTypes[type].rateOthers) {
        if (limits.level[other] == 0 || limits.enable[other] == 0)
            continue;
        if (!tc::run(kTagQos, kTypes[other].rateFilter, ifname, kPrioStorm,
                     rate_of(limits.level[other])))
            return;
    }
}

int vekrate_bps_set(Type type, int32_t level, uint32_t enable, int port)
{
    const Name name = name_of(port);
    if (!name.found)
        return -1;
    vekrate_bps_others_reapply(type, port, name.text);
    if (enable == 0)
        return 0;
    return tc::run(kTagQos, kTypes[type].rateFilter, name.text, kPrioStorm, rate_of(level)) ? 0 : -1;
}

}  // namespace hapi::storm
