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

// The library's dump buffer: the ethtool_regs header and the data words,
// addressed as words from the start of the buffer; `len` may ask for more.
struct Dump {
    std::vector<uint32_t> words;
    int fetch(const std::string &port, uint32_t len = kDumpLen)
    {
        words.assign(3 + len / 4, 0xdeadbeef);
        words[0] = ETHTOOL_GREGS;
        words[2] = len;
        return board::ethtool(port, words.data());
    }
    uint32_t rxPackets() const { return words[83]; }
    uint32_t txPackets() const { return words[86]; }
};

class SimDriverTest : public BoardTest {};

}  // namespace

TEST_F(SimDriverTest, SettingsAgreeWithTheEthtoolTool)
{
    ethtool_cmd c = gset("port02");
    EXPECT_EQ(ethtool_cmd_speed(&c), 100u);
    EXPECT_EQ(c.duplex, DUPLEX_FULL);
    EXPECT_EQ(c.autoneg, AUTONEG_ENABLE);
    EXPECT_EQ(c.port, PORT_TP);
    EXPECT_EQ(c.eth_tp_mdix_ctrl, ETH_TP_MDI_AUTO);
    const uint32_t modes = SUPPORTED_10baseT_Half | SUPPORTED_10baseT_Full | SUPPORTED_100baseT_Half |
                           SUPPORTED_100baseT_Full | SUPPORTED_1000baseT_Full;
    EXPECT_EQ(c.supported & (modes | SUPPORTED_Autoneg), modes | SUPPORTED_Autoneg);
    EXPECT_EQ(c.advertising & modes, modes);

    // What the tool writes, another process reads; only that port changes.
    ASSERT_EQ(board::run("ethtool -s port00 autoneg off && ethtool -s port00 mdix on && "
                         "ethtool -s port00 speed 10 duplex half").status, 0);
    c = gset("port00");
    EXPECT_EQ(c.autoneg, AUTONEG_DISABLE);
    EXPECT_EQ(c.eth_tp_mdix_ctrl, ETH_TP_MDI_X);
    EXPECT_EQ(c.eth_tp_mdix, ETH_TP_MDI_X);
    EXPECT_EQ(ethtool_cmd_speed(&c), 10u);
    EXPECT_EQ(c.duplex, DUPLEX_HALF);
    EXPECT_EQ(gset("port01").duplex, DUPLEX_FULL);

    // What this process writes, the tool shows.
    c = gset("port03");
    c.cmd = ETHTOOL_SSET;
    c.advertising = ADVERTISED_100baseT_Full | ADVERTISED_Autoneg | ADVERTISED_TP;
    ASSERT_EQ(board::ethtool("port03", &c), 0);
    EXPECT_EQ(board::run("ethtool port03 | grep -A1 'Advertised link modes'").output,
              "\tAdvertised link modes:  100baseT/Full \n\tAdvertised pause frame use: No\n");

    ethtool_pauseparam p{ETHTOOL_GPAUSEPARAM, 9, 9, 9};
    ASSERT_EQ(board::ethtool("port01", &p), 0);
    EXPECT_EQ(p.autoneg + p.rx_pause + p.tx_pause, 0u);
    EXPECT_EQ(board::run("ethtool -A port01 rx on tx on autoneg on").status, 0);
    ASSERT_EQ(board::ethtool("port01", &p), 0);
    EXPECT_EQ(p.autoneg + p.rx_pause + p.tx_pause, 3u);
}

TEST_F(SimDriverTest, ModesThePhyCannotRunAreRefusedAndChangeNothing)
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
        c = gset("port01");
        EXPECT_EQ(ethtool_cmd_speed(&c), 100u);
        EXPECT_EQ(c.duplex, DUPLEX_FULL);
        EXPECT_EQ(c.port, PORT_TP);
    }
}

// Unplugged, the port loses carrier and link, and reports an unknown mode
// while negotiating; writing back what was read keeps the stored mode.
TEST_F(SimDriverTest, UnpluggedPortLosesCarrierAndReportsUnknownModeOnlyWhileNegotiating)
{
    auto carrier = [] { return board::read_file("/sys/class/net/port02/carrier").value_or("?"); };
    EXPECT_EQ(glink("port02"), 1u);
    ASSERT_TRUE(board::link(3, false));
    ASSERT_TRUE(board::wait_until([&] { return carrier() == "0\n" && glink("port02") == 0; }, 1s));
    ethtool_cmd c = gset("port02");
    EXPECT_EQ(c.duplex, DUPLEX_UNKNOWN);
    EXPECT_EQ(ethtool_cmd_speed(&c), static_cast<uint32_t>(SPEED_UNKNOWN));
    c.cmd = ETHTOOL_SSET;
    c.autoneg = AUTONEG_DISABLE;
    ASSERT_EQ(board::ethtool("port02", &c), 0);
    c = gset("port02");
    EXPECT_EQ(ethtool_cmd_speed(&c), 100u);
    EXPECT_EQ(c.duplex, DUPLEX_FULL);
    ASSERT_TRUE(board::link(3, true));
    EXPECT_TRUE(board::wait_until([&] { return carrier() == "1\n" && glink("port02") == 1; }, 1s));
}

