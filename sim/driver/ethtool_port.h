// SIOCETHTOOL requests on the board's ports ("portNN") that veth cannot
// answer: settings, link settings, driver info with a register dump, the
// counter dump, pause parameters and the private counter clear (0x52).
#pragma once

#include <optional>

namespace simdrv {

using RealIoctl = int (*)(int, unsigned long, ...);

// The outcome of a request the driver answers (0 or an errno value), or
// nothing when the request goes to the kernel unchanged.
std::optional<int> ethtool_request(int fd, const char *ifname, void *data, RealIoctl kernel);

}  // namespace simdrv
