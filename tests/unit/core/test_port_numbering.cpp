#include "hapi/hapi_init.h"
#include "hapi/hapi_port.h"
#include "core/port_map.h"
#include "unit_fixture.h"

namespace {

class PortNumbering : public UnitTest {
protected:
    void SetUp() override
    {
        UnitTest::SetUp();
        // Front ports at kernel indexes other than their numbers, as on a PC.
        platform().uspToPhysical = {{1, 7}, {2, 8}, {3, 9}, {4, 10}};
        os().interfaces.clear();
        fake::add_interface("port00", 7);
        fake::add_interface("port01", 8);
        fake::add_interface("port02", 9);
        fake::add_interface("port03", 10);
        fake::add_interface("eth1", 112);
        ASSERT_EQ(hapiInit(), 0);
    }
};

TEST_F(PortNumbering, PhysicalToLogical)
{
    EXPECT_EQ(getLogicPortFromPhysicalPort(0), 0);
    EXPECT_EQ(getLogicPortFromPhysicalPort(9), 3);
    EXPECT_EQ(getLogicPortFromPhysicalPort(11), 255);
    EXPECT_EQ(getLogicPortFromPhysicalPort(-1), 255);  // empty entries are not in use
    EXPECT_EQ(hapi::ports::logical_of(9 + 0x10000), 3);  // low 16 bits decide
}

TEST_F(PortNumbering, LogicalToPhysical)
{
    EXPECT_EQ(hapi::ports::physical_of(0), 0);
    EXPECT_EQ(hapi::ports::physical_of(2), 8);
    EXPECT_EQ(hapi::ports::physical_of(5), -1);
    EXPECT_EQ(hapi::ports::physical_of(95), -1);
    EXPECT_EQ(hapi::ports::physical_of(96), -1);
    EXPECT_EQ(hapi::ports::physical_of(-1), -1);
}

TEST_F(PortNumbering, FrontPortNamesGoThroughTheMap)
{
    char name[HAPI_IFNAME_SIZE] = {};
    ASSERT_TRUE(hapi::ports::front_ifname(3, name));
    EXPECT_STREQ(name, "port02");
    EXPECT_FALSE(hapi::ports::front_ifname(0, name));  // the internal port has no device
    EXPECT_FALSE(hapi::ports::front_ifname(5, name));
}

TEST_F(PortNumbering, InterfaceNameOfIndex)
{
    char name[HAPI_IFNAME_SIZE] = {};
    EXPECT_EQ(vek_port_intf_name(112, name), 0);
    EXPECT_STREQ(name, "eth1");
    EXPECT_EQ(vek_port_intf_name(4242, name), 2);
    EXPECT_EQ(vek_port_intf_name(7, nullptr), 2);
}

TEST_F(PortNumbering, LogicalPortFromInterfaceName)
{
    char third[16];
    std::snprintf(third, sizeof third, "port%02u", 2u);
    EXPECT_EQ(getPortFromIfName(third), 3);
    EXPECT_EQ(getPortFromIfName("port00"), 1);
    EXPECT_EQ(getPortFromIfName("port03"), 4);
    EXPECT_EQ(getPortFromIfName("eth1"), 0);
    EXPECT_EQ(getPortFromIfName("eth1x"), 0);
    EXPECT_EQ(getPortFromIfName("abcport7"), 8);
    EXPECT_EQ(getPortFromIfName("port"), 1);
    EXPECT_EQ(getPortFromIfName("foo"), -1);
    EXPECT_EQ(getPortFromIfName("eth"), -1);
    EXPECT_EQ(getPortFromIfName(""), -1);
    EXPECT_EQ(getPortFromIfName(nullptr), -1);
}

}  // namespace