TEST_F(SimDriverTest, RegisterDumpCountsTrafficAndClearTakesABaseline)
{
    ethtool_drvinfo info{ETHTOOL_GDRVINFO};
    ASSERT_EQ(board::ethtool("port00", &info), 0);
    EXPECT_EQ(info.regdump_len, kDumpLen);
    Dump big;  // asking for more than the driver has gets the driver's length
    ASSERT_EQ(big.fetch("port00", 2 * kDumpLen), 0);
    EXPECT_EQ(big.words[2], kDumpLen);
    EXPECT_EQ(big.words[3 + kDumpLen / 4], 0xdeadbeefu);

    Dump d0, d1, a0, a1;
    ASSERT_EQ(d0.fetch("port00"), 0);
    ASSERT_EQ(d1.fetch("port01"), 0);
    const uint64_t kernelBefore = board::counter("port00", "rx_packets").value_or(0);
    ASSERT_TRUE(board::ping(1, 2, 3));
    EXPECT_GE(board::counter("port00", "rx_packets").value_or(0), kernelBefore + 3);
    ASSERT_EQ(a0.fetch("port00"), 0);
    ASSERT_EQ(a1.fetch("port01"), 0);
    // Station 1's requests enter port00 and leave port01; the replies go back.
    EXPECT_GE(a0.rxPackets() - d0.rxPackets(), 3u);
    EXPECT_GE(a0.txPackets() - d0.txPackets(), 3u);
    EXPECT_GE(a1.rxPackets() - d1.rxPackets(), 3u);
    EXPECT_GE(a1.txPackets() - d1.txPackets(), 3u);
    EXPECT_GE(a0.words[87] - d0.words[87], 3u * 98);  // rx octets: ICMP echo frames of 98 bytes
    EXPECT_GE(a1.words[89] - d1.words[89], 3u * 98);  // tx octets
    EXPECT_EQ(a0.rxPackets(), a0.words[103]);

    std::array<uint32_t, 2> clear{kClearCounters, 0};
    ASSERT_EQ(board::ethtool("port00", clear.data()), 0);
    Dump z, after, other;
    ASSERT_EQ(z.fetch("port00"), 0);
    for (unsigned w : {83u, 86u, 87u, 89u, 103u})
        EXPECT_EQ(z.words[w], 0u) << "word " << w;
    ASSERT_TRUE(board::ping(1, 2, 2));
    ASSERT_EQ(after.fetch("port00"), 0);
    EXPECT_GE(after.rxPackets(), 2u);
    EXPECT_LT(after.rxPackets(), a0.rxPackets() + 2);
    ASSERT_EQ(other.fetch("port01"), 0);  // not cleared
    EXPECT_GE(other.txPackets(), a1.txPackets());
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
    // Only the ethtool tool loses generic netlink.
    const int fd = ::socket(AF_NETLINK, SOCK_RAW, NETLINK_GENERIC);
    EXPECT_GE(fd, 0);
    ::close(fd);
}

// 1040-byte messages as the library sends them to the protocol 31 and 30
// peers (header, payload at 16) land in the run directory.
TEST_F(SimDriverTest, PeerMessagesReachTheRunDirectory)
{
    auto send = [](int protocol, std::vector<std::vector<uint8_t>> payloads) {
        const int fd = ::socket(AF_NETLINK, SOCK_RAW, protocol);
        sockaddr_nl self{AF_NETLINK, 0, static_cast<uint32_t>(::getpid()), 0};
        EXPECT_EQ(::bind(fd, reinterpret_cast<sockaddr *>(&self), sizeof self), 0) << std::strerror(errno);
        std::string sent;
        for (const auto &payload : payloads) {
            std::vector<uint8_t> m(1040, 0);
            const uint32_t len = 1040, pid = self.nl_pid;
            std::memcpy(m.data(), &len, 4);
            std::memcpy(m.data() + 12, &pid, 4);
            std::copy(payload.begin(), payload.end(), m.begin() + 16);
            sockaddr_nl kernel{AF_NETLINK, 0, 0, 0};
            iovec iov{m.data(), m.size()};
            msghdr msg{&kernel, sizeof kernel, &iov, 1, nullptr, 0, 0};  // as libnl sends
            EXPECT_EQ(::sendmsg(fd, &msg, 0), 1040);
            sent.assign(m.begin(), m.end());
        }
        ::close(fd);
        return sent;
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
    sockaddr_nl nl{};
    nl.nl_family = AF_NETLINK;
    EXPECT_NE(::bind(udp, reinterpret_cast<sockaddr *>(&nl), sizeof nl), 0);
    ::close(udp);
}
