// The substitute port driver and the netlink peers, seen from a process of
// the board, as the library sees them.
#include <linux/ethtool.h>
#include <linux/netlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <tuple>

#include "board_harness.h"

using namespace std::chrono_literals;

namespace {

constexpr uint32_t kClearCounters = 0x52;
constexpr uint32_t kDumpLen = 2956;

ethtool_cmd gset(const std::string &port)
{
    ethtool_cmd c{ETHTOOL_GSET};
    EXPECT_EQ(board::ethtool(port, &c), 0) << "GSET " << port;
    return c;
}

// speed, duplex, autoneg, port, MDI-X control
using Mode = std::tuple<uint32_t, int, int, int, int>;
Mode mode(const std::string &port)
{
    ethtool_cmd c = gset(port);
    return {ethtool_cmd_speed(&c), c.duplex, c.autoneg, c.port, c.eth_tp_mdix_ctrl};
}
const Mode kDefault{100, DUPLEX_FULL, AUTONEG_ENABLE, PORT_TP, ETH_TP_MDI_AUTO};

uint32_t glink(const std::string &port)
{
    ethtool_value v{ETHTOOL_GLINK, 7};
    return board::ethtool(port, &v) == 0 ? v.data : 7;
}

// The library's dump buffer: the ethtool_regs header and the data words,
// addressed as words from the start of the buffer; `len` may ask for more.
std::vector<uint32_t> dump(const std::string &port, uint32_t len = kDumpLen)
{
    std::vector<uint32_t> words(3 + len / 4, 0xdeadbeef);
    words[0] = ETHTOOL_GREGS;
    words[2] = len;
    EXPECT_EQ(board::ethtool(port, words.data()), 0) << "GREGS " << port;
    return words;
}
constexpr size_t kRxPackets = 83, kTxPackets = 86, kRxOctets = 87, kTxOctets = 89, kRxPackets2 = 103;

class SimDriverTest : public BoardTest {};

}  // namespace

TEST_F(SimDriverTest, SettingsAgreeWithTheEthtoolTool)
{
    EXPECT_EQ(mode("port02"), kDefault);
    ethtool_cmd c = gset("port02");
    const uint32_t modes = SUPPORTED_10baseT_Half | SUPPORTED_10baseT_Full | SUPPORTED_100baseT_Half |
                           SUPPORTED_100baseT_Full | SUPPORTED_1000baseT_Full;
    EXPECT_EQ(c.supported & (modes | SUPPORTED_Autoneg), modes | SUPPORTED_Autoneg);
    EXPECT_EQ(c.advertising & modes, modes);

    // What the tool writes, another process reads; only that port changes.
    ASSERT_EQ(board::run("ethtool -s port00 autoneg off && ethtool -s port00 mdix on && "
                         "ethtool -s port00 speed 10 duplex half").status, 0);
    EXPECT_EQ(mode("port00"), Mode(10, DUPLEX_HALF, AUTONEG_DISABLE, PORT_TP, ETH_TP_MDI_X));
    EXPECT_EQ(gset("port00").eth_tp_mdix, ETH_TP_MDI_X);
    EXPECT_EQ(mode("port01"), kDefault);

    // What this process writes, the tool shows.
    c = gset("port03");
    c.cmd = ETHTOOL_SSET;
    c.advertising = ADVERTISED_100baseT_Full | ADVERTISED_Autoneg | ADVERTISED_TP;
    ASSERT_EQ(board::ethtool("port03", &c), 0);
    EXPECT_EQ(board::run("ethtool port03 | grep -A1 'Advertised link modes'").output,
              "\tAdvertised link modes:  100baseT/Full \n\tAdvertised pause frame use: No\n");
}

// Modes the PHY cannot run are refused and change nothing; requests the
// driver does not know reach the kernel.
TEST_F(SimDriverTest, RefusedAndForeignRequests)
{
    struct Case {
        const char *what;
        uint32_t speed;
        uint8_t duplex, port;
    };
    for (const Case &k : {Case{"1000 half", 1000, DUPLEX_HALF, PORT_TP}, Case{"fibre", 100, DUPLEX_FULL, PORT_FIBRE}}) {
        SCOPED_TRACE(k.what);
        ethtool_cmd c = gset("port01");
        c.cmd = ETHTOOL_SSET;
        ethtool_cmd_speed_set(&c, k.speed);
        c.duplex = k.duplex;
        c.port = k.port;
        EXPECT_EQ(board::ethtool("port01", &c), EINVAL);
        EXPECT_EQ(mode("port01"), kDefault);
    }
    ethtool_value csum{ETHTOOL_GTXCSUM, 7};
    EXPECT_EQ(board::ethtool("port00", &csum), 0);  // veth answers this one
    EXPECT_EQ(csum.data, 1u);
    std::array<uint32_t, 2> clear{kClearCounters, 0};
    EXPECT_EQ(board::ethtool("eth1", clear.data()), EOPNOTSUPP);  // not a port
    ethtool_cmd c{ETHTOOL_GSET};
    EXPECT_EQ(board::ethtool("port07", &c), ENODEV);
    // Only the ethtool tool loses generic netlink.
    const int fd = ::socket(AF_NETLINK, SOCK_RAW, NETLINK_GENERIC);
    EXPECT_GE(fd, 0);
    ::close(fd);
}

