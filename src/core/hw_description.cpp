#include "core/hw_description.h"

#include <array>
#include <cstring>
#include <net/if.h>
#include <net/if_arp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <syslog.h>

#include "hapi/hapi_init.h"
#include "core/diag.h"
#include "core/os.h"
#include "core/owned.h"
#include "platform/vekplatform.h"
#include "core/port_map.h"

torvikSwitchingHwType torvikSwitchingHw;

namespace hapi::startup {
namespace {

constexpr const char *kMacStep = "veketh_Change_MacAddr";

void reset_port_map()
{
    std::memset(&torvikSwitchingHw, 0, sizeof torvikSwitchingHw);
    torvikSwitchingHw.unitCount = 1;
    torvikSwitchingHw.portCount = HAPI_FRONT_PORT_COUNT;
    for (SwitchPortMapEntry &e : torvikSwitchingHw.portMap)
        e = SwitchPortMapEntry{0xFF, 0xFF, -1};
    torvikSwitchingHw.portMap[0] = SwitchPortMapEntry{0, 0, 0};
}

void map_front_ports()
{
    for (int n = 1; n <= HAPI_FRONT_PORT_COUNT; ++n) {
        int physical = 0;
        if (vekpf_VekUspToBcmPort(ports::front_usp(n), &physical) != -1)
            torvikSwitchingHw.portMap[n] = SwitchPortMapEntry{0, 0, static_cast<int16_t>(physical)};
    }
}

}  // namespace

void assign_mac_addresses(int count, const unsigned char (&baseMac)[6])
{
    const UniqueFd fd(os::socket(AF_INET, SOCK_DGRAM, 0));
    if (!fd) {
        diag::syslog_errno(LOG_ERR, "\nCouldn't open socket @ %s, %d with errno  :%d, %s\n", kMacStep, 207,
                           diag::kErrno, diag::kErrnoText);
        return;
    }
    const unsigned base = (unsigned{baseMac[4]} << 8) | baseMac[5];
    for (int i = 1; i <= count; ++i) {
        char name[HAPI_IFNAME_SIZE] = {};
        // Interface i is front port i's device: the same number on the board.
        if (!ports::front_ifname(i, name)) {
            diag::syslog_errno(LOG_ERR,
                               "\nCouldn't find interface name for index : %d @ %s, %d due to errno  :%d, %s\n",
                               i, kMacStep, 214, diag::kErrno, diag::kErrnoText);
            break;
        }
        struct ifreq req = {};
        std::memcpy(req.ifr_name, name, sizeof req.ifr_name);
        req.ifr_hwaddr.sa_family = ARPHRD_ETHER;
        std::memcpy(req.ifr_hwaddr.sa_data, baseMac, 4);
        const unsigned low = (base + static_cast<unsigned>(i)) & 0xFFFFu;
        req.ifr_hwaddr.sa_data[4] = static_cast<char>(low >> 8);
        req.ifr_hwaddr.sa_data[5] = static_cast<char>(low & 0xFF);
        if (os::ioctl(fd.get(), SIOCSIFHWADDR, &req) < 0) {
            diag::syslog_errno(LOG_ERR, "\nioctl failed @ %s, %d with errno: %d, %s\n", kMacStep, 234,
                               diag::kErrno, diag::kErrnoText);
            break;
        }
    }
}

int describe_hardware()
{
    reset_port_map();
    vekpf_ParamInit(0, 0, 1, 0, 0x100000, "devparam-factorysettings", 0);
    const int count = vekApiIf_MaxPhysIntfCountGet();
    std::array<unsigned char, VEKPF_FACTORY_SETTINGS_SIZE> factory{};
    vekpf_FactorySettingGet(factory.data());
    unsigned char baseMac[6];
    std::memcpy(baseMac, factory.data() + VEKPF_FACTORY_BASE_MAC_OFFSET, sizeof baseMac);
    // The map comes first so the address walk can find each port's device through it.
    map_front_ports();
    assign_mac_addresses(count, baseMac);
    return count;
}

}  // namespace hapi::startup
