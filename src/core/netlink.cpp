#include "core/netlink.h"

#include <new>

#include "core/os.h"

namespace hapi::netlink {
namespace {

constexpr int kStopped = 1;

// Hands the whole messages of one datagram to fn until it returns false
// (kStopped). 0 when the datagram held nothing else, -EBADMSG at a message
// whose length is shorter than a header or longer than what is left.
template <class Fn>
int walk(const uint8_t *datagram, size_t length, Fn &&fn)
{
    size_t at = 0;
    while (at + sizeof(nlmsghdr) <= length) {
        const auto *hdr = reinterpret_cast<const nlmsghdr *>(datagram + at);
        if (hdr->nlmsg_len < sizeof(nlmsghdr) || hdr->nlmsg_len > length - at)
            return -EBADMSG;
        if (!fn(*hdr))
            return kStopped;
        at += NLMSG_ALIGN(hdr->nlmsg_len);
    }
    return 0;
}

// The error code an NLMSG_ERROR carries: 0 for an acknowledgement.
int error_of(const nlmsghdr &hdr)
{
    if (hdr.nlmsg_len < NLMSG_LENGTH(sizeof(nlmsgerr)))
        return -EBADMSG;
    const int error = static_cast<const nlmsgerr *>(NLMSG_DATA(&hdr))->error;
    return error <= 0 ? error : -EBADMSG;
}

// A dump the kernel had to end early says why in its NLMSG_DONE.
int done_error(const nlmsghdr &hdr)
{
    if (hdr.nlmsg_len < NLMSG_LENGTH(sizeof(int)))
        return 0;
    const int error = *static_cast<const int *>(NLMSG_DATA(&hdr));
    return error < 0 ? error : 0;
}

}  // namespace

int Socket::open(int protocol, uint32_t port, uint32_t groups, bool nonblocking)
{
    close();
    UniqueFd fd(os::netlink_open(protocol, port, groups, nonblocking));
    if (!fd)
        return -errno;
    uint32_t bound = 0;
    if (os::netlink_local_port(fd.get(), &bound) != 0)
        return -errno;
    std::unique_ptr<uint8_t[]> buffer(new (std::nothrow) uint8_t[kReceiveSize]);
    if (!buffer)
        return -ENOMEM;
    fd_ = std::move(fd);
    port_ = bound;
    nextSeq_ = 1;
    buffer_ = std::move(buffer);
    return 0;
}

void Socket::close()
{
    fd_.reset();
    port_ = 0;
    buffer_.reset();
}

void Socket::complete(nlmsghdr &msg)
{
    if (msg.nlmsg_pid == 0)
        msg.nlmsg_pid = port_;
    if (msg.nlmsg_seq == 0)
        msg.nlmsg_seq = nextSeq_++;
    msg.nlmsg_flags |= NLM_F_REQUEST | NLM_F_ACK;
}

int Socket::send(nlmsghdr &msg, Destination to)
{
    if (!fd_)
        return -EBADF;
    complete(msg);
    const ssize_t n = os::netlink_send(fd_.get(), &msg, msg.nlmsg_len, to.port, to.groups);
    return n < 0 ? -errno : static_cast<int>(n);
}

int Socket::read(uint32_t &sender)
{
    for (;;) {
        bool truncated = false;
        const ssize_t n = os::netlink_receive(fd_.get(), buffer_.get(), kReceiveSize, &sender, &truncated);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return -errno;
        return truncated ? -EMSGSIZE : static_cast<int>(n);
    }
}

int Socket::request(nlmsghdr &msg)
{
    if (int sent = send(msg); sent < 0)
        return sent;
    const uint32_t seq = msg.nlmsg_seq;
    for (;;) {
        uint32_t sender = 0;
        const int n = read(sender);
        if (n < 0)
            return n;
        if (sender != 0)
            continue;
        int result = 0;
        const int walked = walk(buffer_.get(), static_cast<size_t>(n), [&](const nlmsghdr &reply) {
            if (reply.nlmsg_seq != seq || reply.nlmsg_pid != port_ || reply.nlmsg_type != NLMSG_ERROR)
                return true;
            result = error_of(reply);
            return false;
        });
        if (walked == kStopped)
            return result;
        if (walked < 0)
            return walked;
    }
}

int Socket::dump_with(nlmsghdr &msg, ReplyFn fn, void *context)
{
    if (int sent = send(msg); sent < 0)
        return sent;
    const uint32_t seq = msg.nlmsg_seq;
    bool interrupted = false;
    for (;;) {
        uint32_t sender = 0;
        const int n = read(sender);
        if (n < 0)
            return n;
        if (sender != 0)  // only the kernel answers a dump
            continue;
        int result = 0;
        const int walked = walk(buffer_.get(), static_cast<size_t>(n), [&](const nlmsghdr &reply) {
            if (reply.nlmsg_seq != seq || reply.nlmsg_pid != port_)
                return true;
            if (reply.nlmsg_flags & NLM_F_DUMP_INTR)
                interrupted = true;
            switch (reply.nlmsg_type) {
            case NLMSG_DONE:
                result = done_error(reply);
                return false;
            case NLMSG_ERROR:
                result = error_of(reply);
                return false;
            case NLMSG_NOOP:
            case NLMSG_OVERRUN:
                return true;
            default:
                fn(reply, context);
                return true;
            }
        });
        if (walked == kStopped)
            return result != 0 ? result : interrupted ? kDumpInterrupted : 0;
        if (walked < 0)
            return walked;
    }
}

int Socket::receive_with(MessageFn fn, void *context)
{
    if (!fd_)
        return -EBADF;
    uint32_t sender = 0;
    const int n = read(sender);
    if (n < 0)
        return n;
    int count = 0;
    const int walked = walk(buffer_.get(), static_cast<size_t>(n), [&](const nlmsghdr &msg) {
        fn(msg, sender, context);
        ++count;
        return true;
    });
    return walked < 0 ? walked : count;
}

}  // namespace hapi::netlink
