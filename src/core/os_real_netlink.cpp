// Netlink sockets and the receive thread's wait, as the kernel offers them.
#include <linux/netlink.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "core/os.h"

namespace hapi::os {

int netlink_open(int protocol, uint32_t port, uint32_t groups, bool nonblocking)
{
    const int type = SOCK_RAW | SOCK_CLOEXEC | (nonblocking ? SOCK_NONBLOCK : 0);
    const int fd = ::socket(AF_NETLINK, type, protocol);
    if (fd < 0)
        return -1;
    sockaddr_nl local{};
    local.nl_family = AF_NETLINK;
    local.nl_pid = port;
    local.nl_groups = groups;
    if (::bind(fd, reinterpret_cast<const sockaddr *>(&local), sizeof local) != 0) {
        const int error = errno;
        ::close(fd);
        errno = error;
        return -1;
    }
    return fd;
}

int netlink_local_port(int fd, uint32_t *port)
{
    sockaddr_nl local{};
    socklen_t length = sizeof local;
    if (::getsockname(fd, reinterpret_cast<sockaddr *>(&local), &length) != 0)
        return -1;
    *port = local.nl_pid;
    return 0;
}

ssize_t netlink_send(int fd, const void *bytes, size_t length, uint32_t port, uint32_t groups)
{
    sockaddr_nl dest{};
    dest.nl_family = AF_NETLINK;
    dest.nl_pid = port;
    dest.nl_groups = groups;
    return ::sendto(fd, bytes, length, 0, reinterpret_cast<const sockaddr *>(&dest), sizeof dest);
}

ssize_t netlink_receive(int fd, void *buffer, size_t size, uint32_t *sender, bool *truncated)
{
    sockaddr_nl from{};
    iovec iov{buffer, size};
    msghdr message{};
    message.msg_name = &from;
    message.msg_namelen = sizeof from;
    message.msg_iov = &iov;
    message.msg_iovlen = 1;
    const ssize_t n = ::recvmsg(fd, &message, 0);
    if (n < 0)
        return -1;
    *sender = from.nl_pid;
    *truncated = (message.msg_flags & MSG_TRUNC) != 0;
    return n;
}

int poll(struct pollfd *fds, nfds_t count, int timeout) { return ::poll(fds, count, timeout); }

int eventfd(unsigned initial, int flags) { return ::eventfd(initial, flags); }

int eventfd_write(int fd, uint64_t value) { return ::eventfd_write(fd, value); }

}  // namespace hapi::os
