#include "core/port_map.h"

#include <cstdlib>
#include <cstring>

#include "hapi/hapi_init.h"
#include "hapi/hapi_port.h"
#include "core/os.h"

namespace hapi::ports {

int physical_of(int logical)
{
    if (logical < 0 || logical >= HAPI_MAX_LOGICAL_PORTS)
        return kNoPort;
    return torvikSwitchingHw.portMap[logical].physicalPort;
}

int logical_of(int physical)
{
    const auto wanted = static_cast<int16_t>(physical);
    for (int i = 0; i < HAPI_MAX_LOGICAL_PORTS; ++i) {
        const SwitchPortMapEntry &e = torvikSwitchingHw.portMap[i];
        if (e.unit == 0 && e.module == 0 && e.physicalPort == wanted)
            return i;
    }
    return kNoPort;
}

int front_port_of(int ifindex)
{
    if (ifindex <= 0 || ifindex > INT16_MAX)
        return kNoPort;
    const int logical = logical_of(ifindex);
    return logical >= 1 && logical <= HAPI_FRONT_PORT_COUNT ? logical : kNoPort;
}

bool front_ifname(int logical, char (&name)[HAPI_IFNAME_SIZE])
{
    const int physical = physical_of(logical);
    if (physical <= 0)
        return false;
    return os::if_indextoname(static_cast<unsigned>(physical), name) != nullptr;
}

}  // namespace hapi::ports

using namespace hapi;

extern "C" HAPI_API uint8_t getLogicPortFromPhysicalPort(int16_t physicalPort) noexcept
{
    const int logical = ports::logical_of(physicalPort);
    return logical == ports::kNoPort ? 255 : static_cast<uint8_t>(logical);
}

extern "C" HAPI_API int vek_port_intf_name(int ifindex, char *name) noexcept
{
    if (!name || ifindex <= 0)
        return 2;
    return os::if_indextoname(static_cast<unsigned>(ifindex), name) ? 0 : 2;
}

extern "C" HAPI_API int getPortFromIfName(const char *name) noexcept
{
    if (!name)
        return -1;
    if (const char *at = std::strstr(name, "port"))
        return std::atoi(at + 4) + 1;
    if (std::strncmp(name, "eth1", 4) == 0)
        return 0;
    return -1;
}
