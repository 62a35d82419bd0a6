// Port numbering, factory settings and port signals of the simulated board.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <net/if.h>

#include "board.h"
#include "platform/vekplatform.h"

using vekpf::board;

extern "C" {

int vekpf_ParamInit(int, int, int, int, uint32_t, const char *, int) { return 0; }

int vekpf_FactorySettingGet(void *record)
{
    if (!record)
        return -1;
    auto *bytes = static_cast<unsigned char *>(record);
    std::memset(bytes, 0, VEKPF_FACTORY_SETTINGS_SIZE);
    const auto mac = board().baseMac;
    std::memcpy(bytes + VEKPF_FACTORY_BASE_MAC_OFFSET, mac.data(), mac.size());
    return 0;
}

int vekApiIf_MaxPhysIntfCountGet(void) { return board().portCount; }

int vekpf_GetPortCount(uint32_t *count)
{
    if (!count)
        return -1;
    *count = static_cast<uint32_t>(board().portCount);
    return 0;
}

// usp (1, 1, n) is the device named by the port format with n - 1.
int vekpf_VekUspToBcmPort(usp_t usp, int *physicalPort)
{
    const vekpf::Board b = board();
    if (!physicalPort || usp.unit != 1 || usp.slot != 1 || usp.port < 1 || usp.port > b.portCount)
        return -1;
    char name[IF_NAMESIZE] = {};
    std::snprintf(name, sizeof name, b.portNameFormat.c_str(), static_cast<unsigned>(usp.port - 1));
    const unsigned index = if_nametoindex(name);
    if (index == 0)
        return -1;
    *physicalPort = static_cast<int>(index);
    return 0;
}

int vekpf_VekBcmPortToUsp(int physicalPort, usp_t *usp)
{
    if (!usp || physicalPort <= 0)
        return -1;
    char name[IF_NAMESIZE] = {};
    if (!if_indextoname(static_cast<unsigned>(physicalPort), name))
        return -1;
    const int n = vekpf::front_port_of_name(board().portNameFormat, name);
    if (n == 0)
        return -1;
    *usp = usp_t{1, 1, static_cast<int16_t>(n)};
    return 0;
}

int vekpf_PortTypeGet(usp_t usp, uint32_t *type)
{
    if (!type)
        return -1;
    *type = (usp.port >= 1 && usp.port <= vekpf::kMaxPorts) ? board().portType[usp.port] : 0;
    return 0;
}

int vekpf_SpiPortUpdate(void) { return 0; }

// The signal-detect reading of an SFP port is the file "sfp<n>" holding 0 or 1.
int vekpf_SfpSignalDetectGet(usp_t usp, uint32_t *signal)
{
    if (!signal)
        return -1;
    *signal = 0;
    const std::string path = vekpf::run_file("sfp" + std::to_string(usp.port));
    if (path.empty())
        return 0;
    std::ifstream in(path);
    int value = 0;
    if (in >> value)
        *signal = value ? 1 : 0;
    return 0;
}

}  // extern "C"
