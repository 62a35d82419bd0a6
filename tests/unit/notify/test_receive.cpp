#include <linux/if.h>
#include <linux/rtnetlink.h>

#include <regex>
#include <string>

#include "notify_fixture.h"
#include "phy_table_fixture.h"

namespace {

using notify_test::deliver;
using notify_test::link;
using notify_test::msg;

using NotifyReceive = NotifyTest;

// A query is answered to the requester with its sequence number, pending state untouched.
TEST_F(NotifyReceive, QueriesArePrintedAndAnsweredToTheRequester)
{
    ASSERT_EQ(vekNetlinkNotifySetFlags(5, 0x41, 0), 0);
    EXPECT_EQ(deliver(link(RTM_GETLINK, 55, 5), 55), "vekNetlinkMsgValid nl_msg->pid 55 msg_type:   12\n"
                                                      "vekNetlinkMsgValid hdr->nlmsg_type:   12\n"
                                                      "vekNetlinkMsgValid hdr->nlmsg_flags:    1\n"
                                                      "vekNetlinkMsgValid hdr->nlmsg_pid:   55\n"
                                                      "vekNetlinkMsgValid hdr->nlmsg_len:   20\n"
                                                      "vekNetlinkMsgValid hdr->nlmsg_seq:   4d\n"
                                                      "Looking for intf: 5\n"
                                                      "Sending msg for intf: 5\n");
    const std::string unknown = deliver(link(RTM_GETLINK, 55, 42), 55);
    EXPECT_NE(unknown.find("Looking for intf: 42\nIntf: 42 not found\n"), std::string::npos) << unknown;
    ASSERT_EQ(vekNetlinkNotifyPostChanges(5), 0);
    const notify_wire::Message status{.ifIndex = 5, .flags = 0x41, .change = 0x41};
    notify_wire::Message reply = status, posted = status;
    reply.seq = 77;
    posted.seq = 1;
    EXPECT_EQ(sent(), (std::vector<fake::Sent>{msg(55, 0, reply), msg(0, 1, posted)}));
}

TEST_F(NotifyReceive, EveryMessageOfADatagramIsHandledUpToOneClaimingMoreThanArrived)
{
    fake::Bytes cut = link(RTM_GETLINK, 55, 3);
    reinterpret_cast<nlmsghdr *>(cut.data())->nlmsg_len = 64;
    const std::string out = deliver(fake::join({link(RTM_GETLINK, 55, 1), link(RTM_GETLINK, 55, 2), cut}), 55);
    EXPECT_NE(out.find("Sending msg for intf: 2\n"), std::string::npos) << out;
    EXPECT_EQ(out.find("intf: 3"), std::string::npos) << out;
    EXPECT_EQ(sent().size(), 2u);
}

TEST_F(NotifyReceive, MessagesTooShortForALinkBodyAreOnlyAnnounced)
{
    for (uint32_t length = 16; length < 32; length += 4) {
        SCOPED_TRACE(length);
        EXPECT_EQ(deliver(link(RTM_GETLINK, 55, 5, 0, length), 55), "vekNetlinkMsgValid nl_msg->pid 55 msg_type:   12\n");
        EXPECT_EQ(deliver(link(RTM_NEWLINK, 1002, 2, 0x41, length), 1002),
                  "vekNetlinkMsgValid nl_msg->pid 1002 msg_type:   10\n");
    }
    EXPECT_TRUE(sent().empty());
}

class NotifyShdsl : public PhyTableTest {
protected:
    void SetUp() override
    {
        PhyTableTest::SetUp();
        notify_test::open_records();
        add_callback(2, HAPI_CB_LINK_STATE, record);
    }
    void TearDown() override { vekNetlinkNotifyDestroy(); }
};

// Link messages of any other sender are ignored; the line driver's reach the external link step.
TEST_F(NotifyShdsl, LineDriverReportReachesTheExternalLinkStep)
{
    for (uint32_t sender : {0u, 1001u, 1003u})
        deliver(link(RTM_NEWLINK, sender, 2, 0x41), sender);
    EXPECT_TRUE(calls().empty());
    const std::string up = deliver(link(RTM_NEWLINK, 1002, 2, 0x41), 1002);
    EXPECT_TRUE(std::regex_match(up, std::regex("vekNetlinkMsgValid nl_msg->pid 1002 msg_type:   10\n"
                                                "vekNetlinkMsgValid [0-9]+ RTM_NEWLINK from shdsl driver "
                                                "ifIndex: 2 flags: 41\n")))
        << up;
    EXPECT_EQ(calls(), (std::vector<Call>{{0, 2, 1}}));
    EXPECT_TRUE(os().find("port01")->flags & IFF_UP);
    deliver(link(RTM_NEWLINK, 1002, 2, 0x01), 1002);
    EXPECT_EQ(calls(), (std::vector<Call>{{0, 2, 1}, {0, 2, 2}}));
    EXPECT_FALSE(os().find("port01")->flags & IFF_UP);
    EXPECT_TRUE(fake::netlink().sent.empty());
}

}  // namespace
