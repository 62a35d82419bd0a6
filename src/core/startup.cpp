#include "hapi/hapi_init.h"
#include "core/hw_description.h"

extern "C" HAPI_API int hapiInit(void) noexcept
{
    hapi::startup::describe_hardware();
    return 0;
}

extern "C" HAPI_API void hapiBroadIfIngressStormCtlLinkUpNotify(int, uint32_t) noexcept {}
