// Address entry points of the hardware API. A software bridge has no
// per-port flush, learning switch or MMU, so most of them have nothing to do.
#include <syslog.h>

#include "hapi/hapi_fdb.h"
#include "core/os.h"

namespace {

constexpr const char *kLinkFlushFailed = "hapiBroadAddrLinkStateChangeCB() Flush FDB per port failed!";
constexpr const char *kAdminFlushFailed = "hapiBroadAddrAdminStateChangeCB() Flush FDB per port failed!";
constexpr uint32_t kStateDown = 2;  // link down, or administratively disabled

void flush_port_on_down(uint32_t physicalPort, uint32_t state, const char *failure)
{
    if (state != kStateDown)
        return;
    if (hapiBroadAddrFlushPort(static_cast<int>(physicalPort)) != 0)
        hapi::os::syslog(LOG_ERR, "%s", failure);
}

}  // namespace

extern "C" {

HAPI_API int32_t lastL2TrafficError = 0;

HAPI_API int hapiBroadAddrFlushPort(int) noexcept { return 0; }

// Registered in the PHY layer's callback lists, hence that list's signature;
// the result is not looked at.
HAPI_API int hapiBroadAddrLinkStateChangeCB(uint32_t, uint32_t physicalPort, uint32_t linkState) noexcept
{
    flush_port_on_down(physicalPort, linkState, kLinkFlushFailed);
    return 0;
}

HAPI_API int hapiBroadAddrAdminStateChangeCB(uint32_t, uint32_t physicalPort, uint32_t adminState) noexcept
{
    flush_port_on_down(physicalPort, adminState, kAdminFlushFailed);
    return 0;
}

HAPI_API int hapiFdbGetEntryType(const vekL2AddrEntry *entry) noexcept
{
    return entry && entry->entryType == HAPI_FDB_ENTRY_STATIC ? HAPI_FDB_ENTRY_STATIC
                                                              : HAPI_FDB_ENTRY_DYNAMIC;
}

HAPI_API int hapiSysAddrMacAddressEntryAdd(const usp_t *, uint32_t, void *) noexcept { return 0; }
HAPI_API int hapiSysAddrMacAddressEntryDelete(const usp_t *, uint32_t, void *) noexcept { return 0; }
HAPI_API int hapiSysL2UserEntryMC(const usp_t *, uint32_t, void *) noexcept { return 0; }
HAPI_API int hapiSysMmuModify(const usp_t *, uint32_t, void *) noexcept { return 0; }
HAPI_API int hapiSysPauseAddrSet(const usp_t *, uint32_t, void *) noexcept { return 0; }
HAPI_API int hapiSysAddrPortLearningCfg(const usp_t *, uint32_t, void *) noexcept { return 0; }
HAPI_API void hapiSysAddrLinkStateChangeCB(uint32_t, uint32_t, uint32_t) noexcept {}
HAPI_API void hapiSysAddrAdminStateChangeCB(uint32_t, uint32_t, uint32_t) noexcept {}

}  // extern "C"
