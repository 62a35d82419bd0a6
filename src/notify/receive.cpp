// The receive handler of the notification channel: link queries from any
// process, link reports of the SHDSL line driver.
#include <linux/if.h>
#include <linux/rtnetlink.h>
#include <netlink/msg.h>

#include <cstdio>

#include "phy/phy.h"
#include "notify/channel.h"

using namespace hapi::notify;

namespace {

constexpr const char *kMsgLine = "vekNetlinkMsgValid nl_msg->pid %d msg_type: %4x\n";
constexpr const char *kShdslLine = "%s %d RTM_NEWLINK from shdsl driver ifIndex: %d flags: %x\n";
constexpr const char *kHdrTypeLine = "vekNetlinkMsgValid hdr->nlmsg_type: %4x\n";
constexpr const char *kHdrFlagsLine = "vekNetlinkMsgValid hdr->nlmsg_flags: %4x\n";
constexpr const char *kHdrPidLine = "vekNetlinkMsgValid hdr->nlmsg_pid: %4d\n";
constexpr const char *kHdrLenLine = "vekNetlinkMsgValid hdr->nlmsg_len: %4x\n";
constexpr const char *kHdrSeqLine = "vekNetlinkMsgValid hdr->nlmsg_seq: %4x\n";
constexpr const char *kLookingLine = "Looking for intf: %d\n";
constexpr const char *kNotFoundLine = "Intf: %d not found\n";
constexpr const char *kSendingLine = "Sending msg for intf: %d\n";

constexpr int kLinkUp = 1;
constexpr int kLinkDown = 2;

// The link message body, or nullptr when the message is too short to hold it.
const ifinfomsg *link_body(const nlmsghdr *hdr)
{
    if (!nlmsg_valid_hdr(hdr, sizeof(ifinfomsg)))
        return nullptr;
    return static_cast<const ifinfomsg *>(nlmsg_data(hdr));
}

void shdsl_link_report(const ifinfomsg &ifi)
{
    std::printf(kShdslLine, "vekNetlinkMsgValid", __LINE__, ifi.ifi_index, ifi.ifi_flags);
    {
        std::lock_guard guard(vekNetlinkNotifyLock());
        if (hapiPhyIsExternalPhy(ifi.ifi_index)) {
            hapiPhyExternalPhySetConnState(ifi.ifi_index, 1);
            if (vekNotifyIfEntry *e = vekNetlinkNotifyFindIntf(ifi.ifi_index)) {
                e->changed = IFF_UP;
                vekNetlinkNotifySendSetMsg(e);
                e->changed = 0;
            }
        }
    }
    // Outside the lock: the link callbacks come back into vekNetlinkNotifySetFlags.
    hapiPhyExternalPhyLinkStatusChanged(ifi.ifi_index, (ifi.ifi_flags & IFF_RUNNING) ? kLinkUp : kLinkDown);
}

void link_query(const nlmsghdr &hdr, const ifinfomsg &ifi, uint32_t requester)
{
    std::printf(kHdrTypeLine, hdr.nlmsg_type);
    std::printf(kHdrFlagsLine, hdr.nlmsg_flags);
    std::printf(kHdrPidLine, static_cast<int>(hdr.nlmsg_pid));
    std::printf(kHdrLenLine, hdr.nlmsg_len);
    std::printf(kHdrSeqLine, hdr.nlmsg_seq);
    std::lock_guard guard(vekNetlinkNotifyLock());
    std::printf(kLookingLine, ifi.ifi_index);
    vekNotifyIfEntry *e = vekNetlinkNotifyFindIntf(ifi.ifi_index);
    if (!e) {
        std::printf(kNotFoundLine, ifi.ifi_index);
        return;
    }
    std::printf(kSendingLine, ifi.ifi_index);
    vekNetlinkNotifySendNotifyMsg(e, 0, requester, hdr.nlmsg_seq);
}

}  // namespace

void vekNetlinkMsgValid(const nlmsghdr &hdr, uint32_t sender)
{
    std::printf(kMsgLine, static_cast<int>(sender), hdr.nlmsg_type);
    const ifinfomsg *ifi = link_body(&hdr);
    if (!ifi)
        return;
    if (hdr.nlmsg_type == RTM_NEWLINK && sender == kShdslPort)
        shdsl_link_report(*ifi);
    else if (hdr.nlmsg_type == RTM_GETLINK)
        link_query(hdr, *ifi, sender);
}
