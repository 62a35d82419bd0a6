#include "core/diag.h"

#include <cstdarg>
#include <cstdio>
#include <syslog.h>

#include "hapi/hapi_diag.h"
#include "core/os.h"
#include "platform/vekplatform.h"

namespace hapi::diag {

void phy_error(int line, int error, const char *message, int port, PortItem width,
               const char *step, int value, uint32_t severity)
{
    veklog_throwMsg(kSourcePhy, line, message_id(kFacilityPhy, error), severity, kFacilityPhy,
                    VEKLOG_ITEM_TEXT, VEKLOG_TEXT_SIZE, message,
                    VEKLOG_ITEM_INT, static_cast<int>(width), port,
                    VEKLOG_ITEM_TEXT, VEKLOG_TEXT_SIZE, step,
                    VEKLOG_ITEM_INT, 4, value, 0);
}

void phy_success(int line, int port, const char *step, const char *message, int value)
{
    veklog_throwMsg(kSourcePhy, line, message_id(kFacilityPhy, 0), kClassSuccess, kFacilityPhy,
                    VEKLOG_ITEM_INT, 4, port,
                    VEKLOG_ITEM_TEXT, VEKLOG_TEXT_SIZE, step,
                    VEKLOG_ITEM_TEXT, VEKLOG_TEXT_SIZE, message,
                    VEKLOG_ITEM_INT, 4, value, 0);
}

void phy_link_event(int line, int port, bool up)
{
    veklog_throwMsg(kSourcePhy, line, up ? kLinkUpId : kLinkDownId, kClassLinkEvent, kFacilityPhy,
                    VEKLOG_ITEM_INT, 4, port, 0);
}

void command_failed(const char *tag, const char *command)
{
    os::syslog(LOG_ERR, "[%s] %s Failed ", tag, command);
}

}  // namespace hapi::diag

extern "C" HAPI_API void vek_console_debug_printf(const char *format, ...) noexcept
{
    char text[4096] = {};
    va_list ap;
    va_start(ap, format);
    std::vsnprintf(text, sizeof text, format, ap);
    va_end(ap);
    hapi::os::console_write(text);
}
