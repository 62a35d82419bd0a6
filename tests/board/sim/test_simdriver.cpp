// The substitute port driver and the netlink peers, seen from a process of
// the board, as the library sees them.
#include <linux/ethtool.h>
#include <linux/netlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>

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

uint32_t glink(const std::string &port)
{
    ethtool_value v{ETHTOOL_GLINK, 7};
    return board::ethtool(port, &v) == 0 ? v.data : 7;
}

// The library's dump buffer: the ethtool_regs header and 2956 data bytes,
// addressed as words from the start of the buffer.
struct Dump {
    std::array<uint32_t, 3 + kDumpLen / 4> words{};
    int fetch(const std::string &port)
    {
        words.fill(0xdeadbeef);
        words[0] = ETHTOOL_GREGS;
        words[2] = kDumpLen;
        return board::ethtool(port, words.data());
    }
    uint32_t rxPackets() const { return words[83]; }
    uint32_t rxOctets() const { return words[87]; }
    uint32_t txPackets() const { return words[86]; }
    uint32_t txOctets() const { return words[89]; }
};

class SimDriverTest : public BoardTest {};

}  // namespace

TEST_F(SimDriverTest, PortStartsAt100FullWithNegotiationOnTwistedPair)
{
    const ethtool_cmd c = gset("port02");
    EXPECT_EQ(ethtool_cmd_speed(&c), 100u);
    EXPECT_EQ(c.duplex, DUPLEX_FULL);
    EXPECT_EQ(c.autoneg, AUTONEG_ENABLE);
    EXPECT_EQ(c.port, PORT_TP);
    EXPECT_EQ(c.eth_tp_mdix_ctrl, ETH_TP_MDI_AUTO);
    const uint32_t modes = SUPPORTED_10baseT_Half | SUPPORTED_10baseT_Full | SUPPORTED_100baseT_Half |
                           SUPPORTED_100baseT_Full | SUPPORTED_1000baseT_Full;
    EXPECT_EQ(c.supported & modes, modes);
    EXPECT_EQ(c.supported & SUPPORTED_Autoneg, static_cast<uint32_t>(SUPPORTED_Autoneg));
    EXPECT_EQ(c.advertising & modes, modes);
}

TEST_F(SimDriverTest, EthtoolToolChangesWhatAnotherProcessReads)
{
    ASSERT_EQ(board::run("ethtool -s port00 speed 100 duplex half").status, 0);
    ethtool_cmd c = gset("port00");
    EXPECT_EQ(ethtool_cmd_speed(&c), 100u);
    EXPECT_EQ(c.duplex, DUPLEX_HALF);

    ASSERT_EQ(board::run("ethtool -s port00 autoneg off").status, 0);
    ASSERT_EQ(board::run("ethtool -s port00 mdix on").status, 0);
    ASSERT_EQ(board::run("ethtool -s port00 speed 10 duplex full").status, 0);
    c = gset("port00");
    EXPECT_EQ(c.autoneg, AUTONEG_DISABLE);
    EXPECT_EQ(c.eth_tp_mdix_ctrl, ETH_TP_MDI_X);
    EXPECT_EQ(c.eth_tp_mdix, ETH_TP_MDI_X);
    EXPECT_EQ(ethtool_cmd_speed(&c), 10u);
    EXPECT_EQ(c.duplex, DUPLEX_FULL);
    // Only port00 changed.
    EXPECT_EQ(gset("port01").duplex, DUPLEX_FULL);
}

TEST_F(SimDriverTest, SettingsWrittenHereAreSeenByTheEthtoolTool)
{
    ethtool_cmd c = gset("port03");
    c.cmd = ETHTOOL_SSET;
    c.advertising = ADVERTISED_100baseT_Full | ADVERTISED_Autoneg | ADVERTISED_TP;
    ASSERT_EQ(board::ethtool("port03", &c), 0);
    EXPECT_EQ(board::run("ethtool port03 | grep -A1 'Advertised link modes'").output,
              "\tAdvertised link modes:  100baseT/Full \n\tAdvertised pause frame use: No\n");
}

TEST_F(SimDriverTest, ModesThePhyCannotRunAreRefusedAndChangeNothing)
{
    ethtool_cmd c = gset("port01");
    c.cmd = ETHTOOL_SSET;
    ethtool_cmd_speed_set(&c, 1000);
    c.duplex = DUPLEX_HALF;
    EXPECT_EQ(board::ethtool("port01", &c), EINVAL);
    c = gset("port01");
    c.cmd = ETHTOOL_SSET;
    c.port = PORT_FIBRE;
    EXPECT_EQ(board::ethtool("port01", &c), EINVAL);
    c = gset("port01");
    EXPECT_EQ(ethtool_cmd_speed(&c), 100u);
    EXPECT_EQ(c.duplex, DUPLEX_FULL);
    EXPECT_EQ(c.port, PORT_TP);
}

