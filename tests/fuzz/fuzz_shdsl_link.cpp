// Netlink bytes from any sender through the SHDSL link decoder and, when it
// accepts them, the external-link step on a five-port PHY table.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <vector>

#include "fake_os.h"
#include "fake_platform.h"
#include "hapi/hapi_init.h"
#include "phy_hapi.h"

namespace {

void build_board()
{
    fake::add_interface("port00", 1);
    fake::add_interface("port01", 2);
    for (int p = 0; p < HAPI_MAX_LOGICAL_PORTS; ++p)
        torvikSwitchingHw.portMap[p] = p >= 1 && p <= 2 ? SwitchPortMapEntry{0, 0, static_cast<int16_t>(p)}
                                                        : SwitchPortMapEntry{0xFF, 0xFF, -1};
    numOfPorts = 5;
    portSettings = static_cast<PhyPortSettings *>(std::calloc(5, sizeof(PhyPortSettings)));
    portCallbacks = static_cast<PortCallbackSlots *>(std::calloc(5, sizeof(PortCallbackSlots)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const bool ready = (build_board(), true);
    (void)ready;
    if (size < 1)
        return 0;
    // The first byte picks the sender and, since the library's objects carry
    // no coverage feedback, may repair the type and length so that the
    // step behind the decoder sees arbitrary ports and flags.
    const uint8_t control = data[0];
    const uint32_t sender = control & 1 ? hapi::phy::kShdslDriverPort : control;
    std::vector<uint8_t> bytes(data + 1, data + size);
    if (bytes.size() >= sizeof(nlmsghdr)) {
        nlmsghdr header;
        std::memcpy(&header, bytes.data(), sizeof header);
        if (control & 2)
            header.nlmsg_type = RTM_NEWLINK;
        if (control & 4)
            header.nlmsg_len = static_cast<uint32_t>(bytes.size());
        std::memcpy(bytes.data(), &header, sizeof header);
    }
    const auto link = hapi::phy::shdsl_link_message(sender, bytes.data(), bytes.size());
    if (link)
        hapiPhyExternalPhyLinkStatusChanged(link->port, link->state);
    // Keep the fakes' records from growing over the run.
    fake::os().logs.clear();
    fake::platform().messages.clear();
    fake::platform().leds.clear();
    return 0;
}
