// Ethernet device access, the pieces other modules and the family's own
// files share: the settings read and write, the interface up/down steps,
// the lock of the shared request context and the locked dump read.
#pragma once

#include <array>
#include <cstdint>
#include <linux/ethtool.h>
#include <mutex>
#include <net/if.h>

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

// Held across every request through ctx, and across a statistics fetch
// together with the reading of its dump. Never held with another lock.
std::mutex &context_lock() noexcept;

// Names ifname (bounded, 16) in ctx and sends record: send_ioctl's result.
// The caller holds context_lock().
int shared_request(const char *ifname, void *record) noexcept;

// shared_request under context_lock(); errno is left as the ioctl set it.
int exclusive_request(const char *ifname, void *record) noexcept;

// exclusive_request to the interface an index names, logging in the
// "@ %s, %s, %d" forms: an unknown index goes on with an empty name (and
// fails); a failed request logs errno. 0, or -18.
int indexed_request(uint32_t ifindex, void *record, const char *step) noexcept;

// vekprv_getstats for a caller that already holds context_lock().
int getstats_locked(const char *ifname) noexcept;

using RegisterWords = std::array<uint32_t, VEKETH_REGS_WORDS>;
// Fetches ifname's dump and copies regs out under one holding of the lock,
// so the words belong to ifname whatever other thread fetches: 0, or 2.
int fetch_dump(const char *ifname, RegisterWords &words) noexcept;

// Owns a per-call AF_INET/SOCK_DGRAM socket; fd() < 0 when none could be
// had, which is logged as "Unable to create socket" for step and line.
class DatagramSocket {
public:
    DatagramSocket(const char *step, int line) noexcept;
    ~DatagramSocket();
    DatagramSocket(const DatagramSocket &) = delete;
    DatagramSocket &operator=(const DatagramSocket &) = delete;
    int fd() const noexcept { return fd_; }

private:
    int fd_;
};

// Prologue of the port operations: a missing output is logged and refused
// (false), and an index that names no interface is logged (false).
bool output_given(const void *out, const char *step, int line) noexcept;
bool port_name(uint32_t ifindex, char (&name)[IFNAMSIZ], const char *step, int line) noexcept;

// Copies an interface name into a 16-character field, bounded as the kernel's.
void copy_ifname(char (&field)[IFNAMSIZ], const char *name) noexcept;

}  // namespace hapi::eth
