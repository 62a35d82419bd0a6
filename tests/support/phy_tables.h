// The PHY tables as the boot phase leaves them, for tests that do not run it:
// `ports` logical ports (0: no tables at all), the internal port 0 on 0,
// front ports 1..4 on the given interface indexes (-1: unmapped), every
// other logical port unmapped.
// Installed for the object's lifetime; on destruction whatever the tables
// hold then (a boot phase's allocations, registered callbacks) is freed and
// the globals are put back as they were, so tests stay order-independent.
#pragma once

#include <array>
#include <cstdlib>

#include "hapi/hapi_init.h"
#include "hapi/hapi_phy.h"

namespace hapi_test {

class PhyTables {
public:
    explicit PhyTables(int ports = 5, std::array<int, 4> fronts = {1, 2, 3, 4})
        : ports_(ports), settings_(portSettings), callbacks_(portCallbacks), threads_(portThreadInfo),
          power_(finalPowerState), phase_(phyDeviceState), error_(lastBCMError), hw_(torvikSwitchingHw)
    {
        for (int p = 0; p < HAPI_MAX_LOGICAL_PORTS; ++p) {
            const int physical = p == 0 ? 0 : p <= 4 ? fronts[static_cast<size_t>(p - 1)] : -1;
            torvikSwitchingHw.portMap[p] = physical < 0 ? SwitchPortMapEntry{0xFF, 0xFF, -1}
                                                        : SwitchPortMapEntry{0, 0, static_cast<int16_t>(physical)};
        }
        numOfPorts = ports;
        portSettings = ports ? alloc<PhyPortSettings>() : nullptr;
        portCallbacks = ports ? alloc<PortCallbackSlots>() : nullptr;
        portThreadInfo = ports ? alloc<PortThreadInfo>() : nullptr;
        finalPowerState = ports ? alloc<uint32_t>() : nullptr;
        phyDeviceState = HAPI_PHY_PHASE_NONE;
        lastBCMError = HAPI_PHY_OK;
    }
    ~PhyTables()
    {
        // A boot phase may have allocated the tables for numOfPorts ports.
        const int count = portCallbacks && ports_ == 0 ? numOfPorts : ports_;
        for (int p = 0; portCallbacks && p < count; ++p)
            for (PortCallbackNode *head : portCallbacks[p].slot)
                while (PortCallbackNode *n = head) {
                    head = n->next;
                    delete n;
                }
        std::free(portSettings);
        std::free(portCallbacks);
        std::free(portThreadInfo);
        std::free(finalPowerState);
        numOfPorts = saved_ports_;
        portSettings = settings_;
        portCallbacks = callbacks_;
        portThreadInfo = threads_;
        finalPowerState = power_;
        phyDeviceState = phase_;
        lastBCMError = error_;
        torvikSwitchingHw = hw_;
    }
    PhyTables(const PhyTables &) = delete;
    PhyTables &operator=(const PhyTables &) = delete;

    // Puts fn at the head of a port's slot list, as registration does.
    static void on(int port, unsigned slot, PhyPortCallback fn)
    {
        portCallbacks[port].slot[slot] = new PortCallbackNode{fn, portCallbacks[port].slot[slot]};
    }

private:
    template <typename T>
    T *alloc() const
    {
        return static_cast<T *>(std::calloc(static_cast<size_t>(ports_), sizeof(T)));
    }
    int ports_;
    int saved_ports_ = numOfPorts;
    PhyPortSettings *settings_;
    PortCallbackSlots *callbacks_;
    PortThreadInfo *threads_;
    uint32_t *power_;
    int32_t phase_, error_;
    torvikSwitchingHwType hw_;
};

}  // namespace hapi_test
