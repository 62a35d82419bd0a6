// Port attributes answered from, or written through, the interface's ethtool settings.
#include <syslog.h>

#include "core/os.h"
#include "ethdev/ethdev.h"
#include "ethdev/messages.h"

using namespace hapi;

namespace {

constexpr uint32_t kMaxSpeed = 1000;   // reported for every port, and for a port without link
constexpr uint8_t kPortNone = 0xEF;    // PORT_NONE
constexpr uint8_t kPortOther = 0xFF;   // PORT_OTHER

enum class Mask { Advertised, Supported };

// Prologue and settings read shared by the getters: ok with cmd filled,
// bad_argument without an output, not_found for an unknown index, failed
// when the settings cannot be read. `readFailed`, when given, is logged
// after a failed read.
Status read_port(uint32_t ifindex, const void *out, ethtool_cmd &cmd, const char *step, int line,
                 const char *readFailed = nullptr)
{
    if (!eth::output_given(out, step, line))
        return Status::bad_argument;
    char name[IFNAMSIZ] = {};
    if (!eth::port_name(ifindex, name, step, line))
        return Status::not_found;
    if (vekget_intf_settings(name, &cmd) == 0)
        return Status::ok;
    if (readFailed)
        os::syslog(LOG_ERR, readFailed, step, line);
    return Status::failed;
}

int read_mask(uint32_t ifindex, uint32_t *out, Mask which, const char *step, int line)
{
    ethtool_cmd cmd = {};
    const Status s = read_port(ifindex, out, cmd, step, line);
    if (s == Status::bad_argument || s == Status::not_found)
        return eth::kPortCodes(s);
    // A port whose settings cannot be read still reports a mask: 1.
    *out = s != Status::ok ? 1 : which == Mask::Advertised ? cmd.advertising : cmd.supported;
    os::syslog(LOG_DEBUG, eth::msg::kAbilityTrace, static_cast<int>(*out), step, line);
    return eth::kPortCodes(s);
}

}  // namespace

HAPI_API int veketh_port_enable_get(uint32_t ifindex, uint32_t *enable) noexcept
{
    ethtool_cmd cmd = {};
    const Status s = read_port(ifindex, enable, cmd, "veketh_port_enable_get", __LINE__);
    if (s == Status::ok)
        *enable = cmd.duplex == DUPLEX_UNKNOWN ? 0 : 1;
    return eth::kPortCodes(s);
}

HAPI_API int veketh_port_speed_get(uint32_t ifindex, uint32_t *speed) noexcept
{
    ethtool_cmd cmd = {};
    const Status s = read_port(ifindex, speed, cmd, "veketh_port_speed_get", __LINE__);
    if (s == Status::ok)
        *speed = cmd.duplex == DUPLEX_UNKNOWN ? kMaxSpeed : cmd.speed;
    return eth::kPortCodes(s);
}

HAPI_API int veketh_port_duplex_get(uint32_t ifindex, uint32_t *duplex) noexcept
{
    ethtool_cmd cmd = {};
    const Status s = read_port(ifindex, duplex, cmd, "veketh_port_duplex_get", __LINE__, eth::msg::kNoMedium);
    if (s == Status::ok)
        *duplex = cmd.duplex == DUPLEX_HALF ? 0 : 1;  // unknown counts as full
    return eth::kPortCodes(s);
}

HAPI_API int veketh_port_medium_get(uint32_t ifindex, uint32_t *medium) noexcept
{
    ethtool_cmd cmd = {};
    const Status s = read_port(ifindex, medium, cmd, "veketh_port_medium_get", __LINE__, eth::msg::kNoMedium);
    if (s == Status::ok)
        *medium = cmd.port == kPortNone || cmd.port == kPortOther ? 0 : cmd.port;
    return eth::kPortCodes(s);
}

HAPI_API int veketh_port_advert_get(uint32_t ifindex, uint32_t *advertising) noexcept
{
    return read_mask(ifindex, advertising, Mask::Advertised, "veketh_port_advert_get", __LINE__);
}

HAPI_API int veketh_port_ability_local_get(uint32_t ifindex, uint32_t *supported) noexcept
{
    return read_mask(ifindex, supported, Mask::Supported, "veketh_port_ability_local_get", __LINE__);
}

HAPI_API int veketh_port_advert_set(uint32_t ifindex, uint32_t advertising) noexcept
{
    constexpr const char *kStep = "veketh_port_advert_set";
    char name[IFNAMSIZ] = {};
    if (!eth::port_name(ifindex, name, kStep, __LINE__))
        return -18;
    ethtool_cmd cmd = {};
    if (vekget_intf_settings(name, &cmd) != 0) {
        os::syslog(LOG_ERR, eth::msg::kCheckRead, kStep, __LINE__);
        return 0;  // skipped, not an error
    }
    cmd.advertising = advertising;
    return vekset_intf_settings(name, &cmd);
}

HAPI_API int veketh_port_speed_max(uint32_t, uint32_t *speed) noexcept
{
    if (!speed)
        return -4;
    *speed = kMaxSpeed;
    return 0;
}

// PHY registers are not reachable on this board: reads leave the output alone.
HAPI_API int veketh_port_phy_get(uint32_t, uint32_t, uint32_t, uint32_t *value) noexcept
{
    return eth::output_given(value, "veketh_port_phy_get", __LINE__) ? 0 : -4;
}

HAPI_API int veketh_port_phy_set(int, uint32_t, uint32_t, uint32_t, uint32_t) noexcept { return 0; }