TEST_F(SimDriverTest, UnpluggedPortReportsUnknownModeOnlyWhileNegotiating)
{
    ASSERT_TRUE(board::link(3, false));
    ASSERT_TRUE(board::wait_until([] { return glink("port02") == 0; }, 1s));
    ethtool_cmd c = gset("port02");
    EXPECT_EQ(c.duplex, DUPLEX_UNKNOWN);
    EXPECT_EQ(ethtool_cmd_speed(&c), static_cast<uint32_t>(SPEED_UNKNOWN));
    // Writing back what was read keeps the stored mode.
    c.cmd = ETHTOOL_SSET;
    c.autoneg = AUTONEG_DISABLE;
    ASSERT_EQ(board::ethtool("port02", &c), 0);
    c = gset("port02");
    EXPECT_EQ(ethtool_cmd_speed(&c), 100u);
    EXPECT_EQ(c.duplex, DUPLEX_FULL);
}

TEST_F(SimDriverTest, PauseParametersRoundTrip)
{
    ethtool_pauseparam p{ETHTOOL_GPAUSEPARAM};
    ASSERT_EQ(board::ethtool("port01", &p), 0);
    EXPECT_EQ(p.autoneg + p.rx_pause + p.tx_pause, 0u);
    for (uint32_t on : {1u, 0u}) {
        ethtool_pauseparam set{ETHTOOL_SPAUSEPARAM, on, on, on};
        ASSERT_EQ(board::ethtool("port01", &set), 0);
        ethtool_pauseparam get{ETHTOOL_GPAUSEPARAM, 9, 9, 9};
        ASSERT_EQ(board::ethtool("port01", &get), 0);
        EXPECT_EQ(get.autoneg, on);
        EXPECT_EQ(get.rx_pause, on);
        EXPECT_EQ(get.tx_pause, on);
    }
    EXPECT_EQ(board::run("ethtool -A port01 rx on tx on autoneg on").status, 0);
    ethtool_pauseparam get{ETHTOOL_GPAUSEPARAM};
    ASSERT_EQ(board::ethtool("port01", &get), 0);
    EXPECT_EQ(get.autoneg + get.rx_pause + get.tx_pause, 3u);
}

TEST_F(SimDriverTest, RegisterDumpFitsTheLibrarysBuffer)
{
    ethtool_drvinfo info{ETHTOOL_GDRVINFO};
    ASSERT_EQ(board::ethtool("port00", &info), 0);
    EXPECT_EQ(info.regdump_len, kDumpLen);
    // A request for more than the driver has gets the driver's length.
    std::vector<uint32_t> big(3 + 2 * kDumpLen / 4, 0xdeadbeef);
    big[0] = ETHTOOL_GREGS;
    big[2] = 2 * kDumpLen;
    ASSERT_EQ(board::ethtool("port00", big.data()), 0);
    EXPECT_EQ(big[2], kDumpLen);
    EXPECT_EQ(big[3 + kDumpLen / 4], 0xdeadbeefu);
}

TEST_F(SimDriverTest, TrafficCountsAtTheStatisticsWordsAndClearTakesABaseline)
{
    Dump d0, d1;
    ASSERT_EQ(d0.fetch("port00"), 0);
    ASSERT_EQ(d1.fetch("port01"), 0);
    ASSERT_TRUE(board::ping(1, 2, 3));
    Dump a0, a1;
    ASSERT_EQ(a0.fetch("port00"), 0);
    ASSERT_EQ(a1.fetch("port01"), 0);
    // Station 1's requests enter port00 and leave port01; the replies go back.
    EXPECT_GE(a0.rxPackets() - d0.rxPackets(), 3u);
    EXPECT_GE(a0.txPackets() - d0.txPackets(), 3u);
    EXPECT_GE(a1.rxPackets() - d1.rxPackets(), 3u);
    EXPECT_GE(a1.txPackets() - d1.txPackets(), 3u);
    EXPECT_GE(a0.rxOctets() - d0.rxOctets(), 3u * 98);  // ICMP echo frames of 98 bytes
    EXPECT_GE(a1.txOctets() - d1.txOctets(), 3u * 98);
    EXPECT_EQ(a0.rxPackets(), a0.words[103]);

    const uint64_t kernelBefore = board::counter("port00", "rx_packets").value_or(0);
    std::array<uint32_t, 2> clear{kClearCounters, 0};
    ASSERT_EQ(board::ethtool("port00", clear.data()), 0);
    Dump z;
    ASSERT_EQ(z.fetch("port00"), 0);
    for (unsigned w : {83u, 86u, 87u, 89u, 103u})
        EXPECT_EQ(z.words[w], 0u) << "word " << w;
    ASSERT_TRUE(board::ping(1, 2, 2));
    EXPECT_GE(board::counter("port00", "rx_packets").value_or(0), kernelBefore + 2);
    Dump after;
    ASSERT_EQ(after.fetch("port00"), 0);
    EXPECT_GE(after.rxPackets(), 2u);
    EXPECT_LT(after.rxPackets(), a0.rxPackets() + 2);
    // The other port was not cleared.
    Dump other;
    ASSERT_EQ(other.fetch("port01"), 0);
    EXPECT_GE(other.txPackets(), a1.txPackets());
}

