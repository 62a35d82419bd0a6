// Unit fixture for the notification channel: the channel open on the fake
// netlink socket with records 1..8, as the boot phase leaves it, but without
// its receive thread; tests hand datagrams to the receive step themselves.
#pragma once

#include <linux/netlink.h>

#include <string>
#include <vector>

#include "fake_netlink.h"
#include "notify/channel.h"
#include "notify_wire.h"
#include "unit_fixture.h"

namespace notify_test {

inline constexpr int kRecords = 8;

inline void open_records(int count = kRecords)
{
    ASSERT_EQ(hapi::notify::open_channel(count), 0);
    for (int p = 1; p <= count; ++p)
        vekNetlinkNotifyAddIntf(p);
}

// A message as the channel's socket sends it to (port, groups).
inline fake::Sent msg(uint32_t port, uint32_t groups, const notify_wire::Message &m)
{
    return {hapi::notify::channel().socket.fd(), port, groups, notify_wire::encode(m)};
}

// One datagram from `sender` through the channel's receive step; what the handler printed.
inline std::string deliver(const fake::Bytes &datagram, uint32_t sender)
{
    fake::netlink().queue(hapi::notify::channel().socket.fd(), {datagram, sender});
    testing::internal::CaptureStdout();
    hapi::notify::receive_once();
    return testing::internal::GetCapturedStdout();
}

// A link message with sequence number 77 from `sender`, cut to `length` bytes.
inline fake::Bytes link(uint16_t type, uint32_t sender, int32_t ifIndex, uint32_t flags = 0, uint32_t length = 32)
{
    notify_wire::Bytes body(4);  // family, pad, type
    notify_wire::put32(body, static_cast<uint32_t>(ifIndex));
    notify_wire::put32(body, flags);
    notify_wire::put32(body, 0);
    fake::Bytes b = fake::message(type, NLM_F_REQUEST, 77, sender, body);
    b.resize(length);
    reinterpret_cast<nlmsghdr *>(b.data())->nlmsg_len = length;
    return b;
}

}  // namespace notify_test

class NotifyTest : public UnitTest {
protected:
    void SetUp() override
    {
        UnitTest::SetUp();
        notify_test::open_records();
    }
    void TearDown() override { vekNetlinkNotifyDestroy(); }
    static std::vector<fake::Sent> &sent() { return fake::netlink().sent; }
};
