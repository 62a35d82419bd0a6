/* Forwarding database: the bridge's address table mirrored into the
 * platform's shadow table, flush and ageing, static bridge entries, and the
 * address entry points of the hardware API. */
#ifndef HAPI_FDB_H
#define HAPI_FDB_H

#include <stdint.h>
#include "hapi/hapi_types.h"

HAPI_BEGIN_DECLS

/* One forwarding entry, 16 bytes, as held in the shadow table. */
typedef struct vekL2AddrEntry_s {
    uint8_t macAddr[6];  /* network order */
    uint16_t vlanId;     /* 0 when the entry carries none */
    int32_t port;        /* physical port (interface index); the bridge is 0 */
    uint32_t entryType;  /* HAPI_FDB_ENTRY_DYNAMIC or HAPI_FDB_ENTRY_STATIC */
} vekL2AddrEntry;

enum { HAPI_FDB_ENTRY_DYNAMIC = 3, HAPI_FDB_ENTRY_STATIC = 5 };

/* Commands of hapiBridgeFdbModify. */
enum { HAPI_FDB_CMD_ADD = 28, HAPI_FDB_CMD_DELETE = 29 };

/* A MAC address passed by value. */
typedef struct hapiMacAddr_s {
    uint8_t addr[6];
} hapiMacAddr;

struct nl_msg;

/* Exported for the application; the library neither reads nor writes it. */
HAPI_API extern int32_t lastL2TrafficError;

/* Opens the neighbour cache and the scratch record: 0, or -1 without a scratch record. */
HAPI_API int hapiFdbInit(void) HAPI_NOEXCEPT;
HAPI_API void hapiFdbCleanup(void) HAPI_NOEXCEPT;
HAPI_API int vekNetlinkL2NeighCacheInit(void) HAPI_NOEXCEPT;
HAPI_API int hapiAllocateL2AddrTbl(void) HAPI_NOEXCEPT;

/* One dump of the bridge's neighbour entries into the shadow table. */
HAPI_API void vekNetlinkL2NeighDump(void) HAPI_NOEXCEPT;
/* Matches one dump message against the shadow table: NL_OK or NL_SKIP. */
HAPI_API int vekNetlinkL2NeighMsgValidCB(struct nl_msg *msg, void *arg) HAPI_NOEXCEPT;
/* The dump, then the shadow table's limit check. Called by the platform's sync thread. */
HAPI_API void vekL2Traverse(void) HAPI_NOEXCEPT;
/* Starts the platform's sync thread, detached: 0, or -1. */
HAPI_API int hapiStartSyncShadowFdbThread(void) HAPI_NOEXCEPT;
HAPI_API int hapiFdbGetEntryType(const vekL2AddrEntry *entry) HAPI_NOEXCEPT;

/* Flushes the bridge's whole FDB: 0, or 1. */
HAPI_API int hapiSysAddrFlushAll(void) HAPI_NOEXCEPT;
/* Ageing time in seconds as decimal text: 0, or 1 when missing or unreadable. */
HAPI_API int vekSetAgingTime(const char *agingTime) HAPI_NOEXCEPT;
/* data: the application's ageing record, its third 32-bit word the time in
 * seconds. 2 for a null record, else as vekSetAgingTime. */
HAPI_API int hapiSysAddrAgingTime(const usp_t *usp, uint32_t command, const void *data) HAPI_NOEXCEPT;

/* Adds (28) or deletes (29) a static bridge entry on an interface index;
 * VLAN ID 0 means none. 0, or -1. */
HAPI_API int hapiBridgeFdbModify(int command, int ifindex, uint16_t vlanId, hapiMacAddr mac) HAPI_NOEXCEPT;

/* Port-state callbacks of the PHY layer's lists (unit, physical port, state). */
HAPI_API int hapiBroadAddrLinkStateChangeCB(uint32_t unit, uint32_t physicalPort, uint32_t linkState) HAPI_NOEXCEPT;
HAPI_API int hapiBroadAddrAdminStateChangeCB(uint32_t unit, uint32_t physicalPort, uint32_t adminState) HAPI_NOEXCEPT;
/* Always 0: a software bridge has no per-port flush. */
HAPI_API int hapiBroadAddrFlushPort(int physicalPort) HAPI_NOEXCEPT;

/* Entry points with nothing to do on a software bridge. */
HAPI_API int hapiSysAddrMacAddressEntryAdd(const usp_t *usp, uint32_t command, void *data) HAPI_NOEXCEPT;
HAPI_API int hapiSysAddrMacAddressEntryDelete(const usp_t *usp, uint32_t command, void *data) HAPI_NOEXCEPT;
HAPI_API int hapiSysL2UserEntryMC(const usp_t *usp, uint32_t command, void *data) HAPI_NOEXCEPT;
HAPI_API int hapiSysMmuModify(const usp_t *usp, uint32_t command, void *data) HAPI_NOEXCEPT;
HAPI_API int hapiSysPauseAddrSet(const usp_t *usp, uint32_t command, void *data) HAPI_NOEXCEPT;
HAPI_API int hapiSysAddrPortLearningCfg(const usp_t *usp, uint32_t command, void *data) HAPI_NOEXCEPT;
HAPI_API void hapiSysAddrLinkStateChangeCB(uint32_t unit, uint32_t physicalPort, uint32_t linkState) HAPI_NOEXCEPT;
HAPI_API void hapiSysAddrAdminStateChangeCB(uint32_t unit, uint32_t physicalPort, uint32_t adminState) HAPI_NOEXCEPT;

HAPI_END_DECLS

#ifdef __cplusplus
#include <cstddef>
static_assert(sizeof(vekL2AddrEntry) == 16);
static_assert(offsetof(vekL2AddrEntry, vlanId) == 6 && offsetof(vekL2AddrEntry, port) == 8);
static_assert(offsetof(vekL2AddrEntry, entryType) == 12);
#else
_Static_assert(sizeof(vekL2AddrEntry) == 16, "MAC, VLAN ID, port, type");
#endif

#endif
