// Internals of the forwarding database module shared by its files.
#pragma once

#include <linux/netlink.h>

#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/netlink.h"
#include "hapi/hapi_fdb.h"

namespace hapi::fdb {

inline constexpr const char *kFlushFileFormat = "/sys/class/net/%s/bridge/flush";
inline constexpr const char *kAgeingFileFormat = "/sys/class/net/%s/bridge/ageing_time";
inline constexpr const char *kTraverseFlushFailed = "vekL2Traverse: /bridge/flush failed";

// The neighbour cache socket and the scratch record: one traversal at a time.
struct Cache {
    netlink::Socket socket;  // closed until vekNetlinkL2NeighCacheInit
    std::unique_ptr<vekL2AddrEntry> scratch;
};
// Never destroyed: the platform's sync thread may traverse while the process exits.
Cache &cache();

// One dump message against the shadow table, of which `available` bytes
// may be read from hdr: NL_OK or NL_SKIP.
int match_neigh(const nlmsghdr &hdr, size_t available);

// Writes value with "%lu\n" to an existing file: 0, or -1.
int vekSysfsWriteValue(const char *path, unsigned long value);
// Writes 1 to the bridge's flush file: 0, or -1.
int flush_bridge();

}  // namespace hapi::fdb
