// hapictl: the reference management application. It brings the library up
// the way the real application does and lets a person drive and watch it.
#include <cstdio>
#include <cstring>
#include <net/if.h>

#include "hapi/hapi_init.h"
#include "hapi/hapi_port.h"

namespace {

int usage()
{
    std::fprintf(stderr,
                 "usage: hapictl COMMAND\n"
                 "  init    bring the library up and print the port map\n");
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

}  // namespace

int main(int argc, char **argv)
{
    if (argc < 2)
        return usage();
    if (std::strcmp(argv[1], "init") == 0)
        return cmd_init();
    return usage();
}
