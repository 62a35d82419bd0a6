// Status messages and acknowledgements of the notification channel.
#include <linux/if.h>
#include <linux/if_arp.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <netlink/attr.h>
#include <netlink/errno.h>
#include <netlink/msg.h>
#include <syslog.h>

#include "core/os.h"
#include "core/owned.h"
#include "notify/channel.h"

namespace hapi::notify {
namespace {

constexpr char kStatsKind[] = "portstats";
static_assert(sizeof kStatsKind == 10);
constexpr int kIfTableStatsAttr = 1;
constexpr int kRmonStatsAttr = 2;

constexpr const char *kNotifyAllocFailed = "vekNetlinkNotifyLinkPostChanges nlmsg_alloc failed!";
constexpr const char *kSetAllocFailed = "vekNetlinkNotifySendSetMsg nlmsg_alloc failed!";
constexpr const char *kSendFailed = "[%s:%d] nl_send_auto failed! err: %d";
constexpr const char *kSetFlagsInfo = "vekNetlinkNotifySendSetMsg: ifl->flags: %x";

using MsgPtr = Owned<nl_msg, nlmsg_free>;

// libnl marks every nest NLA_F_NESTED; receivers of the port statistics
// expect the plain attribute types.
nlattr *open_plain_nest(nl_msg *msg, int type)
{
    nlattr *nest = nla_nest_start(msg, type);
    if (nest)
        nest->nla_type = static_cast<uint16_t>(type);
    return nest;
}

bool put_stats(nl_msg *msg, const vekNotifyIfEntry &entry)
{
    nlattr *linkinfo = open_plain_nest(msg, IFLA_LINKINFO);
    if (!linkinfo || nla_put(msg, IFLA_INFO_KIND, sizeof kStatsKind, kStatsKind) < 0)
        return false;
    nlattr *data = open_plain_nest(msg, IFLA_INFO_DATA);
    if (!data)
        return false;
    if ((entry.cemask & kNotifyPendingIfTable) &&
        nla_put(msg, kIfTableStatsAttr, sizeof entry.ifTableStats, entry.ifTableStats) < 0)
        return false;
    if ((entry.cemask & kNotifyPendingRmon) &&
        nla_put(msg, kRmonStatsAttr, sizeof entry.rmonStats, entry.rmonStats) < 0)
        return false;
    return nla_nest_end(msg, data) >= 0 && nla_nest_end(msg, linkinfo) >= 0;
}

}  // namespace

int send_link_msg(nl_msg *msg)
{
    const sockaddr_nl *dest = nlmsg_get_dst(msg);
    const int sent = channel().socket.send(*nlmsg_hdr(msg), {dest->nl_pid, dest->nl_groups});
    // Reported in libnl's numbering, as the channel always has.
    return sent < 0 ? -nl_syserr2nlerr(-sent) : sent;
}

nl_msg *build_link_msg(int type, const vekNotifyIfEntry &entry, uint32_t destPort, uint32_t destGroups,
                       uint32_t seq, bool withStats)
{
    MsgPtr msg(nlmsg_alloc_simple(type, 0));
    if (!msg)
        return nullptr;
    sockaddr_nl dest{};
    dest.nl_family = AF_NETLINK;
    dest.nl_pid = destPort;
    dest.nl_groups = destGroups;
    nlmsg_set_dst(msg.get(), &dest);
    nlmsghdr *hdr = nlmsg_hdr(msg.get());
    hdr->nlmsg_seq = seq;
    hdr->nlmsg_pid = kOwnPort;

    ifinfomsg ifi{};
    ifi.ifi_family = AF_UNSPEC;
    ifi.ifi_type = ARPHRD_ETHER;
    ifi.ifi_index = entry.ifIndex;
    ifi.ifi_flags = entry.flags | IFF_BROADCAST;
    ifi.ifi_change = entry.changed;
    if (nlmsg_append(msg.get(), &ifi, sizeof ifi, NLMSG_ALIGNTO) < 0)
        return nullptr;
    if (withStats && (entry.cemask & (kNotifyPendingIfTable | kNotifyPendingRmon)) &&
        !put_stats(msg.get(), entry))
        return nullptr;
    return msg.release();
}

}  // namespace hapi::notify

using namespace hapi;
using namespace hapi::notify;

void vekNetlinkNotifySendNotifyMsg(vekNotifyIfEntry *entry, uint32_t destGroups, uint32_t destPort,
                                   uint32_t seq)
{
    if (!channel().socket)
        return;
    MsgPtr msg(build_link_msg(RTM_NEWLINK, *entry, destPort, destGroups, seq, true));
    if (!msg) {
        os::syslog(LOG_ERR, "%s", kNotifyAllocFailed);
        return;
    }
    int err = send_link_msg(msg.get());
    if (err < 0)
        os::syslog(LOG_ERR, kSendFailed, "vekNetlinkNotifySendNotifyMsg", __LINE__, err);
}

void vekNetlinkNotifySendSetMsg(vekNotifyIfEntry *entry)
{
    if (!channel().socket)
        return;
    MsgPtr msg(build_link_msg(RTM_SETLINK, *entry, kShdslPort, 0, 0, false));
    if (!msg) {
        os::syslog(LOG_ERR, "%s", kSetAllocFailed);
        return;
    }
    os::syslog(LOG_INFO, kSetFlagsInfo, entry->flags);
    send_link_msg(msg.get());
}

void vekNetlinkNotifyPublish(vekNotifyIfEntry *entry)
{
    vekNetlinkNotifySendNotifyMsg(entry, kLinkGroup, 0, 0);
    entry->changed = 0;
    entry->cemask = 0;
}
