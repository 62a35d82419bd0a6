// Phases of the PHY device (boot, unconfigure, running), the power-state
// step every power change goes through, and the kill-all and resurrect steps.
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <utility>

#include "hapi/hapi_fdb.h"
#include "hapi/hapi_notify.h"
#include "hapi/hapi_veketh.h"
#include "phy/phy.h"
#include "platform/vekplatform.h"
#include "core/port_map.h"
#include "notify/notify.h"

namespace {

using hapi::diag::PortItem;
using namespace hapi::phy;

constexpr const char *kBootStep = "hapiPhyEnterBootPhase";
constexpr const char *kKillStep = "hapiPhyInternalKillAllPorts";
constexpr const char *kPowerStep = "hapiPhyInternalSetPowerState";
constexpr const char *kUnconfigureStep = "hapiPhyEnterUnconfigurePhase";
constexpr const char *kRunningStep = "hapiPhyEnterRunningPhase";
constexpr const char *kResurrectStep = "hapiPhyInternalResurrectAllPorts";

constexpr const char *kNoThreadTable = "THREAD INFORMATION STRUCTURE IS NULL";
constexpr const char *kNoCallbackTable = "CB struct is NULL";
constexpr const char *kNoPowerTable = "finalPowerState memory error";
constexpr const char *kInvalidPort = "Got invalid port";
constexpr const char *kKillFailed = "Kill port failed";
constexpr const char *kPowerNotRunning = "(ETHPORT)Setting power state-nonRUNNING";
constexpr const char *kPowerRunning = "(BCMPORT)Setting power state-RUNNING";
constexpr const char *kUnconfigureFailed = "Errors while entering the UNCONFIGURE phase";
constexpr const char *kRunningFailed = "Errors while entering the RUNNING phase";
constexpr const char *kResurrectInvalidPort = "Invalid port for setting the power state after init phase";
constexpr const char *kResurrectFailed = "Failed setting power state after init phase";

constexpr int kMaxLogicalPort = HAPI_MAX_LOGICAL_PORTS - 1;
constexpr int kMaxPortCount = 95;

// Ports the tables were allocated for; a later boot phase reuses them and
// must not ask for more.
int g_capacity = 0;

int32_t phase() { return std::atomic_ref(phyDeviceState).load(std::memory_order_relaxed); }
void set_phase(int32_t p) { std::atomic_ref(phyDeviceState).store(p, std::memory_order_relaxed); }

template <typename T>
bool allocate_once(T *&table, int count)
{
    if (!table)
        table = static_cast<T *>(std::calloc(static_cast<size_t>(count), sizeof(T)));
    return table != nullptr;
}

bool front_port_unmapped(int port)
{
    return port > kMaxLogicalPort || hapi::ports::physical_of(port) == hapi::ports::kNoPort;
}

// The resurrect step of the running phase: 0, or 1 with its reports made.
int resurrect_all_ports()
{
    bool failed = false;
    const int count = numOfPorts;
    for (int port = 1; port < count; ++port) {
        const auto wanted = finalPowerState[port];
        if (front_port_unmapped(port)) {
            hapi::diag::phy_error(__LINE__, HAPI_PHY_E_WRONG_PORT, kResurrectInvalidPort, port, PortItem::Word,
                                  kResurrectStep, static_cast<int>(wanted));
            continue;
        }
        uint32_t type = 0;
        const Status a = read_word(port, Word::PortType, type);
        if (a != Status::ok) {
            fail_access(__LINE__, a, port, PortItem::Word, kResurrectStep, -1);
            return 1;
        }
        const int physical = hapi::ports::physical_of(port);
        if (type == HAPI_PORT_TYPE_DISABLED) {
            park_disabled_port(physical);
        } else if (hapiPhyInternalSetPowerState(physical, wanted) != 0) {
            hapi::diag::phy_error(__LINE__, HAPI_PHY_E_SPEED_CODE, kResurrectFailed, port, PortItem::Word,
                                  kResurrectStep, static_cast<int>(wanted));
            failed = true;
        }
    }
    return failed ? 1 : 0;
}

}  // namespace

void hapi::phy::park_disabled_port(int physical) noexcept
{
    veketh_port_enable_set(static_cast<uint32_t>(physical), 0);
    std::lock_guard settle(vekNetlinkNotifyLock());
}

int hapiPhyInternalSetPowerState(int physical, uint32_t state) noexcept
{
    const int port = hapi::ports::logical_of(physical);
    if (port == hapi::ports::kNoPort)
        return HAPI_PHY_E_WRONG_PORT;  // no logical port: no table is touched
    uint32_t type = 0;
    const Status a = read_word(port, Word::PortType, type);
    if (a == Status::out_of_range)
        return HAPI_PHY_E_WRONG_PORT;
    if (a != Status::ok)
        return fail_access(__LINE__, a, port, PortItem::Word, kPowerStep, static_cast<int>(state));

    if (phase() != HAPI_PHY_PHASE_RUNNING) {
        hapi::diag::phy_success(__LINE__, physical, kPowerStep, kPowerNotRunning, static_cast<int>(state));
        if (!finalPowerState)
            return HAPI_PHY_E_NO_POWER_TABLE;
        finalPowerState[port] = state;
        return 0;
    }
    if (type == HAPI_PORT_TYPE_DISABLED)
        return 0;
    hapi::diag::phy_success(__LINE__, physical, kPowerStep, kPowerRunning, static_cast<int>(state));
    const auto index = static_cast<uint32_t>(physical);
    if (state == HAPI_POWER_OFF)
        return veketh_port_enable_set(index, 0);
    if (state != HAPI_POWER_ON)
        return HAPI_PHY_E_PARAM;
    const int r = veketh_port_enable_set(index, 1);
    if (r != 0 || type == HAPI_PORT_TYPE_SFP)
        return r;
    uint32_t link = 0;
    if (veketh_port_link_status_get(index, &link) == 0 && link == 1)
        hapiPhyInternalSetLinkstate(port, HAPI_LINK_UP);
    return 0;
}

