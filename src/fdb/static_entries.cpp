// Static bridge FDB entries, added and deleted with neighbour requests on a
// socket of their own, so they may run beside a traversal.
#include <cerrno>
#include <linux/rtnetlink.h>
#include <netlink/addr.h>
#include <netlink/errno.h>
#include <netlink/msg.h>
#include <netlink/route/neighbour.h>
#include <sys/socket.h>
#include <syslog.h>

#include "core/netlink.h"
#include "core/os.h"
#include "core/owned.h"
#include "hapi/hapi_fdb.h"

namespace {

constexpr const char *kNeighAllocError = "hapiBridgeFdbModify: rtnl_neigh_alloc error";
constexpr const char *kAddrAllocError = "hapiBridgeFdbModify: nl_addr_alloc error";
constexpr const char *kSocketAllocError = "hapiBridgeFdbModify: nl_socket_alloc error";
constexpr const char *kConnectError = "hapiBridgeFdbModify: nl_connect error";
constexpr const char *kAddError = "hapiBridgeFdbModify: rtnl_neigh_add error:%d";
constexpr const char *kDeleteError = "hapiBridgeFdbModify: rtnl_neigh_delete error:%d";
constexpr const char *kInvalidCommand = "hapiBridgeFdbModify: Invalid cmd";

constexpr int kStaticState = 0x42;   // NUD_NOARP with NUD_REACHABLE: static to the bridge
constexpr unsigned kStaticFlags = 0x04;  // NTF_MASTER: the bridge the port belongs to
constexpr int kAddFlags = 0x600;     // NLM_F_CREATE | NLM_F_EXCL: an existing address fails

using hapi::Owned;
using Neigh = Owned<rtnl_neigh, rtnl_neigh_put>;
using Addr = Owned<nl_addr, nl_addr_put>;
using Msg = Owned<nl_msg, nlmsg_free>;

int fail(const char *message)
{
    hapi::os::syslog(LOG_ERR, "%s", message);
    return -1;
}

// Sends the request built from neigh and waits for the kernel's answer: 0,
// or a negative libnl error code, as libnl's own add and delete report.
template <auto Build>
int exchange(hapi::netlink::Socket &socket, rtnl_neigh *neigh, int flags)
{
    nl_msg *built = nullptr;
    if (int rc = Build(neigh, flags, &built); rc < 0)
        return rc;
    Msg request(built);
    const int rc = socket.request(*nlmsg_hdr(request.get()));
    return rc < 0 ? -nl_syserr2nlerr(-rc) : 0;
}

}  // namespace

extern "C" HAPI_API int hapiBridgeFdbModify(int command, int ifindex, uint16_t vlanId, hapiMacAddr mac) noexcept
{
    Neigh neigh(rtnl_neigh_alloc());
    if (!neigh)
        return fail(kNeighAllocError);
    Addr lladdr(nl_addr_alloc(sizeof mac.addr));
    if (!lladdr)
        return fail(kAddrAllocError);
    nl_addr_set_family(lladdr.get(), 0);
    nl_addr_set_binary_addr(lladdr.get(), mac.addr, sizeof mac.addr);
    rtnl_neigh_set_family(neigh.get(), AF_BRIDGE);
    rtnl_neigh_set_lladdr(neigh.get(), lladdr.get());
    rtnl_neigh_set_ifindex(neigh.get(), ifindex);
    // The bridge refuses VLAN 0; an entry without a VLAN is the VLAN-0 entry.
    if (vlanId != 0)
        rtnl_neigh_set_vlan(neigh.get(), vlanId);
    rtnl_neigh_set_state(neigh.get(), kStaticState);
    rtnl_neigh_set_flags(neigh.get(), kStaticFlags);

    hapi::netlink::Socket socket;
    if (int rc = socket.open(NETLINK_ROUTE, 0, 0); rc < 0)
        return fail(rc == -ENOMEM ? kSocketAllocError : kConnectError);

    if (command == HAPI_FDB_CMD_ADD) {
        if (int rc = exchange<rtnl_neigh_build_add_request>(socket, neigh.get(), kAddFlags); rc < 0) {
            hapi::os::syslog(LOG_ERR, kAddError, rc);
            return -1;
        }
    } else if (command == HAPI_FDB_CMD_DELETE) {
        if (int rc = exchange<rtnl_neigh_build_delete_request>(socket, neigh.get(), 0); rc < 0) {
            hapi::os::syslog(LOG_ERR, kDeleteError, rc);
            return -1;
        }
    } else {
        return fail(kInvalidCommand);
    }
    return 0;
}
