// Storm-control tests on the default board (front port n at index n), with
// the ingress filters of priority 1 kept in a small model of tc.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "hapi/hapi_init.h"
#include "hapi/hapi_storm.h"
#include "unit_fixture.h"
#include "storm/storm.h"

class StormControl : public UnitTest {
protected:
    void SetUp() override
    {
        UnitTest::SetUp();
        add_front_interfaces();
        ASSERT_EQ(hapiInit(), 0);
        os().shellHook = [this](const std::string &c) { return model(c); };
        forget();
    }

    void forget()
    {
        std::lock_guard<std::recursive_mutex> guard(os().lock);
        os().commands.clear();
        os().logs.clear();
        platform().messages.clear();
    }

    // Filter texts after "prio 1 " on dev, in the order they were added.
    std::vector<std::string> filters(const std::string &dev)
    {
        std::lock_guard<std::recursive_mutex> guard(os().lock);
        return installed[dev];
    }

    int apply(int port, const hapiStormCtlRecord &r)
    {
        const usp_t usp = {1, 1, static_cast<int16_t>(port)};
        return hapiSysIfIngressStormCtl(&usp, HAPI_STORM_CTL_COMMAND, &r);
    }

    // The task must exist before link reports are taken.
    void link_up(int port, uint32_t speed)
    {
        hapi::storm::start_task();
        hapiSysIfIngressStormCtlLinkUpNotify(port, speed);
    }

    static hapiStormCtlRecord percent_bcast(int value)
    {
        hapiStormCtlRecord r = {};
        r.actions = HAPI_STORM_BROADCAST;
        r.mode = HAPI_STORM_MODE_PERCENT;
        r.broadcastEnable = 1;
        r.broadcastValue = value;
        return r;
    }
    static hapiStormCtlRecord percent_mcast(int value)
    {
        hapiStormCtlRecord r = percent_bcast(0);
        r.actions = HAPI_STORM_MULTICAST;
        r.multicastEnable = 1;
        r.multicastValue = value;
        return r;
    }
    // Packets per second for one type; mode 0.
    static hapiStormCtlRecord rate(uint32_t type, int value)
    {
        hapiStormCtlRecord r = {};
        r.actions = type;
        r.broadcastEnable = r.multicastEnable = r.unicastEnable = 1;
        r.broadcastValue = r.multicastValue = r.unicastValue = value;
        return r;
    }

    // Filter texts (after "prio 1 ") whose add fails; "*" fails every add.
    std::set<std::string> failing;

private:
    int model(const std::string &c)
    {
        char dev[32] = {};
        if (std::sscanf(c.c_str(), "tc filter %*s dev %31s", dev) != 1)
            return 0;
        const std::string add = "tc filter add dev " + std::string(dev) + " ingress prio 1 ";
        if (c.rfind(add, 0) == 0) {
            const std::string filter = c.substr(add.size());
            if (failing.count(filter) || failing.count("*"))
                return 1;
            installed[dev].push_back(filter);
        } else if (c == "tc filter del dev " + std::string(dev) + " ingress prio 1") {
            installed[dev].clear();
        }
        return os().shellResult.count(c) ? os().shellResult[c] : 0;
    }
    std::map<std::string, std::vector<std::string>> installed;
};
