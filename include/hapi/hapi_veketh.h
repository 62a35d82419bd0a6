/* Ethernet device access: a port interface's settings, flags, pause
 * parameters, driver counters and link, through ethtool, the interface-flag
 * ioctls and the ethtool tool. Ports are Linux interface indexes here. */
#ifndef HAPI_VEKETH_H
#define HAPI_VEKETH_H

#include <net/if.h>
#include <stdint.h>
#include "hapi/hapi_export.h"

HAPI_BEGIN_DECLS

#define VEKETH_IFNAME_SIZE 16
#define VEKETH_REGDUMP_DATA_SIZE 2956 /* dump bytes after the three header words */
#define VEKETH_REGS_SIZE 2968
#define VEKETH_REGS_WORDS (VEKETH_REGS_SIZE / 4)
#define VEKETH_STATS_SIZE 472

/* The one shared ethtool request context. */
typedef struct VekethRequestContext_s {
    char ifname[VEKETH_IFNAME_SIZE]; /* interface of the last shared-context request */
    int32_t sock;                    /* AF_INET/SOCK_DGRAM, opened by veketh_intf_init */
    struct ifreq ifr;                /* the block every shared-context ioctl passes */
} VekethRequestContext;

/* Register-dump buffer, laid out as struct ethtool_regs with its data area.
 * Readers address it as 32-bit words from the start, header included. */
typedef struct VekethRegisterDump_s {
    uint32_t cmd;     /* ETHTOOL_GREGS */
    uint32_t version; /* as the driver last returned it */
    uint32_t len;     /* bytes of dump requested */
    uint8_t data[VEKETH_REGDUMP_DATA_SIZE];
} VekethRegisterDump;

typedef struct VekethStatsBuffer_s {
    uint8_t bytes[VEKETH_STATS_SIZE];
} VekethStatsBuffer;

HAPI_API extern VekethRequestContext ctx;
HAPI_API extern VekethRegisterDump *regs; /* filled by vekprv_getstats */
HAPI_API extern VekethStatsBuffer *stats; /* zeroed by veketh_intf_init, otherwise unused */

/* Call once before any statistics, pause or link request: 0, or 2. */
HAPI_API int veketh_intf_init(void) HAPI_NOEXCEPT;
/* One SIOCETHTOOL through a request context whose block already names the
 * interface: 0, or 2 with errno from the ioctl. */
HAPI_API int send_ioctl(VekethRequestContext *context, void *record) HAPI_NOEXCEPT;
/* Driver register dump of ifname into regs: 0, or 2. */
HAPI_API int vekprv_getstats(const char *ifname) HAPI_NOEXCEPT;
/* *pausecfg = 1 when autoneg, rx and tx pause are all on: 0, or 2. */
HAPI_API int vekprv_getpause(const char *ifname, uint8_t *pausecfg) HAPI_NOEXCEPT;
/* All three pause settings on (enable != 0) or off: 0, or 2. */
HAPI_API int vekprv_setpause(const char *ifname, uint32_t enable) HAPI_NOEXCEPT;
/* Clears an interface's driver counters: 0, or -18. */
HAPI_API int veketh_reset_stats(uint32_t ifindex) HAPI_NOEXCEPT;

/* Port attributes by interface index: 0, -1 (device or shell failure),
 * -4 (missing output), -18 (no such interface). Speed, duplex and autoneg
 * sets apply ethPortSpeed/ethPortDuplex/ethPortAutonegStatus, not their argument. */
HAPI_API int veketh_port_enable_get(uint32_t ifindex, uint32_t *enable) HAPI_NOEXCEPT;
HAPI_API int veketh_port_enable_set(uint32_t ifindex, int32_t enable) HAPI_NOEXCEPT;
HAPI_API int veketh_port_advert_set(uint32_t ifindex, uint32_t advertising) HAPI_NOEXCEPT;
HAPI_API int veketh_port_advert_get(uint32_t ifindex, uint32_t *advertising) HAPI_NOEXCEPT;
HAPI_API int veketh_port_speed_set(uint32_t ifindex, uint32_t unused) HAPI_NOEXCEPT;
HAPI_API int veketh_port_speed_get(uint32_t ifindex, uint32_t *speed) HAPI_NOEXCEPT;
HAPI_API int veketh_port_speed_max(uint32_t ifindex, uint32_t *speed) HAPI_NOEXCEPT;
HAPI_API int veketh_port_link_status_get(uint32_t ifindex, uint32_t *link) HAPI_NOEXCEPT;
HAPI_API int veketh_port_autoneg_set(uint32_t ifindex, uint32_t unused) HAPI_NOEXCEPT;
HAPI_API int veketh_linkscan_mode_set(uint32_t ifindex, int32_t mode) HAPI_NOEXCEPT;
HAPI_API int veketh_linkscan_register(void *(*handler)(void *)) HAPI_NOEXCEPT;
HAPI_API int veketh_port_medium_get(uint32_t ifindex, uint32_t *medium) HAPI_NOEXCEPT;
HAPI_API int veketh_port_duplex_set(uint32_t ifindex, uint32_t unused) HAPI_NOEXCEPT;
HAPI_API int veketh_port_duplex_get(uint32_t ifindex, uint32_t *duplex) HAPI_NOEXCEPT;
HAPI_API int veketh_port_phy_get(uint32_t ifindex, uint32_t flags, uint32_t reg, uint32_t *value) HAPI_NOEXCEPT;
HAPI_API int veketh_port_phy_set(int unit, uint32_t ifindex, uint32_t flags, uint32_t reg, uint32_t value) HAPI_NOEXCEPT;
HAPI_API int veketh_port_mdix_set(uint32_t ifindex, int32_t mode) HAPI_NOEXCEPT;
HAPI_API int veketh_port_ability_local_get(uint32_t ifindex, uint32_t *supported) HAPI_NOEXCEPT;

HAPI_END_DECLS

#ifdef __cplusplus
#include <cstddef>
#include <linux/ethtool.h>
static_assert(offsetof(VekethRequestContext, sock) == VEKETH_IFNAME_SIZE);
static_assert(offsetof(VekethRequestContext, ifr) ==
              (VEKETH_IFNAME_SIZE + sizeof(int32_t) + alignof(struct ifreq) - 1) / alignof(struct ifreq) *
                  alignof(struct ifreq));
static_assert(sizeof(VekethRegisterDump) == VEKETH_REGS_SIZE);
static_assert(offsetof(VekethRegisterDump, data) == offsetof(struct ethtool_regs, data));
static_assert(sizeof(VekethRegisterDump) - offsetof(VekethRegisterDump, data) == VEKETH_REGDUMP_DATA_SIZE);
static_assert(offsetof(VekethRegisterDump, len) == offsetof(struct ethtool_regs, len));
static_assert(sizeof(VekethStatsBuffer) == VEKETH_STATS_SIZE);
static_assert(sizeof(struct ethtool_cmd) == 44);
#endif

#endif
