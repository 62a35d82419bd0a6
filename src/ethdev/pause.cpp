#include <syslog.h>

#include "core/diag.h"
#include "core/os.h"
#include "ethdev/ethdev.h"
#include "ethdev/messages.h"

using namespace hapi;

HAPI_API int vekprv_getpause(const char *ifname, uint8_t *pausecfg) noexcept
{
    constexpr const char *kStep = "vekprv_getpause";
    if (!pausecfg) {
        os::syslog(LOG_ERR, eth::msg::kNoPauseOut, kStep, __LINE__);
        return 2;
    }
    *pausecfg = 0;
    if (!ifname) {
        os::syslog(LOG_ERR, eth::msg::kNoName, kStep, __LINE__);
        return 2;
    }
    ethtool_pauseparam pause = {};
    pause.cmd = ETHTOOL_GPAUSEPARAM;
    if (eth::exclusive_request(ifname, &pause) != Status::ok) {
        diag::syslog_errno(LOG_ERR, eth::msg::kDriverInfo, diag::kErrno, diag::kErrnoText, kStep, __LINE__);
        return 2;
    }
    *pausecfg = (pause.autoneg && pause.rx_pause && pause.tx_pause) ? 1 : 0;
    return 0;
}

HAPI_API int vekprv_setpause(const char *ifname, uint32_t enable) noexcept
{
    constexpr const char *kStep = "vekprv_setpause";
    if (!ifname) {
        os::syslog(LOG_ERR, eth::msg::kNoName, kStep, __LINE__);
        return 2;
    }
    const uint32_t on = enable ? 1 : 0;
    ethtool_pauseparam pause = {};
    pause.cmd = ETHTOOL_SPAUSEPARAM;
    pause.autoneg = pause.rx_pause = pause.tx_pause = on;
    if (eth::exclusive_request(ifname, &pause) != Status::ok) {
        diag::syslog_errno(LOG_ERR, eth::msg::kSetPause, diag::kErrno, diag::kErrnoText, kStep, __LINE__);
        return 2;
    }
    return 0;
}
