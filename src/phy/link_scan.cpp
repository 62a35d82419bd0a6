// The link scan: polls every front port's link, keeps linkState and the
// link callbacks current, and acts on changes; and the link-state step with
// the forced-down rule of disabled ports.
#include <array>
#include <utility>

#include "core/os.h"
#include "hapi/hapi_storm.h"
#include "hapi/hapi_veketh.h"
#include "phy/phy.h"
#include "platform/vekplatform.h"
#include "core/port_map.h"

namespace hapi::phy {

namespace {

constexpr const char *kScanStep = "hapiPhyInternalLinkstatus_handler";
constexpr const char *kSetStep = "hapiPhyInternalSetLinkstate";
constexpr const char *kForcedDown = "Link state is forced to down ";
constexpr uint32_t kScanPeriodMs = 2500;
constexpr auto kWidth = diag::PortItem::Word;

// The hardware link of each logical port as the previous pass left it (0
// unknown, so the first pass reports every port). Guarded by portSettingsMutex.
std::array<uint32_t, HAPI_MAX_LOGICAL_PORTS> g_previous{};

void set_signal_event(int port, uint32_t event, bool wake)
{
    if (!portThreadInfo)
        return;
    PortThreadInfo &info = portThreadInfo[port];
    pthread_mutex_lock(&info.mutex);
    info.signalEvent = event;
    if (wake)
        pthread_cond_signal(&info.cond);
    pthread_mutex_unlock(&info.mutex);
}

// What a hardware change means for the port, by its type.
void apply_change(int port, int physical, uint32_t raw, uint32_t speed)
{
    uint32_t type = 0;  // no type when the table cannot be read
    static_cast<void>(read_word(port, Word::PortType, type));
    const bool up = raw != 0;
    if (type == HAPI_PORT_TYPE_SFP) {
        // The SFP thread decides the link from the signal while the link is up.
        set_signal_event(port, up ? 1 : 2, up);
        if (!up)
            hapiPhyInternalSetLinkstate(port, HAPI_LINK_DOWN);
    } else if (type != HAPI_PORT_TYPE_DISABLED) {
        hapiPhyInternalSetLinkstate(port, up ? HAPI_LINK_UP : HAPI_LINK_DOWN);
    }
    if (up)
        hapiSysIfIngressStormCtlLinkUpNotify(physical, speed);
    diag::phy_link_event(__LINE__, port, up);
}

// One port of a pass; false when the table is gone.
bool scan_port(int port)
{
    const int physical = ports::physical_of(port);
    uint32_t raw = 0, speed = 0;
    veketh_port_link_status_get(static_cast<uint32_t>(physical), &raw);
    veketh_port_speed_get(static_cast<uint32_t>(physical), &speed);
    const uint32_t state = raw == 1 ? HAPI_LINK_UP : HAPI_LINK_DOWN;

    uint32_t admin = 0;
    Status a = read_word(port, Word::AdminState, admin);
    if (a == Status::ok) {
        const uint32_t seen = admin == HAPI_ADMIN_ENABLED ? state : uint32_t{HAPI_LINK_DOWN};
        a = write_word(port, Word::LinkState, seen);
        if (a == Status::ok)
            invoke_callbacks(port, HAPI_CB_LINK_STATE, seen);
    }
    if (a != Status::ok) {
        fail_access(__LINE__, a, port, kWidth, kScanStep, -1);
        return false;
    }

    uint32_t previous;
    bool table;
    {
        TableLock lock;
        previous = g_previous[static_cast<size_t>(port)];
        table = portSettings != nullptr;
    }
    if (previous != state) {
        if (!table)
            diag::phy_error(__LINE__, HAPI_PHY_E_NO_TABLE, kMsgNoTable, port, kWidth, kScanStep,
                            static_cast<int>(raw));
        else
            apply_change(port, physical, raw, speed);
    }

    TableLock lock;
    if (!portSettings) {
        set_last_error(HAPI_PHY_E_NO_TABLE);
        diag::phy_error(__LINE__, HAPI_PHY_E_NO_TABLE, kMsgNoTable, port, kWidth, kScanStep, -1);
        return false;
    }
    // What the port holds now, which the link-state step may have forced down.
    g_previous[static_cast<size_t>(port)] = portSettings[port].linkState;
    return true;
}

}  // namespace

bool linkscan_pass() noexcept
{
    const int count = numOfPorts;
    for (int port = 1; port < count && port < HAPI_MAX_LOGICAL_PORTS; ++port)
        if (!scan_port(port))
            return false;
    return true;
}

}  // namespace hapi::phy

void *hapiPhyInternalLinkstatus_handler(void *) noexcept
{
    while (hapi::os::thread_keep_running() && hapi::phy::linkscan_pass())
        vekApiOsSleep(hapi::phy::kScanPeriodMs);
    return nullptr;
}

void hapiPhyInternalSetLinkstate(int port, uint32_t state) noexcept
{
    using namespace hapi::phy;
    uint32_t current = 0, admin = 0, type = 0;
    for (auto [word, out] : {std::pair{Word::LinkState, &current}, std::pair{Word::AdminState, &admin},
                             std::pair{Word::PortType, &type}}) {
        const Status a = read_word(port, word, *out);
        if (a != Status::ok) {
            fail_access(__LINE__, a, port, kWidth, kSetStep, static_cast<int>(state));
            return;
        }
    }
    if (admin == HAPI_ADMIN_DISABLED && type != HAPI_PORT_TYPE_SFP && state != HAPI_LINK_DOWN) {
        uint32_t enabled = 0;
        const int physical = hapi::ports::physical_of(port);
        if (veketh_port_enable_get(static_cast<uint32_t>(physical), &enabled) == 0 && !enabled) {
            state = HAPI_LINK_DOWN;
            hapi::diag::phy_success(__LINE__, port, kSetStep, kForcedDown, static_cast<int>(current));
        } else {
            state = HAPI_LINK_UP;
        }
    }
    if (state != current) {
        const Status a = write_word(port, Word::LinkState, state);
        if (a != Status::ok) {
            fail_access(__LINE__, a, port, kWidth, kSetStep, static_cast<int>(state));
            return;
        }
        invoke_callbacks(port, HAPI_CB_LINK_STATE, state);
    }
    hapiPhyCheckLEDAdminState(port);
}
