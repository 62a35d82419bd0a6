#include "fake_platform.h"

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <thread>

#include "fake_threads.h"
#include "platform/vekled.h"
#include "shadow_order.h"

namespace fake {

namespace {
Platform *g_platform = new Platform;  // outlives threads still running at exit
vekShadowTable *g_shadow = new vekShadowTable;

// As the platform's: a mutex semaphore may be taken again by its owner.
struct Semaphore {
    std::mutex m;
    std::condition_variable cv;
    bool recursive = false;
    int available = 0;
    std::thread::id owner;
    int depth = 0;

    bool can_take() const
    {
        return recursive ? depth == 0 || owner == std::this_thread::get_id() : available > 0;
    }
    bool held() const { return recursive ? depth > 0 : available == 0; }
};
}  // namespace

Platform &platform() { return *g_platform; }

void reset_platform()
{
    Guard guard(g_platform->lock);
    *g_platform = Platform{};
    std::memset(g_shadow, 0, sizeof *g_shadow);
    shadowTbl = g_shadow;
    shadowTblChanged = 0;
}

vekShadowTable &shadow_table() { return *g_shadow; }

bool semaphore_held(VEK_SEM_ID sem)
{
    auto *s = static_cast<Semaphore *>(sem);
    std::lock_guard<std::mutex> guard(s->m);
    return s->held();
}

}  // namespace fake

using fake::Guard;
using fake::platform;
using fake::Semaphore;

extern "C" {

void *shadowTbl = nullptr;
int shadowTblChanged = 0;

int vekpf_ParamInit(int a, int b, int c, int d, uint32_t size, const char *name, int e)
{
    Guard guard(platform().lock);
    platform().paramInitArgs = {a, b, c, d, static_cast<int>(size), e};
    platform().paramInitName = name ? name : "";
    return 0;
}

int vekpf_FactorySettingGet(void *record)
{
    auto *bytes = static_cast<unsigned char *>(record);
    std::memset(bytes, 0xA5, VEKPF_FACTORY_SETTINGS_SIZE);
    std::memcpy(bytes + VEKPF_FACTORY_BASE_MAC_OFFSET, platform().baseMac.data(), 6);
    return 0;
}

int vekApiIf_MaxPhysIntfCountGet(void) { return platform().physIntfCount; }

int vekpf_VekUspToBcmPort(usp_t usp, int *physicalPort)
{
    Guard guard(platform().lock);
    auto it = platform().uspToPhysical.find(usp.port);
    if (usp.unit != 1 || usp.slot != 1 || it == platform().uspToPhysical.end())
        return -1;
    *physicalPort = it->second;
    return 0;
}

int vekpf_VekBcmPortToUsp(int physicalPort, usp_t *usp)
{
    Guard guard(platform().lock);
    for (const auto &[port, physical] : platform().uspToPhysical)
        if (physical == physicalPort) {
            *usp = usp_t{1, 1, static_cast<int16_t>(port)};
            return 0;
        }
    return -1;
}

int vekpf_GetPortCount(uint32_t *count)
{
    *count = platform().portCount;
    return platform().portCountResult;
}

int vekpf_PortTypeGet(usp_t usp, uint32_t *type)
{
    Guard guard(platform().lock);
    *type = platform().portType.count(usp.port) ? platform().portType[usp.port] : 0;
    return 0;
}

int vekpf_SpiPortUpdate(void)
{
    Guard guard(platform().lock);  // SFP threads call it
    return platform().spiUpdateResult;
}

int vekpf_SfpSignalDetectGet(usp_t usp, uint32_t *signal)
{
    Guard guard(platform().lock);
    ++platform().sfpReads;
    *signal = platform().sfpSignal.count(usp.port) ? platform().sfpSignal[usp.port] : 0;
    return platform().sfpReadResult;
}

VEK_SEM_ID _vekApiOsSemaMCreate(int)
{
    auto *s = static_cast<Semaphore *>(_vekApiOsSemaBCreate(0, 1));
    if (s)
        s->recursive = true;
    return s;
}

VEK_SEM_ID _vekApiOsSemaBCreate(int, int initialState)
{
    Guard guard(platform().lock);
    if (platform().semaphoreCreateFails)
        return nullptr;
    ++platform().semaphoresCreated;
    auto *s = new Semaphore;
    s->available = initialState ? 1 : 0;
    return s;
}

int vekApiOsSemaTake(VEK_SEM_ID sem, int timeoutMs)
{
    auto *s = static_cast<Semaphore *>(sem);
    std::unique_lock<std::mutex> guard(s->m);
    auto ready = [s] { return s->can_take(); };
    if (timeoutMs == VEK_WAIT_FOREVER) {
        // A thread the fake is stopping gives up waiting.
        while (!s->cv.wait_for(guard, std::chrono::milliseconds(5), ready))
            if (fake::stopping_this_thread())
                return -1;
    } else if (!s->cv.wait_for(guard, std::chrono::milliseconds(timeoutMs), ready)) {
        return -1;
    }
    if (s->recursive) {
        s->owner = std::this_thread::get_id();
        ++s->depth;
    } else {
        s->available = 0;
    }
    return 0;
}

int vekApiOsSemaGive(VEK_SEM_ID sem)
{
    auto *s = static_cast<Semaphore *>(sem);
    {
        std::lock_guard<std::mutex> guard(s->m);
        if (s->recursive && (s->depth == 0 || s->owner != std::this_thread::get_id()))
            return -1;
        if (s->recursive)
            --s->depth;
        else
            s->available = 1;
    }
    s->cv.notify_all();
    return 0;
}

void vekApiOsSleep(uint32_t milliseconds) { fake::sleep_unless_stopped(std::chrono::milliseconds(milliseconds)); }

void veklog_preInit(int numOfPorts) { platform().preInitPorts = numOfPorts; }

int veklog_throwMsg(const char *sourceFile, int line, uint32_t messageId, uint32_t severityClass,
                    uint32_t facility, ...)
{
    va_list ap;
    va_start(ap, facility);
    auto items = vekpf::decode_items(ap);
    va_end(ap);
    Guard guard(platform().lock);
    platform().messages.push_back(
        {sourceFile ? sourceFile : "", line, messageId, severityClass, facility, std::move(items)});
    return 0;
}

int vekCompareMacEntries2(const void *a, const void *b) { return vekpf::compare_shadow_entries(a, b); }

void *vekFdbSyncShadowFdbThread(void *) { return nullptr; }

int hapiFdbCacheInit(void) { return platform().cacheInitResult; }

int vekled_ApiPortLedState(int logicalPort, int pattern, int arg3, int arg4)
{
    Guard guard(platform().lock);
    platform().leds.push_back({logicalPort, pattern, arg3, arg4});
    return 0;
}

}  // extern "C"
