#include "ethtool_port.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <span>
#include <sys/ioctl.h>

#include "link_stats.h"
#include "port_modes.h"
#include "port_state.h"
#include "register_dump.h"

namespace simdrv {
namespace {

// Words per link-mode mask in the link-settings requests; callers learn it
// from the handshake, as with any driver.
constexpr int8_t kModeWords = 3;

struct CounterClear {
    uint32_t cmd;
    uint32_t data;
};

bool is_port(const char *name)
{
    return std::strlen(name) == 6 && std::strncmp(name, "port", 4) == 0 && name[4] >= '0' &&
           name[4] <= '9' && name[5] >= '0' && name[5] <= '9';
}

// The real carrier, as veth reports it (the interface's flags follow it
// only after the kernel's link watch has run).
bool link_up(int fd, const char *ifname, RealIoctl kernel)
{
    ethtool_value value{ETHTOOL_GLINK, 0};
    ifreq req{};
    std::strncpy(req.ifr_name, ifname, IFNAMSIZ - 1);
    req.ifr_data = reinterpret_cast<char *>(&value);
    return kernel(fd, SIOCETHTOOL, &req) == 0 && value.data != 0;
}

// What a PHY reports: the configured mode while the link is up or the mode
// is forced; nothing known while negotiation waits for a link.
struct Reported {
    uint32_t speed, duplex, mdix, lpAdvertising;
};

Reported report(const PortState &s, bool link)
{
    const bool known = link || s.autoneg == AUTONEG_DISABLE;
    const uint32_t mdix = s.mdixCtrl == ETH_TP_MDI_X ? ETH_TP_MDI_X : ETH_TP_MDI;
    return {known ? s.speed : static_cast<uint32_t>(SPEED_UNKNOWN),
            known ? s.duplex : static_cast<uint32_t>(DUPLEX_UNKNOWN),
            link ? mdix : static_cast<uint32_t>(ETH_TP_MDI_INVALID),
            link && s.autoneg == AUTONEG_ENABLE ? kSupported : 0u};
}

// One validation for the legacy and the link-settings writes. Unknown speed
// or duplex (what a read gives while the link is down) keeps the stored mode.
int apply(PortState &s, uint32_t speed, uint32_t duplex, uint32_t autoneg, uint32_t port,
          uint32_t mdixCtrl, uint32_t advertising)
{
    if (autoneg != AUTONEG_DISABLE && autoneg != AUTONEG_ENABLE)
        return EINVAL;
    if (port != PORT_TP || mdixCtrl > ETH_TP_MDI_AUTO)
        return EINVAL;
    const uint32_t newSpeed = speed == static_cast<uint32_t>(SPEED_UNKNOWN) ? s.speed : speed;
    const uint32_t newDuplex = duplex == DUPLEX_UNKNOWN ? s.duplex : duplex;
    if (!forcible(newSpeed, newDuplex))
        return EINVAL;
    s.speed = newSpeed;
    s.duplex = newDuplex;
    s.autoneg = autoneg;
    if (mdixCtrl != ETH_TP_MDI_INVALID)
        s.mdixCtrl = mdixCtrl;
    s.advertising = advertising & kSupported;
    return 0;
}

int get_settings(ethtool_cmd &c, const PortState &s, bool link)
{
    const Reported r = report(s, link);
    const uint32_t cmd = c.cmd;
    c = ethtool_cmd{};
    c.cmd = cmd;
    c.supported = kSupported;
    c.advertising = s.advertising;
    c.lp_advertising = r.lpAdvertising;
    ethtool_cmd_speed_set(&c, r.speed);
    c.duplex = static_cast<uint8_t>(r.duplex);
    c.port = PORT_TP;
    c.transceiver = XCVR_INTERNAL;
    c.autoneg = static_cast<uint8_t>(s.autoneg);
    c.eth_tp_mdix = static_cast<uint8_t>(r.mdix);
    c.eth_tp_mdix_ctrl = static_cast<uint8_t>(s.mdixCtrl);
    return 0;
}

int get_link_settings(ethtool_link_settings &l, const PortState &s, bool link)
{
    if (l.link_mode_masks_nwords != kModeWords) {
        // Handshake: tell the caller the mask size to use.
        l = ethtool_link_settings{};
        l.cmd = ETHTOOL_GLINKSETTINGS;
        l.link_mode_masks_nwords = -kModeWords;
        return 0;
    }
    const Reported r = report(s, link);
    std::span<uint32_t> masks(l.link_mode_masks, 3 * kModeWords);
    std::fill(masks.begin(), masks.end(), 0u);
    masks[0] = kSupported;
    masks[kModeWords] = s.advertising;
    masks[2 * kModeWords] = r.lpAdvertising;
    l.speed = r.speed;
    l.duplex = static_cast<uint8_t>(r.duplex);
    l.port = PORT_TP;
    l.phy_address = 0;
    l.autoneg = static_cast<uint8_t>(s.autoneg);
    l.mdio_support = 0;
    l.eth_tp_mdix = static_cast<uint8_t>(r.mdix);
    l.eth_tp_mdix_ctrl = static_cast<uint8_t>(s.mdixCtrl);
    l.transceiver = XCVR_INTERNAL;
    return 0;
}

int set_link_settings(const ethtool_link_settings &l, PortState &s)
{
    if (l.link_mode_masks_nwords != kModeWords)
        return EINVAL;
    return apply(s, l.speed, l.duplex, l.autoneg, l.port, l.eth_tp_mdix_ctrl,
                 l.link_mode_masks[kModeWords]);
}

int get_drvinfo(int fd, const char *ifname, ethtool_drvinfo &d, RealIoctl kernel)
{
    ifreq req{};
    std::strncpy(req.ifr_name, ifname, IFNAMSIZ - 1);
    req.ifr_data = reinterpret_cast<char *>(&d);
    if (kernel(fd, SIOCETHTOOL, &req) < 0)
        d = ethtool_drvinfo{ETHTOOL_GDRVINFO};
    std::memset(d.driver, 0, sizeof d.driver);
    std::strncpy(d.driver, kDriverName, sizeof d.driver - 1);
    d.eedump_len = 0;
    d.regdump_len = kRegDumpLen;
    return 0;
}

int get_regs(unsigned index, ethtool_regs &r, const PortState &s)
{
    LinkStats now{};
    if (!read_link_stats(index, now))
        return EIO;
    r.len = std::min(r.len, kRegDumpLen);
    r.version = kRegDumpVersion;
    std::memset(r.data, 0, r.len);
    fill_register_dump(std::span<uint32_t>(reinterpret_cast<uint32_t *>(r.data), r.len / 4), now,
                       s.baseline);
    return 0;
}

}  // namespace

std::optional<int> ethtool_request(int fd, const char *ifname, void *data, RealIoctl kernel)
{
    if (!is_port(ifname) || !data)
        return std::nullopt;
    uint32_t cmd;
    std::memcpy(&cmd, data, sizeof cmd);
    switch (cmd) {
    case ETHTOOL_GSET: case ETHTOOL_SSET: case ETHTOOL_GLINKSETTINGS: case ETHTOOL_SLINKSETTINGS:
    case ETHTOOL_GDRVINFO: case ETHTOOL_GREGS: case ETHTOOL_GPAUSEPARAM: case ETHTOOL_SPAUSEPARAM:
    case kClearCounters:
        break;
    default:
        return std::nullopt;  // GLINK among them: veth reports the real carrier
    }
    const unsigned index = if_nametoindex(ifname);
    if (index == 0)
        return ENODEV;
    if (cmd == ETHTOOL_GDRVINFO)
        return get_drvinfo(fd, ifname, *static_cast<ethtool_drvinfo *>(data), kernel);

    const bool link = link_up(fd, ifname, kernel);
    int result = 0;
    const bool stored = with_port_state(ifname, [&](PortState &s) {
        switch (cmd) {
        case ETHTOOL_GSET:
            result = get_settings(*static_cast<ethtool_cmd *>(data), s, link);
            return false;
        case ETHTOOL_SSET: {
            const auto &c = *static_cast<const ethtool_cmd *>(data);
            result = apply(s, ethtool_cmd_speed(&c), c.duplex, c.autoneg, c.port, c.eth_tp_mdix_ctrl,
                           c.advertising);
            return result == 0;
        }
        case ETHTOOL_GLINKSETTINGS:
            result = get_link_settings(*static_cast<ethtool_link_settings *>(data), s, link);
            return false;
        case ETHTOOL_SLINKSETTINGS:
            result = set_link_settings(*static_cast<const ethtool_link_settings *>(data), s);
            return result == 0;
        case ETHTOOL_GREGS:
            result = get_regs(index, *static_cast<ethtool_regs *>(data), s);
            return false;
        case ETHTOOL_GPAUSEPARAM: {
            auto &p = *static_cast<ethtool_pauseparam *>(data);
            p.autoneg = s.pauseAutoneg;
            p.rx_pause = s.pauseRx;
            p.tx_pause = s.pauseTx;
            return false;
        }
        case ETHTOOL_SPAUSEPARAM: {
            const auto &p = *static_cast<const ethtool_pauseparam *>(data);
            s.pauseAutoneg = p.autoneg != 0;
            s.pauseRx = p.rx_pause != 0;
            s.pauseTx = p.tx_pause != 0;
            return true;
        }
        case kClearCounters:
            // A baseline, so the kernel's own counters go on counting.
            result = read_link_stats(index, s.baseline) ? 0 : EIO;
            return result == 0;
        }
        return false;
    });
    return stored ? result : EIO;
}

}  // namespace simdrv
