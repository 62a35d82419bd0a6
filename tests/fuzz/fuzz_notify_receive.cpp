// Arbitrary datagrams from an arbitrary sender into the notification
// channel's receive handler, split into messages the way libnl does it, each
// copied into a buffer of exactly its own length so any overread shows.
#include <linux/netlink.h>
#include <netlink/msg.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "fake_os.h"
#include "fake_platform.h"
#include "hapi/hapi_init.h"
#include "hapi/hapi_phy.h"
#include "notify/channel.h"

namespace {

constexpr uint32_t kSenders[] = {0, 55, 1001, 1002};
constexpr int kRecords = 8;

void open_table()
{
    auto &ch = hapi::notify::channel();
    ch.table = static_cast<vekNotifyIfEntry *>(std::calloc(kRecords, sizeof(vekNotifyIfEntry)));
    ch.capacity = kRecords;
    for (int p = 1; p <= kRecords; ++p)
        vekNetlinkNotifyAddIntf(p);
}

void open_phy_table()
{
    numOfPorts = 5;
    portSettings = static_cast<PhyPortSettings *>(std::calloc(5, sizeof(PhyPortSettings)));
    portCallbacks = static_cast<PortCallbackSlots *>(std::calloc(5, sizeof(PortCallbackSlots)));
    for (int p = 0; p < HAPI_MAX_LOGICAL_PORTS; ++p)
        torvikSwitchingHw.portMap[p] = p >= 1 && p <= 4 ? SwitchPortMapEntry{0, 0, static_cast<int16_t>(p)}
                                                        : SwitchPortMapEntry{0xFF, 0xFF, -1};
}

void add_interfaces()
{
    for (unsigned n = 1; n <= 4; ++n) {
        char name[16];
        std::snprintf(name, sizeof name, "port%02u", n - 1);
        fake::add_interface(name, n);
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // The handler prints every message; keep libFuzzer's own output readable.
    if (!std::freopen("/dev/null", "w", stdout))
        return 0;
    open_table();
    open_phy_table();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 1)
        return 0;
    fake::reset();
    fake::reset_platform();
    add_interfaces();
    uint32_t sender = kSenders[data[0] % 4];
    ++data;
    --size;

    std::vector<uint8_t> datagram(data, data + size);
    auto *hdr = reinterpret_cast<nlmsghdr *>(datagram.data());
    int left = static_cast<int>(datagram.size());
    while (nlmsg_ok(hdr, left)) {
        nl_msg *msg = nlmsg_convert(hdr);
        if (!msg)
            break;
        sockaddr_nl src{};
        src.nl_family = AF_NETLINK;
        src.nl_pid = sender;
        nlmsg_set_src(msg, &src);
        vekNetlinkMsgValid(msg, nullptr);
        nlmsg_free(msg);
        hdr = nlmsg_next(hdr, &left);
    }
    return 0;
}