// Unplugged, the port loses carrier and link, and reports an unknown mode
// while negotiating; writing back what was read keeps the stored mode.
TEST_F(SimDriverTest, UnpluggedPortLosesCarrierAndReportsUnknownModeOnlyWhileNegotiating)
{
    auto carrier = [] { return board::read_file("/sys/class/net/port02/carrier").value_or("?"); };
    EXPECT_EQ(glink("port02"), 1u);
    ASSERT_TRUE(board::link(3, false));
    ASSERT_TRUE(board::wait_until([&] { return carrier() == "0\n" && glink("port02") == 0; }, 1s));
    EXPECT_EQ(mode("port02"), Mode(SPEED_UNKNOWN, DUPLEX_UNKNOWN, AUTONEG_ENABLE, PORT_TP, ETH_TP_MDI_AUTO));
    ethtool_cmd c = gset("port02");
    c.cmd = ETHTOOL_SSET;
    c.autoneg = AUTONEG_DISABLE;
    ASSERT_EQ(board::ethtool("port02", &c), 0);
    EXPECT_EQ(mode("port02"), Mode(100, DUPLEX_FULL, AUTONEG_DISABLE, PORT_TP, ETH_TP_MDI_AUTO));
    ASSERT_TRUE(board::link(3, true));
    EXPECT_TRUE(board::wait_until([&] { return carrier() == "1\n" && glink("port02") == 1; }, 1s));
}

TEST_F(SimDriverTest, RegisterDumpCountsTrafficAndClearTakesABaseline)
{
    ethtool_drvinfo info{ETHTOOL_GDRVINFO};
    ASSERT_EQ(board::ethtool("port00", &info), 0);
    EXPECT_EQ(info.regdump_len, kDumpLen);
    const auto big = dump("port00", 2 * kDumpLen);  // asking for more gets the driver's length
    EXPECT_EQ(big[2], kDumpLen);
    EXPECT_EQ(big[3 + kDumpLen / 4], 0xdeadbeefu);

    const auto d0 = dump("port00"), d1 = dump("port01");
    const uint64_t kernelBefore = board::counter("port00", "rx_packets").value_or(0);
    ASSERT_TRUE(board::ping(1, 2, 3));
    EXPECT_GE(board::counter("port00", "rx_packets").value_or(0), kernelBefore + 3);
    const auto a0 = dump("port00"), a1 = dump("port01");
    // Station 1's requests enter port00 and leave port01; the replies go back.
    for (size_t w : {kRxPackets, kTxPackets}) {
        EXPECT_GE(a0[w] - d0[w], 3u) << "word " << w;
        EXPECT_GE(a1[w] - d1[w], 3u) << "word " << w;
    }
    EXPECT_GE(a0[kRxOctets] - d0[kRxOctets], 3u * 98);  // ICMP echo frames of 98 bytes
    EXPECT_GE(a1[kTxOctets] - d1[kTxOctets], 3u * 98);
    EXPECT_EQ(a0[kRxPackets], a0[kRxPackets2]);

    std::array<uint32_t, 2> clear{kClearCounters, 0};
    ASSERT_EQ(board::ethtool("port00", clear.data()), 0);
    const auto z = dump("port00");
    for (size_t w : {kRxPackets, kTxPackets, kRxOctets, kTxOctets, kRxPackets2})
        EXPECT_EQ(z[w], 0u) << "word " << w;
    EXPECT_GE(dump("port01")[kTxPackets], a1[kTxPackets]);  // not cleared
}

// 1040-byte messages as the library sends them to the protocol 31 and 30
// peers (header, payload at 16) land in the run directory.
TEST_F(SimDriverTest, PeerMessagesReachTheRunDirectory)
{
    auto send = [](int protocol, std::vector<std::vector<uint8_t>> payloads) {
        const int fd = ::socket(AF_NETLINK, SOCK_RAW, protocol);
        sockaddr_nl self{AF_NETLINK, 0, static_cast<uint32_t>(::getpid()), 0}, kernel{AF_NETLINK, 0, 0, 0};
        EXPECT_EQ(::bind(fd, reinterpret_cast<sockaddr *>(&self), sizeof self), 0) << std::strerror(errno);
        std::vector<uint8_t> m(1040, 0);
        for (const auto &payload : payloads) {
            const uint32_t header[4] = {1040, 0, 0, self.nl_pid};
            std::memcpy(m.data(), header, sizeof header);
            std::copy(payload.begin(), payload.end(), m.begin() + 16);
            iovec iov{m.data(), m.size()};
            msghdr msg{&kernel, sizeof kernel, &iov, 1, nullptr, 0, 0};  // as libnl sends
            EXPECT_EQ(::sendmsg(fd, &msg, 0), 1040);
        }
        ::close(fd);
        return std::string(m.begin(), m.end());
    };
    const std::string m31 = send(31, {{0x0a, 0x00, 0x00, 0x80}});
    EXPECT_EQ(board::read_file(board::run_file("ingress_filter_portmap")), "0x8000000a\n");
    EXPECT_EQ(board::read_file(board::run_file("nl31.bin")), m31);

    send(30, {{3, 0, 1, 2, 7, 6, 4}, {5, 0, 1, 2, 7, 6, 4}});
    EXPECT_EQ(board::read_file(board::run_file("port_priority_map")), "5 0 1 2 7 6 4\n");
    const std::string pid = std::to_string(::getpid());
    EXPECT_EQ(board::read_file(board::run_file("nl30.log")),
              "len 1040 pid " + pid + " map 3 0 1 2 7 6 4\nlen 1040 pid " + pid + " map 5 0 1 2 7 6 4\n");
    // The descriptor number, reused by an ordinary socket, is ordinary again.
    const int udp = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_nl nl{AF_NETLINK, 0, 0, 0};
    EXPECT_NE(::bind(udp, reinterpret_cast<sockaddr *>(&nl), sizeof nl), 0);
    ::close(udp);
}
