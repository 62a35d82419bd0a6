// The channel with the processes around it: the SHDSL line driver, the
// kernel's own link notifications, and a client written elsewhere.
#include <fcntl.h>
#include <net/if.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>
#include <thread>

#include "hapi/hapi_init.h"
#include "hapi/hapi_phy.h"
#include "notify_board_fixture.h"

namespace {

using notify_wire::Bytes;
using notify_wire::encode;
using notify_wire::kSentFlags;
using notify_wire::seq_of;

bool interface_up(const char *name)
{
    int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq req{};
    std::strncpy(req.ifr_name, name, IFNAMSIZ - 1);
    const bool up = fd >= 0 && ::ioctl(fd, SIOCGIFFLAGS, &req) == 0 && (req.ifr_flags & IFF_UP);
    if (fd >= 0)
        ::close(fd);
    return up;
}

// Logical port 2 on the board's "port01", with the PHY table and a link
// callback that keeps the channel's flags as the boot phase's does.
class NotifyLineDriverTest : public NotifyChannelTest {
protected:
    static constexpr int kPort = 2;

    void SetUpBoard() override
    {
        NotifyChannelTest::SetUpBoard();
        if (HasFatalFailure())
            return;
        for (auto &entry : torvikSwitchingHw.portMap)
            entry = SwitchPortMapEntry{0xFF, 0xFF, -1};
        torvikSwitchingHw.portMap[kPort] = {0, 0, static_cast<int16_t>(if_nametoindex("port01"))};
        numOfPorts = 5;
        portSettings = static_cast<PhyPortSettings *>(std::calloc(5, sizeof(PhyPortSettings)));
        portCallbacks = static_cast<PortCallbackSlots *>(std::calloc(5, sizeof(PortCallbackSlots)));
        for (int p = 0; p < 5; ++p)
            portCallbacks[p].slot[HAPI_CB_LINK_STATE] = new PortCallbackNode{link_changed, nullptr};
        calls = 0;
    }

    // Runs on the channel's receive thread, which must not hold the lock here.
    static int link_changed(uint32_t, uint32_t physical, uint32_t state)
    {
        ++calls;
        EXPECT_EQ(physical, if_nametoindex("port01"));
        return state == HAPI_LINK_UP ? vekNetlinkNotifySetFlags(kPort, 0x41, 1)
                                     : vekNetlinkNotifyClearFlags(kPort, 0x40, 1);
    }
    static inline std::atomic<int> calls{0};

    // Everything sent to the channel before this has been handled.
    void drained()
    {
        netlink_peer::Peer requester(56);
        ASSERT_TRUE(requester.send_link(kChannel, RTM_GETLINK, 900, 56, 1, 0));
        ASSERT_TRUE(requester.receive_from(kChannel, kWithin));
    }
};

TEST_F(NotifyLineDriverTest, LineDriverReportsDriveThePortInterfaceAndItsFlags)
{
    netlink_peer::Peer driver(1002);
    ASSERT_TRUE(driver.ok());
    ASSERT_TRUE(driver.send_link(kChannel, RTM_NEWLINK, 1, 1002, kPort, 0x41));
    EXPECT_TRUE(board::wait_until([] { return interface_up("port01"); }));
    Bytes up = next_published();
    EXPECT_EQ(up, encode({.nlFlags = kSentFlags, .seq = seq_of(up), .ifIndex = kPort, .flags = 0x41,
                          .change = 0x41}));
    EXPECT_EQ(portSettings[kPort].linkState, uint32_t{HAPI_LINK_UP});

    ASSERT_TRUE(driver.send_link(kChannel, RTM_NEWLINK, 2, 1002, kPort, 0x01));
    EXPECT_TRUE(board::wait_until([] { return !interface_up("port01"); }));
    Bytes down = next_published();
    EXPECT_EQ(down, encode({.nlFlags = kSentFlags, .seq = seq_of(down), .ifIndex = kPort, .flags = 0x01,
                            .change = 0x40}));
    drained();
    EXPECT_EQ(calls, 2);
    // No external PHY on this board: the driver gets no acknowledgement.
    EXPECT_FALSE(driver.receive_from(kChannel, 0ms));
}

TEST_F(NotifyLineDriverTest, LinkMessagesOfOtherSendersAreIgnored)
{
    // The kernel announces these changes to the link group, which the channel has joined.
    ASSERT_EQ(board::run("ip link set port02 down && ip link set port02 up").status, 0);
    netlink_peer::Peer impostor(1003);
    ASSERT_TRUE(impostor.send_link(kChannel, RTM_NEWLINK, 1, 1002, kPort, 0x41));
    drained();
    EXPECT_EQ(calls, 0);
    for (int p = 0; p < 5; ++p)
        EXPECT_EQ(portSettings[p].linkState, 0u) << p;
}

// `ip monitor link` in this namespace, its output read through a pipe.
class IpMonitor {
public:
    IpMonitor()
    {
        int fds[2];
        if (::pipe2(fds, O_CLOEXEC) != 0)
            return;
        pid_ = ::fork();
        if (pid_ == 0) {
            ::dup2(fds[1], 1);
            ::dup2(fds[1], 2);
            ::execlp("ip", "ip", "-o", "monitor", "link", static_cast<char *>(nullptr));
            ::_exit(127);
        }
        ::close(fds[1]);
        fd_ = fds[0];
    }
    ~IpMonitor()
    {
        if (pid_ > 0) {
            ::kill(pid_, SIGTERM);
            ::waitpid(pid_, nullptr, 0);
        }
        if (fd_ >= 0)
            ::close(fd_);
    }
    // Output so far, waiting up to `within` for more.
    const std::string &read(std::chrono::milliseconds within)
    {
        pollfd p{fd_, POLLIN, 0};
        char buf[4096];
        if (::poll(&p, 1, static_cast<int>(within.count())) > 0) {
            const ssize_t n = ::read(fd_, buf, sizeof buf);
            if (n > 0)
                text_.append(buf, static_cast<size_t>(n));
        }
        return text_;
    }

private:
    pid_t pid_ = -1;
    int fd_ = -1;
    std::string text_;
};

TEST_F(NotifyChannelTest, IpMonitorDecodesPublishedStatusMessages)
{
    // A port number no interface of the board has, so ip shows it as "if150".
    vekNetlinkNotifyDestroy();
    ASSERT_EQ(vekNetlinkNotifyInit(1), 0);
    vekNetlinkNotifyAddIntf(150);
    IpMonitor monitor;
    // ip subscribes some time after it starts: publish until it shows one.
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    std::string seen;
    bool up = false;
    while (std::chrono::steady_clock::now() < deadline) {
        up = !up;
        ASSERT_EQ(up ? vekNetlinkNotifySetFlags(150, 0x41, 1) : vekNetlinkNotifyClearFlags(150, 0x41, 1), 0);
        seen = monitor.read(50ms);
        if (seen.find("150: if150: <BROADCAST,UP>") != std::string::npos)
            break;
    }
    // Up and running (no NO-CARRIER), and IFF_BROADCAST always set.
    EXPECT_NE(seen.find("150: if150: <BROADCAST,UP>"), std::string::npos) << seen;
}

}  // namespace
