// Stand-ins for the kernel-side peers of the board's private netlink
// protocols: 30 receives the port default priority map, 31 the
// ingress-filtering port map. Each message received is kept in the run
// directory: nl<P>.bin (the last message, raw), nl<P>.log (one line per
// message) and the decoded map, "port_priority_map" ("p1 p2 ... p7") or
// "ingress_filter_portmap" ("0x%08x").
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace simdrv {

inline constexpr int kPortPriorityProtocol = 30;
inline constexpr int kIngressFilterProtocol = 31;
inline constexpr size_t kPeerMessageSize = 1040;

constexpr bool is_peer_protocol(int protocol)
{
    return protocol == kPortPriorityProtocol || protocol == kIngressFilterProtocol;
}

// Records one message sent to the peer of `protocol`.
void peer_receive(int protocol, std::span<const uint8_t> message);

}  // namespace simdrv
