// The bridge neighbour dump and the traversal the platform's sync thread runs.
#include <linux/neighbour.h>
#include <linux/rtnetlink.h>
#include <pthread.h>
#include <sys/socket.h>
#include <syslog.h>

#include "fdb/fdb.h"
#include "core/os.h"
#include "platform/vekplatform.h"

namespace hapi::fdb {
namespace {

constexpr const char *kMaxEntryReached = "vekL2Traverse: Max Entry Reached New Count: %d";
constexpr const char *kSyncThreadFailed = "HAPI FDB init: vekFdbSyncShadowFdbThread() failed!";

static_assert(RTM_GETNEIGH == 30 && NLM_F_DUMP == 0x300 && sizeof(ndmsg) == 12 && NLMSG_HDRLEN == 16);

}  // namespace
}  // namespace hapi::fdb

using namespace hapi;
using namespace hapi::fdb;

extern "C" HAPI_API void vekNetlinkL2NeighDump(void) noexcept
{
    netlink::Socket &socket = cache().socket;
    if (!socket)
        return;
    struct {
        nlmsghdr hdr;
        ndmsg ndm;
    } request{};
    request.hdr.nlmsg_len = sizeof request;
    request.hdr.nlmsg_type = RTM_GETNEIGH;
    request.hdr.nlmsg_flags = NLM_F_DUMP;
    request.ndm.ndm_family = AF_BRIDGE;
    // An interrupted or failed dump is not retried: the next traversal reads
    // the table again.
    socket.dump(request.hdr, [](const nlmsghdr &reply) { match_neigh(reply, reply.nlmsg_len); });
}

extern "C" HAPI_API void vekL2Traverse(void) noexcept
{
    vekNetlinkL2NeighDump();
    const auto *table = static_cast<const vekShadowTable *>(shadowTbl);
    if (!table || table->totalCount <= VEK_SHADOW_APPEND_LIMIT)
        return;
    os::syslog(LOG_ERR, kMaxEntryReached, static_cast<int>(table->totalCount));
    if (flush_bridge() != 0)
        os::syslog(LOG_ERR, "%s", kTraverseFlushFailed);
}

extern "C" HAPI_API int hapiStartSyncShadowFdbThread(void) noexcept
{
    if (os::thread_start(nullptr, vekFdbSyncShadowFdbThread, nullptr, true) != 0) {
        os::syslog(LOG_ERR, "%s", kSyncThreadFailed);
        return -1;
    }
    return 0;
}
