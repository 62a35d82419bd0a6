// The library brought up on the simulated board the way the application
// does it: hardware description, boot phase, link scan thread, every front
// port initialised and administratively enabled, running phase. Front port 3
// is an SFP port (type 4). Once per process; ctest gives each test its own.
#pragma once

#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#include "board_harness.h"
#include "hapi/hapi_init.h"
#include "hapi/hapi_phy.h"
#include "hapi/hapi_veketh.h"
#include "core/hw_description.h"
#include "phy/phy.h"
#include "storm/storm.h"

namespace port_life {

inline constexpr int kSfpPort = 3;

// Link callback calls seen by the test: (physical port, state). Never
// destroyed: the library's threads call back until the process ends.
struct LinkCalls {
    std::mutex lock;
    std::vector<std::pair<uint32_t, uint32_t>> calls;
};
inline LinkCalls &link_calls()
{
    static LinkCalls &c = *new LinkCalls;
    return c;
}
inline int record_link(uint32_t, uint32_t physical, uint32_t state)
{
    std::lock_guard guard(link_calls().lock);
    link_calls().calls.emplace_back(physical, state);
    return 0;
}
// Link callback calls of a port so far.
inline std::vector<uint32_t> link_states(int port)
{
    const auto physical = static_cast<uint32_t>(torvikSwitchingHw.portMap[port].physicalPort);
    std::lock_guard guard(link_calls().lock);
    std::vector<uint32_t> states;
    for (const auto &[p, state] : link_calls().calls)
        if (p == physical)
            states.push_back(state);
    return states;
}

inline uint32_t word(int port, hapi::phy::Word w)
{
    uint32_t v = 0;
    static_cast<void>(hapi::phy::read_word(port, w, v));  // 0 when the table cannot be read
    return v;
}
inline uint32_t link_state(int port) { return word(port, hapi::phy::Word::LinkState); }

inline int set_state(int (*op)(const usp_t *, uint32_t, PhyStateCommand *), int port, uint16_t value)
{
    const usp_t usp{1, 1, static_cast<int16_t>(port)};
    PhyStateCommand block{HAPI_PHY_CMD_SET, value};
    return op(&usp, 0, &block);
}

// Brings the library up once; empty, or what failed.
inline std::string bring_up()
{
    static std::string failure = [] () -> std::string {
        // The board's description with port kSfpPort made an SFP port,
        // written before the platform first reads it.
        if (board::run("sed -i 's/^port_type " + std::to_string(kSfpPort) + " .*/port_type " +
                       std::to_string(kSfpPort) + " 4/' " + board::run_file("board.conf")).status != 0)
            return "cannot describe the SFP port";
        const int interfaces = hapi::startup::describe_hardware();
        veketh_intf_init();
        hapi::storm::start_task();  // link-up notifications are kept once storm control runs
        if (hapiPhyEnterBootPhase(interfaces + 1) != 0)
            return "boot phase failed";
        for (int p = 1; p <= 4; ++p)
            hapiPhyCallbackPort(torvikSwitchingHw.portMap[p].physicalPort, 0, HAPI_CB_LINK_STATE, record_link);
        for (int16_t p = 1; p <= 4; ++p) {
            const usp_t usp{1, 1, p};
            uint32_t result[2] = {};
            if (hapiPhyInitPort(&usp, 0, result) != 0)
                return "port " + std::to_string(p) + " initialisation failed";
            if (set_state(hapiPhyAdminstate, p, HAPI_ADMIN_ENABLED) != 0)
                return "admin enable of port " + std::to_string(p) + " failed";
        }
        if (hapiPhyEnterRunningPhase() != 0)
            return "running phase failed";
        if (veketh_linkscan_register(hapiPhyInternalLinkstatus_handler) != 0)
            return "link scan not started";
        return {};
    }();
    return failure;
}

// Link reports of a port in the board's structured log so far.
inline size_t link_reports(int port, bool up)
{
    const std::string r = board::run(std::string("grep -c '^veklog 0x3D00") + (up ? "C8" : "C9") +
                                     " class 13 facility 61 src/phy_hapi:.*: " + std::to_string(port) + "$' " +
                                     board::run_file("veklog")).output;
    return std::strtoul(r.c_str(), nullptr, 10);
}

}  // namespace port_life

class PortLifeBoard : public BoardTest {
protected:
    void SetUpBoard() override
    {
        const std::string failure = port_life::bring_up();
        ASSERT_TRUE(failure.empty()) << failure;
    }
};
