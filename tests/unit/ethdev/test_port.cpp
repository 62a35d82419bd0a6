#include <cerrno>
#include <syslog.h>

#include "../core/core_fixture.h"
#include "driver_fixture.h"
#include "hapi/hapi_phy.h"

namespace {

using fake::driver;

class PortAttributes : public DriverTest {
protected:
    void SetUp() override
    {
        DriverTest::SetUp();
        ASSERT_EQ(veketh_intf_init(), 0);
    }
    Kept<uint32_t> speed_{ethPortSpeed}, duplex_{ethPortDuplex}, autoneg_{ethPortAutonegStatus};
};

TEST_F(PortAttributes, ReadsOfSpeedDuplexAndEnable)
{
    struct Row { unsigned port; uint8_t duplex; uint32_t speed, enable, readSpeed, readDuplex; };
    // Without link (unknown duplex) a port reads disabled at 1000 full.
    for (const Row &r : {Row{1, DUPLEX_UNKNOWN, 10, 0, 1000, 1}, Row{2, DUPLEX_HALF, 100, 1, 100, 0}}) {
        SCOPED_TRACE(r.port);
        port(r.port).settings.duplex = r.duplex;
        ethtool_cmd_speed_set(&port(r.port).settings, r.speed);
        uint32_t enable = 9, speed = 9, duplex = 9;
        EXPECT_EQ(veketh_port_enable_get(r.port, &enable) | veketh_port_speed_get(r.port, &speed) |
                      veketh_port_duplex_get(r.port, &duplex), 0);
        EXPECT_EQ(enable, r.enable);
        EXPECT_EQ(speed, r.readSpeed);
        EXPECT_EQ(duplex, r.readDuplex);
    }
}

// The tool's exit status is not examined, only a shell that could not run.
TEST_F(PortAttributes, ToolCommandsComeFromTheGlobalsNotTheArgument)
{
    ethPortSpeed = 100;
    ethPortDuplex = 0;
    EXPECT_EQ(veketh_port_speed_set(2, 1000), 0);
    ethPortDuplex = 1;
    EXPECT_EQ(veketh_port_duplex_set(2, 0), 0);
    ethPortAutonegStatus = 0;
    EXPECT_EQ(veketh_port_autoneg_set(2, 1), 0);
    ethPortSpeed = 10000;  // more than the driver takes
    EXPECT_EQ(veketh_port_speed_set(1, 0), 0);
    EXPECT_EQ(os().commands, (std::vector<std::string>{
                                 "ethtool -s port01 speed 100 duplex half", "ethtool -s port01 speed 100 duplex full",
                                 "ethtool -s port01 autoneg off", "ethtool -s port00 speed 10000 duplex full"}));
    EXPECT_EQ(ethtool_cmd_speed(&port(2).settings), 100u);
    EXPECT_EQ(port(2).settings.autoneg, AUTONEG_DISABLE);
    EXPECT_EQ(ethtool_cmd_speed(&port(1).settings), 1000u);

    os().shellResult["ethtool -s port00 speed 10000 duplex full"] = -1;
    EXPECT_EQ(veketh_port_speed_set(1, 0), -1);
    EXPECT_TRUE(logged(LOG_ERR, "speed settings failed @ veketh_port_speed_set, #"));
    EXPECT_EQ(veketh_port_duplex_set(1, 0), -1);
    EXPECT_TRUE(logged(LOG_ERR, "duplex settings failed @ veketh_port_duplex_set, #"));
    os().shellResult["ethtool -s port00 autoneg on"] = -1;
    ethPortAutonegStatus = 1;
    EXPECT_EQ(veketh_port_autoneg_set(1, 0), -1);
    EXPECT_TRUE(logged(LOG_ERR, "autoneg settings failed @ veketh_port_autoneg_set, #"));
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
    EXPECT_TRUE(logged(LOG_DEBUG, "autoNegAbil : 1 @ veketh_port_advert_get, #"));
}

TEST_F(PortAttributes, CableCrossingAndMedium)
{
    for (int mode = 0; mode <= 4; ++mode)
        EXPECT_EQ(veketh_port_mdix_set(1, mode), 0);
    EXPECT_EQ(os().commands, (std::vector<std::string>{"ethtool -s port00 mdix off", "ethtool -s port00 mdix on",
                                                       "ethtool -s port00 mdix auto"}));
    os().shellResult["ethtool -s port00 mdix on"] = -1;
    EXPECT_EQ(veketh_port_mdix_set(1, 2), -1);
    EXPECT_TRUE(logged(LOG_ERR, "mdi/mdix settings failed @ veketh_port_mdix_set, #"));

    // None and other read as twisted pair.
    const std::pair<uint8_t, uint32_t> media[] = {{PORT_NONE, 0}, {PORT_OTHER, 0}, {PORT_FIBRE, 3}, {PORT_TP, 0},
                                                  {PORT_DA, 5}};
    for (const auto &[reported, expected] : media) {
        port(2).settings.port = reported;
        uint32_t medium = 99;
        EXPECT_EQ(veketh_port_medium_get(2, &medium), 0);
        EXPECT_EQ(medium, expected) << "port value " << int{reported};
    }
}

// Sets on an interface that does not answer are skipped as success; reads fail.
TEST_F(PortAttributes, AnInterfaceThatDoesNotAnswer)
{
    port(3).failing = {ETHTOOL_GSET};
    EXPECT_EQ(veketh_port_advert_set(3, 0x0F), 0);
    EXPECT_EQ(veketh_port_speed_set(3, 0), 0);
    EXPECT_EQ(veketh_port_mdix_set(3, 2), 0);
    EXPECT_TRUE(os().commands.empty());
    EXPECT_EQ(driver().count(ETHTOOL_SSET), 0u);
    EXPECT_TRUE(logged(LOG_ERR, "can't get interface settings @ veketh_port_advert_set, #"));
    EXPECT_TRUE(logged(LOG_ERR, "can't get interface settings @ veketh_port_speed_set, #"));
    EXPECT_TRUE(logged(LOG_ERR, "can't get port medium @ veketh_port_mdix_set, #"));

    uint32_t advert = 0, ability = 0, medium = 7, duplex = 7, enable = 7;
    EXPECT_EQ(veketh_port_advert_get(3, &advert), -1);
    EXPECT_EQ(veketh_port_ability_local_get(3, &ability), -1);
    EXPECT_EQ(advert, 1u);
    EXPECT_EQ(ability, 1u);
    EXPECT_TRUE(logged(LOG_DEBUG, "autoNegAbil : 1 @ veketh_port_ability_local_get, #"));
    EXPECT_EQ(veketh_port_medium_get(3, &medium), -1);
    EXPECT_TRUE(logged(LOG_ERR, "can't get port medium @ veketh_port_medium_get, #"));
    EXPECT_EQ(veketh_port_duplex_get(3, &duplex), -1);
    EXPECT_TRUE(logged(LOG_ERR, "can't get port medium @ veketh_port_duplex_get, #"));
    const size_t lines = os().logs.size();
    EXPECT_EQ(veketh_port_enable_get(3, &enable), -1);
    EXPECT_EQ(os().logs.size(), lines + 1);  // only the settings read's own message
}

TEST_F(PortAttributes, MissingOutputsUnknownIndexesAndFixedAnswers)
{
    using Getter = int (*)(uint32_t, uint32_t *);
    const std::pair<Getter, std::string> getters[] = {
        {veketh_port_enable_get, "veketh_port_enable_get"}, {veketh_port_advert_get, "veketh_port_advert_get"},
        {veketh_port_speed_get, "veketh_port_speed_get"}, {veketh_port_medium_get, "veketh_port_medium_get"},
        {veketh_port_duplex_get, "veketh_port_duplex_get"},
        {veketh_port_ability_local_get, "veketh_port_ability_local_get"},
        {veketh_port_link_status_get, "veketh_port_link_status_get"},
    };
    for (const auto &[get, name] : getters) {
        EXPECT_EQ(get(1, nullptr), -4) << name;
        EXPECT_TRUE(logged(LOG_ERR, "input param is NULL @ " + name + ", #")) << name;
        uint32_t out = 5;
        if (get != veketh_port_link_status_get) {
            EXPECT_EQ(get(42, &out), -18) << name;
            EXPECT_TRUE(logged(LOG_ERR, "couldn't find interface index @ " + name + ", #")) << name;
        }
    }
    EXPECT_EQ(veketh_port_speed_set(42, 0), -18);
    EXPECT_EQ(veketh_port_advert_set(42, 0), -18);
    EXPECT_EQ(veketh_port_mdix_set(42, 1), -18);
    uint32_t value = 0xABCD, speed = 0;
    EXPECT_EQ(veketh_port_phy_get(1, 0, 2, &value), 0);
    EXPECT_EQ(value, 0xABCDu);
    EXPECT_EQ(veketh_port_phy_set(0, 1, 0, 2, 7), 0);
    EXPECT_EQ(veketh_port_speed_max(99, &speed), 0);
    EXPECT_EQ(speed, 1000u);
    EXPECT_EQ(veketh_linkscan_mode_set(1, 2), 0);
    EXPECT_TRUE(driver().requests.empty());
    EXPECT_TRUE(os().commands.empty());
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
    EXPECT_TRUE(logged(LOG_ERR, "ioctl failed due to errno :5, Input/output error @ src/veketh_prv, "
                                "veketh_port_link_status_get, #"));
    link = 9;
    EXPECT_EQ(veketh_port_link_status_get(30, &link), -18);
    EXPECT_EQ(link, 0u);
    EXPECT_TRUE(logged(LOG_ERR, "couldn't find interface index @ src/veketh_prv, veketh_port_link_status_get, #"));
}

void *scan_handler(void *) { return nullptr; }

TEST_F(PortAttributes, EachLinkScanRegistrationStartsAThread)
{
    EXPECT_EQ(veketh_linkscan_register(scan_handler), 0);
    EXPECT_EQ(veketh_linkscan_register(scan_handler), 0);
    ASSERT_EQ(fake::threads().started.size(), 2u);
    for (const fake::ThreadStart &t : fake::threads().started)
        EXPECT_TRUE(t.entry == scan_handler && t.argument == nullptr);
    EXPECT_TRUE(logged(LOG_INFO, "\nlinkscan handler created @ veketh_linkscan_register, #\n"));
    for (int startResult : {0, EAGAIN}) {
        os().logs.clear();
        fake::threads().startResult = startResult;
        EXPECT_EQ(veketh_linkscan_register(startResult ? scan_handler : nullptr), -1);
        EXPECT_TRUE(logged(LOG_ERR, "\ncan't create linkscan handler @ veketh_linkscan_register, #\n"));
    }
}

}  // namespace
