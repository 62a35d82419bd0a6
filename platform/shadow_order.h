// The order of the FDB shadow table's sorted front: MAC address, then VLAN ID.
#pragma once

#include <cstdint>
#include <cstring>

#include "platform/vekfdbshadow.h"

namespace vekpf {

inline int compare_shadow_entries(const void *a, const void *b)
{
    const auto &x = static_cast<const vekShadowEntry *>(a)->entry;
    const auto &y = static_cast<const vekShadowEntry *>(b)->entry;
    if (int c = std::memcmp(x.macAddr, y.macAddr, sizeof x.macAddr))
        return c;
    return x.vlanId < y.vlanId ? -1 : (x.vlanId > y.vlanId ? 1 : 0);
}

}  // namespace vekpf
