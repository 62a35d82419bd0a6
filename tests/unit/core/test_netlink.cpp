#include <linux/rtnetlink.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <vector>

#include "core/netlink.h"
#include "fake_netlink.h"
#include "unit_fixture.h"

namespace {

using hapi::netlink::Socket;
using Bytes = std::vector<uint8_t>;

class NetlinkSocket : public UnitTest {
protected:
    Socket socket;
    struct {
        nlmsghdr hdr;
        ifinfomsg body;
    } request{};

    void SetUp() override
    {
        UnitTest::SetUp();
        ASSERT_EQ(socket.open(NETLINK_ROUTE, 0, 0), 0);
        request.hdr.nlmsg_len = NLMSG_LENGTH(sizeof request.body);
        request.hdr.nlmsg_type = RTM_GETLINK;
        request.hdr.nlmsg_flags = NLM_F_DUMP;
    }
};

TEST_F(NetlinkSocket, SendCompletesTheHeaderAndKeepsWhatTheCallerSet)
{
    EXPECT_EQ(socket.send(request.hdr, {55, 4}), static_cast<int>(request.hdr.nlmsg_len));
    request.hdr.nlmsg_seq = 77;
    request.hdr.nlmsg_pid = 9;
    socket.send(request.hdr);
    const uint32_t port = socket.port();
    const Bytes body(sizeof(ifinfomsg), 0);
    EXPECT_EQ(fake::netlink().sent,
              (std::vector<fake::Sent>{{socket.fd(), 55, 4, fake::message(RTM_GETLINK, 0x305, 1, port, body)},
                                       {socket.fd(), 0, 0, fake::message(RTM_GETLINK, 0x305, 77, 9, body)}}));
}

TEST_F(NetlinkSocket, OpeningFailsWithTheErrnoAndLeavesTheSocketClosed)
{
    fake::netlink().openErrno = EADDRINUSE;
    EXPECT_EQ(socket.open(NETLINK_ROUTE, 1001, 1), -EADDRINUSE);
    EXPECT_FALSE(socket);
    EXPECT_FALSE(fake::netlink().sockets[0].open);  // the one it replaced
    EXPECT_EQ(socket.send(request.hdr), -EBADF);
}

TEST_F(NetlinkSocket, RequestWaitsForItsOwnAcknowledgement)
{
    struct Case {
        const char *name;
        std::function<std::vector<fake::Datagram>(const Bytes &request)> script;
        int result;
    };
    const Case cases[] = {
        {"acknowledged", [](const Bytes &r) { return std::vector<fake::Datagram>{{fake::ack(r, 0)}}; }, 0},
        {"refused", [](const Bytes &r) { return std::vector<fake::Datagram>{{fake::ack(r, -EPERM)}}; }, -EPERM},
        {"another request's and another sender's answers come first",
         [](const Bytes &r) {
             Bytes earlier = r;
             reinterpret_cast<nlmsghdr *>(earlier.data())->nlmsg_seq -= 1;
             return std::vector<fake::Datagram>{
                 {fake::ack(earlier, -EPERM)}, {fake::ack(r, -EPERM), 1002}, {fake::ack(r, -EBUSY)}};
         },
         -EBUSY},
        {"no answer at all", [](const Bytes &) { return std::vector<fake::Datagram>{}; }, -EAGAIN},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        request.hdr.nlmsg_seq = 0;
        fake::netlink().answer = [&c](fake::NetlinkSocket &from, const fake::Sent &sent) {
            for (fake::Datagram &d : c.script(sent.bytes))
                from.inbox.push_back(std::move(d));
        };
        EXPECT_EQ(socket.request(request.hdr), c.result);
        EXPECT_TRUE(fake::netlink().sockets[0].inbox.empty());
    }
}

TEST_F(NetlinkSocket, DumpHandsOverItsRepliesAndSaysHowItEnded)
{
    auto reply = [](uint32_t seq, uint32_t port, uint16_t flags = NLM_F_MULTI) {
        return fake::message(RTM_NEWLINK, flags, seq, port, Bytes(16, 0xAB));
    };
    auto lengthened = [](Bytes b, int by) {
        reinterpret_cast<nlmsghdr *>(b.data())->nlmsg_len += by;
        return b;
    };
    auto done = [](uint32_t seq, uint32_t port, int error = 0) {
        Bytes payload(sizeof error);
        std::memcpy(payload.data(), &error, sizeof error);
        return fake::message(NLMSG_DONE, NLM_F_MULTI, seq, port, payload);
    };
    using D = std::vector<fake::Datagram>;
    struct Case {
        const char *name;
        std::function<D(uint32_t, uint32_t)> script;
        int result;
        size_t handed;
    };
    const Case cases[] = {
        {"complete, over two buffers",
         [&](uint32_t s, uint32_t p) { return D{{fake::join({reply(s, p), reply(s, p)})}, {fake::join({reply(s, p), done(s, p)})}}; },
         0, 3},
        {"interrupted",
         [&](uint32_t s, uint32_t p) { return D{{fake::join({reply(s, p), reply(s, p, NLM_F_MULTI | NLM_F_DUMP_INTR)})}, {done(s, p)}}; },
         hapi::netlink::kDumpInterrupted, 2},
        {"ended early by the kernel",
         [&](uint32_t s, uint32_t p) { return D{{fake::join({reply(s, p), done(s, p, -ENOBUFS)})}}; }, -ENOBUFS, 1},
        {"refused",
         [&](uint32_t s, uint32_t p) { return D{{fake::ack(fake::message(RTM_GETLINK, 0, s, p), -EOPNOTSUPP)}}; }, -EOPNOTSUPP, 0},
        {"noise of other requests and senders passed over",
         [&](uint32_t s, uint32_t p) {
             return D{{fake::join({reply(s - 1, p), done(s - 1, p)})}, {done(s, p), 55},
                      {fake::join({reply(s, p + 1), reply(s, p), done(s, p)})}};
         },
         0, 1},
        {"truncated buffer", [&](uint32_t s, uint32_t p) { return D{{fake::join({reply(s, p), done(s, p)}), 0, true}}; }, -EMSGSIZE, 0},
        {"message longer than the buffer holds",
         [&](uint32_t s, uint32_t p) { return D{{fake::join({reply(s, p), lengthened(reply(s, p), 4)})}}; }, -EBADMSG, 1},
        {"header shorter than a header",
         [&](uint32_t s, uint32_t p) { return D{{lengthened(reply(s, p), -(int(NLMSG_LENGTH(16)) - 8))}}; }, -EBADMSG, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        request.hdr.nlmsg_seq = 0;
        fake::netlink().sockets[0].inbox.clear();
        fake::answer_with(c.script);
        size_t handed = 0;
        const int result = socket.dump(request.hdr, [&](const nlmsghdr &msg) {
            EXPECT_EQ(msg.nlmsg_type, RTM_NEWLINK);
            EXPECT_EQ(msg.nlmsg_len, NLMSG_LENGTH(16));
            ++handed;
        });
        EXPECT_EQ(result, c.result);
        EXPECT_EQ(handed, c.handed);
    }
}

}  // namespace
