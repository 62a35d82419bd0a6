#include <syslog.h>

#include "core/os.h"
#include "ethdev/ethdev.h"
#include "ethdev/messages.h"

namespace hapi::eth {

bool output_given(const void *out, const char *step, int line) noexcept
{
    if (!out)
        os::syslog(LOG_ERR, msg::kNullOutput, step, line);
    return out != nullptr;
}

bool port_name(uint32_t ifindex, char (&name)[IFNAMSIZ], const char *step, int line) noexcept
{
    if (os::if_indextoname(ifindex, name))
        return true;
    os::syslog(LOG_ERR, msg::kNoIndex, step, line);
    return false;
}

}  // namespace hapi::eth
