// Front port n's cable, pulled and plugged from this process: a datagram
// socket opened inside station n's namespace, so interface ioctls on it act
// on the station's eth0 without forking a tool (a fork would be timed too).
#pragma once

#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <thread>

#include "board_harness.h"

namespace port_life {

class StationCable {
public:
    explicit StationCable(int n)
    {
        const std::string path = "/run/netns/hb-" + board::name() + "-s" + std::to_string(n);
        std::thread([&] {
            const int ns = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
            if (ns >= 0 && ::setns(ns, CLONE_NEWNET) == 0)
                fd_ = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
            if (ns >= 0)
                ::close(ns);
        }).join();
    }
    ~StationCable()
    {
        if (fd_ >= 0)
            ::close(fd_);
    }
    bool ok() const { return fd_ >= 0; }
    bool plug(bool in)
    {
        ifreq req{};
        std::strncpy(req.ifr_name, "eth0", IFNAMSIZ - 1);
        if (::ioctl(fd_, SIOCGIFFLAGS, &req) != 0)
            return false;
        req.ifr_flags = static_cast<short>(in ? (req.ifr_flags | IFF_UP) : (req.ifr_flags & ~IFF_UP));
        return ::ioctl(fd_, SIOCSIFFLAGS, &req) == 0;
    }

private:
    int fd_ = -1;
};

}  // namespace port_life