TEST_F(SimDriverTest, LinkFollowsTheStationsCable)
{
    EXPECT_EQ(glink("port01"), 1u);
    ASSERT_TRUE(board::link(2, false));
    EXPECT_TRUE(board::wait_until([] { return glink("port01") == 0; }, 1s));
    ASSERT_TRUE(board::link(2, true));
    EXPECT_TRUE(board::wait_until([] { return glink("port01") == 1; }, 1s));
}

TEST_F(SimDriverTest, RequestsTheDriverDoesNotKnowReachTheKernel)
{
    ethtool_value csum{ETHTOOL_GTXCSUM, 7};
    EXPECT_EQ(board::ethtool("port00", &csum), 0);  // veth answers this one
    EXPECT_EQ(csum.data, 1u);
    std::array<uint32_t, 2> clear{kClearCounters, 0};
    EXPECT_EQ(board::ethtool("eth1", clear.data()), EOPNOTSUPP);  // not a port
    ethtool_cmd c{ETHTOOL_GSET};
    EXPECT_EQ(board::ethtool("port07", &c), ENODEV);
}

namespace {

// A 1040-byte message as the library sends it to a peer: header, payload at 16.
std::vector<uint8_t> peer_message(const std::vector<uint8_t> &payload)
{
    std::vector<uint8_t> m(1040, 0);
    const uint32_t len = 1040, pid = static_cast<uint32_t>(::getpid());
    std::memcpy(m.data(), &len, 4);
    std::memcpy(m.data() + 12, &pid, 4);
    std::copy(payload.begin(), payload.end(), m.begin() + 16);
    return m;
}

int open_peer(int protocol)
{
    const int fd = ::socket(AF_NETLINK, SOCK_RAW, protocol);
    if (fd < 0)
        return fd;
    sockaddr_nl self{};
    self.nl_family = AF_NETLINK;
    self.nl_pid = static_cast<uint32_t>(::getpid());
    if (::bind(fd, reinterpret_cast<sockaddr *>(&self), sizeof self) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

ssize_t send_to_kernel(int fd, std::vector<uint8_t> &m)
{
    sockaddr_nl kernel{};
    kernel.nl_family = AF_NETLINK;
    iovec iov{m.data(), m.size()};
    msghdr msg{};
    msg.msg_name = &kernel;
    msg.msg_namelen = sizeof kernel;
    msg.msg_iov = &iov;
    msg.msg_iovlen = 1;
    return ::sendmsg(fd, &msg, 0);
}

}  // namespace

TEST_F(SimDriverTest, IngressFilterPortMapReachesTheRunDirectory)
{
    const int fd = open_peer(31);
    ASSERT_GE(fd, 0) << std::strerror(errno);
    auto m = peer_message({0x0a, 0x00, 0x00, 0x80});
    EXPECT_EQ(send_to_kernel(fd, m), 1040);
    EXPECT_EQ(board::read_file(board::run_file("ingress_filter_portmap")), "0x8000000a\n");
    EXPECT_EQ(board::read_file(board::run_file("nl31.bin")), std::string(m.begin(), m.end()));
    ::close(fd);
}

TEST_F(SimDriverTest, PortPriorityMapReachesTheRunDirectory)
{
    const int fd = open_peer(30);
    ASSERT_GE(fd, 0) << std::strerror(errno);
    for (uint8_t first : {3, 5}) {
        auto m = peer_message({first, 0, 1, 2, 7, 6, 4});
        EXPECT_EQ(send_to_kernel(fd, m), 1040);
    }
    EXPECT_EQ(board::read_file(board::run_file("port_priority_map")), "5 0 1 2 7 6 4\n");
    const std::string pid = std::to_string(::getpid());
    EXPECT_EQ(board::read_file(board::run_file("nl30.log")),
              "len 1040 pid " + pid + " map 3 0 1 2 7 6 4\nlen 1040 pid " + pid + " map 5 0 1 2 7 6 4\n");
    ::close(fd);
    // The descriptor number, reused by an ordinary socket, is ordinary again.
    const int udp = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_nl nl{};
    nl.nl_family = AF_NETLINK;
    EXPECT_NE(::bind(udp, reinterpret_cast<sockaddr *>(&nl), sizeof nl), 0);
    ::close(udp);
}

TEST_F(SimDriverTest, OnlyTheEthtoolToolLosesGenericNetlink)
{
    const int fd = ::socket(AF_NETLINK, SOCK_RAW, NETLINK_GENERIC);
    EXPECT_GE(fd, 0);
    ::close(fd);
}
