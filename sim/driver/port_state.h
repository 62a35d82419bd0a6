// What the substitute driver remembers of one port, shared by every process
// of the board: a text file "driver/portNN" in the run directory, read and
// rewritten under an exclusive flock.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "link_stats.h"

namespace simdrv {

struct PortState {
    uint32_t speed = 100;  // Mb/s
    uint32_t duplex = 1;   // DUPLEX_FULL
    uint32_t autoneg = 1;
    uint32_t advertising = 0;  // set to the supported modes when the state is made
    uint32_t mdixCtrl = 3;     // ETH_TP_MDI_AUTO
    uint32_t pauseAutoneg = 0;
    uint32_t pauseRx = 0;
    uint32_t pauseTx = 0;
    LinkStats baseline{};  // kernel counters at the last counter clear
};

// Runs `change` on the port's state under the lock and stores the result when
// `change` returns true. False when the run directory cannot be used.
bool with_port_state(const std::string &ifname, const std::function<bool(PortState &)> &change);

// Text form, one "key value..." line per field; unknown keys are ignored.
std::string format_state(const PortState &state);
PortState parse_state(const std::string &text);

}  // namespace simdrv
