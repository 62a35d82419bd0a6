/* Port status notification channel: per-port interface flags and statistics
 * published as rtnetlink link messages, and link queries answered. */
#ifndef HAPI_NOTIFY_H
#define HAPI_NOTIFY_H

#include <stdint.h>
#include "hapi/hapi_export.h"

HAPI_BEGIN_DECLS

/* Sizes of the statistics blocks the channel carries verbatim. */
#define VEK_NOTIFY_IFTABLE_STATS_SIZE 176
#define VEK_NOTIFY_RMON_STATS_SIZE 76

/* Opens the channel with room for numPorts records. 0, or -1. */
HAPI_API int32_t vekNetlinkNotifyInit(int32_t numPorts) HAPI_NOEXCEPT;

/* Closes the socket and empties the table; stops the receive thread too. */
HAPI_API void vekNetlinkNotifyDestroy(void) HAPI_NOEXCEPT;

/* IFF_* bits of a port: set publishes the newly set bits when sendNow is 1;
 * clear publishes the cleared bits whatever sendNow says. 0, or -1 when the
 * port has no record. */
HAPI_API int32_t vekNetlinkNotifySetFlags(int32_t ifIndex, uint32_t flags, int32_t sendNow) HAPI_NOEXCEPT;
HAPI_API int32_t vekNetlinkNotifyClearFlags(int32_t ifIndex, uint32_t flags, int32_t sendNow) HAPI_NOEXCEPT;

/* Stores a 176-byte if-table or 76-byte RMON statistics block for a port
 * (ifIndex 0: every port), published now when sendNow is 1, else at the next
 * post. 0, or -1 when the port has no record. */
HAPI_API int32_t vekNetlinkNotifySetIfTableStats(int32_t ifIndex, const void *block,
                                                 int32_t sendNow) HAPI_NOEXCEPT;
HAPI_API int32_t vekNetlinkNotifySetRmonStats(int32_t ifIndex, const void *block,
                                              int32_t sendNow) HAPI_NOEXCEPT;

/* Publishes whatever is pending for a port (ifIndex 0: every port). 0, or -1
 * when the port has no record. */
HAPI_API int32_t vekNetlinkNotifyPostChanges(int32_t ifIndex) HAPI_NOEXCEPT;

HAPI_END_DECLS

#endif
