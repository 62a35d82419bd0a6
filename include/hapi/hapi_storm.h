/* Ingress storm control: per-port broadcast, multicast and unicast limits. */
#ifndef HAPI_STORM_H
#define HAPI_STORM_H

#include "hapi/hapi_types.h"

HAPI_BEGIN_DECLS

#define HAPI_STORM_CTL_COMMAND 298

/* Bits of hapiStormCtlRecord.actions. */
#define HAPI_STORM_CLEAR_ALL 0x1u
#define HAPI_STORM_BROADCAST 0x2u
#define HAPI_STORM_MULTICAST 0x4u
#define HAPI_STORM_UNICAST 0x8u

/* hapiStormCtlRecord.mode: percentage of the link speed; any other value
 * means packets per second. */
#define HAPI_STORM_MODE_PERCENT 1u

typedef struct hapiStormCtlRecord_s {
    uint8_t reserved[4];
    uint32_t actions;
    uint32_t mode;
    uint32_t broadcastEnable; /* 1 = limit on */
    int32_t broadcastValue;   /* percent (low byte) or packets per second */
    uint32_t multicastEnable;
    int32_t multicastValue;
    uint32_t unicastEnable;
    int32_t unicastValue;
} hapiStormCtlRecord;

/* Applies the record's actions to the port: 0 done; 1 wrong command (not
 * 298), port out of range, or a missing usp or record. */
HAPI_API int hapiSysIfIngressStormCtl(const usp_t *usp, uint32_t command,
                                      const hapiStormCtlRecord *record) HAPI_NOEXCEPT;
/* The link of interface ifindex came up at speed Mb/s. */
HAPI_API void hapiSysIfIngressStormCtlLinkUpNotify(int ifindex, uint32_t speed) HAPI_NOEXCEPT;
/* Body of the storm-control task; never returns. */
HAPI_API void hapiSysIngressStormCtlTask(void) HAPI_NOEXCEPT;
/* Removes the port's storm-control filters: 0, or 1. */
HAPI_API int vekIngress_clear_all(const char *ifname) HAPI_NOEXCEPT;
/* Installs the port's stored limits again. */
HAPI_API void vekIngress_reapply_all(int ifindex) HAPI_NOEXCEPT;

HAPI_END_DECLS

#ifdef __cplusplus
#include <cstddef>
static_assert(sizeof(hapiStormCtlRecord) == 36);
static_assert(offsetof(hapiStormCtlRecord, actions) == 4);
static_assert(offsetof(hapiStormCtlRecord, unicastValue) == 32);
#endif

#endif
