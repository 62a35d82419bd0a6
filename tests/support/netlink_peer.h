// A plain rtnetlink socket for tests and benches: the listeners, requesters
// and line driver that talk to the notification channel.
#pragma once

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace netlink_peer {

struct Received {
    std::vector<uint8_t> bytes;  // one whole datagram
    uint32_t senderPort = 0;
    uint32_t groups = 0;  // group mask it was multicast to, 0 for unicast
};

class Peer {
public:
    // Bound to `port` (0: the kernel picks one) and joined to the groups of `groupMask`.
    explicit Peer(uint32_t port, uint32_t groupMask = 0, int rcvbuf = 0)
    {
        fd_ = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
        if (fd_ < 0)
            return;
        if (rcvbuf > 0)
            ::setsockopt(fd_, SOL_SOCKET, SO_RCVBUFFORCE, &rcvbuf, sizeof rcvbuf);
        sockaddr_nl local{};
        local.nl_family = AF_NETLINK;
        local.nl_pid = port;
        local.nl_groups = groupMask;
        if (::bind(fd_, reinterpret_cast<sockaddr *>(&local), sizeof local) != 0) {
            ::close(fd_);
            fd_ = -1;
        }
    }
    ~Peer()
    {
        if (fd_ >= 0)
            ::close(fd_);
    }
    Peer(const Peer &) = delete;
    Peer &operator=(const Peer &) = delete;

    bool ok() const { return fd_ >= 0; }
    int fd() const { return fd_; }

    bool send_to(uint32_t port, const void *bytes, size_t length) const
    {
        sockaddr_nl dest{};
        dest.nl_family = AF_NETLINK;
        dest.nl_pid = port;
        return ::sendto(fd_, bytes, length, 0, reinterpret_cast<const sockaddr *>(&dest), sizeof dest) ==
               static_cast<ssize_t>(length);
    }

    // A 32-byte link message (RTM_GETLINK or RTM_NEWLINK) with the given fields.
    bool send_link(uint32_t port, uint16_t type, uint32_t seq, uint32_t ownPort, int32_t ifIndex,
                   uint32_t ifFlags) const
    {
        struct {
            nlmsghdr hdr;
            ifinfomsg ifi;
        } req{};
        req.hdr.nlmsg_len = sizeof req;
        req.hdr.nlmsg_type = type;
        req.hdr.nlmsg_flags = NLM_F_REQUEST;
        req.hdr.nlmsg_seq = seq;
        req.hdr.nlmsg_pid = ownPort;
        req.ifi.ifi_index = ifIndex;
        req.ifi.ifi_flags = ifFlags;
        return send_to(port, &req, sizeof req);
    }

    // The next datagram before the deadline.
    std::optional<Received> receive(std::chrono::milliseconds within) const
    {
        pollfd p{fd_, POLLIN, 0};
        if (::poll(&p, 1, static_cast<int>(within.count())) <= 0)
            return std::nullopt;
        std::vector<uint8_t> buf(65536);
        sockaddr_nl from{};
        iovec iov{buf.data(), buf.size()};
        msghdr m{};
        m.msg_name = &from;
        m.msg_namelen = sizeof from;
        m.msg_iov = &iov;
        m.msg_iovlen = 1;
        const ssize_t n = ::recvmsg(fd_, &m, 0);
        if (n < 0)
            return std::nullopt;
        buf.resize(static_cast<size_t>(n));
        return Received{std::move(buf), from.nl_pid, from.nl_groups};
    }

    // The next datagram from netlink port `sender`, skipping others (the
    // kernel's own link notifications, acknowledgements).
    std::optional<Received> receive_from(uint32_t sender, std::chrono::milliseconds within) const
    {
        const auto deadline = std::chrono::steady_clock::now() + within;
        for (;;) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0)
                return std::nullopt;
            auto r = receive(left);
            if (!r || r->senderPort == sender)
                return r;
        }
    }

private:
    int fd_ = -1;
};

}  // namespace netlink_peer
