// The FDB shadow table: the block libhapi's traversal fills, its order, and
// the sync thread that keeps it in step with the bridge.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <mutex>

#include "board.h"
#include "platform/vekplatform.h"
#include "shadow_order.h"

namespace {

constexpr uint32_t kUnconfirmed = 1;
constexpr const char *kLibhapi = "libhapi.so.0";

// Guards the block between the sync step and readers of the platform.
std::mutex g_lock;

using Traverse = void (*)(void);

// libhapi is loaded after this library, so its traversal is looked up when
// first needed: in the global scope, or in libhapi loaded privately.
Traverse find_traverse()
{
    if (void *sym = dlsym(RTLD_DEFAULT, "vekL2Traverse"))
        return reinterpret_cast<Traverse>(sym);
    void *lib = dlopen(kLibhapi, RTLD_LAZY | RTLD_NOLOAD);
    if (!lib)
        return nullptr;
    void *sym = dlsym(lib, "vekL2Traverse");
    dlclose(lib);  // NOLOAD took a reference of its own; libhapi stays loaded
    return reinterpret_cast<Traverse>(sym);
}

vekShadowTable *table() { return static_cast<vekShadowTable *>(shadowTbl); }

// Every entry the dump does not confirm keeps this mark and is dropped.
void prepare_marks(vekShadowTable &t)
{
    const uint32_t total = std::min<uint32_t>(t.totalCount, VEK_SHADOW_SLOTS);
    for (uint32_t i = 0; i < total; ++i)
        t.slots[i].mark = kUnconfirmed;
}

bool before(const vekShadowEntry &a, const vekShadowEntry &b)
{
    return vekpf::compare_shadow_entries(&a, &b) < 0;
}

// Drops unconfirmed entries and sorts the rest into the searchable front.
// An address appended twice in one dump keeps its later report.
void settle(vekShadowTable &t)
{
    vekShadowEntry *begin = t.slots;
    vekShadowEntry *end = begin + std::min<uint32_t>(t.totalCount, VEK_SHADOW_SLOTS);
    end = std::remove_if(begin, end, [](const vekShadowEntry &e) { return e.mark != 0; });
    std::stable_sort(begin, end, before);
    vekShadowEntry *out = begin;
    for (vekShadowEntry *e = begin; e != end; ++e) {
        if (out != begin && !before(out[-1], *e))
            out[-1] = *e;
        else
            *out++ = *e;
    }
    t.sortedCount = t.totalCount = static_cast<uint32_t>(out - begin);
}

}  // namespace

extern "C" {

void *shadowTbl = nullptr;
int shadowTblChanged = 0;

int vekCompareMacEntries2(const void *a, const void *b) { return vekpf::compare_shadow_entries(a, b); }

// Prepares an empty table; called again it empties the table.
int hapiFdbCacheInit(void)
{
    std::lock_guard<std::mutex> guard(g_lock);
    if (!shadowTbl)
        shadowTbl = std::calloc(1, sizeof(vekShadowTable));
    else
        std::memset(shadowTbl, 0, sizeof(vekShadowTable));
    return shadowTbl ? 0 : -1;
}

int vekFdbShadowSync(void)
{
    static Traverse traverse = nullptr;
    std::lock_guard<std::mutex> guard(g_lock);
    if (!traverse)
        traverse = find_traverse();
    vekShadowTable *t = table();
    if (!traverse || !t)
        return -1;
    prepare_marks(*t);
    traverse();
    settle(*t);
    shadowTblChanged = 0;
    return static_cast<int>(t->totalCount);
}

int vekFdbShadowLookup(const uint8_t *mac, uint16_t vlanId, vekL2AddrEntry *found)
{
    std::lock_guard<std::mutex> guard(g_lock);
    const vekShadowTable *t = table();
    if (!t || !mac)
        return -1;
    vekShadowEntry key{};
    std::memcpy(key.entry.macAddr, mac, sizeof key.entry.macAddr);
    key.entry.vlanId = vlanId;
    const auto *hit = static_cast<const vekShadowEntry *>(
        std::bsearch(&key, t->slots, std::min<uint32_t>(t->sortedCount, VEK_SHADOW_SLOTS),
                     sizeof key, vekCompareMacEntries2));
    if (!hit)
        return -1;
    if (found)
        *found = hit->entry;
    return 0;
}

void *vekFdbSyncShadowFdbThread(void *)
{
    for (;;) {
        vekApiOsSleep(static_cast<uint32_t>(vekpf::board().fdbSyncMs));
        vekFdbShadowSync();
    }
    return nullptr;
}

}  // extern "C"
