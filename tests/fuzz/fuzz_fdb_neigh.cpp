// Any bytes as the kernel's answer to one neighbour dump: datagrams of
// [16-bit little-endian length][bytes], received and split by the dump loop
// and matched against the shadow table. Each datagram is also matched alone
// as one message held in exactly its own bytes, so that ASan sees any read
// past a message. Neither may crash, hang or read beyond what arrived.
// The dump request of each run has sequence number 1 from port 4000.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <netlink/msg.h>
#include <vector>

#include "core/owned.h"
#include "fake_netlink.h"
#include "fake_os.h"
#include "fake_platform.h"
#include "hapi/hapi_fdb.h"

namespace {

constexpr unsigned kRunsPerFullTable = 512;

void seed_shadow()
{
    // A sorted front for the search to walk.
    vekShadowTable &t = fake::shadow_table();
    for (uint32_t i = 0; i < 8; ++i) {
        t.slots[i].entry.macAddr[0] = 0x02;
        t.slots[i].entry.macAddr[5] = static_cast<uint8_t>(i * 16);
        t.slots[i].entry.port = 3;
    }
    t.sortedCount = t.totalCount = 8;
}

std::vector<fake::Datagram> split(const uint8_t *data, size_t size)
{
    std::vector<fake::Datagram> datagrams;
    for (size_t at = 0; at + 2 <= size;) {
        const size_t length = std::min<size_t>(data[at] | data[at + 1] << 8, size - at - 2);
        datagrams.push_back({fake::Bytes(data + at + 2, data + at + 2 + length)});
        at += 2 + length;
    }
    return datagrams;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static unsigned runs = [] {
        fake::reset_platform();
        seed_shadow();
        hapiAllocateL2AddrTbl();
        return 0u;
    }();
    vekShadowTable &t = fake::shadow_table();
    // Keep the appended part small, and now and then full so the flush path runs.
    t.totalCount = ++runs % kRunsPerFullTable == 0 ? VEK_SHADOW_APPEND_LIMIT + 1 : t.sortedCount;

    fake::reset();  // the cache socket below is the fake's first: port 4000
    const std::vector<fake::Datagram> answer = split(data, size);
    fake::netlink().answer = [&answer](fake::NetlinkSocket &from, const fake::Sent &) {
        from.inbox.insert(from.inbox.end(), answer.begin(), answer.end());
    };
    if (vekNetlinkL2NeighCacheInit() != 0)
        return 0;
    vekNetlinkL2NeighDump();

    for (const fake::Datagram &d : answer) {
        if (d.bytes.empty())
            continue;
        hapi::Owned<nl_msg, nlmsg_free> msg(nlmsg_alloc_size(d.bytes.size()));
        if (!msg || nlmsg_get_max_size(msg.get()) < d.bytes.size())
            continue;
        std::memcpy(nlmsg_hdr(msg.get()), d.bytes.data(), d.bytes.size());
        vekNetlinkL2NeighMsgValidCB(msg.get(), nullptr);
    }
    return 0;
}
