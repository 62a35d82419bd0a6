// Receiving the neighbour dump: libnl would allocate a message object for
// every reply, so the callback set's receive step is replaced by one that
// reads into a buffer kept with the socket and hands each reply to the
// per-message matching in one reusable message.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <linux/netlink.h>
#include <netlink/errno.h>
#include <netlink/handlers.h>
#include <netlink/msg.h>
#include <netlink/socket.h>
#include <sys/socket.h>

#include "fdb/fdb.h"

namespace hapi::fdb {
namespace {

// The kernel sends dump batches of at most 32 KiB; twice that leaves room.
constexpr size_t kReceiveSize = 65536;

uint8_t *g_buffer = nullptr;
nl_msg *g_reply = nullptr;
uint32_t g_expectedSeq = 0;

// NL_OK to go on, NL_STOP at the dump's end; *error set by an error reply.
int handle(nl_sock *socket, const nlmsghdr *hdr, int *error)
{
    // Replies to another request (an earlier, interrupted dump) are not ours.
    if (hdr->nlmsg_seq != g_expectedSeq || hdr->nlmsg_pid != nl_socket_get_local_port(socket))
        return NL_OK;
    switch (hdr->nlmsg_type) {
    case NLMSG_DONE:
        return NL_STOP;
    case NLMSG_ERROR: {
        if (hdr->nlmsg_len >= NLMSG_LENGTH(sizeof(nlmsgerr))) {
            const auto *e = static_cast<const nlmsgerr *>(NLMSG_DATA(hdr));
            *error = e->error < 0 ? -nl_syserr2nlerr(-e->error) : 0;
        }
        return NL_STOP;
    }
    case NLMSG_NOOP:
    case NLMSG_OVERRUN:
        return NL_OK;
    default:
        break;
    }
    if (hdr->nlmsg_len > nlmsg_get_max_size(g_reply))
        return NL_OK;
    std::memcpy(nlmsg_hdr(g_reply), hdr, hdr->nlmsg_len);
    vekNetlinkL2NeighMsgValidCB(g_reply, nullptr);
    return NL_OK;
}

int receive_dump(nl_sock *socket, nl_cb *)
{
    if (!g_buffer || !g_reply)
        return -NLE_NOMEM;
    const int fd = nl_socket_get_fd(socket);
    int error = 0;
    for (;;) {
        sockaddr_nl from{};
        iovec iov{g_buffer, kReceiveSize};
        msghdr message{&from, sizeof from, &iov, 1, nullptr, 0, 0};
        ssize_t n = recvmsg(fd, &message, 0);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return -nl_syserr2nlerr(errno);
        if (n == 0)
            return 0;
        if (from.nl_pid != 0)  // only the kernel answers a dump
            continue;
        auto *hdr = reinterpret_cast<nlmsghdr *>(g_buffer);
        for (int left = static_cast<int>(n); NLMSG_OK(hdr, left); hdr = NLMSG_NEXT(hdr, left))
            if (handle(socket, hdr, &error) == NL_STOP)
                return error;
        if (message.msg_flags & MSG_TRUNC)
            return -NLE_MSG_TRUNC;
    }
}

}  // namespace

bool dump_receiver_attach(nl_cb *callbacks)
{
    if (!g_buffer)
        g_buffer = static_cast<uint8_t *>(std::malloc(kReceiveSize));
    if (!g_reply)
        g_reply = nlmsg_alloc_size(kReceiveSize);
    if (!g_buffer || !g_reply)
        return false;
    nl_cb_overwrite_recvmsgs(callbacks, receive_dump);
    return true;
}

void dump_receiver_release()
{
    std::free(g_buffer);
    g_buffer = nullptr;
    nlmsg_free(g_reply);
    g_reply = nullptr;
}

void dump_receiver_expect(uint32_t seq) { g_expectedSeq = seq; }

}  // namespace hapi::fdb
