// The FDB shadow table block and its comparator. The sync thread's full
// behaviour is completed together with the forwarding database.
#include <cstdlib>
#include <cstring>

#include "platform/vekplatform.h"

namespace {
constexpr size_t kShadowEntries = 65536;
constexpr size_t kShadowEntrySize = 20;
constexpr size_t kShadowBlockSize = 4 + kShadowEntries * kShadowEntrySize + 8;
}  // namespace

extern "C" {

void *shadowTbl = nullptr;
int shadowTblChanged = 0;

// MAC address (bytes 4..9), then VLAN ID (bytes 10..11, host order).
int vekCompareMacEntries2(const void *a, const void *b)
{
    const auto *x = static_cast<const unsigned char *>(a);
    const auto *y = static_cast<const unsigned char *>(b);
    if (int c = std::memcmp(x + 4, y + 4, 6))
        return c;
    uint16_t vx, vy;
    std::memcpy(&vx, x + 10, 2);
    std::memcpy(&vy, y + 10, 2);
    return vx < vy ? -1 : (vx > vy ? 1 : 0);
}

int hapiFdbCacheInit(void)
{
    if (shadowTbl)
        return 0;
    shadowTbl = std::calloc(1, kShadowBlockSize);
    return shadowTbl ? 0 : -1;
}

void *vekFdbSyncShadowFdbThread(void *) { return nullptr; }

}  // extern "C"
