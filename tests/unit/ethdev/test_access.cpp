#include <cerrno>
#include <cstring>
#include <net/if.h>
#include <syslog.h>

#include "driver_fixture.h"
#include "ethdev/ethdev.h"

namespace {

using fake::driver;
using SettingsAccess = DriverTest;

// Every step opens its own socket and closes it, whatever the outcome.
TEST_F(SettingsAccess, SettingsReadWriteAndTheirFailures)
{
    port(2).settings.advertising = 0x2F;
    ethtool_cmd cmd{};
    ASSERT_EQ(vekget_intf_settings("port01", &cmd), 0);
    EXPECT_EQ(cmd.cmd, uint32_t{ETHTOOL_GSET});
    EXPECT_EQ(cmd.advertising, 0x2Fu);
    EXPECT_EQ(ethtool_cmd_speed(&cmd), 1000u);

    port(1).failing = {ETHTOOL_GSET};
    EXPECT_EQ(vekset_intf_settings("port00", &cmd), -1);
    EXPECT_EQ(driver().count(ETHTOOL_SSET), 0u);
    EXPECT_TRUE(logged(LOG_ERR, "Unable to get settings for port00: Input/output error @ vekget_intf_settings, #"));
    EXPECT_TRUE(logged(LOG_ERR, "can't get interface settings @ vekset_intf_settings, #"));

    port(1).failing = {ETHTOOL_SSET};
    EXPECT_EQ(vekset_intf_settings("port00", &cmd), -1);
    EXPECT_TRUE(logged(LOG_ERR, "Unable to set settings for port00: Input/output error @ vekset_intf_settings, #"));
    os().socketFails = true;
    EXPECT_EQ(vekget_intf_settings("port00", &cmd), -1);
    EXPECT_TRUE(logged(LOG_ERR, "Unable to create socket @ vekget_intf_settings, #"));
    EXPECT_EQ(os().socketsOpen, 0);
}

TEST_F(SettingsAccess, EnableChangesOnlyTheUpFlags)
{
    fake::Interface &iface = *os().find("port02");
    iface.flags = IFF_UP | IFF_RUNNING | IFF_PROMISC | IFF_MULTICAST;
    EXPECT_EQ(veketh_port_enable_set(3, 0), 0);
    EXPECT_EQ(iface.flags, IFF_RUNNING | IFF_PROMISC | IFF_MULTICAST);
    iface.flags = IFF_PROMISC;
    EXPECT_EQ(veketh_port_enable_set(3, 7), 0);
    EXPECT_EQ(iface.flags, IFF_UP | IFF_RUNNING | IFF_PROMISC);

    os().find("port00")->failSetFlags = true;
    EXPECT_EQ(veketh_port_enable_set(1, 1), -1);
    for (const char *step : {"vekset_intf_up", "veketh_port_enable_set"})
        EXPECT_TRUE(logged(LOG_ERR, "failed to bring up interface port00: Operation not permitted @ " +
                                        std::string(step) + ", #"));
    EXPECT_EQ(veketh_port_enable_set(1, 0), -1);
    EXPECT_TRUE(logged(LOG_ERR, "failed to bring down interface port00: Operation not permitted @ vekset_intf_down, #"));
    EXPECT_EQ(os().socketsOpen, 0);
    EXPECT_EQ(veketh_port_enable_set(9, 1), -18);
    EXPECT_TRUE(logged(LOG_ERR, "couldn't find interface index @ veketh_port_enable_set, #"));
}

TEST_F(SettingsAccess, PauseIsOnOnlyWhenAllThreeAre)
{
    ASSERT_EQ(veketh_intf_init(), 0);
    uint8_t on = 9;
    port(1).pause.autoneg = 0;
    ASSERT_EQ(vekprv_getpause("port00", &on), 0);
    EXPECT_EQ(on, 0);
    ASSERT_EQ(vekprv_setpause("port00", 5), 0);
    EXPECT_EQ(port(1).pause.autoneg + port(1).pause.rx_pause + port(1).pause.tx_pause, 3u);
    ASSERT_EQ(vekprv_getpause("port00", &on), 0);
    EXPECT_EQ(on, 1);
    ASSERT_EQ(vekprv_setpause("port00", 0), 0);
    EXPECT_EQ(port(1).pause.autoneg + port(1).pause.rx_pause + port(1).pause.tx_pause, 0u);
    EXPECT_STREQ(ctx.ifname, "port00");

    EXPECT_EQ(vekprv_getpause("port00", nullptr), 2);
    EXPECT_TRUE(logged(LOG_ERR, "pausecfg is NULL @ vekprv_getpause, #\n"));
    EXPECT_EQ(vekprv_getpause(nullptr, &on), 2);
    EXPECT_EQ(on, 0);
    EXPECT_TRUE(logged(LOG_ERR, "interface name is NULL @ vekprv_getpause, #\n"));
    EXPECT_EQ(vekprv_setpause(nullptr, 1), 2);
    EXPECT_TRUE(logged(LOG_ERR, "interface name is NULL @ vekprv_setpause, #\n"));
    port(2).failing = {ETHTOOL_GPAUSEPARAM, ETHTOOL_SPAUSEPARAM};
    on = 9;
    EXPECT_EQ(vekprv_getpause("port01", &on), 2);
    EXPECT_EQ(on, 0);
    EXPECT_TRUE(logged(LOG_ERR, "Cannot get driver information 5, Input/output error @ vekprv_getpause #\n"));
    EXPECT_EQ(vekprv_setpause("port01", 1), 2);
    EXPECT_TRUE(logged(LOG_ERR, "Cannot set pause settings 5, Input/output error @ vekprv_setpause #\n"));
}

// Dump word k of port n holds n << 16 | k.
TEST_F(SettingsAccess, StatisticsFillTheDumpOfTheNamedPort)
{
    EXPECT_EQ(vekprv_getstats("port00"), 2);  // before initialisation: no buffer
    EXPECT_TRUE(logged(LOG_ERR, "\nCan't get register dump @ vekprv_getstats, #\n"));
    EXPECT_EQ(driver().count(ETHTOOL_GREGS), 0u);

    ASSERT_EQ(veketh_intf_init(), 0);
    ASSERT_EQ(vekprv_getstats("port02"), 0);
    const auto *words = reinterpret_cast<const uint32_t *>(regs);
    EXPECT_EQ(words[0], uint32_t{ETHTOOL_GREGS});
    EXPECT_EQ(words[1], 7u);     // the driver's version
    EXPECT_EQ(words[2], 2956u);  // its dump length
    EXPECT_EQ(words[3], 3u << 16 | 3);
    EXPECT_EQ(words[VEKETH_REGS_WORDS - 1], 3u << 16 | (VEKETH_REGS_WORDS - 1));
    hapi::eth::RegisterWords copy{};
    ASSERT_EQ(hapi::eth::fetch_dump("port03", copy), hapi::Status::ok);
    EXPECT_EQ(copy[40], 4u << 16 | 40);

    fake::add_port("port00", 1, 1000);  // a longer dump is capped to the area
    ASSERT_EQ(vekprv_getstats("port00"), 0);
    EXPECT_EQ(regs->len, 2956u);
    EXPECT_EQ(words[VEKETH_REGS_WORDS - 1], 1u << 16 | (VEKETH_REGS_WORDS - 1));

    const VekethRegisterDump before = *regs;
    port(2).failing = {ETHTOOL_GDRVINFO};
    EXPECT_EQ(vekprv_getstats("port01"), 2);
    EXPECT_EQ(std::memcmp(&before, regs, sizeof before), 0);
    EXPECT_TRUE(logged(LOG_ERR, "Cannot get driver information 5, Input/output error @ vekprv_getstats #\n"));
    EXPECT_EQ(driver().count(ETHTOOL_GREGS), 3u);  // none for the failed one
    EXPECT_EQ(vekprv_getstats(nullptr), 2);
    EXPECT_TRUE(logged(LOG_ERR, "interface name is NULL @ vekprv_getstats, #\n"));
}

TEST_F(SettingsAccess, CounterClearGoesToTheIndexedInterface)
{
    ASSERT_EQ(veketh_intf_init(), 0);
    EXPECT_EQ(veketh_reset_stats(4), 0);
    EXPECT_EQ(port(4).counterClears, 1u);
    EXPECT_EQ(driver().requests.back(), (std::pair<std::string, uint32_t>{"port03", 0x52}));

    EXPECT_EQ(veketh_reset_stats(77), -18);
    EXPECT_TRUE(logged(LOG_ERR, "couldn't find interface index @ src/veketh_prv, veketh_reset_stats, #"));
    EXPECT_TRUE(logged(LOG_ERR, "ioctl failed due to errno :19, No such device @ src/veketh_prv, veketh_reset_stats, #"));
    EXPECT_EQ(driver().requests.back(), (std::pair<std::string, uint32_t>{"", 0x52}));
}

TEST_F(SettingsAccess, InitialisationAndTheRawRequest)
{
    os().socketFails = true;
    EXPECT_EQ(veketh_intf_init(), 2);
    EXPECT_LT(ctx.sock, 0);
    EXPECT_EQ(regs, nullptr);

    VekethRequestContext local{};
    std::strcpy(local.ifr.ifr_name, "port01");
    ethtool_value link{};
    link.cmd = ETHTOOL_GLINK;
    EXPECT_EQ(send_ioctl(&local, &link), 0);
    EXPECT_EQ(link.data, 1u);
    port(2).failing = {ETHTOOL_GLINK};
    errno = 0;
    EXPECT_EQ(send_ioctl(&local, &link), 2);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(send_ioctl(nullptr, &link), 2);
}

}  // namespace
