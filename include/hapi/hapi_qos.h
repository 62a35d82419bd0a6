/* 802.1p mapping and the per-port queueing disciplines. */
#ifndef HAPI_QOS_H
#define HAPI_QOS_H

#include "hapi/hapi_types.h"

HAPI_BEGIN_DECLS

#define HAPI_DOT1P_PRIORITIES 8
#define HAPI_QOS_PORT_SLOTS 7

/* Argument of the mapping Set and Get calls: map[p] is the traffic class
 * (0..7) of PCP p. */
typedef struct hapiDot1pMappingRecord_s {
    uint8_t reserved[4];
    uint8_t map[HAPI_DOT1P_PRIORITIES];
} hapiDot1pMappingRecord;

/* Entry p: traffic class of PCP p. Traffic class t leaves by class 1:(8 - t). */
HAPI_API extern uint8_t dot1p_cos_map[HAPI_DOT1P_PRIORITIES];
/* Entry i: default priority of the port with interface index i + 1. */
HAPI_API extern uint8_t dot1d_port_default_priority[HAPI_QOS_PORT_SLOTS];
/* Entry i: 1 while the port with interface index i + 1 is a routing port. */
HAPI_API extern uint8_t routing_portmap[HAPI_QOS_PORT_SLOTS];
/* Netlink socket (protocol 30) of the port priority map; -1 until opened. */
HAPI_API extern int32_t _portprio_sockfd;

/* Builds every port's queueing disciplines and 802.1p filters; failures are logged. */
HAPI_API void hapiSysQosDot1pMappingInit(void) HAPI_NOEXCEPT;
/* Applies a new map to every port: 0, or 1. */
HAPI_API int hapiSysQosDot1pMappingSet(const usp_t *usp, uint32_t command,
                                       const hapiDot1pMappingRecord *record) HAPI_NOEXCEPT;
/* Copies the current map into record: 0, or 1 when record is NULL. */
HAPI_API int hapiSysQosDot1pMappingGet(const usp_t *usp, uint32_t command,
                                       hapiDot1pMappingRecord *record) HAPI_NOEXCEPT;

/* Per-port teardown and rebuild of the ingress classification: 0, or 1. */
HAPI_API int sysQosPortDot1pMappingSet(const char *ifname) HAPI_NOEXCEPT;
HAPI_API int sysQosPortDot1pMappingUnset(const char *ifname) HAPI_NOEXCEPT;
HAPI_API int sysQvlanPortPriorityUnset(const char *ifname) HAPI_NOEXCEPT;
HAPI_API int sysQvlanPortPriorityReset(int ifindex) HAPI_NOEXCEPT;
HAPI_API int sysQosPortDelQdisc(const char *ifname) HAPI_NOEXCEPT;
HAPI_API int sysQosPortAddQdisc(const char *ifname) HAPI_NOEXCEPT;

HAPI_END_DECLS

#ifdef __cplusplus
#include <cstddef>
static_assert(sizeof(hapiDot1pMappingRecord) == 12 && offsetof(hapiDot1pMappingRecord, map) == 4);
#endif

#endif
