// The neighbour cache socket and the scratch record: set up and torn down.
#include <linux/rtnetlink.h>
#include <syslog.h>

#include <new>

#include "fdb/fdb.h"
#include "core/os.h"

namespace hapi::fdb {

Cache &cache()
{
    static Cache &instance = *new Cache;
    return instance;
}

namespace {

constexpr const char *kCacheInitFailed = "HAPI FDB init: vekNetlinkL2NeighCacheInit() failed!";
constexpr const char *kScratchInitFailed = "HAPI FDB init: hapiAllocateL2AddrTbl() failed!";
constexpr const char *kScratchOutOfMemory = "HAPI FDB hapiAllocateL2AddrTbl(): out of memory";
constexpr const char *kScratchAllocated = "HAPI FDB hapiAllocateL2AddrTbl(): memory allocated: %d";

}  // namespace
}  // namespace hapi::fdb

using namespace hapi;
using namespace hapi::fdb;

extern "C" HAPI_API int vekNetlinkL2NeighCacheInit(void) noexcept
{
    // A second call replaces the first socket rather than leaking it.
    return cache().socket.open(NETLINK_ROUTE, 0, 0) == 0 ? 0 : -1;
}

extern "C" HAPI_API int hapiAllocateL2AddrTbl(void) noexcept
{
    auto &scratch = cache().scratch;
    if (!scratch) {
        scratch.reset(new (std::nothrow) vekL2AddrEntry{});
        if (!scratch) {
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
    cache().socket.close();
    cache().scratch.reset();
}
