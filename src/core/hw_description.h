// First stage of start-up: the switching-hardware record, the platform's
// parameter store, front-port mapping and the port interfaces' MAC addresses.
#pragma once

namespace hapi::startup {

// Runs the first stage; returns N, the number of physical port interfaces.
int describe_hardware();

// Gives interfaces 1..count the base MAC plus their number (low 16 bits).
void assign_mac_addresses(int count, const unsigned char (&baseMac)[6]);

}  // namespace hapi::startup
