// The PHY layer's table access, error reporting and callback invocation,
// shared by every PHY module, and the steps other subsystems call into.
#pragma once

#include <cstddef>
#include <cstdint>
#include <pthread.h>

#include "core/diag.h"
#include "core/status.h"
#include "hapi/hapi_phy.h"

namespace hapi::phy {

inline constexpr const char *kMsgNoTable = "PHY struct is NULL";
inline constexpr const char *kMsgWrongPort = "Wrong port";
inline constexpr const char *kMsgWrongParam = "Wrong param";
inline constexpr const char *kMsgSetFailed = "Set failed";
inline constexpr const char *kMsgNullInput = "NULL INPUT PARAM";

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

using hapi::Status;

// Holds portSettingsMutex for one access of the table.
class TableLock {
public:
    TableLock() { pthread_mutex_lock(&portSettingsMutex); }
    ~TableLock() { pthread_mutex_unlock(&portSettingsMutex); }
    TableLock(const TableLock &) = delete;
    TableLock &operator=(const TableLock &) = delete;
};

// One word of one port, in its own holding of portSettingsMutex: not_ready
// without the table; a port outside 0..numOfPorts-1 is out_of_range and
// refused without touching the table.
Status read_word(int port, Word word, uint32_t &value) noexcept;
Status write_word(int port, Word word, uint32_t value) noexcept;

// lastBCMError may be written by any thread; stores go through here so they
// are single untorn writes.
void set_last_error(int32_t error) noexcept;

// Sets lastBCMError to `error`, sends the error report, returns 1 (the
// failure result of an exported PHY operation).
int fail(int line, int error, const char *message, int port, diag::PortItem width,
         const char *step, int value, uint32_t severity = diag::kClassError) noexcept;

// Reports a refused table access: -17 "PHY struct is NULL" or -18 "Wrong port".
int fail_access(int line, Status access, int port, diag::PortItem width, const char *step,
                int value) noexcept;

// Calls the slot's callbacks of a logical port with (0, physical port, value),
// in list order, with no lock held.
void invoke_callbacks(int port, unsigned slot, uint32_t value) noexcept;

// One pass of the link scan over logical ports 1..numOfPorts-1; false when
// the PHY table is missing and the scan must end.
bool linkscan_pass() noexcept;

// Brings a port kept disabled (type 5) down and waits out any notification
// send in flight.
void park_disabled_port(int physical) noexcept;

// Starts the SFP signal scan thread of a logical port: 0 or the error number.
int start_sfp_thread(int port) noexcept;


}  // namespace hapi::phy

// External-link step: applies a link state (1 up, 2 down) that the SHDSL line
// driver reported for a logical port. Called by the notification channel's
// receive thread outside its own lock.
void hapiPhyExternalPhyLinkStatusChanged(int logicalPort, uint32_t linkState) noexcept;

// Applies a link state (1 up, 2 down) to a logical port with the forced-down
// rule of disabled ports, tells the link callbacks and updates the LED.
void hapiPhyInternalSetLinkstate(int logicalPort, uint32_t state) noexcept;

// Power state 3 or 4 of a physical port: applied in the running phase,
// recorded in finalPowerState otherwise. 0, -4, -11, -18 (no logical port),
// 1 (no table) or the device layer's error.
int hapiPhyInternalSetPowerState(int physicalPort, uint32_t state) noexcept;

// Powers every front port down (or records it outside the running phase)
// after allocating a fresh finalPowerState: 0 or 1.
int hapiPhyInternalKillAllPorts() noexcept;

// Start routines of the link scan thread and of an SFP port's thread (its
// argument a malloc'ed int holding the logical port, freed by the thread).
void *hapiPhyInternalLinkstatus_handler(void *unused) noexcept;
void *sfpSignalScanThread(void *argument) noexcept;

// The callbacks the boot phase registers to keep the notification channel's
// port flags in step with link and admin state.
int hapiPhyInftLinkStateCB(uint32_t unit, uint32_t physicalPort, uint32_t state) noexcept;
int hapiPhyInftAdminStateCB(uint32_t unit, uint32_t physicalPort, uint32_t state) noexcept;
