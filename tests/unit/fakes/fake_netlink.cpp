#include "fake_netlink.h"

#include <linux/netlink.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <map>

#include "core/os.h"
#include "fake_os.h"

namespace fake {
namespace {

constexpr int kFirstFd = 5000;  // apart from the fake OS's sockets (1000 on)
constexpr uint32_t kFirstPort = 4000;

Netlink *g_netlink = new Netlink;    // never destroyed, like the fake OS
std::map<int, uint64_t> g_eventfds;  // fd -> counter
int g_nextFd = kFirstFd;
std::condition_variable_any g_changed;  // a datagram queued, an eventfd written, an fd closed

std::recursive_mutex &lock() { return os().lock; }

nlmsghdr header_of(const Bytes &b)
{
    nlmsghdr h{};
    std::memcpy(&h, b.data(), std::min(b.size(), sizeof h));
    return h;
}

// The open socket with that fd, or null with errno EBADF.
NetlinkSocket *open_socket(int fd)
{
    NetlinkSocket *s = g_netlink->socket(fd);
    if (s && s->open)
        return s;
    errno = EBADF;
    return nullptr;
}

}  // namespace

Netlink &netlink() { return *g_netlink; }

void PrintTo(const Sent &m, std::ostream *out)
{
    *out << "{fd " << m.fd << " to port " << m.port << " groups " << m.groups << ":" << std::hex;
    for (uint8_t b : m.bytes)
        *out << ' ' << static_cast<unsigned>(b);
    *out << std::dec << '}';
}

void reset_netlink()
{
    Guard guard(lock());
    *g_netlink = Netlink{};
    g_eventfds.clear();
    g_changed.notify_all();
}

bool close_netlink(int fd)
{
    if (fd < kFirstFd)
        return false;
    Guard guard(lock());
    g_eventfds.erase(fd);
    if (NetlinkSocket *s = g_netlink->socket(fd)) {
        s->open = false;
        s->inbox.clear();
    }
    g_changed.notify_all();
    return true;
}

NetlinkSocket *Netlink::socket(int fd)
{
    auto it = std::find_if(sockets.begin(), sockets.end(), [fd](auto &s) { return s.fd == fd; });
    return it == sockets.end() ? nullptr : &*it;
}

bool Netlink::queue(int fd, Datagram datagram)
{
    Guard guard(lock());
    NetlinkSocket *s = socket(fd);
    if (!s || !s->open)
        return false;
    s->inbox.push_back(std::move(datagram));
    g_changed.notify_all();
    return true;
}

Bytes message(uint16_t type, uint16_t flags, uint32_t seq, uint32_t port, const Bytes &payload)
{
    const nlmsghdr hdr{static_cast<uint32_t>(NLMSG_LENGTH(payload.size())), type, flags, seq, port};
    Bytes b(reinterpret_cast<const uint8_t *>(&hdr), reinterpret_cast<const uint8_t *>(&hdr) + sizeof hdr);
    b.insert(b.end(), payload.begin(), payload.end());
    b.resize(NLMSG_ALIGN(b.size()));
    return b;
}

Bytes ack(const Bytes &request, int error)
{
    const nlmsghdr req = header_of(request);
    Bytes payload(sizeof(int));
    std::memcpy(payload.data(), &error, sizeof error);
    payload.insert(payload.end(), request.begin(), request.begin() + std::min(request.size(), sizeof req));
    return message(NLMSG_ERROR, 0, req.nlmsg_seq, req.nlmsg_pid, payload);
}

Bytes join(std::initializer_list<Bytes> parts)
{
    Bytes all;
    for (const Bytes &p : parts)
        all.insert(all.end(), p.begin(), p.end());
    return all;
}

void answer_with(std::function<std::vector<Datagram>(uint32_t seq, uint32_t port)> script)
{
    Guard guard(lock());
    g_netlink->answer = [script](NetlinkSocket &from, const Sent &message) {
        const nlmsghdr hdr = header_of(message.bytes);
        for (Datagram &d : script(hdr.nlmsg_seq, hdr.nlmsg_pid))
            from.inbox.push_back(std::move(d));
    };
}

}  // namespace fake

