// In-process stand-in for the netlink side of the OS boundary: sockets that
// record what is sent on them and hand out the datagrams a test queues, and
// the eventfd and poll() a receive thread waits with. Shares the fake OS's
// lock and is emptied by fake::reset().
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <initializer_list>
#include <ostream>
#include <vector>

namespace fake {

using Bytes = std::vector<uint8_t>;

struct Datagram {
    Bytes bytes;
    uint32_t sender = 0;     // sending port, 0: the kernel
    bool truncated = false;  // delivered cut to the receiver's buffer, MSG_TRUNC set
};

struct NetlinkSocket {
    int fd = -1;
    int protocol = 0;
    uint32_t port = 0;    // bound port; the fake picks one from 4000 on for 0
    uint32_t groups = 0;  // group mask
    bool nonblocking = false;
    bool open = true;
    std::deque<Datagram> inbox;  // receiving from an empty inbox fails with EAGAIN
};

struct Sent {
    int fd;
    uint32_t port, groups;  // destination
    Bytes bytes;
    bool operator==(const Sent &) const = default;
};

struct Netlink {
    std::deque<NetlinkSocket> sockets;  // every socket opened, closed ones too
    std::vector<Sent> sent;              // every message sent, in order
    int openErrno = 0;                   // netlink_open fails with it when set
    int sendErrno = 0;                   // netlink_send fails with it when set
    // Called after each successful send (the lock held): may queue replies.
    std::function<void(NetlinkSocket &from, const Sent &message)> answer;

    NetlinkSocket *socket(int fd);
    // Queues a datagram for the socket with that fd; false when there is none.
    bool queue(int fd, Datagram datagram);
};

void PrintTo(const Sent &m, std::ostream *out);

Netlink &netlink();
void reset_netlink();
// Closes a netlink socket or eventfd of the fake: false for an fd outside
// the fake's range (any other fake socket).
bool close_netlink(int fd);

// The bytes of a netlink message: header fields, then the payload.
Bytes message(uint16_t type, uint16_t flags, uint32_t seq, uint32_t port, const Bytes &payload = {});
// The kernel's acknowledgement (error 0) or error reply to a request.
Bytes ack(const Bytes &request, int error);
// Messages laid end to end in one datagram.
Bytes join(std::initializer_list<Bytes> parts);
// Answers every message sent with the datagrams script builds from its
// sequence number and port.
void answer_with(std::function<std::vector<Datagram>(uint32_t seq, uint32_t port)> script);

}  // namespace fake
