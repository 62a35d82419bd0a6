// Ethernet device access, the pieces other modules and the family's own
// files share: the settings read and write, the interface up/down steps,
// the lock of the shared request context and the locked dump read.
#pragma once

#include <array>
#include <cstdint>
#include <linux/ethtool.h>
#include <mutex>
#include <net/if.h>

#include "core/owned.h"
#include "core/status.h"
#include "hapi/hapi_veketh.h"

// Settings of an interface through ETHTOOL_GSET into *out: 0, or -1.
int vekget_intf_settings(const char *ifname, struct ethtool_cmd *out) noexcept;
// Writes a complete record with ETHTOOL_SSET after proving the interface
// answers ETHTOOL_GSET: 0, or -1.
int vekset_intf_settings(const char *ifname, struct ethtool_cmd *cmd) noexcept;
// Raise IFF_UP|IFF_RUNNING, or clear IFF_UP, on the interface `request`
// names, through the open socket: 0, or -1.
int vekset_intf_up(int sock, struct ifreq *request) noexcept;
int vekset_intf_down(int sock, struct ifreq *request) noexcept;

namespace hapi::eth {

inline constexpr const char *kSourcePath = "src/veketh_prv";

// Result codes of the port operations (veketh_port_*, veketh_reset_stats).
inline constexpr CodeMap kPortCodes{-1, {{Status::bad_argument, -4}, {Status::not_found, -18}}};
// Result codes of the driver requests (send_ioctl, vekprv_*, veketh_intf_init).
inline constexpr CodeMap kDriverCodes{2, {}};

// Held across every request through ctx, and across a statistics fetch
// together with the reading of its dump. Never held with another lock.
std::mutex &context_lock() noexcept;

// Sends record through the context's socket as SIOCETHTOOL data:
// bad_argument (errno EINVAL) without either, os_error when the ioctl fails.
Status send(VekethRequestContext *context, void *record) noexcept;

// Names ifname (bounded, 16) in ctx and sends record. The caller holds
// context_lock().
Status shared_request(const char *ifname, void *record) noexcept;

// shared_request under context_lock(); errno is left as the ioctl set it.
Status exclusive_request(const char *ifname, void *record) noexcept;

// exclusive_request to the interface an index names, logging in the
// "@ %s, %s, %d" forms: an unknown index goes on with an empty name (and
// fails); a failed request logs errno. An interface that does not answer
// counts as no such port: ok, or not_found.
Status indexed_request(uint32_t ifindex, void *record, const char *step) noexcept;

// vekprv_getstats for a caller that already holds context_lock().
Status getstats_locked(const char *ifname) noexcept;

using RegisterWords = std::array<uint32_t, VEKETH_REGS_WORDS>;
// Fetches ifname's dump and copies regs out under one holding of the lock,
// so the words belong to ifname whatever other thread fetches.
Status fetch_dump(const char *ifname, RegisterWords &words) noexcept;

// A per-call AF_INET/SOCK_DGRAM socket; an empty owner when none could be
// had, which is logged as "Unable to create socket" for step and line.
UniqueFd datagram_socket(const char *step, int line) noexcept;

// Prologue of the port operations: a missing output is logged and refused
// (false), and an index that names no interface is logged (false).
bool output_given(const void *out, const char *step, int line) noexcept;
bool port_name(uint32_t ifindex, char (&name)[IFNAMSIZ], const char *step, int line) noexcept;

// Copies an interface name into a 16-character field, bounded as the kernel's.
void copy_ifname(char (&field)[IFNAMSIZ], const char *name) noexcept;

}  // namespace hapi::eth
