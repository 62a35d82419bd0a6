#include "link_stats.h"

#include <algorithm>
#include <cstring>
#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace simdrv {
namespace {

struct Request {
    nlmsghdr header;
    ifinfomsg info;
};

bool parse_reply(const char *buf, ssize_t len, LinkStats &stats)
{
    for (auto *h = reinterpret_cast<const nlmsghdr *>(buf); NLMSG_OK(h, static_cast<unsigned>(len));
         h = NLMSG_NEXT(h, len)) {
        if (h->nlmsg_type != RTM_NEWLINK || h->nlmsg_len < NLMSG_LENGTH(sizeof(ifinfomsg)))
            continue;
        int left = static_cast<int>(IFLA_PAYLOAD(h));
        for (auto *a = IFLA_RTA(static_cast<const ifinfomsg *>(NLMSG_DATA(h))); RTA_OK(a, left);
             a = RTA_NEXT(a, left)) {
            if (a->rta_type != IFLA_STATS64)
                continue;
            stats.fill(0);
            std::memcpy(stats.data(), RTA_DATA(a),
                        std::min<size_t>(RTA_PAYLOAD(a), sizeof(uint64_t) * kStatCount));
            return true;
        }
    }
    return false;
}

}  // namespace

bool read_link_stats(unsigned index, LinkStats &stats)
{
    const int fd = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    if (fd < 0)
        return false;
    const timeval timeout{1, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    Request req{};
    req.header.nlmsg_len = sizeof req;
    req.header.nlmsg_type = RTM_GETLINK;
    req.header.nlmsg_flags = NLM_F_REQUEST;
    req.header.nlmsg_seq = 1;
    req.info.ifi_family = AF_UNSPEC;
    req.info.ifi_index = static_cast<int>(index);
    sockaddr_nl kernel{};
    kernel.nl_family = AF_NETLINK;
    bool found = false;
    if (::sendto(fd, &req, sizeof req, 0, reinterpret_cast<sockaddr *>(&kernel), sizeof kernel) ==
        static_cast<ssize_t>(sizeof req)) {
        alignas(nlmsghdr) char buf[32768];
        const ssize_t got = ::recv(fd, buf, sizeof buf, 0);
        if (got > 0)
            found = parse_reply(buf, got, stats);
    }
    ::close(fd);
    return found;
}

}  // namespace simdrv
