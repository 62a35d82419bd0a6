// Admin state and power state of a port. Enabling powers the port; the
// configured power state takes effect only while the port is disabled.
#include "hapi/hapi_veketh.h"
#include "phy/phy.h"
#include "core/port_map.h"

namespace {

using hapi::diag::PortItem;
using namespace hapi::phy;

constexpr const char *kAdminStep = "hapiPhyAdminstate";
constexpr const char *kPowerStep = "hapiPhyPowerState";
constexpr const char *kSet = "Function call-SET";
constexpr const char *kSetDisabled = "Function call-SET(adminstatus=OFF)";
constexpr const char *kSetEnabled = "Function call-SET(adminstatus=ON)";
constexpr const char *kPowerFailed = "PowerState set failed";
constexpr auto kWidth = PortItem::FromUsp;

struct Target {
    int port;
    int physical;
};

// Common checks: the logical and physical port, or a failure already reported.
bool target_of(const usp_t *usp, const PhyStateCommand *block, const char *step, Target &out)
{
    if (!usp || !block) {
        fail(__LINE__, HAPI_PHY_E_PARAM, kMsgNullInput, -1, kWidth, step, -1);
        return false;
    }
    out.port = usp->port;
    out.physical = hapi::ports::physical_of(out.port);
    if (out.physical == hapi::ports::kNoPort) {
        fail(__LINE__, HAPI_PHY_E_WRONG_PORT, kMsgWrongPort, out.port, kWidth, step, -1);
        return false;
    }
    return true;
}

// One word, or false after the report.
bool read(const Target &t, Word word, uint32_t &value, const char *step)
{
    const Status a = read_word(t.port, word, value);
    if (a != Status::ok)
        fail_access(__LINE__, a, t.port, kWidth, step, -1);
    return a == Status::ok;
}

// The part both SETs share once the value is accepted: store, callbacks,
// LED, and a link re-evaluation of a port left with link up but not powered on.
int finish_set(const Target &t, Word word, unsigned slot, uint32_t value, const char *step)
{
    const Status a = write_word(t.port, word, value);
    if (a != Status::ok)
        return fail_access(__LINE__, a, t.port, kWidth, step, static_cast<int>(value));
    invoke_callbacks(t.port, slot, value);
    hapiPhyCheckLEDAdminState(t.port);
    uint32_t power = 0, link = 0;
    if (!read(t, Word::PowerState, power, step) || !read(t, Word::LinkState, link, step))
        return 1;
    if (link == HAPI_LINK_UP && power != HAPI_POWER_ON)
        hapiPhyInternalSetLinkstate(t.port, HAPI_LINK_UP);
    set_last_error(HAPI_PHY_OK);
    return 0;
}

int get(const Target &t, Word word, PhyStateCommand *block, const char *step)
{
    uint32_t value = 0;
    if (!read(t, word, value, step))
        return 1;
    block->value = static_cast<uint16_t>(value);
    set_last_error(HAPI_PHY_OK);
    return 0;
}

bool power_value(uint32_t v) { return v == HAPI_POWER_ON || v == HAPI_POWER_OFF; }

}  // namespace

HAPI_API int hapiPhyAdminstate(const usp_t *usp, uint32_t, PhyStateCommand *block) noexcept
{
    Target t{};
    uint32_t type = 0;
    if (!target_of(usp, block, kAdminStep, t) || !read(t, Word::PortType, type, kAdminStep))
        return 1;
    if (block->command == HAPI_PHY_CMD_GET)
        return get(t, Word::AdminState, block, kAdminStep);
    if (block->command != HAPI_PHY_CMD_SET)
        return fail(__LINE__, HAPI_PHY_E_PARAM, kMsgWrongParam, t.port, kWidth, kAdminStep, 0);

    const uint32_t value = block->value;
    hapi::diag::phy_success(__LINE__, t.port, kAdminStep, kSet, static_cast<int>(value));
    if (type == HAPI_PORT_TYPE_DISABLED) {
        park_disabled_port(t.physical);  // kept down whatever is asked
    } else if (value == HAPI_ADMIN_ENABLED) {
        if (const int r = hapiPhyInternalSetPowerState(t.physical, HAPI_POWER_ON); r != 0)
            return fail(__LINE__, r, kPowerFailed, t.port, kWidth, kAdminStep, HAPI_POWER_ON);
    } else if (value == HAPI_ADMIN_DISABLED) {
        uint32_t power = 0;
        if (!read(t, Word::PowerState, power, kAdminStep))
            return 1;
        if (power != 0) {
            if (const int r = hapiPhyInternalSetPowerState(t.physical, power); r != 0)
                return fail(__LINE__, r, kPowerFailed, t.port, kWidth, kAdminStep, static_cast<int>(power));
        }
    } else {
        return fail(__LINE__, HAPI_PHY_E_PARAM, kMsgWrongParam, t.port, kWidth, kAdminStep, static_cast<int>(value));
    }
    return finish_set(t, Word::AdminState, HAPI_CB_ADMIN_STATE, value, kAdminStep);
}

HAPI_API int hapiPhyPowerState(const usp_t *usp, uint32_t, PhyStateCommand *block) noexcept
{
    Target t{};
    if (!target_of(usp, block, kPowerStep, t))
        return 1;
    if (block->command != HAPI_PHY_CMD_SET)
        return get(t, Word::PowerState, block, kPowerStep);

    const uint32_t value = block->value;
    uint32_t admin = 0;
    if (!read(t, Word::AdminState, admin, kPowerStep))
        return 1;
    if (admin == HAPI_ADMIN_DISABLED) {
        if (const int r = hapiPhyInternalSetPowerState(t.physical, value); r != 0)
            return fail(__LINE__, r, kMsgSetFailed, t.port, kWidth, kPowerStep, static_cast<int>(value));
        hapi::diag::phy_success(__LINE__, t.port, kPowerStep, kSetDisabled, static_cast<int>(value));
    } else {
        if (!power_value(value))
            return fail(__LINE__, HAPI_PHY_E_PARAM, kMsgWrongParam, t.port, kWidth, kPowerStep,
                        static_cast<int>(value));
        hapi::diag::phy_success(__LINE__, t.port, kPowerStep, kSetEnabled, static_cast<int>(value));
    }
    return finish_set(t, Word::PowerState, HAPI_CB_POWER_STATE, value, kPowerStep);
}
