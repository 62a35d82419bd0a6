// Arbitrary datagrams from an arbitrary sender into the notification
// channel's receive handler, split into messages the way the receive step
// does it, each copied into a buffer of exactly its own length so any
// overread shows. The channel is open on the fake netlink, so replies and
// acknowledgements are built and sent too.
#include <linux/netlink.h>
#include <netlink/msg.h>

#include <cstdint>
#include <cstdlib>
#include <cstdio>
#include <cstring>
#include <vector>

#include "fake_netlink.h"
#include "fake_os.h"
#include "fake_platform.h"
#include "hapi/hapi_init.h"
#include "hapi/hapi_phy.h"
#include "notify/channel.h"
#include "phy_tables.h"
#include "ports.h"

namespace {

constexpr uint32_t kSenders[] = {0, 55, 1001, 1002};
constexpr int kRecords = 8;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // The handler prints every message; keep libFuzzer's own output readable.
    if (!std::freopen("/dev/null", "w", stdout))
        return 0;
    hapi::notify::open_channel(kRecords);
    for (int p = 1; p <= kRecords; ++p)
        vekNetlinkNotifyAddIntf(p);
    static hapi_test::PhyTables tables;  // for the whole run
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 1)
        return 0;
    {
        // Not fake::reset(): the channel's socket lives across runs.
        fake::Guard guard(fake::os().lock);
        fake::os().logs.clear();
        fake::os().interfaces.clear();
        fake::netlink().sent.clear();
    }
    fake::reset_platform();
    for (int n = 1; n <= hapi_test::kFrontPorts; ++n)
        fake::add_interface(hapi_test::port_name(n), static_cast<unsigned>(n));
    const uint32_t sender = kSenders[data[0] % 4];
    std::vector<uint8_t> datagram(data + 1, data + size);
    auto *hdr = reinterpret_cast<nlmsghdr *>(datagram.data());
    int left = static_cast<int>(datagram.size());
    while (nlmsg_ok(hdr, left)) {
        const uint8_t *bytes = reinterpret_cast<const uint8_t *>(hdr);
        const std::vector<uint8_t> exact(bytes, bytes + hdr->nlmsg_len);
        vekNetlinkMsgValid(*reinterpret_cast<const nlmsghdr *>(exact.data()), sender);
        hdr = nlmsg_next(hdr, &left);
    }
    return 0;
}
