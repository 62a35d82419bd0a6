#include <linux/if.h>
#include <linux/rtnetlink.h>
#include <netlink/netlink.h>

#include <string>

#include "hapi/hapi_phy.h"
#include "notify_fixture.h"
#include "phy_table_fixture.h"

namespace {

// A received message as libnl hands it to the hook: exactly `length` bytes
// of header and body, from netlink port `sender`.
MsgPtr received(uint16_t type, uint32_t sender, int32_t ifIndex, uint32_t flags, uint32_t length = 32)
{
    notify_wire::Bytes b;
    notify_wire::put32(b, length);
    notify_wire::put16(b, type);
    notify_wire::put16(b, NLM_F_REQUEST);
    notify_wire::put32(b, 77);
    notify_wire::put32(b, sender);
    notify_wire::put32(b, 0);
    notify_wire::put32(b, static_cast<uint32_t>(ifIndex));
    notify_wire::put32(b, flags);
    notify_wire::put32(b, 0);
    b.resize(length);
    MsgPtr msg(nlmsg_convert(reinterpret_cast<nlmsghdr *>(b.data())));
    sockaddr_nl src{};
    src.nl_family = AF_NETLINK;
    src.nl_pid = sender;
    nlmsg_set_src(msg.get(), &src);
    return msg;
}

std::string handle(const MsgPtr &msg)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(vekNetlinkMsgValid(msg.get(), nullptr), NL_OK);
    return testing::internal::GetCapturedStdout();
}

class NotifyReceive : public NotifyTableTest {};

TEST_F(NotifyReceive, QueryForAKnownPortIsPrintedAndAnsweredWithoutTouchingItsRecord)
{
    ASSERT_EQ(vekNetlinkNotifySetFlags(5, 0x41, 0), 0);
    const std::string out = handle(received(RTM_GETLINK, 55, 5, 0));
    EXPECT_EQ(out, "vekNetlinkMsgValid nl_msg->pid 55 msg_type:   12\n"
                   "vekNetlinkMsgValid hdr->nlmsg_type:   12\n"
                   "vekNetlinkMsgValid hdr->nlmsg_flags:    1\n"
                   "vekNetlinkMsgValid hdr->nlmsg_pid:   55\n"
                   "vekNetlinkMsgValid hdr->nlmsg_len:   20\n"
                   "vekNetlinkMsgValid hdr->nlmsg_seq:   4d\n"
                   "Looking for intf: 5\n"
                   "Sending msg for intf: 5\n");
    EXPECT_EQ(record(5).changed, 0x41u);
}

TEST_F(NotifyReceive, QueryForAnUnknownPortIsOnlyPrinted)
{
    const std::string out = handle(received(RTM_GETLINK, 55, 42, 0));
    EXPECT_NE(out.find("Looking for intf: 42\nIntf: 42 not found\n"), std::string::npos) << out;
    EXPECT_EQ(out.find("Sending"), std::string::npos);
}

TEST_F(NotifyReceive, MessagesTooShortForALinkBodyAreIgnored)
{
    for (uint32_t length = 16; length < 32; length += 4) {
        SCOPED_TRACE(length);
        const std::string query = handle(received(RTM_GETLINK, 55, 5, 0, length));
        EXPECT_EQ(query.find("Looking"), std::string::npos);
        const std::string report = handle(received(RTM_NEWLINK, 1002, 2, 0x41, length));
        EXPECT_EQ(report.find("shdsl"), std::string::npos);
    }
    EXPECT_TRUE(platform().messages.empty());
}

class NotifyShdsl : public PhyTableTest {
protected:
    void SetUp() override
    {
        PhyTableTest::SetUp();
        add_callback(2, HAPI_CB_LINK_STATE, record);
    }
};

TEST_F(NotifyShdsl, LineDriverReportReachesTheExternalLinkStep)
{
    const std::string up = handle(received(RTM_NEWLINK, 1002, 2, 0x41));
    EXPECT_NE(up.find("vekNetlinkMsgValid nl_msg->pid 1002 msg_type:   10\n"), std::string::npos);
    EXPECT_NE(up.find("RTM_NEWLINK from shdsl driver ifIndex: 2 flags: 41\n"), std::string::npos);
    EXPECT_EQ(calls(), (std::vector<Call>{{0, 2, 1}}));
    EXPECT_TRUE(os().find("port01")->flags & IFF_UP);
    handle(received(RTM_NEWLINK, 1002, 2, 0x01));
    EXPECT_EQ(calls(), (std::vector<Call>{{0, 2, 1}, {0, 2, 2}}));
    EXPECT_FALSE(os().find("port01")->flags & IFF_UP);
}

TEST_F(NotifyShdsl, LinkMessagesFromAnyOtherSenderAreIgnored)
{
    for (uint32_t sender : {0u, 1001u, 1003u})
        handle(received(RTM_NEWLINK, sender, 2, 0x41));
    EXPECT_TRUE(calls().empty());
    EXPECT_FALSE(os().find("port01")->flags & IFF_UP);
}

}  // namespace
