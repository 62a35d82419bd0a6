#include <cerrno>
#include <cstring>
#include <net/if.h>
#include <syslog.h>

#include "hapi/hapi_init.h"
#include "hapi/hapi_port.h"
#include "core/port_map.h"
#include "unit_fixture.h"

namespace {

class HwDescription : public UnitTest {
protected:
    void SetUp() override
    {
        UnitTest::SetUp();
        add_front_interfaces();
    }
    const unsigned char *mac_of(const char *name) { return os().find(std::string(name))->hwaddr; }
};

TEST_F(HwDescription, FillsTheRecordAndMapsTheFrontPorts)
{
    std::memset(&torvikSwitchingHw, 0x5A, sizeof torvikSwitchingHw);
    ASSERT_EQ(hapiInit(), 0);
    EXPECT_EQ(torvikSwitchingHw.unitCount, 1u);
    EXPECT_EQ(torvikSwitchingHw.portCount, 4u);
    const SwitchPortMapEntry &internal = torvikSwitchingHw.portMap[0];
    EXPECT_EQ(internal.unit, 0);
    EXPECT_EQ(internal.module, 0);
    EXPECT_EQ(internal.physicalPort, 0);
    for (int n = 1; n <= 4; ++n) {
        EXPECT_EQ(torvikSwitchingHw.portMap[n].unit, 0);
        EXPECT_EQ(torvikSwitchingHw.portMap[n].module, 0);
        EXPECT_EQ(torvikSwitchingHw.portMap[n].physicalPort, n);
    }
    for (int n = 5; n < HAPI_MAX_LOGICAL_PORTS; ++n) {
        EXPECT_EQ(torvikSwitchingHw.portMap[n].unit, 0xFF);
        EXPECT_EQ(torvikSwitchingHw.portMap[n].module, 0xFF);
        EXPECT_EQ(torvikSwitchingHw.portMap[n].physicalPort, -1);
    }
    EXPECT_EQ(platform().paramInitArgs, (std::vector<int>{0, 0, 1, 0, 0x100000, 0}));
    EXPECT_EQ(platform().paramInitName, "devparam-factorysettings");
}

TEST_F(HwDescription, InterfacesGetBaseMacPlusTheirIndex)
{
    platform().baseMac = {0x00, 0x0A, 0x0B, 0x0C, 0x00, 0x10};
    ASSERT_EQ(hapiInit(), 0);
    const unsigned char first[6] = {0x00, 0x0A, 0x0B, 0x0C, 0x00, 0x11};
    const unsigned char third[6] = {0x00, 0x0A, 0x0B, 0x0C, 0x00, 0x13};
    EXPECT_EQ(std::memcmp(mac_of("port00"), first, 6), 0);
    EXPECT_EQ(std::memcmp(mac_of("port02"), third, 6), 0);
    EXPECT_EQ(os().socketsOpen, 0);
}

TEST_F(HwDescription, LowWordWrapsWithoutCarryIntoByteThree)
{
    platform().baseMac = {0x00, 0x0A, 0x0B, 0x0C, 0xFF, 0xFF};
    ASSERT_EQ(hapiInit(), 0);
    const unsigned char first[6] = {0x00, 0x0A, 0x0B, 0x0C, 0x00, 0x00};
    EXPECT_EQ(std::memcmp(mac_of("port00"), first, 6), 0);
}

TEST_F(HwDescription, NoInterfacesAssignsNothingAndClosesTheSocket)
{
    platform().physIntfCount = 0;
    ASSERT_EQ(hapiInit(), 0);
    const unsigned char zero[6] = {};
    EXPECT_EQ(std::memcmp(mac_of("port00"), zero, 6), 0);
    EXPECT_EQ(os().socketsOpened, 1);
    EXPECT_EQ(os().socketsOpen, 0);
}

TEST_F(HwDescription, MissingInterfaceNameStopsTheWalk)
{
    os().interfaces.erase(os().interfaces.begin() + 1);  // index 2
    ASSERT_EQ(hapiInit(), 0);
    const unsigned char first[6] = {0x02, 0, 0, 0, 0x00, 0x11};
    const unsigned char zero[6] = {};
    EXPECT_EQ(std::memcmp(mac_of("port00"), first, 6), 0);
    EXPECT_EQ(std::memcmp(mac_of("port02"), zero, 6), 0);
    const std::string expected =
        std::string("\nCouldn't find interface name for index : 2 @ veketh_Change_MacAddr, 214 due to errno  :") +
        std::to_string(ENXIO) + ", " + std::strerror(ENXIO) + "\n";
    ASSERT_EQ(os().logs.size(), 1u);
    EXPECT_EQ(os().logs[0].priority, LOG_ERR);
    EXPECT_EQ(os().logs[0].text, expected);
    EXPECT_EQ(os().socketsOpen, 0);
}

TEST_F(HwDescription, RefusedAddressStopsTheWalk)
{
    os().find(std::string("port01"))->failHwaddr = true;
    ASSERT_EQ(hapiInit(), 0);
    const unsigned char zero[6] = {};
    EXPECT_EQ(std::memcmp(mac_of("port02"), zero, 6), 0);
    EXPECT_TRUE(os().logged(std::string("\nioctl failed @ veketh_Change_MacAddr, 234 with errno: ") +
                            std::to_string(EBUSY) + ", " + std::strerror(EBUSY) + "\n"));
    EXPECT_EQ(os().socketsOpen, 0);
}

TEST_F(HwDescription, SocketFailureAssignsNothingAndStartUpGoesOn)
{
    os().socketFails = true;
    ASSERT_EQ(hapiInit(), 0);
    EXPECT_TRUE(os().logged(std::string("\nCouldn't open socket @ veketh_Change_MacAddr, 207 with errno  :") +
                            std::to_string(EMFILE) + ", " + std::strerror(EMFILE) + "\n"));
    EXPECT_EQ(torvikSwitchingHw.portMap[4].physicalPort, 4);
}

TEST_F(HwDescription, UnconvertibleFrontPortStaysEmpty)
{
    platform().uspToPhysical.erase(3);
    ASSERT_EQ(hapiInit(), 0);
    EXPECT_EQ(torvikSwitchingHw.portMap[3].unit, 0xFF);
    EXPECT_EQ(torvikSwitchingHw.portMap[3].module, 0xFF);
    EXPECT_EQ(torvikSwitchingHw.portMap[3].physicalPort, -1);
    EXPECT_EQ(hapi::ports::physical_of(3), -1);
    EXPECT_EQ(hapi::ports::physical_of(4), 4);
}

TEST_F(HwDescription, StormControlLinkUpStubChangesNothing)
{
    ASSERT_EQ(hapiInit(), 0);
    const auto before = torvikSwitchingHw;
    const size_t commands = os().commands.size();
    hapiBroadIfIngressStormCtlLinkUpNotify(2, 100);
    hapiBroadIfIngressStormCtlLinkUpNotify(-7, 0xFFFFFFFF);
    EXPECT_EQ(std::memcmp(&before, &torvikSwitchingHw, sizeof before), 0);
    EXPECT_EQ(os().commands.size(), commands);
}

}  // namespace
