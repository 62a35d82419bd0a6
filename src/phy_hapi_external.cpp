#include <cstring>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>

#include "hapi/hapi_veketh.h"
#include "phy_hapi.h"
#include "port_map.h"

namespace hapi::phy {

std::optional<ExternalLink> shdsl_link_message(uint32_t sender, const void *bytes,
                                               std::size_t length) noexcept
{
    constexpr std::size_t kNeeded = NLMSG_HDRLEN + sizeof(ifinfomsg);
    if (sender != kShdslDriverPort || !bytes || length < kNeeded)
        return std::nullopt;
    nlmsghdr header;
    std::memcpy(&header, bytes, sizeof header);
    if (header.nlmsg_type != RTM_NEWLINK || header.nlmsg_len < kNeeded || header.nlmsg_len > length)
        return std::nullopt;
    ifinfomsg info;
    std::memcpy(&info, static_cast<const unsigned char *>(bytes) + NLMSG_HDRLEN, sizeof info);
    return ExternalLink{info.ifi_index, (info.ifi_flags & IFF_RUNNING) ? uint32_t{HAPI_LINK_UP}
                                                                       : uint32_t{HAPI_LINK_DOWN}};
}

}  // namespace hapi::phy

void hapiPhyExternalPhyLinkStatusChanged(int logicalPort, uint32_t linkState) noexcept
{
    using namespace hapi::phy;
    constexpr const char *kStep = "hapiPhyExternalPhyLinkStatusChanged";
    constexpr auto kWidth = hapi::diag::PortItem::Word;

    uint32_t stored = 0;
    Access a = read_word(logicalPort, Word::LinkState, stored);
    if (a != Access::Ok) {
        fail_access(__LINE__, a, logicalPort, kWidth, kStep, static_cast<int>(linkState));
        return;
    }
    const int physical = hapi::ports::physical_of(logicalPort);  // -1 above 95
    veketh_port_enable_set(static_cast<uint32_t>(physical), linkState == HAPI_LINK_UP ? 1 : 0);

    if (linkState != stored) {
        a = write_word(logicalPort, Word::LinkState, linkState);
        if (a != Access::Ok) {
            fail_access(__LINE__, a, logicalPort, kWidth, kStep, static_cast<int>(linkState));
            return;
        }
        invoke_callbacks(logicalPort, HAPI_CB_LINK_STATE, linkState);
    }
    hapiPhyCheckLEDAdminState(logicalPort);
}

HAPI_API int hapiPhyIsExternalPhy(int) noexcept { return 0; }

HAPI_API int hapiPhyExternalPhyGetConnState(int) noexcept { return 0; }

HAPI_API int hapiPhyExternalPhySetConnState(int, int) noexcept { return 0; }
