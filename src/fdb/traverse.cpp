// The bridge neighbour dump and the traversal the platform's sync thread runs.
#include <linux/neighbour.h>
#include <linux/rtnetlink.h>
#include <netlink/msg.h>
#include <netlink/netlink.h>
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

static_assert(RTM_GETNEIGH == 30 && NLM_F_DUMP == 0x300 && sizeof(ndmsg) == 12);

}  // namespace
}  // namespace hapi::fdb

using namespace hapi;
using namespace hapi::fdb;

extern "C" HAPI_API void vekNetlinkL2NeighDump(void) noexcept
{
    nl_msg *request = nlmsg_alloc_simple(RTM_GETNEIGH, NLM_F_DUMP);
    if (!request)
        return;
    ndmsg header{};
    header.ndm_family = AF_BRIDGE;
    if (nlmsg_append(request, &header, sizeof header, NLMSG_ALIGNTO) == 0 && g_neighSocket &&
        nl_send_auto(g_neighSocket, request) >= 0 && g_neighCallbacks) {
        dump_receiver_expect(nlmsg_hdr(request)->nlmsg_seq);
        nl_recvmsgs(g_neighSocket, g_neighCallbacks);
    }
    nlmsg_free(request);
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
