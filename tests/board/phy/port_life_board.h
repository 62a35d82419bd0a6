// The library brought up on the simulated board the way the application
// does it: hardware description, boot phase, link scan thread, every front
// port initialised and administratively enabled, running phase. Front port 3
// is an SFP port (type 4). Once per process; ctest gives each test its own.
#pragma once

#include <fstream>
#include <mutex>
#include <sstream>
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
struct LinkCall {
    uint32_t physical, state;
};
inline std::mutex &calls_lock()
{
    static std::mutex &m = *new std::mutex;
    return m;
}
inline std::vector<LinkCall> &link_calls()
{
    static std::vector<LinkCall> &calls = *new std::vector<LinkCall>;
    return calls;
}
inline int record_link(uint32_t, uint32_t physical, uint32_t state)
{
    std::lock_guard guard(calls_lock());
    link_calls().push_back({physical, state});
    return 0;
}
// Link callback calls of a port so far.
inline std::vector<uint32_t> link_states(int port)
{
    const auto physical = static_cast<uint32_t>(torvikSwitchingHw.portMap[port].physicalPort);
    std::lock_guard guard(calls_lock());
    std::vector<uint32_t> states;
    for (const LinkCall &c : link_calls())
        if (c.physical == physical)
            states.push_back(c.state);
    return states;
}

inline uint32_t word(int port, hapi::phy::Word w)
{
    uint32_t v = 0;
    hapi::phy::read_word(port, w, v);
    return v;
}
inline uint32_t link_state(int port) { return word(port, hapi::phy::Word::LinkState); }

// The board's description with port kSfpPort made an SFP port; written before
// the platform first reads it.
inline bool make_sfp_port()
{
    const std::string path = board::run_file("board.conf");
    std::ifstream in(path);
    std::ostringstream out;
    std::string line;
    const std::string copper = "port_type " + std::to_string(kSfpPort) + " ";
    while (std::getline(in, line))
        out << (line.rfind(copper, 0) == 0 ? copper + "4" : line) << '\n';
    std::ofstream(path + ".tmp") << out.str();
    return std::rename((path + ".tmp").c_str(), path.c_str()) == 0;
}

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
        if (!make_sfp_port())
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

// Lines of the board's structured log that start with `head` and end with `tail`.
inline size_t veklog_count(const std::string &head, const std::string &tail)
{
    std::ifstream in(board::run_file("veklog"));
    size_t n = 0;
    std::string line;
    while (std::getline(in, line))
        n += line.rfind(head, 0) == 0 && line.size() >= tail.size() &&
             line.compare(line.size() - tail.size(), tail.size(), tail) == 0;
    return n;
}
inline size_t link_reports(int port, bool up)
{
    return veklog_count(up ? "veklog 0x3D00C8 class 13 facility 61 src/phy_hapi:"
                           : "veklog 0x3D00C9 class 13 facility 61 src/phy_hapi:",
                        ": " + std::to_string(port));
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
