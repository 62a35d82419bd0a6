// Any bytes as one received neighbour message: the matching must neither
// crash nor read beyond the message, whatever its header and attributes claim.
#include <cstdint>
#include <cstring>
#include <netlink/msg.h>

#include "fake_os.h"
#include "fake_platform.h"
#include "hapi/hapi_fdb.h"

namespace {

constexpr unsigned kRunsPerFullTable = 512;

void prepare_once()
{
    fake::reset();
    fake::reset_platform();
    hapiAllocateL2AddrTbl();
    // A sorted front for the search to walk.
    vekShadowTable &t = fake::shadow_table();
    for (uint32_t i = 0; i < 8; ++i) {
        t.slots[i].entry.macAddr[0] = 0x02;
        t.slots[i].entry.macAddr[5] = static_cast<uint8_t>(i * 16);
        t.slots[i].entry.port = 3;
    }
    t.sortedCount = t.totalCount = 8;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static unsigned runs = [] {
        prepare_once();
        return 0u;
    }();
    vekShadowTable &t = fake::shadow_table();
    // Keep the appended part small, and now and then full so the flush path runs.
    t.totalCount = ++runs % kRunsPerFullTable == 0 ? VEK_SHADOW_APPEND_LIMIT + 1 : t.sortedCount;
    {
        std::lock_guard<std::recursive_mutex> guard(fake::os().lock);
        fake::os().logs.clear();
        fake::os().fileWrites.clear();
    }

    // Exactly size bytes (at least a header's worth, zero-filled) so that
    // ASan sees any read past the message.
    nl_msg *msg = nlmsg_alloc_size(size);
    if (!msg)
        return 0;
    std::memcpy(nlmsg_hdr(msg), data, std::min(size, nlmsg_get_max_size(msg)));
    vekNetlinkL2NeighMsgValidCB(msg, nullptr);
    nlmsg_free(msg);
    return 0;
}
