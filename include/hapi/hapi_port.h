/* Port identities: usp, logical port, physical port (interface index), name. */
#ifndef HAPI_PORT_H
#define HAPI_PORT_H

#include "hapi/hapi_types.h"

HAPI_BEGIN_DECLS

/* Logical port of a physical port, 255 when no port map entry holds it. */
HAPI_API uint8_t getLogicPortFromPhysicalPort(int16_t physicalPort) HAPI_NOEXCEPT;

/* Name of interface index ifindex into name (>= 16 bytes): 0, or 2 when unknown. */
HAPI_API int vek_port_intf_name(int ifindex, char *name) HAPI_NOEXCEPT;

/* Logical port named by an interface name ("port%02u", "eth1"), or -1. */
HAPI_API int getPortFromIfName(const char *name) HAPI_NOEXCEPT;

HAPI_END_DECLS

#endif
