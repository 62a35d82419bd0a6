#include <cerrno>
#include <cstring>
#include <net/if.h>
#include <syslog.h>

#include "driver_fixture.h"
#include "ethdev/ethdev.h"

namespace {

using fake::driver;

class SettingsAccess : public DriverTest {};
class SharedContext : public DriverTest {
protected:
    void SetUp() override
    {
        DriverTest::SetUp();
        ASSERT_EQ(veketh_intf_init(), 0);
    }
};

TEST_F(SettingsAccess, ReadCopiesTheDriverRecordAndClosesItsSocket)
{
    port(2).settings.advertising = 0x2F;
    ethtool_cmd cmd{};
    ASSERT_EQ(vekget_intf_settings("port01", &cmd), 0);
    EXPECT_EQ(cmd.cmd, uint32_t{ETHTOOL_GSET});
    EXPECT_EQ(cmd.advertising, 0x2Fu);
    EXPECT_EQ(ethtool_cmd_speed(&cmd), 1000u);
    EXPECT_EQ(os().socketsOpen, 0);
}

TEST_F(SettingsAccess, WriteToAnInterfaceThatDoesNotAnswerSendsNoSet)
{
    port(1).failing = {ETHTOOL_GSET};
    ethtool_cmd cmd{};
    cmd.advertising = 1;
    EXPECT_EQ(vekset_intf_settings("port00", &cmd), -1);
    EXPECT_EQ(driver().count(ETHTOOL_SSET), 0u);
    EXPECT_TRUE(logged(LOG_ERR, "Unable to get settings for %s: %s @ %s, %d", "port00", "Input/output error",
                       "vekget_intf_settings"));
    EXPECT_TRUE(logged(LOG_ERR, "can't get interface settings @ %s, %d", "vekset_intf_settings"));
    EXPECT_EQ(os().socketsOpen, 0);
}

TEST_F(SettingsAccess, FailedWriteIsReportedAndNoSocketIsLeft)
{
    port(1).failing = {ETHTOOL_SSET};
    ethtool_cmd cmd{};
    ASSERT_EQ(vekget_intf_settings("port00", &cmd), 0);
    EXPECT_EQ(vekset_intf_settings("port00", &cmd), -1);
    EXPECT_TRUE(logged(LOG_ERR, "Unable to set settings for %s: %s @ %s, %d", "port00", "Input/output error",
                       "vekset_intf_settings"));
    os().socketFails = true;
    EXPECT_EQ(vekget_intf_settings("port00", &cmd), -1);
    EXPECT_TRUE(logged(LOG_ERR, "Unable to create socket @ %s, %d", "vekget_intf_settings"));
    EXPECT_EQ(os().socketsOpen, 0);
}

TEST_F(SettingsAccess, DownClearsOnlyUpAndUpKeepsOtherFlags)
{
    fake::Interface &iface = *os().find("port02");
    iface.flags = IFF_UP | IFF_RUNNING | IFF_PROMISC | IFF_MULTICAST;
    EXPECT_EQ(veketh_port_enable_set(3, 0), 0);
    EXPECT_EQ(iface.flags, IFF_RUNNING | IFF_PROMISC | IFF_MULTICAST);
    iface.flags = IFF_PROMISC;
    EXPECT_EQ(veketh_port_enable_set(3, 7), 0);
    EXPECT_EQ(iface.flags, IFF_UP | IFF_RUNNING | IFF_PROMISC);
    EXPECT_EQ(os().socketsOpen, 0);
}

TEST_F(SettingsAccess, RefusedFlagChangeFailsWithBothMessages)
{
    os().find("port00")->failSetFlags = true;
    EXPECT_EQ(veketh_port_enable_set(1, 1), -1);
    const char *format = "failed to bring up interface %s: %s @ %s, %d";
    EXPECT_TRUE(logged(LOG_ERR, format, "port00", "Operation not permitted", "vekset_intf_up"));
    EXPECT_TRUE(logged(LOG_ERR, format, "port00", "Operation not permitted", "veketh_port_enable_set"));
    EXPECT_EQ(veketh_port_enable_set(1, 0), -1);
    EXPECT_TRUE(logged(LOG_ERR, "failed to bring down interface %s: %s @ %s, %d", "port00",
                       "Operation not permitted", "vekset_intf_down"));
    EXPECT_EQ(os().socketsOpen, 0);
    EXPECT_EQ(veketh_port_enable_set(9, 1), -18);
    EXPECT_TRUE(logged(LOG_ERR, "couldn't find interface index @ %s, %d", "veketh_port_enable_set"));
}

TEST_F(SharedContext, PauseIsOnOnlyWhenAllThreeAre)
{
    uint8_t on = 9;
    port(1).pause.autoneg = 0;
    ASSERT_EQ(vekprv_getpause("port00", &on), 0);
    EXPECT_EQ(on, 0);
    ASSERT_EQ(vekprv_setpause("port00", 5), 0);
    EXPECT_EQ(port(1).pause.autoneg, 1u);
    EXPECT_EQ(port(1).pause.rx_pause, 1u);
    EXPECT_EQ(port(1).pause.tx_pause, 1u);
    ASSERT_EQ(vekprv_getpause("port00", &on), 0);
    EXPECT_EQ(on, 1);
    ASSERT_EQ(vekprv_setpause("port00", 0), 0);
    EXPECT_EQ(port(1).pause.autoneg + port(1).pause.rx_pause + port(1).pause.tx_pause, 0u);
    EXPECT_STREQ(ctx.ifname, "port00");
}

TEST_F(SharedContext, PauseFailuresAndMissingArguments)
{
    uint8_t on = 9;
    EXPECT_EQ(vekprv_getpause("port00", nullptr), 2);
    EXPECT_TRUE(logged(LOG_ERR, "pausecfg is NULL @ %s, %d\n", "vekprv_getpause"));
    EXPECT_EQ(vekprv_getpause(nullptr, &on), 2);
    EXPECT_EQ(on, 0);
    EXPECT_TRUE(logged(LOG_ERR, "interface name is NULL @ %s, %d\n", "vekprv_getpause"));
    EXPECT_EQ(vekprv_setpause(nullptr, 1), 2);
    EXPECT_TRUE(logged(LOG_ERR, "interface name is NULL @ %s, %d\n", "vekprv_setpause"));

    port(2).failing = {ETHTOOL_GPAUSEPARAM, ETHTOOL_SPAUSEPARAM};
    on = 9;
    EXPECT_EQ(vekprv_getpause("port01", &on), 2);
    EXPECT_EQ(on, 0);
    EXPECT_TRUE(logged(LOG_ERR, "Cannot get driver information %d, %s @ %s %d\n", EIO, "Input/output error",
                       "vekprv_getpause"));
    EXPECT_EQ(vekprv_setpause("port01", 1), 2);
    EXPECT_TRUE(logged(LOG_ERR, "Cannot set pause settings %d, %s @ %s %d\n", EIO, "Input/output error",
                       "vekprv_setpause"));
}

TEST_F(SharedContext, StatisticsFillTheDumpOfTheNamedPort)
{
    ASSERT_EQ(vekprv_getstats("port02"), 0);
    const auto *words = reinterpret_cast<const uint32_t *>(regs);
    EXPECT_EQ(words[0], uint32_t{ETHTOOL_GREGS});
    EXPECT_EQ(words[1], 7u);      // the driver's version
    EXPECT_EQ(words[2], 2956u);   // its dump length
    EXPECT_EQ(words[3], 3u << 16 | 3);
    EXPECT_EQ(words[112], 3u << 16 | 112);
    EXPECT_EQ(words[VEKETH_REGS_WORDS - 1], 3u << 16 | (VEKETH_REGS_WORDS - 1));

    hapi::eth::RegisterWords copy{};
    ASSERT_EQ(hapi::eth::fetch_dump("port03", copy), hapi::Status::ok);
    EXPECT_EQ(copy[40], 4u << 16 | 40);
}

TEST_F(SharedContext, ALongerDriverDumpIsCappedToTheArea)
{
    fake::add_port("port00", 1, 1000);  // 4000 bytes of dump
    ASSERT_EQ(vekprv_getstats("port00"), 0);
    EXPECT_EQ(regs->len, 2956u);
    const auto *words = reinterpret_cast<const uint32_t *>(regs);
    EXPECT_EQ(words[VEKETH_REGS_WORDS - 1], 1u << 16 | (VEKETH_REGS_WORDS - 1));
}

TEST_F(SharedContext, FailedDriverInfoLeavesTheDumpAlone)
{
    ASSERT_EQ(vekprv_getstats("port00"), 0);
    const VekethRegisterDump before = *regs;
    port(2).failing = {ETHTOOL_GDRVINFO};
    EXPECT_EQ(vekprv_getstats("port01"), 2);
    EXPECT_EQ(std::memcmp(&before, regs, sizeof before), 0);
    EXPECT_TRUE(logged(LOG_ERR, "Cannot get driver information %d, %s @ %s %d\n", EIO, "Input/output error",
                       "vekprv_getstats"));
    EXPECT_EQ(driver().count(ETHTOOL_GREGS), 1u);
    EXPECT_EQ(vekprv_getstats(nullptr), 2);
    EXPECT_TRUE(logged(LOG_ERR, "interface name is NULL @ %s, %d\n", "vekprv_getstats"));
}

TEST_F(SettingsAccess, StatisticsBeforeInitialisationStopAtTheMissingBuffer)
{
    EXPECT_EQ(vekprv_getstats("port00"), 2);
    EXPECT_TRUE(logged(LOG_ERR, "\nCan't get register dump @ %s, %d\n", "vekprv_getstats"));
    EXPECT_EQ(driver().count(ETHTOOL_GREGS), 0u);
}

TEST_F(SharedContext, CounterClearGoesToTheIndexedInterface)
{
    EXPECT_EQ(veketh_reset_stats(4), 0);
    EXPECT_EQ(port(4).counterClears, 1u);
    EXPECT_EQ(driver().requests.back(), (std::pair<std::string, uint32_t>{"port03", 0x52}));

    EXPECT_EQ(veketh_reset_stats(77), -18);
    EXPECT_TRUE(logged(LOG_ERR, "couldn't find interface index @ %s, %s, %d", "src/veketh_prv",
                       "veketh_reset_stats"));
    EXPECT_TRUE(logged(LOG_ERR, "ioctl failed due to errno :%d, %s @ %s, %s, %d", ENODEV, "No such device",
                       "src/veketh_prv", "veketh_reset_stats"));
    EXPECT_EQ(driver().requests.back(), (std::pair<std::string, uint32_t>{"", 0x52}));
}

TEST_F(SettingsAccess, InitialisationWithoutASocketFails)
{
    os().socketFails = true;
    EXPECT_EQ(veketh_intf_init(), 2);
    EXPECT_LT(ctx.sock, 0);
    EXPECT_EQ(regs, nullptr);
}

TEST_F(SettingsAccess, SendIoctlMapsANegativeResultTo2AndKeepsErrno)
{
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
