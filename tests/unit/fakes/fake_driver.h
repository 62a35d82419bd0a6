// A model of the board's port driver for the unit tests: per interface, the
// ethtool state that SIOCETHTOOL requests read and write, and the effect of
// the "ethtool -s" commands the library runs through the shell.
#pragma once

#include <cstdint>
#include <linux/ethtool.h>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "fake_os.h"

namespace fake {

struct Port {
    ethtool_cmd settings{};      // answers ETHTOOL_GSET, replaced by ETHTOOL_SSET
    uint32_t link = 1;           // ETHTOOL_GLINK
    ethtool_pauseparam pause{};  // ETHTOOL_GPAUSEPARAM / SPAUSEPARAM
    std::vector<uint32_t> dump;  // buffer words, header included; GREGS serves those after the header
    unsigned counterClears = 0;  // private command 0x52
    uint32_t maxSpeed = 1000;    // "ethtool -s" with a higher speed is refused
    std::set<uint32_t> failing;  // ethtool commands answered with EIO
};

struct Driver {
    Lock lock;
    std::map<std::string, Port> ports;
    // Every SIOCETHTOOL received: interface name as sent, ethtool command.
    std::vector<std::pair<std::string, uint32_t>> requests;

    size_t count(uint32_t command) const;
};

Driver &driver();

// Serves SIOCETHTOOL through fake::os().ioctlHook and "ethtool -s" commands
// through its shellHook; a command scripted in fake::os().shellResult keeps
// that result and does not reach the driver.
void install_driver();

// A driver port for an existing fake interface: 1000 Mb/s full duplex,
// twisted pair, autonegotiation on, link up, pause all on, and a dump of
// `dumpWords` words where word k (counted from the buffer start, header
// included) holds tag << 16 | k, so a reader can tell whose dump it has.
Port &add_port(const std::string &name, uint32_t tag, uint32_t dumpWords = 739);

}  // namespace fake
