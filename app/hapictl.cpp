// hapictl: the reference management application. It brings the library up
// the way the real application does and lets a person drive and watch it.
#include <cstdio>
#include <cstring>
#include <net/if.h>

#include "hapi/hapi_init.h"
#include "hapi/hapi_phy.h"
#include "hapi/hapi_port.h"
#include "hapi/hapi_veketh.h"

namespace {

int usage()
{
    std::fprintf(stderr,
                 "usage: hapictl COMMAND\n"
                 "  init    bring the library up and print the port map\n"
                 "  up      bring the ports up as the application does (boot phase, port\n"
                 "          initialisation, admin enable, running phase) and print them\n");
    return 2;
}

void print_port_map()
{
    std::printf("units %u, front ports %u\n", torvikSwitchingHw.unitCount, torvikSwitchingHw.portCount);
    std::printf("%-8s %-9s %-10s %s\n", "logical", "physical", "interface", "back to logical");
    for (int p = 0; p <= HAPI_FRONT_PORT_COUNT; ++p) {
        const SwitchPortMapEntry &e = torvikSwitchingHw.portMap[p];
        char name[IF_NAMESIZE] = "-";
        if (p == 0)
            std::snprintf(name, sizeof name, "(internal)");
        else if (e.physicalPort <= 0 || vek_port_intf_name(e.physicalPort, name) != 0)
            std::snprintf(name, sizeof name, "(none)");
        std::printf("%-8d %-9d %-10s %d\n", p, e.physicalPort, name,
                    getLogicPortFromPhysicalPort(e.physicalPort));
    }
}

int cmd_init()
{
    const int rc = hapiInit();
    std::printf("hapiInit: %d\n", rc);
    print_port_map();
    return rc == 0 ? 0 : 1;
}

const char *link_text(uint32_t state) { return state == 1 ? "up" : state == 2 ? "down" : "-"; }

void print_ports()
{
    std::printf("%-5s %-7s %-5s %-6s %-6s %-6s %-7s\n", "port", "if", "type", "admin", "power", "link",
                "speed");
    for (int p = 1; p < numOfPorts; ++p) {
        pthread_mutex_lock(&portSettingsMutex);
        const PhyPortSettings s = portSettings[p];
        pthread_mutex_unlock(&portSettingsMutex);
        char name[IF_NAMESIZE] = "-";
        vek_port_intf_name(torvikSwitchingHw.portMap[p].physicalPort, name);
        std::printf("%-5d %-7s %-5u %-6u %-6u %-6s 0x%02x\n", p, name, s.portType, s.adminState,
                    s.powerState, link_text(s.linkState), s.speedDuplex);
    }
}

// The application's bring-up: every step reports and the first failure stops it.
int cmd_up()
{
    auto step = [](const char *what, int rc) {
        std::printf("%-28s %s\n", what, rc == 0 ? "ok" : "FAILED");
        if (rc != 0)
            std::printf("  lastBCMError %d\n", hapiPhyReturnLastError());
        return rc == 0;
    };
    if (!step("hapiInit", hapiInit()))
        return 1;
    const int ports = 1 + static_cast<int>(torvikSwitchingHw.portCount);
    if (!step("hapiPhyEnterBootPhase", hapiPhyEnterBootPhase(ports)) ||
        !step("veketh_intf_init", veketh_intf_init()))
        return 1;
    for (int p = 1; p < ports; ++p) {
        const usp_t usp = {1, 1, static_cast<int16_t>(p)};
        uint32_t result[2] = {};
        PhyStateCommand enable = {HAPI_PHY_CMD_SET, HAPI_ADMIN_ENABLED};
        char what[48];
        std::snprintf(what, sizeof what, "port %d: init, admin enable", p);
        if (!step(what, hapiPhyInitPort(&usp, 0, result) | hapiPhyAdminstate(&usp, 0, &enable)))
            return 1;
    }
    if (!step("hapiPhyEnterRunningPhase", hapiPhyEnterRunningPhase()))
        return 1;
    print_ports();
    return 0;
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc < 2)
        return usage();
    if (std::strcmp(argv[1], "init") == 0)
        return cmd_init();
    if (std::strcmp(argv[1], "up") == 0)
        return cmd_up();
    return usage();
}
