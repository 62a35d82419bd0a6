// The netlink socket (protocol 30) that publishes the port default priority
// map to its kernel-side peer.
#include <linux/netlink.h>
#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>

#include "hapi/hapi_qos.h"
#include "core/os.h"
#include "qos/qos.h"
#include "qos/commands.h"

namespace hapi::qos {

inline constexpr int kPortPriorityProtocol = 30;

bool vekInitPortPriorityMap()
{
    _portprio_sockfd = os::socket(AF_NETLINK, SOCK_RAW, kPortPriorityProtocol);
    if (_portprio_sockfd < 0) {
        os::syslog(LOG_ERR, text::kSocketOpenFailed, _portprio_sockfd);
        return false;
    }
    sockaddr_nl self = {};
    self.nl_family = AF_NETLINK;
    self.nl_pid = static_cast<uint32_t>(::getpid());
    self.nl_groups = 0;
    if (os::bind(_portprio_sockfd, reinterpret_cast<const sockaddr *>(&self), sizeof self) < 0) {
        // The closed number is kept; a later send on it fails (EBADF).
        os::close(_portprio_sockfd);
        os::syslog(LOG_ERR, "%s", text::kSocketBindFailed);
        return false;
    }
    return true;
}

}  // namespace hapi::qos
