// The PHY layer's table access, error reporting and callback invocation,
// shared by every PHY module, and the steps other subsystems call into.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "diag.h"
#include "hapi/hapi_phy.h"

namespace hapi::phy {

inline constexpr const char *kMsgNoTable = "PHY struct is NULL";
inline constexpr const char *kMsgWrongPort = "Wrong port";

inline constexpr uint32_t kShdslDriverPort = 1002;  // netlink port id of the SHDSL line driver

// Words of PhyPortSettings, by position.
enum class Word : unsigned {
    LinkState = 0,
    PortType,
    AdminState,
    CableCrossing,
    AutoPowerDown,
    PowerState,
    AutonegState,
    SpeedDuplex,
    MaxSpeedDuplex,
    Capability0,
    Capability1,
    Advertisement,
    FlowControl,
    LedState,
};

enum class Access { Ok, NoTable, BadPort };

// One word of one port, in its own holding of portSettingsMutex. A port
// outside 0..numOfPorts-1 is refused without touching the table.
Access read_word(int port, Word word, uint32_t &value) noexcept;
Access write_word(int port, Word word, uint32_t value) noexcept;

// lastBCMError may be written by any thread; stores go through here so they
// are single untorn writes.
void set_last_error(int32_t error) noexcept;

// Sets lastBCMError to `error`, sends the error report, returns 1 (the
// failure result of an exported PHY operation).
int fail(int line, int error, const char *message, int port, diag::PortItem width,
         const char *step, int value, uint32_t severity = diag::kClassError) noexcept;

// Reports a refused table access: -17 "PHY struct is NULL" or -18 "Wrong port".
int fail_access(int line, Access access, int port, diag::PortItem width, const char *step,
                int value) noexcept;

// Calls the slot's callbacks of a logical port with (0, physical port, value),
// in list order, with no lock held.
void invoke_callbacks(int port, unsigned slot, uint32_t value) noexcept;

// What an SHDSL link message says.
struct ExternalLink {
    int port;         // logical port (ifi_index)
    uint32_t state;   // 1 up, 2 down
};

// Decodes a netlink message received from `sender`: a link report only when
// it is RTM_NEWLINK from the SHDSL driver and long enough to hold its ifinfomsg.
std::optional<ExternalLink> shdsl_link_message(uint32_t sender, const void *bytes,
                                               std::size_t length) noexcept;

}  // namespace hapi::phy

// External-link step: applies a link state (1 up, 2 down) that the SHDSL line
// driver reported for a logical port. Called by the notification channel's
// receive thread outside its own lock.
void hapiPhyExternalPhyLinkStatusChanged(int logicalPort, uint32_t linkState) noexcept;
