// Interface up/down, the link query and the link scan thread.
#include <syslog.h>

#include "core/diag.h"
#include "core/os.h"
#include "ethdev/ethdev.h"
#include "ethdev/messages.h"

using namespace hapi;

HAPI_API int veketh_port_enable_set(uint32_t ifindex, int32_t enable) noexcept
{
    constexpr const char *kStep = "veketh_port_enable_set";
    char name[IFNAMSIZ] = {};
    if (!eth::port_name(ifindex, name, kStep, __LINE__))
        return -18;
    const UniqueFd sock = eth::datagram_socket(kStep, __LINE__);
    if (!sock)
        return -1;
    ifreq req = {};
    eth::copy_ifname(req.ifr_name, name);
    const int r = enable ? vekset_intf_up(sock.get(), &req) : vekset_intf_down(sock.get(), &req);
    if (r != 0) {
        diag::syslog_errno(LOG_ERR, enable ? eth::msg::kBringUp : eth::msg::kBringDown, name, diag::kErrnoText,
                           kStep, __LINE__);
        return -1;
    }
    return 0;
}

HAPI_API int veketh_port_link_status_get(uint32_t ifindex, uint32_t *link) noexcept
{
    constexpr const char *kStep = "veketh_port_link_status_get";
    if (!eth::output_given(link, kStep, __LINE__))
        return -4;
    *link = 0;  // a failed read stands for link down
    ethtool_value value = {};
    value.cmd = ETHTOOL_GLINK;
    const Status s = eth::indexed_request(ifindex, &value, kStep);
    if (s == Status::ok)
        *link = value.data;
    return eth::kPortCodes(s);
}

HAPI_API int veketh_linkscan_register(void *(*handler)(void *)) noexcept
{
    constexpr const char *kStep = "veketh_linkscan_register";
    if (!handler || os::thread_start(nullptr, handler, nullptr, true) != 0) {
        os::syslog(LOG_ERR, eth::msg::kLinkscanFailed, kStep, __LINE__);
        return -1;
    }
    os::syslog(LOG_INFO, eth::msg::kLinkscanStarted, kStep, __LINE__);
    return 0;
}

// The link scan handler polls by itself; there is no mode to set.
HAPI_API int veketh_linkscan_mode_set(uint32_t, int32_t) noexcept { return 0; }
