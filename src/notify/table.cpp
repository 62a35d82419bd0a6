// The channel's sorted table of port records and the exported operations
// that update and publish them.
#include <syslog.h>

#include <cstring>

#include "core/os.h"
#include "notify/channel.h"

using hapi::notify::channel;

namespace {

constexpr const char *kPostLine = "[%s:%d] ifIndeX: %d changed: %d cemask: %d";

bool pending(const vekNotifyIfEntry &e) { return e.changed != 0 || e.cemask != 0; }

// Stores one statistics block in one record (ifIndex != 0) or in every
// record (ifIndex 0), publishing each touched record when sendNow is 1.
template <auto Block>
int32_t store_stats(int32_t ifIndex, const void *block, int32_t sendNow, uint32_t maskBit)
{
    if (!block)
        return -1;
    std::lock_guard guard(vekNetlinkNotifyLock());
    auto store = [&](vekNotifyIfEntry &e) {
        std::memcpy(e.*Block, block, sizeof(e.*Block));
        e.cemask |= maskBit;
        if (sendNow == 1)
            vekNetlinkNotifyPublish(&e);
    };
    if (ifIndex != 0) {
        vekNotifyIfEntry *e = vekNetlinkNotifyFindIntf(ifIndex);
        if (!e)
            return -1;
        store(*e);
        return 0;
    }
    for (int32_t i = 0; i < channel().count; ++i)
        store(channel().table[i]);
    return 0;
}

}  // namespace

void vekNetlinkNotifyAddIntf(int32_t ifIndex)
{
    std::lock_guard guard(vekNetlinkNotifyLock());
    auto &ch = channel();
    if (!ch.table || ch.count >= ch.capacity || vekNetlinkNotifyFindIntf(ifIndex))
        return;
    vekNotifyIfEntry &e = ch.table[ch.count];
    std::memset(&e, 0, sizeof e);
    e.ifIndex = ifIndex;
    ++ch.count;
}

vekNotifyIfEntry *vekNetlinkNotifyFindIntf(int32_t ifIndex)
{
    auto &ch = channel();
    if (!ch.table)
        return nullptr;
    int32_t lo = 0, hi = ch.count - 1;
    while (lo <= hi) {
        int32_t mid = lo + (hi - lo) / 2;
        // 64-bit difference: the signed comparison must not overflow at the extremes.
        int64_t diff = int64_t{ifIndex} - ch.table[mid].ifIndex;
        if (diff == 0)
            return &ch.table[mid];
        if (diff < 0)
            hi = mid - 1;
        else
            lo = mid + 1;
    }
    return nullptr;
}

extern "C" HAPI_API int32_t vekNetlinkNotifySetFlags(int32_t ifIndex, uint32_t flags, int32_t sendNow) noexcept
{
    std::lock_guard guard(vekNetlinkNotifyLock());
    vekNotifyIfEntry *e = vekNetlinkNotifyFindIntf(ifIndex);
    if (!e)
        return -1;
    uint32_t added = flags & ~e->flags;
    e->flags |= flags;
    e->changed = added;
    if (added && sendNow == 1)
        vekNetlinkNotifyPublish(e);
    return 0;
}

extern "C" HAPI_API int32_t vekNetlinkNotifyClearFlags(int32_t ifIndex, uint32_t flags, int32_t) noexcept
{
    std::lock_guard guard(vekNetlinkNotifyLock());
    vekNotifyIfEntry *e = vekNetlinkNotifyFindIntf(ifIndex);
    if (!e)
        return -1;
    uint32_t removed = flags & e->flags;
    e->flags &= ~flags;
    e->changed = removed;
    // A port going down is always published at once.
    if (removed)
        vekNetlinkNotifyPublish(e);
    return 0;
}

extern "C" HAPI_API int32_t vekNetlinkNotifySetIfTableStats(int32_t ifIndex, const void *block,
                                                            int32_t sendNow) noexcept
{
    return store_stats<&vekNotifyIfEntry::ifTableStats>(ifIndex, block, sendNow, kNotifyPendingIfTable);
}

extern "C" HAPI_API int32_t vekNetlinkNotifySetRmonStats(int32_t ifIndex, const void *block,
                                                         int32_t sendNow) noexcept
{
    return store_stats<&vekNotifyIfEntry::rmonStats>(ifIndex, block, sendNow, kNotifyPendingRmon);
}

extern "C" HAPI_API int32_t vekNetlinkNotifyPostChanges(int32_t ifIndex) noexcept
{
    std::lock_guard guard(vekNetlinkNotifyLock());
    if (ifIndex != 0) {
        vekNotifyIfEntry *e = vekNetlinkNotifyFindIntf(ifIndex);
        if (!e)
            return -1;
        if (pending(*e))
            vekNetlinkNotifyPublish(e);
        return 0;
    }
    auto &ch = channel();
    for (int32_t i = 0; i < ch.count; ++i) {
        vekNotifyIfEntry &e = ch.table[i];
        hapi::os::syslog(LOG_INFO, kPostLine, "vekNetlinkNotifyPostChanges", __LINE__, e.ifIndex,
                         static_cast<int>(e.changed), static_cast<int>(e.cemask));
        if (pending(e))
            vekNetlinkNotifyPublish(&e);
    }
    return 0;
}
