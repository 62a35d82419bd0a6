// QoS steps shared inside the library: the mapping applied to all ports and
// the port default priority filter (also used by the port priority setting).
#pragma once

#include <cstdint>

namespace hapi::qos {

inline constexpr int kFrontPorts = 4;
inline constexpr int kBands = 8;

// Owners of the filter priorities on a port's ingress discipline.
inline constexpr int kPrioStorm = 1;
inline constexpr int kPrioPcp = 2;
inline constexpr int kPrioDefault = 3;
inline constexpr int kPrioPvidMark = 4;

// Traffic class 7 leaves by band 1:1, class 0 by 1:8.
constexpr int class_of(uint8_t trafficClass) { return kBands - trafficClass; }

// Applies a map to the four ports in order: 0, or 1 at the first failure.
int sysQosDot1pMappingSet(const uint8_t (&map)[kBands]);

// Replaces the port's default priority filter: 0; 1 bad priority or failed
// command; 2 when the filter count could not be run.
int setSysQvlanPortPriority(const char *ifname, unsigned priority);

// Opens and binds the protocol-30 socket into _portprio_sockfd; false on failure.
bool vekInitPortPriorityMap();

}  // namespace hapi::qos
