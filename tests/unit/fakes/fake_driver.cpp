#include "fake_driver.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <linux/sockios.h>
#include <net/if.h>
#include <sstream>

#include "fake_os.h"

namespace fake {

namespace {

Driver *g_driver = new Driver;  // outlives threads still running at exit

constexpr int kExitStatusOne = 1 << 8;  // what system() returns for a tool exiting 1
constexpr uint32_t kHeaderWords = 3;

template <typename Record>
Record load(const void *data)
{
    Record r;
    std::memcpy(&r, data, sizeof r);
    return r;
}

template <typename Record>
void store(void *data, const Record &r)
{
    std::memcpy(data, &r, sizeof r);
}

int fail(int error)
{
    errno = error;
    return -1;
}

int serve(Port &port, uint32_t command, void *data)
{
    switch (command) {
    case ETHTOOL_GSET: {
        ethtool_cmd answer = port.settings;
        answer.cmd = ETHTOOL_GSET;
        store(data, answer);
        return 0;
    }
    case ETHTOOL_SSET:
        port.settings = load<ethtool_cmd>(data);
        return 0;
    case ETHTOOL_GDRVINFO: {
        ethtool_drvinfo info = load<ethtool_drvinfo>(data);
        std::snprintf(info.driver, sizeof info.driver, "fakeport");
        info.regdump_len = port.regdumpLen;
        store(data, info);
        return 0;
    }
    case ETHTOOL_GREGS: {
        // As the kernel does: never more than the driver's length, written
        // right after the header into the caller's buffer.
        auto *header = static_cast<ethtool_regs *>(data);
        header->len = std::min(header->len, port.regdumpLen);
        header->version = port.dumpVersion;
        const size_t available = port.dump.size() > kHeaderWords ? (port.dump.size() - kHeaderWords) * 4 : 0;
        std::memset(header->data, 0, header->len);
        std::memcpy(header->data, port.dump.data() + kHeaderWords, std::min<size_t>(available, header->len));
        return 0;
    }
    case ETHTOOL_GLINK: {
        ethtool_value value = load<ethtool_value>(data);
        value.data = port.link;
        store(data, value);
        return 0;
    }
    case ETHTOOL_GPAUSEPARAM: {
        ethtool_pauseparam answer = port.pause;
        answer.cmd = ETHTOOL_GPAUSEPARAM;
        store(data, answer);
        return 0;
    }
    case ETHTOOL_SPAUSEPARAM:
        port.pause = load<ethtool_pauseparam>(data);
        return 0;
    case kClearCountersCommand:
        ++port.counterClears;
        for (size_t k = kHeaderWords; k < port.dump.size(); ++k)
            port.dump[k] = 0;
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
    void *data = req->ifr_data;
    uint32_t command;
    std::memcpy(&command, data, sizeof command);

    std::lock_guard<std::recursive_mutex> guard(g_driver->lock);
    g_driver->requests.emplace_back(name, command);
    auto it = g_driver->ports.find(name);
    if (it == g_driver->ports.end())
        return fail(ENODEV);
    if (it->second.failing.count(command))
        return fail(EIO);
    return serve(it->second, command, data);
}

}  // namespace

size_t Driver::count(uint32_t command) const
{
    return static_cast<size_t>(std::count_if(requests.begin(), requests.end(),
                                             [&](const auto &r) { return r.second == command; }));
}

Driver &driver() { return *g_driver; }

void install_driver()
{
    {
        std::lock_guard<std::recursive_mutex> guard(g_driver->lock);
        g_driver->ports.clear();
        g_driver->requests.clear();
    }
    std::lock_guard<std::recursive_mutex> guard(os().lock);
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
    std::lock_guard<std::recursive_mutex> guard(g_driver->lock);
    Port &port = g_driver->ports[name];
    port = Port{};
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
    port.regdumpLen = dumpWords * 4;
    return port;
}

int run_ethtool(const std::string &command)
{
    std::istringstream words(command);
    std::string tool, option, name;
    words >> tool >> option >> name;
    std::lock_guard<std::recursive_mutex> guard(g_driver->lock);
    auto it = g_driver->ports.find(name);
    if (it == g_driver->ports.end())
        return kExitStatusOne;
    Port &port = it->second;
    ethtool_cmd next = port.settings;
    std::string key, value;
    while (words >> key >> value) {
        if (key == "speed") {
            const uint32_t speed = static_cast<uint32_t>(std::stoul(value));
            if (speed > port.maxSpeed)
                return kExitStatusOne;
            ethtool_cmd_speed_set(&next, speed);
        } else if (key == "duplex") {
            next.duplex = value == "full" ? DUPLEX_FULL : DUPLEX_HALF;
        } else if (key == "autoneg") {
            next.autoneg = value == "on" ? AUTONEG_ENABLE : AUTONEG_DISABLE;
        } else if (key == "mdix") {
            next.eth_tp_mdix_ctrl = value == "on" ? ETH_TP_MDI_X : value == "off" ? ETH_TP_MDI : ETH_TP_MDI_AUTO;
        } else {
            return kExitStatusOne;
        }
    }
    port.settings = next;
    return 0;
}

}  // namespace fake
