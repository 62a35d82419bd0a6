#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <syslog.h>

#include "core/diag.h"
#include "core/os.h"
#include "ethdev/ethdev.h"
#include "ethdev/messages.h"

using namespace hapi;

namespace {

// A request block naming ifname with the rest of the union zeroed.
ifreq request_for(const char *ifname, void *data)
{
    ifreq req = {};
    eth::copy_ifname(req.ifr_name, ifname);
    req.ifr_data = static_cast<char *>(data);
    return req;
}

int change_flags(int sock, ifreq *request, bool up, const char *step) noexcept
{
    if (!request)
        return -1;
    if (os::ioctl(sock, SIOCGIFFLAGS, request) < 0) {
        os::syslog(LOG_ERR, eth::msg::kGetFlags, step, __LINE__);
        return -1;
    }
    if (up)
        request->ifr_flags = static_cast<short>(request->ifr_flags | IFF_UP | IFF_RUNNING);
    else
        request->ifr_flags = static_cast<short>(request->ifr_flags & ~IFF_UP);
    const int r = os::ioctl(sock, SIOCSIFFLAGS, request);
    if (r < 0)
        diag::syslog_errno(LOG_ERR, up ? eth::msg::kBringUp : eth::msg::kBringDown, request->ifr_name,
                           diag::kErrnoText, step, __LINE__);
    return r == 0 ? 0 : -1;
}

}  // namespace

int vekget_intf_settings(const char *ifname, ethtool_cmd *out) noexcept
{
    constexpr const char *kStep = "vekget_intf_settings";
    if (!ifname || !out)
        return -1;
    const UniqueFd sock = eth::datagram_socket(kStep, __LINE__);
    if (!sock)
        return -1;
    ethtool_cmd cmd = {};
    cmd.cmd = ETHTOOL_GSET;
    ifreq req = request_for(ifname, &cmd);
    if (os::ioctl(sock.get(), SIOCETHTOOL, &req) < 0) {
        diag::syslog_errno(LOG_ERR, eth::msg::kGetSettings, req.ifr_name, diag::kErrnoText, kStep, __LINE__);
        return -1;
    }
    *out = cmd;
    return 0;
}

int vekset_intf_settings(const char *ifname, ethtool_cmd *cmd) noexcept
{
    constexpr const char *kStep = "vekset_intf_settings";
    if (!ifname || !cmd)
        return -1;
    const UniqueFd sock = eth::datagram_socket(kStep, __LINE__);
    if (!sock)
        return -1;
    ifreq req = request_for(ifname, cmd);
    ethtool_cmd scratch;  // only proves that the interface answers
    if (vekget_intf_settings(ifname, &scratch) != 0) {
        os::syslog(LOG_ERR, eth::msg::kCheckRead, kStep, __LINE__);
        return -1;
    }
    cmd->cmd = ETHTOOL_SSET;
    if (os::ioctl(sock.get(), SIOCETHTOOL, &req) < 0) {
        diag::syslog_errno(LOG_ERR, eth::msg::kSetSettings, req.ifr_name, diag::kErrnoText, kStep, __LINE__);
        return -1;
    }
    return 0;
}

int vekset_intf_up(int sock, ifreq *request) noexcept
{
    return change_flags(sock, request, true, "vekset_intf_up");
}

int vekset_intf_down(int sock, ifreq *request) noexcept
{
    return change_flags(sock, request, false, "vekset_intf_down");
}
