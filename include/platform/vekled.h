/* What libhapi expects of the board's LED library. */
#ifndef VEKLED_H
#define VEKLED_H

#include "hapi/hapi_export.h"

HAPI_BEGIN_DECLS

/* Sets a port's LED pattern: 0 enabled, 1 disabled without link, 4 disabled with link. */
int vekled_ApiPortLedState(int logicalPort, int pattern, int arg3, int arg4);

HAPI_END_DECLS

#endif
