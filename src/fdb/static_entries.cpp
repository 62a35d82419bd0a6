// Static bridge FDB entries, added and deleted with neighbour requests on a
// socket of their own, so they may run beside a traversal.
#include <memory>
#include <netlink/addr.h>
#include <netlink/netlink.h>
#include <netlink/route/neighbour.h>
#include <netlink/socket.h>
#include <sys/socket.h>
#include <syslog.h>

#include "hapi/hapi_fdb.h"
#include "core/os.h"

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

struct NeighPut {
    void operator()(rtnl_neigh *n) const { rtnl_neigh_put(n); }
};
struct AddrPut {
    void operator()(nl_addr *a) const { nl_addr_put(a); }
};
struct SocketClose {
    void operator()(nl_sock *s) const
    {
        nl_close(s);
        nl_socket_free(s);
    }
};

int fail(const char *message)
{
    hapi::os::syslog(LOG_ERR, "%s", message);
    return -1;
}

}  // namespace

extern "C" HAPI_API int hapiBridgeFdbModify(int command, int ifindex, uint16_t vlanId, hapiMacAddr mac) noexcept
{
    std::unique_ptr<rtnl_neigh, NeighPut> neigh(rtnl_neigh_alloc());
    if (!neigh)
        return fail(kNeighAllocError);
    std::unique_ptr<nl_addr, AddrPut> lladdr(nl_addr_alloc(sizeof mac.addr));
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

    std::unique_ptr<nl_sock, SocketClose> socket(nl_socket_alloc());
    if (!socket)
        return fail(kSocketAllocError);
    if (nl_connect(socket.get(), NETLINK_ROUTE) < 0)
        return fail(kConnectError);

    if (command == HAPI_FDB_CMD_ADD) {
        if (int rc = rtnl_neigh_add(socket.get(), neigh.get(), kAddFlags); rc < 0) {
            hapi::os::syslog(LOG_ERR, kAddError, rc);
            return -1;
        }
    } else if (command == HAPI_FDB_CMD_DELETE) {
        if (int rc = rtnl_neigh_delete(socket.get(), neigh.get(), 0); rc < 0) {
            hapi::os::syslog(LOG_ERR, kDeleteError, rc);
            return -1;
        }
    } else {
        return fail(kInvalidCommand);
    }
    return 0;
}
