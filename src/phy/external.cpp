#include <net/if.h>

#include "hapi/hapi_veketh.h"
#include "phy/phy.h"
#include "core/port_map.h"

void hapiPhyExternalPhyLinkStatusChanged(int logicalPort, uint32_t linkState) noexcept
{
    using namespace hapi::phy;
    constexpr const char *kStep = "hapiPhyExternalPhyLinkStatusChanged";
    constexpr auto kWidth = hapi::diag::PortItem::Word;

    uint32_t stored = 0;
    Status a = read_word(logicalPort, Word::LinkState, stored);
    if (a != Status::ok) {
        fail_access(__LINE__, a, logicalPort, kWidth, kStep, static_cast<int>(linkState));
        return;
    }
    const int physical = hapi::ports::physical_of(logicalPort);  // -1 above 95
    veketh_port_enable_set(static_cast<uint32_t>(physical), linkState == HAPI_LINK_UP ? 1 : 0);

    if (linkState != stored) {
        a = write_word(logicalPort, Word::LinkState, linkState);
        if (a != Status::ok) {
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
