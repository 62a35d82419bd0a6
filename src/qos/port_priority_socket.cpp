// The netlink socket (protocol 30) that publishes the port default priority
// map to its kernel-side peer.
#include <linux/netlink.h>
#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>

#include "hapi/hapi_qos.h"
#include "core/os.h"
#include "core/owned.h"
#include "qos/qos.h"
#include "qos/commands.h"

namespace hapi::qos {

inline constexpr int kPortPriorityProtocol = 30;

bool vekInitPortPriorityMap()
{
    UniqueFd sock(os::socket(AF_NETLINK, SOCK_RAW, kPortPriorityProtocol));
    // Published at once: on a failed bind the closed number is kept, and a
    // later send on it fails (EBADF).
    _portprio_sockfd = sock.get();
    if (!sock) {
        os::syslog(LOG_ERR, text::kSocketOpenFailed, _portprio_sockfd);
        return false;
    }
    sockaddr_nl self = {};
    self.nl_family = AF_NETLINK;
    self.nl_pid = static_cast<uint32_t>(::getpid());
    self.nl_groups = 0;
    if (os::bind(sock.get(), reinterpret_cast<const sockaddr *>(&self), sizeof self) < 0) {
        sock.reset();
        os::syslog(LOG_ERR, "%s", text::kSocketBindFailed);
        return false;
    }
    sock.release();  // kept open for the life of the process
    return true;
}

}  // namespace hapi::qos
