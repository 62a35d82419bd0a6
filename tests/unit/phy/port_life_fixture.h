// Unit fixture for the port's life: the fake driver behind front ports 1..4
// (interfaces 1..4, port00..port03, link up at 1000 Mb/s) on PHY tables of
// kPorts ports, recording callbacks, and readers of the structured reports.
#pragma once

#include <algorithm>
#include <net/if.h>
#include <string>
#include <vector>

#include "driver_fixture.h"
#include "hapi/hapi_notify.h"
#include "phy/phy.h"
#include "phy_tables.h"

class PortLifeTest : public DriverTest {
protected:
    static constexpr int kPorts = 5;
    struct Call {
        uint32_t physical, value;
        bool operator==(const Call &) const = default;
    };

    explicit PortLifeTest(int ports = kPorts) : tables(ports) {}
    void SetUp() override
    {
        DriverTest::SetUp();
        for (fake::Interface &i : os().interfaces)
            i.flags = IFF_UP | IFF_RUNNING;
        slot_calls().assign(HAPI_CB_SLOT_COUNT, {});
    }
    // The boot phase opens the notification channel and starts its receive thread.
    void TearDown() override
    {
        vekNetlinkNotifyDestroy();
        DriverTest::TearDown();
    }

    // The link scan's previous state of every port back to unknown, as at
    // start-up: one pass over unmapped ports kept disabled whose link
    // callback clears the state the pass then remembers.
    static void forget_links()
    {
        hapi_test::PhyTables all(HAPI_MAX_LOGICAL_PORTS, {-1, -1, -1, -1});
        for (int p = 0; p < HAPI_MAX_LOGICAL_PORTS; ++p) {
            portSettings[p].portType = HAPI_PORT_TYPE_DISABLED;
            all.on(p, HAPI_CB_LINK_STATE, [](uint32_t, uint32_t, uint32_t) {
                for (int q = 0; q < numOfPorts; ++q)
                    portSettings[q].linkState = 0;
                return 0;
            });
        }
        hapi::phy::linkscan_pass();
    }
    static void set_port(int p, uint32_t type, uint32_t admin, uint32_t link = HAPI_LINK_DOWN, uint32_t power = 0)
    {
        portSettings[p].portType = type;
        portSettings[p].adminState = admin;
        portSettings[p].linkState = link;
        portSettings[p].powerState = power;
    }

    // Calls of the recording callback, per slot.
    static std::vector<std::vector<Call>> &slot_calls()
    {
        static std::vector<std::vector<Call>> calls;
        return calls;
    }
    template <unsigned Slot>
    static int record(uint32_t, uint32_t physical, uint32_t value)
    {
        slot_calls()[Slot].push_back({physical, value});
        return 0;
    }

    bool interface_up(int n) { return os().find(static_cast<unsigned>(n))->flags & IFF_UP; }
    // Reports with this message text, and ports of the link events with this identifier.
    std::vector<fake::LogMessage> reports(const std::string &text)
    {
        std::vector<fake::LogMessage> found;
        for (const fake::LogMessage &m : messages())
            if (std::ranges::any_of(m.items, [&](const vekpf::LogItem &i) { return i.kind == VEKLOG_ITEM_TEXT && i.text == text; }))
                found.push_back(m);
        return found;
    }
    std::vector<int> link_events(uint32_t id)
    {
        std::vector<int> ports;
        for (const fake::LogMessage &m : messages())
            if (m.id == id && m.items.size() == 1)
                ports.push_back(static_cast<int>(m.items[0].number));
        return ports;
    }
    size_t led_calls(int port)
    {
        std::lock_guard guard(platform().lock);
        return static_cast<size_t>(std::ranges::count(platform().leds, port, &fake::LedCall::port));
    }
    std::vector<fake::LogMessage> messages()
    {
        std::lock_guard guard(platform().lock);
        return platform().messages;
    }
    static vekpf::LogItem text(const char *t) { return {VEKLOG_ITEM_TEXT, VEKLOG_TEXT_SIZE, 0, t}; }
    static vekpf::LogItem number(int v) { return {VEKLOG_ITEM_INT, 4, v, {}}; }

    hapi_test::PhyTables tables;
};
