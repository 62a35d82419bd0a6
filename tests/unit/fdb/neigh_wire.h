// Bridge neighbour messages as the kernel's dump sends them, and the shadow
// entries they should become.
#pragma once

#include <linux/neighbour.h>
#include <linux/rtnetlink.h>
#include <netlink/attr.h>
#include <netlink/msg.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <vector>

#include "core/owned.h"
#include "hapi/hapi_fdb.h"
#include "platform/vekfdbshadow.h"

inline bool operator==(const vekShadowEntry &a, const vekShadowEntry &b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

inline void PrintTo(const vekShadowEntry &e, std::ostream *out)
{
    char text[96];
    const uint8_t *m = e.entry.macAddr;
    std::snprintf(text, sizeof text, "{mark %u, %02x:%02x:%02x:%02x:%02x:%02x vlan %u port %d type %u}", e.mark,
                  m[0], m[1], m[2], m[3], m[4], m[5], e.entry.vlanId, e.entry.port, e.entry.entryType);
    *out << text;
}

namespace neigh_wire {

using Mac = std::array<uint8_t, 6>;
using Msg = hapi::Owned<nl_msg, nlmsg_free>;
inline constexpr Mac kStation{0x02, 0x11, 0x22, 0x33, 0x44, 0x55};

struct Neigh {
    Mac mac = kStation;
    int ifindex = 3;
    uint16_t state = NUD_REACHABLE;
    uint8_t family = AF_BRIDGE;
    int vlan = -1;  // -1: no NDA_VLAN
};

inline Msg build(const Neigh &n)
{
    Msg msg(nlmsg_alloc_simple(RTM_NEWNEIGH, NLM_F_MULTI));
    ndmsg ndm{};
    ndm.ndm_family = n.family;
    ndm.ndm_ifindex = n.ifindex;
    ndm.ndm_state = n.state;
    nlmsg_append(msg.get(), &ndm, sizeof ndm, NLMSG_ALIGNTO);
    nla_put(msg.get(), NDA_LLADDR, 6, n.mac.data());
    if (n.vlan >= 0)
        nla_put_u16(msg.get(), NDA_VLAN, static_cast<uint16_t>(n.vlan));
    return msg;
}

// The message's bytes as a reply to the request (seq, port).
inline std::vector<uint8_t> reply(const Neigh &n, uint32_t seq, uint32_t port, uint16_t extraFlags = 0)
{
    Msg msg = build(n);
    nlmsghdr *h = nlmsg_hdr(msg.get());
    h->nlmsg_seq = seq;
    h->nlmsg_pid = port;
    h->nlmsg_flags |= extraFlags;
    const auto *p = reinterpret_cast<const uint8_t *>(h);
    return {p, p + h->nlmsg_len};
}

inline vekShadowEntry entry(const Mac &mac, uint16_t vlan, int32_t port, uint32_t type, uint32_t mark = 0)
{
    vekShadowEntry e{mark, {}};
    std::copy(mac.begin(), mac.end(), e.entry.macAddr);
    e.entry.vlanId = vlan;
    e.entry.port = port;
    e.entry.entryType = type;
    return e;
}

}  // namespace neigh_wire
