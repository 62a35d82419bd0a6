// Raw frames in a station: the socket is opened by a helper thread that
// joins the station's network namespace, so the test process never leaves
// the board's.
#include "board_harness.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace board {

StationSocket::StationSocket(int n)
{
    const std::string path = "/run/netns/hb-" + name() + "-s" + std::to_string(n);
    std::thread([&] {
        const int ns = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (ns >= 0 && ::setns(ns, CLONE_NEWNET) == 0) {
            fd_ = ::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, htons(ETH_P_ALL));
            ifindex_ = static_cast<int>(::if_nametoindex("eth0"));
        }
        if (ns >= 0)
            ::close(ns);
    }).join();
    sockaddr_ll addr{};
    addr.sll_family = AF_PACKET;
    addr.sll_protocol = htons(ETH_P_ALL);
    addr.sll_ifindex = ifindex_;
    if (fd_ >= 0 && (ifindex_ == 0 || ::bind(fd_, reinterpret_cast<sockaddr *>(&addr), sizeof addr) != 0)) {
        ::close(fd_);
        fd_ = -1;
    }
}

StationSocket::~StationSocket()
{
    if (fd_ >= 0)
        ::close(fd_);
}

bool StationSocket::send(const std::vector<uint8_t> &frame)
{
    return fd_ >= 0 && ::send(fd_, frame.data(), frame.size(), 0) == static_cast<ssize_t>(frame.size());
}

std::optional<std::vector<uint8_t>> StationSocket::receive(std::chrono::milliseconds within)
{
    using namespace std::chrono;
    const auto deadline = steady_clock::now() + within;
    for (pollfd p{fd_, POLLIN, 0}; fd_ >= 0;) {
        const long left = duration_cast<milliseconds>(deadline - steady_clock::now()).count();
        if (::poll(&p, 1, static_cast<int>(std::max(left, 0L))) <= 0)
            break;
        std::vector<uint8_t> frame(65536);
        sockaddr_ll from{};
        socklen_t len = sizeof from;
        const ssize_t got = ::recvfrom(fd_, frame.data(), frame.size(), 0, reinterpret_cast<sockaddr *>(&from), &len);
        if (got < 0)
            break;
        if (from.sll_pkttype == PACKET_OUTGOING)  // our own transmissions come back too
            continue;
        frame.resize(static_cast<size_t>(got));
        return frame;
    }
    return std::nullopt;
}

std::vector<uint8_t> StationSocket::mac(int station)
{
    return {0x02, 0x00, 0x00, 0x00, 0x01, static_cast<uint8_t>(station)};
}

std::vector<uint8_t> StationSocket::frame(const std::vector<uint8_t> &src, std::vector<uint8_t> dst, size_t size,
                                          std::initializer_list<uint8_t> type)
{
    dst.insert(dst.end(), src.begin(), src.end());
    dst.insert(dst.end(), type);
    dst.resize(std::max(size, dst.size()), 0x5a);
    return dst;
}

}  // namespace board
