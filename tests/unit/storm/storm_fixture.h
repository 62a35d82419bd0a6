// Storm-control tests on the default board (front port n at index n), with
// the ingress filters of priority 1 kept in a small model of tc. The module's
// table, semaphores and task flag start clean and are left clean.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "hapi/hapi_init.h"
#include "hapi/hapi_storm.h"
#include "storm/storm.h"
#include "unit_fixture.h"

class StormControl : public UnitTest {
protected:
    void SetUp() override
    {
        UnitTest::SetUp();
        clean_module();
        add_front_interfaces();
        ASSERT_EQ(hapiInit(), 0);
        os().shellHook = [this](const std::string &c) { return model(c); };
        forget();
    }
    void TearDown() override
    {
        UnitTest::TearDown();
        clean_module();
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

    static int apply(int port, const hapiStormCtlRecord &r)
    {
        const usp_t usp = {1, 1, static_cast<int16_t>(port)};
        return hapiSysIfIngressStormCtl(&usp, HAPI_STORM_CTL_COMMAND, &r);
    }

    // The task must exist before link reports are taken.
    static void link_up(int port, uint32_t speed)
    {
        hapi::storm::start_task();
        hapiSysIfIngressStormCtlLinkUpNotify(port, speed);
    }

    // One type (or more) at value: percent of the link, else packets per second.
    static hapiStormCtlRecord limit(uint32_t types, int value, bool percent = false)
    {
        hapiStormCtlRecord r = {};
        r.actions = types;
        r.mode = percent ? HAPI_STORM_MODE_PERCENT : 0;
        r.broadcastEnable = r.multicastEnable = r.unicastEnable = 1;
        r.broadcastValue = r.multicastValue = r.unicastValue = value;
        return r;
    }

    // Filter texts (after "prio 1 ") whose add fails; "*" fails every add.
    std::set<std::string> failing;

private:
    // The fake platform cannot delete a semaphore: old ones stay reachable here.
    static void clean_module()
    {
        using namespace hapi::storm;
        static auto &retired = *new std::vector<VEK_SEM_ID>;  // never destroyed: reachable at exit
        for (VEK_SEM_ID *sem : {&storm_ctl_mutex, &storm_ctl_task_sem})
            if (*sem)
                retired.push_back(std::exchange(*sem, nullptr));
        storm_ctl_task_started = 0;
        for (PortLimits &l : storm_ctl_table) {
            l.speed = l.pending = 0;
            for (int t = 0; t < kTypeCount; ++t) {
                l.level[t] = 0;
                l.enable[t] = l.percent[t] = 0;
            }
        }
    }

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
