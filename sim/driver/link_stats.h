// The kernel's own statistics of an interface, as rtnetlink reports them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace simdrv {

// The first 24 counters of struct rtnl_link_stats64, in its order.
inline constexpr size_t kStatCount = 24;
using LinkStats = std::array<uint64_t, kStatCount>;

enum Stat : size_t {
    RxPackets, TxPackets, RxBytes, TxBytes, RxErrors, TxErrors, RxDropped, TxDropped,
    Multicast, Collisions, RxLengthErrors, RxOverErrors, RxCrcErrors, RxFrameErrors,
    RxFifoErrors, RxMissedErrors, TxAbortedErrors, TxCarrierErrors, TxFifoErrors,
    TxHeartbeatErrors, TxWindowErrors, RxCompressed, TxCompressed, RxNohandler,
};

// IFLA_STATS64 of interface `index` in this process's network namespace.
bool read_link_stats(unsigned index, LinkStats &stats);

}  // namespace simdrv