namespace hapi::os {

using fake::Guard;
using fake::netlink;

int netlink_open(int protocol, uint32_t port, uint32_t groups, bool nonblocking)
{
    Guard guard(fake::lock());
    auto &all = netlink().sockets;
    int error = netlink().openErrno;
    if (!error && port && std::any_of(all.begin(), all.end(), [port](auto &s) { return s.open && s.port == port; }))
        error = EADDRINUSE;
    if (error) {
        errno = error;
        return -1;
    }
    const uint32_t bound = port ? port : fake::kFirstPort + static_cast<uint32_t>(all.size());
    return all.emplace_back(fake::NetlinkSocket{fake::g_nextFd++, protocol, bound, groups, nonblocking}).fd;
}

int netlink_local_port(int fd, uint32_t *port)
{
    Guard guard(fake::lock());
    const fake::NetlinkSocket *s = fake::open_socket(fd);
    if (!s)
        return -1;
    *port = s->port;
    return 0;
}

ssize_t netlink_send(int fd, const void *bytes, size_t length, uint32_t port, uint32_t groups)
{
    Guard guard(fake::lock());
    fake::NetlinkSocket *s = fake::open_socket(fd);
    if (!s)
        return -1;
    if (netlink().sendErrno) {
        errno = netlink().sendErrno;
        return -1;
    }
    const auto *p = static_cast<const uint8_t *>(bytes);
    netlink().sent.push_back({fd, port, groups, fake::Bytes(p, p + length)});
    if (netlink().answer) {
        const fake::Sent message = netlink().sent.back();
        netlink().answer(*s, message);
        fake::g_changed.notify_all();
    }
    return static_cast<ssize_t>(length);
}

ssize_t netlink_receive(int fd, void *buffer, size_t size, uint32_t *sender, bool *truncated)
{
    Guard guard(fake::lock());
    fake::NetlinkSocket *s = fake::open_socket(fd);
    if (!s)
        return -1;
    if (s->inbox.empty()) {
        errno = EAGAIN;
        return -1;
    }
    fake::Datagram d = std::move(s->inbox.front());
    s->inbox.pop_front();
    const size_t n = std::min(size, d.bytes.size());
    if (n)
        std::memcpy(buffer, d.bytes.data(), n);
    *sender = d.sender;
    *truncated = d.truncated || d.bytes.size() > size;
    return static_cast<ssize_t>(n);
}

int poll(struct pollfd *fds, nfds_t count, int timeout)
{
    std::unique_lock<std::recursive_mutex> guard(fake::lock());
    auto ready = [&] {
        int n = 0;
        for (nfds_t i = 0; i < count; ++i) {
            bool in = false;
            fds[i].revents = 0;
            if (auto it = fake::g_eventfds.find(fds[i].fd); it != fake::g_eventfds.end())
                in = it->second != 0;
            else if (const fake::NetlinkSocket *s = netlink().socket(fds[i].fd); s && s->open)
                in = !s->inbox.empty();
            else
                fds[i].revents = POLLNVAL;
            fds[i].revents |= in ? (fds[i].events & POLLIN) : 0;
            n += fds[i].revents != 0;
        }
        return n;
    };
    if (timeout < 0)
        fake::g_changed.wait(guard, [&] { return ready() > 0; });
    else
        fake::g_changed.wait_for(guard, std::chrono::milliseconds(timeout), [&] { return ready() > 0; });
    return ready();
}

int eventfd(unsigned initial, int)
{
    Guard guard(fake::lock());
    fake::g_eventfds[fake::g_nextFd] = initial;
    return fake::g_nextFd++;
}

int eventfd_write(int fd, uint64_t value)
{
    Guard guard(fake::lock());
    auto it = fake::g_eventfds.find(fd);
    if (it == fake::g_eventfds.end()) {
        errno = EBADF;
        return -1;
    }
    it->second += value;
    fake::g_changed.notify_all();
    return 0;
}

}  // namespace hapi::os
