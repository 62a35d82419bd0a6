#include <net/if.h>

#include "phy/phy.h"
#include "phy_table_fixture.h"

namespace {

using hapi::Status;
using hapi::phy::Word;
using vekpf::LogItem;

LogItem text(const char *t) { return {VEKLOG_ITEM_TEXT, VEKLOG_TEXT_SIZE, 0, t}; }
LogItem word(int v) { return {VEKLOG_ITEM_INT, 4, v, {}}; }

using PhyTable = PhyTableTest;

TEST_F(PhyTable, MissingTableFailsWith17AndReturnLastErrorClearsIt)
{
    hapi_test::PhyTables none(0);
    EXPECT_EQ(hapiPhyCheckLEDAdminState(2), 1);
    ASSERT_EQ(platform().messages.size(), 1u);
    const fake::LogMessage &m = platform().messages[0];
    EXPECT_EQ(m.id, 0x3D0011u);
    EXPECT_EQ(m.severity, 187u);
    EXPECT_EQ(m.items, (std::vector<LogItem>{text("PHY struct is NULL"), word(2), text("hapiPhyCheckLEDAdminState"),
                                             word(-1)}));
    EXPECT_EQ(hapiPhyReturnLastError(), -17);
    EXPECT_EQ(hapiPhyReturnLastError(), 0);
    EXPECT_TRUE(platform().leds.empty());
}

TEST_F(PhyTable, WordsAreSingleFieldsAndPortsOutsideTheTableAreRefused)
{
    ASSERT_EQ(hapi::phy::write_word(3, Word::Advertisement, 0x2F), Status::ok);
    EXPECT_EQ(portSettings[3].advertisement, 0x2Fu);
    uint32_t v = 99;
    ASSERT_EQ(hapi::phy::read_word(3, Word::LedState, v), Status::ok);
    EXPECT_EQ(v, 0u);
    EXPECT_EQ(hapi::phy::write_word(kPorts, Word::LinkState, 1), Status::out_of_range);
    EXPECT_EQ(hapi::phy::read_word(-1, Word::LinkState, v), Status::out_of_range);
    EXPECT_EQ(v, 0u);
    for (int p = 0; p < kPorts; ++p)
        EXPECT_EQ(portSettings[p].linkState, 0u);
}

TEST_F(PhyTable, CallbacksRunInListOrderWithThePhysicalPort)
{
    static std::vector<int> order;
    order.clear();
    add_callback(2, HAPI_CB_ADVERTISEMENT, [](uint32_t, uint32_t, uint32_t) { order.push_back(1); return 0; });
    add_callback(2, HAPI_CB_ADVERTISEMENT, [](uint32_t, uint32_t, uint32_t) { order.push_back(2); return 0; });
    add_callback(2, HAPI_CB_ADVERTISEMENT, record);
    torvikSwitchingHw.portMap[2].physicalPort = 7;
    hapi::phy::invoke_callbacks(2, HAPI_CB_ADVERTISEMENT, 0x40);
    hapi::phy::invoke_callbacks(2, HAPI_CB_LINK_STATE, 1);  // empty slot
    EXPECT_EQ(calls(), (std::vector<Call>{{0, 7, 0x40}}));
    EXPECT_EQ(order, (std::vector<int>{2, 1}));
}

TEST_F(PhyTable, LedFollowsAdminPowerAndLink)
{
    struct Case {
        uint32_t admin, power, link;
        std::vector<int> patterns;  // of one check
    };
    const Case cases[] = {
        {HAPI_ADMIN_ENABLED, HAPI_POWER_OFF, HAPI_LINK_DOWN, {0}},
        {HAPI_ADMIN_DISABLED, HAPI_POWER_ON, HAPI_LINK_UP, {4}},
        {HAPI_ADMIN_DISABLED, HAPI_POWER_OFF, HAPI_LINK_UP, {1}},
        {HAPI_ADMIN_DISABLED, HAPI_POWER_ON, HAPI_LINK_DOWN, {1}},
        {0, HAPI_POWER_ON, HAPI_LINK_UP, {}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << "admin " << c.admin << " power " << c.power << " link " << c.link);
        platform().leds.clear();
        portSettings[3] = PhyPortSettings{};
        portSettings[3].adminState = c.admin;
        portSettings[3].powerState = c.power;
        portSettings[3].linkState = c.link;
        EXPECT_EQ(hapiPhyCheckLEDAdminState(3), 0);
        EXPECT_EQ(hapiPhyCheckLEDAdminState(3), 0);
        std::vector<int> seen, expected = c.patterns;
        expected.insert(expected.end(), c.patterns.begin(), c.patterns.end());  // again on the second check
        for (const fake::LedCall &l : platform().leds) {
            EXPECT_EQ(std::tuple(l.port, l.arg3, l.arg4), std::tuple(3, 0, 2));
            seen.push_back(l.pattern);
        }
        EXPECT_EQ(seen, expected);
    }
    EXPECT_TRUE(platform().messages.empty());
}

// The line driver's link reports reach the external-link step.
TEST_F(PhyTable, ExternalLinkDrivesTheInterfaceAndCallsLinkCallbacksOnChange)
{
    hapiPhyExternalPhyLinkStatusChanged(50, HAPI_LINK_UP);
    EXPECT_EQ(hapiPhyReturnLastError(), -18);
    ASSERT_EQ(platform().messages.size(), 1u);
    EXPECT_EQ(platform().messages[0].items[0], text("Wrong port"));
    EXPECT_EQ(platform().messages[0].items[2], text("hapiPhyExternalPhyLinkStatusChanged"));
    EXPECT_TRUE(os().logs.empty());  // no interface was asked
    EXPECT_TRUE(platform().leds.empty());
    platform().messages.clear();

    add_callback(2, HAPI_CB_LINK_STATE, record);
    portSettings[2].linkState = HAPI_LINK_DOWN;
    portSettings[2].adminState = HAPI_ADMIN_ENABLED;
    hapiPhyExternalPhyLinkStatusChanged(2, HAPI_LINK_UP);
    EXPECT_EQ(os().find("port01")->flags & (IFF_UP | IFF_RUNNING), IFF_UP | IFF_RUNNING);
    EXPECT_EQ(portSettings[2].linkState, 1u);
    hapiPhyExternalPhyLinkStatusChanged(2, HAPI_LINK_UP);
    EXPECT_EQ(calls(), (std::vector<Call>{{0, 2, 1}}));
    EXPECT_EQ(platform().leds.size(), 2u);  // the LED is checked every time

    hapiPhyExternalPhyLinkStatusChanged(2, HAPI_LINK_DOWN);
    EXPECT_EQ(os().find("port01")->flags & IFF_UP, 0);
    EXPECT_EQ(calls().back(), (Call{0, 2, 2}));
    EXPECT_TRUE(platform().messages.empty());
}

}  // namespace
