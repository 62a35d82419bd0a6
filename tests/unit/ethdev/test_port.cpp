#include <cerrno>
#include <syslog.h>

#include "driver_fixture.h"
#include "hapi/hapi_phy.h"
#include "hapi/hapi_veketh.h"

namespace {

using fake::driver;

class PortAttributes : public DriverTest {
protected:
    void SetUp() override
    {
        DriverTest::SetUp();
        ASSERT_EQ(veketh_intf_init(), 0);
    }
};

TEST_F(PortAttributes, APortWithoutLinkReadsDisabledAt1000Full)
{
    port(1).settings.duplex = DUPLEX_UNKNOWN;
    ethtool_cmd_speed_set(&port(1).settings, 10);
    uint32_t enable = 9, speed = 9, duplex = 9;
    EXPECT_EQ(veketh_port_enable_get(1, &enable), 0);
    EXPECT_EQ(veketh_port_speed_get(1, &speed), 0);
    EXPECT_EQ(veketh_port_duplex_get(1, &duplex), 0);
    EXPECT_EQ(enable, 0u);
    EXPECT_EQ(speed, 1000u);
    EXPECT_EQ(duplex, 1u);

    port(2).settings.duplex = DUPLEX_HALF;
    ethtool_cmd_speed_set(&port(2).settings, 100);
    EXPECT_EQ(veketh_port_enable_get(2, &enable), 0);
    EXPECT_EQ(veketh_port_speed_get(2, &speed), 0);
    EXPECT_EQ(veketh_port_duplex_get(2, &duplex), 0);
    EXPECT_EQ(enable, 1u);
    EXPECT_EQ(speed, 100u);
    EXPECT_EQ(duplex, 0u);
}

TEST_F(PortAttributes, SpeedAndDuplexCommandsComeFromTheGlobalsNotTheArgument)
{
    ethPortSpeed = 100;
    ethPortDuplex = 0;
    EXPECT_EQ(veketh_port_speed_set(2, 1000), 0);
    EXPECT_EQ(os().commands, (std::vector<std::string>{"ethtool -s port01 speed 100 duplex half"}));
    uint32_t speed = 0, duplex = 9;
    ASSERT_EQ(veketh_port_speed_get(2, &speed), 0);
    ASSERT_EQ(veketh_port_duplex_get(2, &duplex), 0);
    EXPECT_EQ(speed, 100u);
    EXPECT_EQ(duplex, 0u);

    ethPortDuplex = 1;
    EXPECT_EQ(veketh_port_duplex_set(2, 0), 0);
    EXPECT_EQ(os().commands.back(), "ethtool -s port01 speed 100 duplex full");
    ethPortAutonegStatus = 0;
    EXPECT_EQ(veketh_port_autoneg_set(2, 1), 0);
    EXPECT_EQ(os().commands.back(), "ethtool -s port01 autoneg off");
    EXPECT_EQ(port(2).settings.autoneg, AUTONEG_DISABLE);
}

TEST_F(PortAttributes, ToolExitStatusIsNotExaminedButAMissingShellIs)
{
    ethPortSpeed = 10000;  // more than the driver takes
    ethPortDuplex = 1;
    EXPECT_EQ(veketh_port_speed_set(1, 0), 0);
    EXPECT_EQ(ethtool_cmd_speed(&port(1).settings), 1000u);

    os().shellResult["ethtool -s port00 speed 10000 duplex full"] = -1;
    EXPECT_EQ(veketh_port_speed_set(1, 0), -1);
    EXPECT_TRUE(logged(LOG_ERR, "speed settings failed @ %s, %d", "veketh_port_speed_set"));
    EXPECT_EQ(veketh_port_duplex_set(1, 0), -1);
    EXPECT_TRUE(logged(LOG_ERR, "duplex settings failed @ %s, %d", "veketh_port_duplex_set"));
    os().shellResult["ethtool -s port00 autoneg on"] = -1;
    ethPortAutonegStatus = 1;
    EXPECT_EQ(veketh_port_autoneg_set(1, 0), -1);
    EXPECT_TRUE(logged(LOG_ERR, "autoneg settings failed @ %s, %d", "veketh_port_autoneg_set"));
}

TEST_F(PortAttributes, SetsOnAnInterfaceThatDoesNotAnswerAreSkippedAsSuccess)
{
    port(3).failing = {ETHTOOL_GSET};
    EXPECT_EQ(veketh_port_advert_set(3, 0x0F), 0);
    EXPECT_EQ(veketh_port_speed_set(3, 0), 0);
    EXPECT_EQ(veketh_port_mdix_set(3, 2), 0);
    EXPECT_TRUE(os().commands.empty());
    EXPECT_EQ(driver().count(ETHTOOL_SSET), 0u);
    EXPECT_TRUE(logged(LOG_ERR, "can't get interface settings @ %s, %d", "veketh_port_advert_set"));
    EXPECT_TRUE(logged(LOG_ERR, "can't get interface settings @ %s, %d", "veketh_port_speed_set"));
    EXPECT_TRUE(logged(LOG_ERR, "can't get port medium @ %s, %d", "veketh_port_mdix_set"));
}

TEST_F(PortAttributes, AdvertisementReplacesTheWholeMaskAndKeepsTheRest)
{
    const ethtool_cmd before = port(4).settings;
    EXPECT_EQ(veketh_port_advert_set(4, ADVERTISED_10baseT_Half), 0);
    EXPECT_EQ(port(4).settings.advertising, uint32_t{ADVERTISED_10baseT_Half});
    EXPECT_EQ(port(4).settings.supported, before.supported);
    EXPECT_EQ(port(4).settings.autoneg, before.autoneg);
    EXPECT_EQ(port(4).settings.cmd, uint32_t{ETHTOOL_SSET});
    uint32_t mask = 0;
    EXPECT_EQ(veketh_port_advert_get(4, &mask), 0);
    EXPECT_EQ(mask, uint32_t{ADVERTISED_10baseT_Half});
    EXPECT_TRUE(logged(LOG_DEBUG, "autoNegAbil : %d @ %s, %d", ADVERTISED_10baseT_Half, "veketh_port_advert_get"));
}

TEST_F(PortAttributes, CableCrossingModes)
{
    const std::pair<int32_t, const char *> modes[] = {
        {1, "ethtool -s port00 mdix off"}, {2, "ethtool -s port00 mdix on"}, {3, "ethtool -s port00 mdix auto"}};
    for (const auto &[mode, command] : modes) {
        EXPECT_EQ(veketh_port_mdix_set(1, mode), 0);
        EXPECT_EQ(os().commands.back(), command);
    }
    EXPECT_EQ(port(1).settings.eth_tp_mdix_ctrl, ETH_TP_MDI_AUTO);
    os().commands.clear();
    EXPECT_EQ(veketh_port_mdix_set(1, 0), 0);
    EXPECT_EQ(veketh_port_mdix_set(1, 4), 0);
    EXPECT_TRUE(os().commands.empty());
    os().shellResult["ethtool -s port00 mdix on"] = -1;
    EXPECT_EQ(veketh_port_mdix_set(1, 2), -1);
    EXPECT_TRUE(logged(LOG_ERR, "mdi/mdix settings failed @ %s, %d", "veketh_port_mdix_set"));
}

TEST_F(PortAttributes, MediumReportsNoneAndOtherAsTwistedPair)
{
    const std::pair<uint8_t, uint32_t> media[] = {{PORT_NONE, 0}, {PORT_OTHER, 0}, {PORT_FIBRE, 3}, {PORT_TP, 0},
                                                  {PORT_DA, 5}};
    for (const auto &[reported, expected] : media) {
        port(2).settings.port = reported;
        uint32_t medium = 99;
        EXPECT_EQ(veketh_port_medium_get(2, &medium), 0);
        EXPECT_EQ(medium, expected) << "port value " << int{reported};
    }
}

TEST_F(PortAttributes, ReadsOnAFailingInterface)
{
    port(2).failing = {ETHTOOL_GSET};
    uint32_t advert = 0, ability = 0, medium = 7, duplex = 7, enable = 7;
    EXPECT_EQ(veketh_port_advert_get(2, &advert), -1);
    EXPECT_EQ(veketh_port_ability_local_get(2, &ability), -1);
    EXPECT_EQ(advert, 1u);
    EXPECT_EQ(ability, 1u);
    EXPECT_TRUE(logged(LOG_DEBUG, "autoNegAbil : %d @ %s, %d", 1, "veketh_port_ability_local_get"));
    EXPECT_EQ(veketh_port_medium_get(2, &medium), -1);
    EXPECT_TRUE(logged(LOG_ERR, "can't get port medium @ %s, %d", "veketh_port_medium_get"));
    EXPECT_EQ(veketh_port_duplex_get(2, &duplex), -1);
    EXPECT_TRUE(logged(LOG_ERR, "can't get port medium @ %s, %d", "veketh_port_duplex_get"));
    const size_t lines = os().logs.size();
    EXPECT_EQ(veketh_port_enable_get(2, &enable), -1);
    EXPECT_EQ(os().logs.size(), lines + 1);  // only the settings read's own message
}

TEST_F(PortAttributes, MissingOutputsAndUnknownIndexes)
{
    using Getter = int (*)(uint32_t, uint32_t *);
    const std::pair<Getter, const char *> getters[] = {
        {veketh_port_enable_get, "veketh_port_enable_get"},
        {veketh_port_advert_get, "veketh_port_advert_get"},
        {veketh_port_speed_get, "veketh_port_speed_get"},
        {veketh_port_medium_get, "veketh_port_medium_get"},
        {veketh_port_duplex_get, "veketh_port_duplex_get"},
        {veketh_port_ability_local_get, "veketh_port_ability_local_get"},
        {veketh_port_link_status_get, "veketh_port_link_status_get"},
    };
    for (const auto &[get, name] : getters) {
        EXPECT_EQ(get(1, nullptr), -4) << name;
        EXPECT_TRUE(logged(LOG_ERR, "input param is NULL @ %s, %d", name)) << name;
        if (get != veketh_port_link_status_get) {
            uint32_t out = 5;
            EXPECT_EQ(get(42, &out), -18) << name;
            EXPECT_TRUE(logged(LOG_ERR, "couldn't find interface index @ %s, %d", name)) << name;
        }
    }
    EXPECT_EQ(driver().requests.size(), 0u);
    EXPECT_EQ(veketh_port_speed_set(42, 0), -18);
    EXPECT_EQ(veketh_port_advert_set(42, 0), -18);
    EXPECT_EQ(veketh_port_mdix_set(42, 1), -18);
    EXPECT_TRUE(os().commands.empty());
}

TEST_F(PortAttributes, FixedAnswers)
{
    uint32_t value = 0xABCD, speed = 0;
    EXPECT_EQ(veketh_port_phy_get(1, 0, 2, &value), 0);
    EXPECT_EQ(value, 0xABCDu);
    EXPECT_EQ(veketh_port_phy_set(0, 1, 0, 2, 7), 0);
    EXPECT_EQ(veketh_port_speed_max(99, &speed), 0);
    EXPECT_EQ(speed, 1000u);
    EXPECT_EQ(veketh_linkscan_mode_set(1, 2), 0);
    EXPECT_TRUE(driver().requests.empty());
}

TEST_F(PortAttributes, LinkQueryThroughTheSharedContext)
{
    port(3).link = 0;
    uint32_t link = 9;
    EXPECT_EQ(veketh_port_link_status_get(1, &link), 0);
    EXPECT_EQ(link, 1u);
    EXPECT_EQ(veketh_port_link_status_get(3, &link), 0);
    EXPECT_EQ(link, 0u);
    EXPECT_STREQ(ctx.ifname, "port02");

    port(2).failing = {ETHTOOL_GLINK};
    link = 9;
    EXPECT_EQ(veketh_port_link_status_get(2, &link), -18);
    EXPECT_EQ(link, 0u);  // a failed read reads as down
    EXPECT_TRUE(logged(LOG_ERR, "ioctl failed due to errno :%d, %s @ %s, %s, %d", EIO, "Input/output error",
                       "src/veketh_prv", "veketh_port_link_status_get"));
    link = 9;
    EXPECT_EQ(veketh_port_link_status_get(30, &link), -18);
    EXPECT_EQ(link, 0u);
    EXPECT_TRUE(logged(LOG_ERR, "couldn't find interface index @ %s, %s, %d", "src/veketh_prv",
                       "veketh_port_link_status_get"));
}

void *scan_handler(void *) { return nullptr; }

TEST_F(PortAttributes, EachLinkScanRegistrationStartsAThread)
{
    EXPECT_EQ(veketh_linkscan_register(scan_handler), 0);
    EXPECT_EQ(veketh_linkscan_register(scan_handler), 0);
    ASSERT_EQ(fake::threads().started.size(), 2u);
    for (const fake::ThreadStart &t : fake::threads().started)
        EXPECT_TRUE(t.entry == scan_handler && t.argument == nullptr);
    EXPECT_TRUE(logged(LOG_INFO, "\nlinkscan handler created @ %s, %d\n", "veketh_linkscan_register"));
    EXPECT_EQ(veketh_linkscan_register(nullptr), -1);
    EXPECT_TRUE(logged(LOG_ERR, "\ncan't create linkscan handler @ %s, %d\n", "veketh_linkscan_register"));
    os().logs.clear();
    fake::threads().startResult = EAGAIN;
    EXPECT_EQ(veketh_linkscan_register(scan_handler), -1);
    EXPECT_TRUE(logged(LOG_ERR, "\ncan't create linkscan handler @ %s, %d\n", "veketh_linkscan_register"));
}

}  // namespace
