// Internals of the forwarding database module shared by its files.
#pragma once

#include <cstdint>

#include "hapi/hapi_fdb.h"

struct nl_sock;
struct nl_cb;
struct nl_msg;

namespace hapi::fdb {

inline constexpr const char *kFlushFileFormat = "/sys/class/net/%s/bridge/flush";
inline constexpr const char *kAgeingFileFormat = "/sys/class/net/%s/bridge/ageing_time";
inline constexpr const char *kTraverseFlushFailed = "vekL2Traverse: /bridge/flush failed";

// The neighbour cache handle and the scratch record: one traversal at a time.
extern nl_sock *g_neighSocket;
extern nl_cb *g_neighCallbacks;
extern vekL2AddrEntry *g_scratch;

// One dump message against the shadow table: NL_OK or NL_SKIP.
int match_neigh_message(nl_msg *msg);

// The callback set's receive step for the dump, with buffers of its own:
// false when they cannot be allocated. Released with the socket.
bool dump_receiver_attach(nl_cb *callbacks);
void dump_receiver_release();
// Sequence number of the dump request whose replies are wanted.
void dump_receiver_expect(uint32_t seq);

// Writes value with "%lu\n" to an existing file: 0, or -1.
int vekSysfsWriteValue(const char *path, unsigned long value);
// Writes 1 to the bridge's flush file: 0, or -1.
int flush_bridge();

}  // namespace hapi::fdb
