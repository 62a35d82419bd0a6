/* Start-up and the switching-hardware description. */
#ifndef HAPI_INIT_H
#define HAPI_INIT_H

#include "hapi/hapi_types.h"

HAPI_BEGIN_DECLS

/* Filled by hapiInit's first stage, read without a lock afterwards. */
HAPI_API extern torvikSwitchingHwType torvikSwitchingHw;

/* Brings the library up; call once before anything else. 0 on success. */
HAPI_API int hapiInit(void) HAPI_NOEXCEPT;

/* Kept for the application's link table; takes no action. */
HAPI_API void hapiBroadIfIngressStormCtlLinkUpNotify(int index, uint32_t speed) HAPI_NOEXCEPT;

HAPI_END_DECLS

#endif
