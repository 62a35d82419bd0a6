#include "fake_driver.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <linux/sockios.h>
#include <net/if.h>
#include <sstream>

namespace fake {

namespace {

Driver *g_driver = new Driver;  // outlives threads still running at exit

constexpr int kExitStatusOne = 1 << 8;  // what system() returns for a tool exiting 1
constexpr uint32_t kHeaderWords = 3;
constexpr uint32_t kClearCounters = 0x52;

int fail(int error)
{
    errno = error;
    return -1;
}

// Copies the caller's record in, lets `change` answer it, copies it back.
template <typename Record, typename Change>
int answer(void *data, Change change)
{
    Record r;
    std::memcpy(&r, data, sizeof r);
    change(r);
    std::memcpy(data, &r, sizeof r);
    return 0;
}

uint32_t dump_bytes(const Port &port) { return static_cast<uint32_t>(port.dump.size() - kHeaderWords) * 4; }

int serve(Port &port, uint32_t command, void *data)
{
    switch (command) {
    case ETHTOOL_GSET:
        return answer<ethtool_cmd>(data, [&](auto &r) { r = port.settings, r.cmd = ETHTOOL_GSET; });
    case ETHTOOL_SSET:
        return answer<ethtool_cmd>(data, [&](auto &r) { port.settings = r; });
    case ETHTOOL_GDRVINFO:
        return answer<ethtool_drvinfo>(data, [&](auto &r) {
            std::snprintf(r.driver, sizeof r.driver, "fakeport");
            r.regdump_len = dump_bytes(port);
        });
    case ETHTOOL_GREGS: {
        // As the kernel does: never more than the driver's length, written
        // right after the header into the caller's buffer.
        auto *header = static_cast<ethtool_regs *>(data);
        header->len = std::min(header->len, dump_bytes(port));
        header->version = 7;
        std::memcpy(header->data, port.dump.data() + kHeaderWords, header->len);
        return 0;
    }
    case ETHTOOL_GLINK:
        return answer<ethtool_value>(data, [&](auto &r) { r.data = port.link; });
    case ETHTOOL_GPAUSEPARAM:
        return answer<ethtool_pauseparam>(data, [&](auto &r) { r = port.pause, r.cmd = ETHTOOL_GPAUSEPARAM; });
    case ETHTOOL_SPAUSEPARAM:
        return answer<ethtool_pauseparam>(data, [&](auto &r) { port.pause = r; });
    case kClearCounters:
        ++port.counterClears;
        std::fill(port.dump.begin() + kHeaderWords, port.dump.end(), 0);
        return 0;
    default:
        return fail(EOPNOTSUPP);
    }
}

int ethtool_ioctl(int, unsigned long request, void *arg)
{
    if (request != SIOCETHTOOL)
        return fail(EOPNOTSUPP);
    auto *req = static_cast<ifreq *>(arg);
    const std::string name(req->ifr_name, strnlen(req->ifr_name, IFNAMSIZ));
    uint32_t command;
    std::memcpy(&command, req->ifr_data, sizeof command);

    Guard guard(g_driver->lock);
    g_driver->requests.emplace_back(name, command);
    auto it = g_driver->ports.find(name);
    if (it == g_driver->ports.end())
        return fail(ENODEV);
    if (it->second.failing.count(command))
        return fail(EIO);
    return serve(it->second, command, req->ifr_data);
}

// Applies an "ethtool -s <name> ..." command; the shell status it would give.
int run_ethtool(const std::string &command)
{
    std::istringstream words(command);
    std::string tool, option, name;
    words >> tool >> option >> name;
    Guard guard(g_driver->lock);
    auto it = g_driver->ports.find(name);
    if (it == g_driver->ports.end())
        return kExitStatusOne;
    Port &port = it->second;
    ethtool_cmd next = port.settings;
    std::string key, value;
    while (words >> key >> value) {
        if (key == "speed" && std::stoul(value) <= port.maxSpeed)
            ethtool_cmd_speed_set(&next, static_cast<uint32_t>(std::stoul(value)));
        else if (key == "duplex")
            next.duplex = value == "full" ? DUPLEX_FULL : DUPLEX_HALF;
        else if (key == "autoneg")
            next.autoneg = value == "on" ? AUTONEG_ENABLE : AUTONEG_DISABLE;
        else if (key == "mdix")
            next.eth_tp_mdix_ctrl = value == "on" ? ETH_TP_MDI_X : value == "off" ? ETH_TP_MDI : ETH_TP_MDI_AUTO;
        else
            return kExitStatusOne;
    }
    port.settings = next;
    return 0;
}

}  // namespace

size_t Driver::count(uint32_t command) const
{
    return static_cast<size_t>(
        std::count_if(requests.begin(), requests.end(), [&](const auto &r) { return r.second == command; }));
}

Driver &driver() { return *g_driver; }

void install_driver()
{
    {
        Guard guard(g_driver->lock);
        g_driver->ports.clear();
        g_driver->requests.clear();
    }
    Guard guard(os().lock);
    os().ioctlHook = ethtool_ioctl;
    os().shellHook = [](const std::string &command) {
        auto it = os().shellResult.find(command);  // a scripted result wins
        if (it != os().shellResult.end())
            return it->second;
        return command.rfind("ethtool -s ", 0) == 0 ? run_ethtool(command) : 0;
    };
}

Port &add_port(const std::string &name, uint32_t tag, uint32_t dumpWords)
{
    Guard guard(g_driver->lock);
    Port &port = g_driver->ports[name] = Port{};
    port.settings.supported = SUPPORTED_10baseT_Half | SUPPORTED_10baseT_Full | SUPPORTED_100baseT_Half |
                              SUPPORTED_100baseT_Full | SUPPORTED_1000baseT_Full | SUPPORTED_Autoneg |
                              SUPPORTED_TP | SUPPORTED_Pause;
    port.settings.advertising = ADVERTISED_100baseT_Full | ADVERTISED_1000baseT_Full | ADVERTISED_Autoneg;
    ethtool_cmd_speed_set(&port.settings, SPEED_1000);
    port.settings.duplex = DUPLEX_FULL;
    port.settings.port = PORT_TP;
    port.settings.autoneg = AUTONEG_ENABLE;
    port.pause.autoneg = port.pause.rx_pause = port.pause.tx_pause = 1;
    port.dump.resize(kHeaderWords + dumpWords);
    for (uint32_t k = 0; k < port.dump.size(); ++k)
        port.dump[k] = tag << 16 | k;
    return port;
}

}  // namespace fake
