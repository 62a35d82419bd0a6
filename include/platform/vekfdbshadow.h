/* The FDB shadow table block that the platform owns and libhapi fills.
 * Integers are in host byte order. */
#ifndef VEKFDBSHADOW_H
#define VEKFDBSHADOW_H

#include <stdint.h>
#include "hapi/hapi_fdb.h"

HAPI_BEGIN_DECLS

#define VEK_SHADOW_SLOTS 65536u
/* New entries are appended only while the total count is at most this. */
#define VEK_SHADOW_APPEND_LIMIT 32768u

typedef struct vekShadowEntry_s {
    uint32_t mark;  /* 0 once a dump has confirmed or appended the entry */
    vekL2AddrEntry entry;
} vekShadowEntry;

typedef struct vekShadowTable_s {
    uint32_t header;
    vekShadowEntry slots[VEK_SHADOW_SLOTS];
    uint32_t sortedCount;  /* front of slots ordered by vekCompareMacEntries2 */
    uint32_t totalCount;   /* sorted entries plus those appended since */
} vekShadowTable;

/* Platform extras of the stand-alone build: one sync step (marks, traversal,
 * sort, drop) returning the entry count or -1, and a locked lookup of an
 * entry by MAC address and VLAN ID returning 0 when found. */
int vekFdbShadowSync(void);
int vekFdbShadowLookup(const uint8_t *mac, uint16_t vlanId, vekL2AddrEntry *found);

HAPI_END_DECLS

#ifdef __cplusplus
#include <cstddef>
static_assert(sizeof(vekShadowEntry) == 20);
static_assert(offsetof(vekShadowTable, slots) == 4);
static_assert(offsetof(vekShadowTable, sortedCount) == 1310724);
static_assert(offsetof(vekShadowTable, totalCount) == 1310728);
#else
_Static_assert(sizeof(vekShadowEntry) == 20, "mark and a 16-byte entry");
#endif

#endif
