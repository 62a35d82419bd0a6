#include <algorithm>
#include <cstring>
#include <syslog.h>

#include "core/diag.h"
#include "core/os.h"
#include "ethdev/ethdev.h"
#include "ethdev/messages.h"

namespace hapi::eth {

Status getstats_locked(const char *ifname) noexcept
{
    constexpr const char *kStep = "vekprv_getstats";
    if (!ifname) {
        os::syslog(LOG_ERR, msg::kNoName, kStep, __LINE__);
        return Status::bad_argument;
    }
    ethtool_drvinfo info = {};
    info.cmd = ETHTOOL_GDRVINFO;
    if (const Status s = shared_request(ifname, &info); s != Status::ok) {
        diag::syslog_errno(LOG_ERR, msg::kDriverInfo, diag::kErrno, diag::kErrnoText, kStep, __LINE__);
        return s;
    }
    if (!regs) {
        os::syslog(LOG_ERR, msg::kNoDumpBuffer, kStep, __LINE__);
        return Status::not_ready;
    }
    regs->cmd = ETHTOOL_GREGS;
    // A driver with a longer dump is asked for no more than the area holds.
    regs->len = std::min<uint32_t>(info.regdump_len, VEKETH_REGDUMP_DATA_SIZE);
    return shared_request(ifname, regs);
}

Status fetch_dump(const char *ifname, RegisterWords &words) noexcept
{
    std::lock_guard<std::mutex> hold(context_lock());
    const Status s = getstats_locked(ifname);
    if (s == Status::ok)
        std::memcpy(words.data(), regs, sizeof(VekethRegisterDump));
    return s;
}

}  // namespace hapi::eth

using namespace hapi;

HAPI_API int vekprv_getstats(const char *ifname) noexcept
{
    std::lock_guard<std::mutex> hold(eth::context_lock());
    return eth::kDriverCodes(eth::getstats_locked(ifname));
}

HAPI_API int veketh_reset_stats(uint32_t ifindex) noexcept
{
    constexpr uint32_t kClearCounters = 0x52;  // the port driver's private command
    ethtool_value clear = {};
    clear.cmd = kClearCounters;
    return eth::kPortCodes(eth::indexed_request(ifindex, &clear, "veketh_reset_stats"));
}
