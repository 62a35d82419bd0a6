// The PHY the substitute driver pretends to be: copper, 10/100/1000 with
// autonegotiation, symmetric and asymmetric pause, register dump of the size
// the library's buffer holds.
#pragma once

#include <cstdint>
#include <linux/ethtool.h>

namespace simdrv {

inline constexpr uint32_t kSupported =
    SUPPORTED_10baseT_Half | SUPPORTED_10baseT_Full | SUPPORTED_100baseT_Half |
    SUPPORTED_100baseT_Full | SUPPORTED_1000baseT_Full | SUPPORTED_Autoneg | SUPPORTED_TP |
    SUPPORTED_Pause | SUPPORTED_Asym_Pause;

// Dump data bytes; the library's dump buffer is a 12-byte header and 2956 bytes.
inline constexpr uint32_t kRegDumpLen = 2956;
inline constexpr uint32_t kRegDumpVersion = 1;
// The board driver's private request: clear this interface's counters.
inline constexpr uint32_t kClearCounters = 0x52;
inline constexpr const char *kDriverName = "hapi-simport";

// Is (speed, duplex) a mode this PHY can be forced to?
constexpr bool forcible(uint32_t speed, uint32_t duplex)
{
    if (duplex != DUPLEX_HALF && duplex != DUPLEX_FULL)
        return false;
    return speed == SPEED_10 || speed == SPEED_100 || (speed == SPEED_1000 && duplex == DUPLEX_FULL);
}

}  // namespace simdrv
