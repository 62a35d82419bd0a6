// The libc entry points the substitute driver takes over in every process of
// the board (LD_PRELOAD). Whatever is not the board's business goes on to
// the next definition unchanged.
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <dlfcn.h>
#include <linux/netlink.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include "ethtool_port.h"
#include "netlink_peer.h"
#include "run_dir.h"

namespace {

template <class F>
F next(const char *name)
{
    return reinterpret_cast<F>(::dlsym(RTLD_NEXT, name));
}

using IoctlFn = int (*)(int, unsigned long, ...);
using SocketFn = int (*)(int, int, int);
using BindFn = int (*)(int, const sockaddr *, socklen_t);
using SendmsgFn = ssize_t (*)(int, const msghdr *, int);
using SendtoFn = ssize_t (*)(int, const void *, size_t, int, const sockaddr *, socklen_t);
using SendFn = ssize_t (*)(int, const void *, size_t, int);
using CloseFn = int (*)(int);

// Descriptors standing in for sockets of the peer protocols, by protocol.
constexpr size_t kMaxFd = 65536;
std::array<std::atomic<uint8_t>, kMaxFd> peerProtocol{};

int peer_of(int fd)
{
    return (fd >= 0 && static_cast<size_t>(fd) < kMaxFd) ? peerProtocol[fd].load() : 0;
}

bool in_board() { return !simdrv::run_dir().empty(); }

// The ethtool tool talks generic netlink when it can; refusing it sends the
// tool to the ioctl interface, which this driver answers.
bool refuse_generic_netlink(int domain, int protocol)
{
    return domain == AF_NETLINK && protocol == NETLINK_GENERIC &&
           std::strcmp(program_invocation_short_name, "ethtool") == 0;
}

ssize_t deliver(int protocol, const std::vector<uint8_t> &message)
{
    simdrv::peer_receive(protocol, message);
    return static_cast<ssize_t>(message.size());
}

}  // namespace

extern "C" {

int ioctl(int fd, unsigned long request, ...) noexcept
{
    static const IoctlFn kernel = next<IoctlFn>("ioctl");
    va_list args;
    va_start(args, request);
    void *arg = va_arg(args, void *);
    va_end(args);
    if (request == SIOCETHTOOL && arg && in_board()) {
        const auto *req = static_cast<const ifreq *>(arg);
        char name[IFNAMSIZ + 1] = {};
        std::memcpy(name, req->ifr_name, IFNAMSIZ);
        if (auto result = simdrv::ethtool_request(fd, name, req->ifr_data, kernel)) {
            if (*result == 0)
                return 0;
            errno = *result;
            return -1;
        }
    }
    return kernel(fd, request, arg);
}

int socket(int domain, int type, int protocol) noexcept
{
    static const SocketFn real = next<SocketFn>("socket");
    if (domain == AF_NETLINK && in_board()) {
        if (simdrv::is_peer_protocol(protocol)) {
            const int fd = real(AF_UNIX, SOCK_DGRAM | (type & (SOCK_CLOEXEC | SOCK_NONBLOCK)), 0);
            if (fd >= 0 && static_cast<size_t>(fd) >= kMaxFd) {
                next<CloseFn>("close")(fd);
                errno = EMFILE;
                return -1;
            }
            if (fd >= 0)
                peerProtocol[fd] = static_cast<uint8_t>(protocol);
            return fd;
        }
        if (refuse_generic_netlink(domain, protocol)) {
            errno = EPROTONOSUPPORT;
            return -1;
        }
    }
    const int fd = real(domain, type, protocol);
    if (fd >= 0 && static_cast<size_t>(fd) < kMaxFd)
        peerProtocol[fd] = 0;
    return fd;
}

int bind(int fd, const sockaddr *addr, socklen_t len) noexcept
{
    static const BindFn real = next<BindFn>("bind");
    if (peer_of(fd) == 0)
        return real(fd, addr, len);
    if (!addr || len < sizeof(sockaddr_nl) || addr->sa_family != AF_NETLINK) {
        errno = EINVAL;
        return -1;
    }
    return 0;
}

ssize_t sendmsg(int fd, const msghdr *msg, int flags)
{
    static const SendmsgFn real = next<SendmsgFn>("sendmsg");
    const int protocol = peer_of(fd);
    if (protocol == 0)
        return real(fd, msg, flags);
    if (!msg || (msg->msg_iovlen > 0 && !msg->msg_iov)) {
        errno = EFAULT;
        return -1;
    }
    std::vector<uint8_t> message;
    for (size_t i = 0; i < msg->msg_iovlen; ++i) {
        const auto *base = static_cast<const uint8_t *>(msg->msg_iov[i].iov_base);
        message.insert(message.end(), base, base + msg->msg_iov[i].iov_len);
    }
    return deliver(protocol, message);
}

ssize_t sendto(int fd, const void *buf, size_t len, int flags, const sockaddr *addr, socklen_t alen)
{
    static const SendtoFn real = next<SendtoFn>("sendto");
    const int protocol = peer_of(fd);
    if (protocol == 0)
        return real(fd, buf, len, flags, addr, alen);
    const auto *bytes = static_cast<const uint8_t *>(buf);
    return deliver(protocol, std::vector<uint8_t>(bytes, bytes + len));
}

ssize_t send(int fd, const void *buf, size_t len, int flags)
{
    static const SendFn real = next<SendFn>("send");
    const int protocol = peer_of(fd);
    if (protocol == 0)
        return real(fd, buf, len, flags);
    const auto *bytes = static_cast<const uint8_t *>(buf);
    return deliver(protocol, std::vector<uint8_t>(bytes, bytes + len));
}

int close(int fd)
{
    static const CloseFn real = next<CloseFn>("close");
    if (fd >= 0 && static_cast<size_t>(fd) < kMaxFd)
        peerProtocol[fd] = 0;
    return real(fd);
}

}  // extern "C"