int hapiPhyInternalKillAllPorts() noexcept
{
    const int count = numOfPorts;
    bool failed = false;
    auto *fresh = static_cast<uint32_t *>(std::calloc(static_cast<size_t>(count > 0 ? count : 1), sizeof(uint32_t)));
    if (!fresh) {
        hapi::diag::phy_error(__LINE__, HAPI_PHY_E_NOMEM, kNoPowerTable, count, PortItem::Word, kKillStep, -1);
        failed = true;
    }
    std::free(std::exchange(finalPowerState, fresh));
    if (count < 2)
        return failed ? 1 : 0;

    for (int port = 1; port < count; ++port) {
        if (front_port_unmapped(port)) {
            hapi::diag::phy_error(__LINE__, HAPI_PHY_E_WRONG_PORT, kInvalidPort, port, PortItem::Word, kKillStep, -1);
            continue;
        }
        uint32_t type = 0;
        const Status a = read_word(port, Word::PortType, type);
        if (a != Status::ok)
            return fail_access(__LINE__, a, port, PortItem::Word, kKillStep, -1);
        const int physical = hapi::ports::physical_of(port);
        if (type == HAPI_PORT_TYPE_DISABLED) {
            park_disabled_port(physical);
        } else if (hapiPhyInternalSetPowerState(physical, HAPI_POWER_OFF) != 0) {
            hapi::diag::phy_error(__LINE__, HAPI_PHY_E_SPEED_CODE, kKillFailed, port, PortItem::Word, kKillStep,
                                  HAPI_POWER_OFF);
            failed = true;
        }
    }
    return failed ? 1 : 0;
}

HAPI_API int hapiPhyEnterBootPhase(int32_t count) noexcept
{
    constexpr uint32_t kBoot = hapi::diag::kClassBootError;
    // Tables of an earlier boot are reused, so they bound the port count.
    if (portSettings && count > g_capacity)
        return fail(__LINE__, HAPI_PHY_E_PARAM, kMsgWrongParam, count, PortItem::Word, kBootStep, count, kBoot);
    numOfPorts = count;
    veklog_preInit(count);
    if (static_cast<uint32_t>(count - 1) > kMaxPortCount - 1)
        return fail(__LINE__, HAPI_PHY_E_PARAM, kMsgWrongParam, count, PortItem::Word, kBootStep, count, kBoot);

    // portSettingsMutex is statically initialised: initialising it again
    // could break a holding of the link scan during a second boot phase.
    {
        TableLock lock;
        if (!portSettings) {
            portSettings = static_cast<PhyPortSettings *>(std::calloc(static_cast<size_t>(count), sizeof(PhyPortSettings)));
            if (portSettings)
                g_capacity = count;
        }
    }
    if (!portSettings)
        return fail(__LINE__, HAPI_PHY_E_NOMEM, kMsgNoTable, count, PortItem::Word, kBootStep, -1, kBoot);

    hapiPhyInternalKillAllPorts();
    set_phase(HAPI_PHY_PHASE_BOOT);

    if (!allocate_once(portThreadInfo, g_capacity))
        return fail(__LINE__, HAPI_PHY_E_NOMEM, kNoThreadTable, count, PortItem::Word, kBootStep, -1, kBoot);
    if (!allocate_once(portCallbacks, g_capacity))
        return fail(__LINE__, HAPI_PHY_E_NOMEM, kNoCallbackTable, count, PortItem::Word, kBootStep, -1, kBoot);

    vekNetlinkNotifyInit(count);
    for (int32_t n = 1; n <= count; ++n)
        vekNetlinkNotifyAddIntf(n);

    // Newest first in each list: the FDB callbacks run before the notification ones.
    hapiPhyCallbackAllPorts(0, HAPI_CB_LINK_STATE, hapiPhyInftLinkStateCB);
    hapiPhyCallbackAllPorts(0, HAPI_CB_ADMIN_STATE, hapiPhyInftAdminStateCB);
    hapiPhyCallbackAllPorts(0, HAPI_CB_LINK_STATE, hapiBroadAddrLinkStateChangeCB);
    hapiPhyCallbackAllPorts(0, HAPI_CB_ADMIN_STATE, hapiBroadAddrAdminStateChangeCB);
    set_last_error(HAPI_PHY_OK);
    return 0;
}

HAPI_API int hapiPhyEnterUnconfigurePhase(void) noexcept
{
    if (phase() == HAPI_PHY_PHASE_RUNNING) {
        // Killed while still running, so the ports really go down.
        const int r = hapiPhyInternalKillAllPorts();
        set_phase(HAPI_PHY_PHASE_UNCONFIGURE);
        if (r != 0)
            return fail(__LINE__, HAPI_PHY_E_PHASE, kUnconfigureFailed, numOfPorts, PortItem::Word, kUnconfigureStep,
                        -1);
    }
    set_last_error(HAPI_PHY_OK);
    return 0;
}

HAPI_API int hapiPhyEnterRunningPhase(void) noexcept
{
    if (phase() == HAPI_PHY_PHASE_RUNNING) {
        set_last_error(HAPI_PHY_OK);
        return 0;
    }
    set_phase(HAPI_PHY_PHASE_RUNNING);
    if (!finalPowerState || (numOfPorts >= 2 && resurrect_all_ports() != 0))
        return fail(__LINE__, HAPI_PHY_E_PHASE, kRunningFailed, numOfPorts, PortItem::Word, kRunningStep, -1);
    set_last_error(HAPI_PHY_OK);
    return 0;
}
