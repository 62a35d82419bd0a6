// The neighbour cache handle and the scratch record: set up and torn down.
#include <cstdlib>
#include <netlink/handlers.h>
#include <netlink/netlink.h>
#include <netlink/socket.h>
#include <syslog.h>

#include "fdb/fdb.h"
#include "core/os.h"

namespace hapi::fdb {

nl_sock *g_neighSocket = nullptr;
nl_cb *g_neighCallbacks = nullptr;
vekL2AddrEntry *g_scratch = nullptr;

namespace {

constexpr const char *kCacheInitFailed = "HAPI FDB init: vekNetlinkL2NeighCacheInit() failed!";
constexpr const char *kScratchInitFailed = "HAPI FDB init: hapiAllocateL2AddrTbl() failed!";
constexpr const char *kScratchOutOfMemory = "HAPI FDB hapiAllocateL2AddrTbl(): out of memory";
constexpr const char *kScratchAllocated = "HAPI FDB hapiAllocateL2AddrTbl(): memory allocated: %d";

void drop_socket()
{
    nl_close(g_neighSocket);
    nl_socket_free(g_neighSocket);
    g_neighSocket = nullptr;
    dump_receiver_release();
}

}  // namespace
}  // namespace hapi::fdb

using namespace hapi;
using namespace hapi::fdb;

extern "C" HAPI_API int vekNetlinkL2NeighCacheInit(void) noexcept
{
    // A second call replaces the first handle rather than leaking it.
    if (g_neighSocket)
        drop_socket();
    g_neighSocket = nl_socket_alloc();
    if (!g_neighSocket)
        return -1;
    if (nl_connect(g_neighSocket, NETLINK_ROUTE) < 0) {
        drop_socket();
        return -1;
    }
    nl_cb *callbacks = nl_cb_alloc(NL_CB_CUSTOM);
    if (!callbacks || !dump_receiver_attach(callbacks)) {
        if (callbacks)
            nl_cb_put(callbacks);
        drop_socket();
        return -1;
    }
    nl_cb_set(callbacks, NL_CB_MSG_IN, NL_CB_CUSTOM, vekNetlinkL2NeighMsgValidCB, nullptr);
    if (g_neighCallbacks)
        nl_cb_put(g_neighCallbacks);
    g_neighCallbacks = callbacks;
    return 0;
}

extern "C" HAPI_API int hapiAllocateL2AddrTbl(void) noexcept
{
    if (!g_scratch) {
        g_scratch = static_cast<vekL2AddrEntry *>(std::malloc(sizeof(vekL2AddrEntry)));
        if (!g_scratch) {
            os::syslog(LOG_DEBUG, "%s", kScratchOutOfMemory);
            return -1;
        }
    }
    os::syslog(LOG_DEBUG, kScratchAllocated, static_cast<int>(sizeof(vekL2AddrEntry)));
    return 0;
}

extern "C" HAPI_API int hapiFdbInit(void) noexcept
{
    if (vekNetlinkL2NeighCacheInit() != 0)
        os::syslog(LOG_ERR, "%s", kCacheInitFailed);
    if (hapiAllocateL2AddrTbl() != 0) {
        os::syslog(LOG_ERR, "%s", kScratchInitFailed);
        return -1;
    }
    return 0;
}

extern "C" HAPI_API void hapiFdbCleanup(void) noexcept
{
    if (g_neighSocket)
        drop_socket();
    std::free(g_scratch);
    g_scratch = nullptr;
}
