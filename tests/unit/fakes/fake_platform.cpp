#include "fake_platform.h"

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <thread>

#include "platform/vekled.h"
#include "fake_threads.h"
#include "platform/vekplatform.h"
#include "shadow_order.h"

namespace fake {

namespace {
Platform *g_platform = new Platform;  // outlives threads still running at exit
vekShadowTable *g_shadow = new vekShadowTable;
}

Platform &platform() { return *g_platform; }

void reset_platform()
{
    Platform &p = *g_platform;
    std::lock_guard<std::recursive_mutex> guard(p.lock);
    p.physIntfCount = 4;
    p.baseMac = {0x02, 0x00, 0x00, 0x00, 0x00, 0x10};
    p.uspToPhysical = {{1, 1}, {2, 2}, {3, 3}, {4, 4}};
    p.portType.clear();
    p.sfpSignal.clear();
    p.spiUpdateResult = 0;
    p.sfpReadResult = 0;
    p.sfpReads = 0;
    p.portCount = 4;
    p.portCountResult = 0;
    p.cacheInitResult = 0;
    p.preInitPorts = -1;
    p.paramInitArgs.clear();
    p.paramInitName.clear();
    p.messages.clear();
    p.leds.clear();
    p.semaphoresCreated = 0;
    p.semaphoreCreateFails = false;
    std::memset(g_shadow, 0, sizeof *g_shadow);
    shadowTbl = g_shadow;
    shadowTblChanged = 0;
}

vekShadowTable &shadow_table() { return *g_shadow; }

bool Platform::has_message(uint32_t id) const
{
    for (const LogMessage &m : messages)
        if (m.id == id)
            return true;
    return false;
}

}  // namespace fake

using fake::platform;

namespace {
// As the platform's: a mutex semaphore may be taken again by its owner.
struct FakeSemaphore {
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
};
}  // namespace

bool fake::semaphore_held(VEK_SEM_ID sem)
{
    auto *s = static_cast<FakeSemaphore *>(sem);
    std::lock_guard<std::mutex> guard(s->m);
    return s->recursive ? s->depth > 0 : s->available == 0;
}

extern "C" {

void *shadowTbl = nullptr;
int shadowTblChanged = 0;

int vekpf_ParamInit(int a, int b, int c, int d, uint32_t size, const char *name, int e)
{
    std::lock_guard<std::recursive_mutex> guard(platform().lock);
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
    std::lock_guard<std::recursive_mutex> guard(platform().lock);
    auto it = platform().uspToPhysical.find(usp.port);
    if (usp.unit != 1 || usp.slot != 1 || it == platform().uspToPhysical.end())
        return -1;
    *physicalPort = it->second;
    return 0;
}

int vekpf_VekBcmPortToUsp(int physicalPort, usp_t *usp)
{
    std::lock_guard<std::recursive_mutex> guard(platform().lock);
    for (const auto &[port, physical] : platform().uspToPhysical) {
        if (physical == physicalPort) {
            *usp = usp_t{1, 1, static_cast<int16_t>(port)};
            return 0;
        }
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
    std::lock_guard<std::recursive_mutex> guard(platform().lock);
    auto it = platform().portType.find(usp.port);
    *type = it == platform().portType.end() ? 0 : it->second;
    return 0;
}

int vekpf_SpiPortUpdate(void)
{
    std::lock_guard<std::recursive_mutex> guard(platform().lock);  // SFP threads call it
    return platform().spiUpdateResult;
}

int vekpf_SfpSignalDetectGet(usp_t usp, uint32_t *signal)
{
    std::lock_guard<std::recursive_mutex> guard(platform().lock);
    ++platform().sfpReads;
    auto it = platform().sfpSignal.find(usp.port);
    *signal = it == platform().sfpSignal.end() ? 0 : it->second;
    return platform().sfpReadResult;
}

VEK_SEM_ID _vekApiOsSemaMCreate(int)
{
    auto *s = static_cast<FakeSemaphore *>(_vekApiOsSemaBCreate(0, 1));
    if (s)
        s->recursive = true;
    return s;
}

VEK_SEM_ID _vekApiOsSemaBCreate(int, int initialState)
{
    std::lock_guard<std::recursive_mutex> guard(platform().lock);
    if (platform().semaphoreCreateFails)
        return nullptr;
    ++platform().semaphoresCreated;
    auto *s = new FakeSemaphore;
    s->available = initialState ? 1 : 0;
    return s;
}

int vekApiOsSemaTake(VEK_SEM_ID sem, int timeoutMs)
{
    auto *s = static_cast<FakeSemaphore *>(sem);
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
    auto *s = static_cast<FakeSemaphore *>(sem);
    {
        std::lock_guard<std::mutex> guard(s->m);
        if (s->recursive) {
            if (s->depth == 0 || s->owner != std::this_thread::get_id())
                return -1;
            --s->depth;
        } else {
            s->available = 1;
        }
    }
    s->cv.notify_all();
    return 0;
}

void vekApiOsSleep(uint32_t milliseconds)
{
    fake::sleep_unless_stopped(std::chrono::milliseconds(milliseconds));
}

void veklog_preInit(int numOfPorts) { platform().preInitPorts = numOfPorts; }

int veklog_throwMsg(const char *sourceFile, int line, uint32_t messageId, uint32_t severityClass,
                    uint32_t facility, ...)
{
    va_list ap;
    va_start(ap, facility);
    auto items = vekpf::decode_items(ap);
    va_end(ap);
    std::lock_guard<std::recursive_mutex> guard(platform().lock);
    platform().messages.push_back(
        {sourceFile ? sourceFile : "", line, messageId, severityClass, facility, std::move(items)});
    return 0;
}

int vekCompareMacEntries2(const void *a, const void *b) { return vekpf::compare_shadow_entries(a, b); }

void *vekFdbSyncShadowFdbThread(void *) { return nullptr; }

int hapiFdbCacheInit(void) { return platform().cacheInitResult; }

int vekled_ApiPortLedState(int logicalPort, int pattern, int arg3, int arg4)
{
    std::lock_guard<std::recursive_mutex> guard(platform().lock);
    platform().leds.push_back({logicalPort, pattern, arg3, arg4});
    return 0;
}

}  // extern "C"
