// Unit fixture with the PHY tables in place, as the boot phase leaves them
// (logical ports 0..4, front ports 1..4 on interfaces 1..4, port00..port03),
// and a link callback that records its calls.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "phy_tables.h"
#include "unit_fixture.h"

class PhyTableTest : public UnitTest {
protected:
    static constexpr int kPorts = 5;
    using Call = std::array<uint32_t, 3>;  // unit, physical port, value

    void SetUp() override
    {
        UnitTest::SetUp();
        add_front_interfaces();
        calls().clear();
    }
    static void add_callback(int port, unsigned slot, PhyPortCallback fn) { hapi_test::PhyTables::on(port, slot, fn); }
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

    hapi_test::PhyTables tables{kPorts};
};
