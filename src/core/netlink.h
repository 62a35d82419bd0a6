// The library's netlink transport: one socket of one protocol and the
// exchanges it has with its peers: a message sent, a request answered by an
// acknowledgement, a dump answered by a series of replies, and whatever
// arrives unasked. Every reply is read in place from one receive buffer kept
// with the socket; a handler sees only whole messages, never more bytes
// than a message's own length.
#pragma once

#include <linux/netlink.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>

#include "core/owned.h"

namespace hapi::netlink {

// The kernel sends dump batches of at most 32 KiB; twice that leaves room.
inline constexpr size_t kReceiveSize = 65536;
// Result of a dump that the kernel marked NLM_F_DUMP_INTR: the table changed
// while it was read, so the replies handed over may be inconsistent.
inline constexpr int kDumpInterrupted = -EINTR;

struct Destination {
    uint32_t port = 0;    // 0: the kernel
    uint32_t groups = 0;  // multicast group mask
};

class Socket {
public:
    Socket() = default;

    // Opens a socket of `protocol` bound to `port` (0: the kernel picks one)
    // and joined to the multicast groups of the mask `groups`, replacing one
    // already open. 0, or a negative errno; closed on failure.
    int open(int protocol, uint32_t port, uint32_t groups, bool nonblocking = false);
    void close();

    explicit operator bool() const noexcept { return static_cast<bool>(fd_); }
    int fd() const noexcept { return fd_.get(); }
    uint32_t port() const noexcept { return port_; }

    // What an automatic send fills in: the socket's port when nlmsg_pid is
    // 0, the socket's next sequence number when nlmsg_seq is 0, and
    // NLM_F_REQUEST | NLM_F_ACK.
    void complete(nlmsghdr &msg);

    // Completes msg and sends it to `to`: bytes sent, or a negative errno.
    int send(nlmsghdr &msg, Destination to = {});

    // Completes msg, sends it to the kernel and waits for the NLMSG_ERROR
    // that acknowledges it: 0, the kernel's negative errno, or a negative
    // errno of the socket.
    int request(nlmsghdr &msg);

    // Completes msg, sends it to the kernel and hands every reply of that
    // request (sequence number and port ours, sent by the kernel) to
    // handler(const nlmsghdr &) until NLMSG_DONE. 0; kDumpInterrupted;
    // the kernel's negative errno; or a negative errno of the socket, as
    // for receive(). Datagrams of other senders and replies to other
    // requests (an earlier, interrupted dump) are passed over.
    template <class Handler>
    int dump(nlmsghdr &msg, Handler &&handler)
    {
        return dump_with(msg, [](const nlmsghdr &reply, void *context) {
            (*static_cast<std::remove_reference_t<Handler> *>(context))(reply);
        }, &handler);
    }

    // Reads one datagram and hands each whole message in it, in order, to
    // handler(const nlmsghdr &, uint32_t senderPort). Number of messages
    // handed over, or a negative errno: -EMSGSIZE for a datagram larger
    // than the buffer (nothing handed over), -EBADMSG after the whole
    // messages before one that claims more bytes than arrived.
    template <class Handler>
    int receive(Handler &&handler)
    {
        return receive_with([](const nlmsghdr &msg, uint32_t sender, void *context) {
            (*static_cast<std::remove_reference_t<Handler> *>(context))(msg, sender);
        }, &handler);
    }

private:
    using ReplyFn = void (*)(const nlmsghdr &, void *);
    using MessageFn = void (*)(const nlmsghdr &, uint32_t, void *);
    int dump_with(nlmsghdr &msg, ReplyFn fn, void *context);
    int receive_with(MessageFn fn, void *context);
    // One datagram into the buffer: its length, or a negative errno.
    int read(uint32_t &sender);

    UniqueFd fd_;
    uint32_t port_ = 0;
    uint32_t nextSeq_ = 1;
    std::unique_ptr<uint8_t[]> buffer_;  // kReceiveSize bytes while open
};

}  // namespace hapi::netlink
