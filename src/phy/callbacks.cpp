// Callback registration, and the two callbacks that keep the notification
// channel's port flags in step with link and admin state.
#include <atomic>
#include <net/if.h>
#include <new>

#include "hapi/hapi_notify.h"
#include "phy/phy.h"
#include "core/port_map.h"

namespace {

constexpr const char *kAllPortsStep = "hapiPhyCallbackAllPorts";
constexpr uint32_t kAdvertisementType = 9;  // reported through slot 10

constexpr uint32_t kFlagsUp = IFF_UP;
constexpr uint32_t kFlagsRunning = IFF_RUNNING;
constexpr uint32_t kFlagsUpRunning = IFF_UP | IFF_RUNNING;
constexpr int32_t kSendNow = 1;

}  // namespace

HAPI_API int32_t hapiPhyCallbackPort(int32_t physicalPort, uint32_t, uint32_t type, PhyPortCallback fn) noexcept
{
    if (type > HAPI_PHY_CB_TYPE_MAX)
        return HAPI_PHY_E_PARAM;
    if (!portCallbacks)
        return HAPI_PHY_E_NO_TABLE;
    // A physical port that no logical port of the table holds is refused.
    const int port = hapi::ports::logical_of(physicalPort);
    if (port < 0 || port >= numOfPorts)
        return HAPI_PHY_E_WRONG_PORT;
    auto *node = new (std::nothrow) PortCallbackNode{fn, nullptr};
    if (!node)
        return HAPI_PHY_E_NOMEM;
    const unsigned slot = type == kAdvertisementType ? unsigned{HAPI_CB_ADVERTISEMENT} : type;
    PortCallbackNode *&head = portCallbacks[port].slot[slot];
    // Published whole, so a scan walking the list sees the old or the new head.
    node->next = std::atomic_ref(head).load(std::memory_order_relaxed);
    std::atomic_ref(head).store(node, std::memory_order_release);
    return HAPI_PHY_OK;
}

HAPI_API int hapiPhyCallbackAllPorts(uint32_t unit, uint32_t type, PhyPortCallback fn) noexcept
{
    using hapi::diag::PortItem;
    const int count = numOfPorts;
    for (int port = 0; port < count; ++port) {
        const int physical = hapi::ports::physical_of(port);
        if (physical == hapi::ports::kNoPort) {
            hapi::diag::phy_error(__LINE__, HAPI_PHY_E_WRONG_PORT, hapi::phy::kMsgWrongPort, port,
                                  PortItem::Word, kAllPortsStep, static_cast<int>(type));
            return 1;
        }
        const int32_t r = hapiPhyCallbackPort(physical, unit, type, fn);
        if (r != 0) {
            hapi::diag::phy_error(__LINE__, r, hapi::phy::kMsgSetFailed, port, PortItem::Word, kAllPortsStep,
                                  static_cast<int>(type));
            return 1;
        }
    }
    return 0;
}

int hapiPhyInftLinkStateCB(uint32_t, uint32_t physicalPort, uint32_t state) noexcept
{
    using namespace hapi::phy;
    const int port = hapi::ports::logical_of(static_cast<int>(physicalPort));
    uint32_t admin = 0;
    if (port < 0 || read_word(port, Word::AdminState, admin) != Status::ok || admin != HAPI_ADMIN_ENABLED)
        return 0;
    if (state == HAPI_LINK_UP)
        return vekNetlinkNotifySetFlags(port, kFlagsUpRunning, kSendNow);
    return vekNetlinkNotifyClearFlags(port, kFlagsRunning, kSendNow);
}

int hapiPhyInftAdminStateCB(uint32_t, uint32_t physicalPort, uint32_t state) noexcept
{
    using namespace hapi::phy;
    const int port = hapi::ports::logical_of(static_cast<int>(physicalPort));
    if (port < 0)
        return 0;
    if (state != HAPI_ADMIN_ENABLED)
        return vekNetlinkNotifyClearFlags(port, kFlagsUpRunning, kSendNow);
    uint32_t link = 0;  // stays down when the table cannot be read
    static_cast<void>(read_word(port, Word::LinkState, link));
    return vekNetlinkNotifySetFlags(port, link == HAPI_LINK_UP ? kFlagsUpRunning : kFlagsUp, kSendNow);
}
