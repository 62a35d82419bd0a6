#include "core/port_map.h"
#include "core_fixture.h"
#include "hapi/hapi_port.h"

namespace {

class PortNumbering : public CoreTest {
protected:
    void SetUp() override
    {
        CoreTest::SetUp();
        start_with_pc_indexes();
        fake::add_interface("eth1", 112);
    }
};

TEST_F(PortNumbering, PhysicalAndLogicalGoThroughTheMap)
{
    // Empty entries (-1) are not in use; the low 16 bits of a physical port decide.
    for (auto [physical, logical] : {std::pair{0, 0}, {9, 3}, {11, -1}, {-1, -1}, {9 + 0x10000, 3}}) {
        SCOPED_TRACE(physical);
        EXPECT_EQ(hapi::ports::logical_of(physical), logical);
    }
    EXPECT_EQ(getLogicPortFromPhysicalPort(9), 3);
    EXPECT_EQ(getLogicPortFromPhysicalPort(11), 255);
    for (auto [logical, physical] : {std::pair{0, 0}, {2, 8}, {5, -1}, {95, -1}, {96, -1}, {-1, -1}}) {
        SCOPED_TRACE(logical);
        EXPECT_EQ(hapi::ports::physical_of(logical), physical);
    }
}

TEST_F(PortNumbering, InterfaceNames)
{
    char name[HAPI_IFNAME_SIZE] = {};
    ASSERT_TRUE(hapi::ports::front_ifname(3, name));
    EXPECT_STREQ(name, "port02");
    EXPECT_FALSE(hapi::ports::front_ifname(0, name));  // the internal port has no device
    EXPECT_FALSE(hapi::ports::front_ifname(5, name));
    EXPECT_EQ(vek_port_intf_name(112, name), 0);
    EXPECT_STREQ(name, "eth1");
    EXPECT_EQ(vek_port_intf_name(4242, name), 2);
    EXPECT_EQ(vek_port_intf_name(7, nullptr), 2);
    // The number after "port" anywhere in the name, plus one; eth1 is port 0.
    const std::pair<const char *, int> rows[] = {{"port02", 3}, {"abcport7", 8}, {"port", 1}, {"eth1", 0},
                                                 {"eth1x", 0}, {"eth", -1}, {"foo", -1}, {nullptr, -1}};
    for (const auto &[ifname, port] : rows) {
        SCOPED_TRACE(ifname ? ifname : "(null)");
        EXPECT_EQ(getPortFromIfName(ifname), port);
    }
}

}  // namespace
