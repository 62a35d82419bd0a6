#include <algorithm>
#include <cerrno>
#include <cstring>
#include <syslog.h>

#include "core/os.h"
#include "ethdev/ethdev.h"
#include "ethdev/messages.h"

namespace hapi::eth {

int getstats_locked(const char *ifname) noexcept
{
    constexpr const char *kStep = "vekprv_getstats";
    if (!ifname) {
        os::syslog(LOG_ERR, msg::kNoName, kStep, __LINE__);
        return 2;
    }
    ethtool_drvinfo info = {};
    info.cmd = ETHTOOL_GDRVINFO;
    if (shared_request(ifname, &info) != 0) {
        const int err = errno;
        os::syslog(LOG_ERR, msg::kDriverInfo, err, std::strerror(err), kStep, __LINE__);
        return 2;
    }
    if (!regs) {
        os::syslog(LOG_ERR, msg::kNoDumpBuffer, kStep, __LINE__);
        return 2;
    }
    regs->cmd = ETHTOOL_GREGS;
    // A driver with a longer dump is asked for no more than the area holds.
    regs->len = std::min<uint32_t>(info.regdump_len, VEKETH_REGDUMP_DATA_SIZE);
    return shared_request(ifname, regs);
}

int fetch_dump(const char *ifname, RegisterWords &words) noexcept
{
    std::lock_guard<std::mutex> hold(context_lock());
    const int result = getstats_locked(ifname);
    if (result == 0)
        std::memcpy(words.data(), regs, sizeof(VekethRegisterDump));
    return result;
}

}  // namespace hapi::eth

using namespace hapi;

HAPI_API int vekprv_getstats(const char *ifname) noexcept
{
    std::lock_guard<std::mutex> hold(eth::context_lock());
    return eth::getstats_locked(ifname);
}

HAPI_API int veketh_reset_stats(uint32_t ifindex) noexcept
{
    constexpr uint32_t kClearCounters = 0x52;  // the port driver's private command
    ethtool_value clear = {};
    clear.cmd = kClearCounters;
    return eth::indexed_request(ifindex, &clear, "veketh_reset_stats");
}
