// Unit fixture with the PHY tables in place, as the boot phase leaves them:
// logical ports 0..4, front ports 1..4 on interfaces 1..4 (port00..port03),
// and link callbacks that record their calls.
#pragma once

#include <array>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "hapi/hapi_init.h"
#include "hapi/hapi_phy.h"
#include "unit_fixture.h"

class PhyTableTest : public UnitTest {
protected:
    static constexpr int kPorts = 5;
    using Call = std::array<uint32_t, 3>;  // unit, physical port, value

    void SetUp() override
    {
        UnitTest::SetUp();
        add_front_interfaces();
        for (int p = 0; p < HAPI_MAX_LOGICAL_PORTS; ++p)
            torvikSwitchingHw.portMap[p] = p >= 1 && p <= 4 ? SwitchPortMapEntry{0, 0, static_cast<int16_t>(p)}
                                                            : SwitchPortMapEntry{0xFF, 0xFF, -1};
        // Tables are never freed by the library either; they stay reachable.
        numOfPorts = kPorts;
        portSettings = static_cast<PhyPortSettings *>(std::calloc(kPorts, sizeof(PhyPortSettings)));
        portCallbacks = static_cast<PortCallbackSlots *>(std::calloc(kPorts, sizeof(PortCallbackSlots)));
        calls().clear();
    }

    // Puts fn at the head of a port's slot list, as registration does.
    static void add_callback(int port, unsigned slot, PhyPortCallback fn)
    {
        portCallbacks[port].slot[slot] = new PortCallbackNode{fn, portCallbacks[port].slot[slot]};
    }

    static std::vector<Call> &calls()
    {
        static std::vector<Call> recorded;
        return recorded;
    }
    static int record(uint32_t unit, uint32_t physical, uint32_t value)
    {
        calls().push_back({unit, physical, value});
        return 0;
    }
};
