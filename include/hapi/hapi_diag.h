/* Ad-hoc debugging output. */
#ifndef HAPI_DIAG_H
#define HAPI_DIAG_H

#include "hapi/hapi_export.h"

HAPI_BEGIN_DECLS

/* printf-style text to /dev/console; silently nothing when it cannot be opened. */
HAPI_API void vek_console_debug_printf(const char *format, ...) HAPI_NOEXCEPT
    __attribute__((format(printf, 1, 2)));

HAPI_END_DECLS

#endif
