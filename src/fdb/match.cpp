// Matching of one bridge neighbour message against the shadow table.
// Every read is bounded by the bytes the message holds: a truncated or
// malformed message is skipped.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <linux/neighbour.h>
#include <linux/rtnetlink.h>
#include <netlink/attr.h>
#include <netlink/handlers.h>
#include <netlink/msg.h>
#include <sys/socket.h>
#include <syslog.h>

#include "fdb/fdb.h"
#include "core/os.h"
#include "platform/vekplatform.h"
#include "core/port_map.h"

namespace hapi::fdb {
namespace {

constexpr int kMaxNeighAttr = 14;
constexpr uint32_t kMinNeighLen = NLMSG_HDRLEN + sizeof(ndmsg);  // 28
constexpr size_t kMacLen = 6;
constexpr int kNoIfindex = -1;
constexpr int kFirstStaticIfindex = 112;  // indexes 112..127 may hold static entries

static_assert(kMinNeighLen == 28 && NDA_PROBES <= kMaxNeighAttr);

// The neighbour attributes' validation: cache info and probe count sized,
// everything else unchecked.
const std::array<nla_policy, kMaxNeighAttr + 1> kNeighPolicy = [] {
    std::array<nla_policy, kMaxNeighAttr + 1> p{};
    p[NDA_CACHEINFO].minlen = sizeof(nda_cacheinfo);
    p[NDA_PROBES].type = NLA_U32;
    return p;
}();

vekShadowEntry *find_sorted(vekShadowTable &table, const vekShadowEntry &key)
{
    // A corrupt count must not send the search beyond the block.
    const size_t sorted = std::min<size_t>(table.sortedCount, VEK_SHADOW_SLOTS);
    return static_cast<vekShadowEntry *>(
        std::bsearch(&key, table.slots, sorted, sizeof(vekShadowEntry), vekCompareMacEntries2));
}

void merge_into_shadow(const vekL2AddrEntry &record)
{
    auto *table = static_cast<vekShadowTable *>(shadowTbl);
    if (!table)
        return;
    vekShadowEntry key{0, record};
    if (vekShadowEntry *known = find_sorted(*table, key)) {
        known->mark = 0;
        if (known->entry.port != record.port) {
            known->entry.port = record.port;
            shadowTblChanged = 1;
        }
        return;
    }
    if (table->totalCount <= VEK_SHADOW_APPEND_LIMIT) {
        table->slots[table->totalCount] = key;
        ++table->totalCount;
        return;
    }
    if (flush_bridge() != 0)
        os::syslog(LOG_ERR, "%s", kTraverseFlushFailed);
}

}  // namespace

int match_neigh(const nlmsghdr &msgHdr, size_t available)
{
    vekL2AddrEntry *scratch = cache().scratch.get();
    if (!scratch)
        return NL_OK;
    *scratch = vekL2AddrEntry{};
    if (available < sizeof(nlmsghdr) || msgHdr.nlmsg_type != RTM_NEWNEIGH)
        return NL_OK;
    if (msgHdr.nlmsg_len < kMinNeighLen || msgHdr.nlmsg_len > available)
        return NL_SKIP;

    // libnl's parser takes a mutable header; it only reads.
    auto *hdr = const_cast<nlmsghdr *>(&msgHdr);
    std::array<nlattr *, kMaxNeighAttr + 1> attrs{};
    if (nlmsg_parse(hdr, sizeof(ndmsg), attrs.data(), kMaxNeighAttr, kNeighPolicy.data()) < 0)
        return NL_OK;
    const auto *ndm = static_cast<const ndmsg *>(nlmsg_data(hdr));
    if (ndm->ndm_family != AF_BRIDGE)
        return NL_OK;

    const nlattr *lladdr = attrs[NDA_LLADDR];
    if (!lladdr)
        return NL_OK;
    if (nla_len(lladdr) < static_cast<int>(kMacLen))
        return NL_SKIP;
    const auto *mac = static_cast<const uint8_t *>(nla_data(lladdr));
    if (mac[0] & 0x01)  // group addresses are never mirrored
        return NL_OK;
    std::memcpy(scratch->macAddr, mac, kMacLen);

    const int p = static_cast<int8_t>(ndm->ndm_ifindex & 0xFF);
    if (p == kNoIfindex)
        return NL_OK;
    scratch->port = p == ports::kBridgeIfindex ? 0 : p;

    if (const nlattr *vlan = attrs[NDA_VLAN]) {
        if (nla_len(vlan) < static_cast<int>(sizeof(uint16_t)))
            return NL_SKIP;
        const uint16_t vid = nla_get_u16(vlan);
        if (vid == 0)
            return NL_OK;
        scratch->vlanId = vid;
    }

    if (p >= kFirstStaticIfindex && (ndm->ndm_state & NUD_PERMANENT))
        scratch->entryType = HAPI_FDB_ENTRY_STATIC;
    else if (ndm->ndm_state & NUD_REACHABLE)
        scratch->entryType = HAPI_FDB_ENTRY_DYNAMIC;
    else
        return NL_OK;  // stale, delayed or probing entries wait for the next dump

    merge_into_shadow(*scratch);
    return NL_OK;
}

}  // namespace hapi::fdb

extern "C" HAPI_API int vekNetlinkL2NeighMsgValidCB(struct nl_msg *msg, void *) noexcept
{
    if (!msg)
        return NL_OK;
    return hapi::fdb::match_neigh(*nlmsg_hdr(msg), nlmsg_get_max_size(msg));
}
