// Conversions between the port identities. On the board a front-port number
// is also its interface index; elsewhere it is not, so every use of a front
// port as an interface goes through these helpers and the port map.
#pragma once

#include <cstdint>

#include "hapi/hapi_types.h"

namespace hapi::ports {

inline constexpr int kNoPort = -1;
inline constexpr int kBridgeIfindex = 112;  // treated as port 0 by the FDB
inline constexpr const char *kBridgeName = "eth1";
inline constexpr const char *kFrontPortFormat = "port%02u";

// Physical port (interface index) of a logical port; -1 when it has none.
int physical_of(int logical);
// First logical port whose in-use map entry holds physical; -1 when none.
int logical_of(int physical);

// Front port (1..4) whose device has this kernel interface index; -1 when
// the index is no front port's.
int front_port_of(int ifindex);

// Interface name of a front port (logical 1..95) through the map; false when
// the port is unmapped or the kernel knows no such index.
bool front_ifname(int logical, char (&name)[HAPI_IFNAME_SIZE]);

// The usp start-up builds for front port n.
constexpr usp_t front_usp(int n) { return usp_t{1, 1, static_cast<int16_t>(n)}; }

}  // namespace hapi::ports
