#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <linux/sockios.h>
#include <sys/socket.h>
#include <syslog.h>

#include "core/diag.h"
#include "core/os.h"
#include "ethdev/ethdev.h"
#include "ethdev/messages.h"

HAPI_API VekethRequestContext ctx = {};
HAPI_API VekethRegisterDump *regs = nullptr;
HAPI_API VekethStatsBuffer *stats = nullptr;

namespace hapi::eth {

std::mutex &context_lock() noexcept
{
    static std::mutex lock;
    return lock;
}

void copy_ifname(char (&field)[IFNAMSIZ], const char *name) noexcept
{
    // strncpy's semantics: at most 16 bytes, the rest zero-filled.
    const size_t length = strnlen(name, IFNAMSIZ);
    std::memcpy(field, name, length);
    std::memset(field + length, 0, IFNAMSIZ - length);
}

Status send(VekethRequestContext *context, void *record) noexcept
{
    if (!context || !record) {
        errno = EINVAL;
        return Status::bad_argument;
    }
    context->ifr.ifr_data = static_cast<char *>(record);
    return os::ioctl(context->sock, SIOCETHTOOL, &context->ifr) < 0 ? Status::os_error : Status::ok;
}

Status shared_request(const char *ifname, void *record) noexcept
{
    copy_ifname(ctx.ifr.ifr_name, ifname);
    copy_ifname(ctx.ifname, ifname);
    return send(&ctx, record);
}

Status exclusive_request(const char *ifname, void *record) noexcept
{
    std::lock_guard<std::mutex> hold(context_lock());
    return shared_request(ifname, record);
}

Status indexed_request(uint32_t ifindex, void *record, const char *step) noexcept
{
    char name[IFNAMSIZ] = {};
    if (!os::if_indextoname(ifindex, name)) {
        os::syslog(LOG_ERR, msg::kNoIndexPath, kSourcePath, step, __LINE__);
        name[0] = '\0';
    }
    if (exclusive_request(name, record) != Status::ok) {
        diag::syslog_errno(LOG_ERR, msg::kIoctlErrno, diag::kErrno, diag::kErrnoText, kSourcePath, step,
                           __LINE__);
        return Status::not_found;
    }
    return Status::ok;
}

UniqueFd datagram_socket(const char *step, int line) noexcept
{
    UniqueFd fd(os::socket(AF_INET, SOCK_DGRAM, 0));
    if (!fd)
        os::syslog(LOG_ERR, msg::kNoSocket, step, line);
    return fd;
}

}  // namespace hapi::eth

using namespace hapi;

HAPI_API int send_ioctl(VekethRequestContext *context, void *record) noexcept
{
    return eth::kDriverCodes(eth::send(context, record));
}

HAPI_API int veketh_intf_init(void) noexcept
{
    std::lock_guard<std::mutex> hold(eth::context_lock());
    ctx.sock = os::socket(AF_INET, SOCK_DGRAM, 0);
    if (ctx.sock < 0)
        return 2;
    std::memset(&ctx.ifr, 0, sizeof ctx.ifr);
    stats = static_cast<VekethStatsBuffer *>(std::calloc(1, sizeof(VekethStatsBuffer)));
    if (!stats) {
        os::syslog(LOG_ERR, eth::msg::kNoMemory);
        return 2;
    }
    regs = static_cast<VekethRegisterDump *>(std::calloc(1, sizeof(VekethRegisterDump)));
    if (!regs) {
        os::syslog(LOG_ERR, eth::msg::kNoMemory);
        std::free(stats);
        stats = nullptr;
        return 2;
    }
    return 0;
}
