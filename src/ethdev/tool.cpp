// Port attributes set by running the ethtool tool.
#include <cstdio>
#include <syslog.h>

#include "hapi/hapi_phy.h"
#include "core/os.h"
#include "ethdev/ethdev.h"
#include "ethdev/messages.h"

using namespace hapi;

namespace {

constexpr size_t kCommandSize = 64;

struct ToolStep {
    const char *name;
    const char *checkFailed;  // logged when the interface does not answer; the change is skipped
    const char *shellFailed;
};

// Runs the command that `format` builds from the interface name; the tool's
// own exit status is not ours to judge, only a shell that could not run.
template <typename... Args>
Status run_tool(uint32_t ifindex, const ToolStep &step, const char *format, Args... args)
{
    char name[IFNAMSIZ] = {};
    if (!eth::port_name(ifindex, name, step.name, __LINE__))
        return Status::not_found;
    ethtool_cmd check;
    if (vekget_intf_settings(name, &check) != 0) {
        os::syslog(LOG_ERR, step.checkFailed, step.name, __LINE__);
        return Status::ok;  // skipped, not an error
    }
    if (!format)
        return Status::ok;  // a mode with no command
    char command[kCommandSize] = {};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    std::snprintf(command, sizeof command, format, name, args...);
#pragma GCC diagnostic pop
    if (os::shell(command) == -1) {
        os::syslog(LOG_ERR, step.shellFailed, step.name, __LINE__);
        return Status::os_error;
    }
    return Status::ok;
}

const char *duplex_word() { return ethPortDuplex ? "full" : "half"; }

}  // namespace

HAPI_API int veketh_port_speed_set(uint32_t ifindex, uint32_t) noexcept
{
    static constexpr ToolStep kStep{"veketh_port_speed_set", eth::msg::kCheckRead, eth::msg::kSpeedFailed};
    return eth::kPortCodes(
        run_tool(ifindex, kStep, eth::msg::kCmdSpeedDuplex, static_cast<int>(ethPortSpeed), duplex_word()));
}

HAPI_API int veketh_port_duplex_set(uint32_t ifindex, uint32_t) noexcept
{
    static constexpr ToolStep kStep{"veketh_port_duplex_set", eth::msg::kCheckRead, eth::msg::kDuplexFailed};
    return eth::kPortCodes(
        run_tool(ifindex, kStep, eth::msg::kCmdSpeedDuplex, static_cast<int>(ethPortSpeed), duplex_word()));
}

HAPI_API int veketh_port_autoneg_set(uint32_t ifindex, uint32_t) noexcept
{
    static constexpr ToolStep kStep{"veketh_port_autoneg_set", eth::msg::kCheckRead, eth::msg::kAutonegFailed};
    return eth::kPortCodes(
        run_tool(ifindex, kStep, eth::msg::kCmdAutoneg, ethPortAutonegStatus ? "on" : "off"));
}

HAPI_API int veketh_port_mdix_set(uint32_t ifindex, int32_t mode) noexcept
{
    static constexpr ToolStep kStep{"veketh_port_mdix_set", eth::msg::kNoMedium, eth::msg::kMdixFailed};
    static constexpr const char *kModes[] = {nullptr, "off", "on", "auto"};  // 1 MDI, 2 MDI-X, 3 auto
    const char *word = mode >= 1 && mode <= 3 ? kModes[mode] : nullptr;
    return eth::kPortCodes(run_tool(ifindex, kStep, word ? eth::msg::kCmdMdix : nullptr, word));
}
