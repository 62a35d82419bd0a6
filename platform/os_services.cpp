// Operating-system semaphores and sleep on pthreads.
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <thread>

#include "platform/vekplatform.h"

namespace {

// A mutex semaphore may be taken again by its owner; a binary one holds 0 or 1.
struct Semaphore {
    bool recursive = false;
    std::mutex lock;
    std::condition_variable changed;
    int available = 0;
    std::thread::id owner;
    int depth = 0;
};

bool can_take(const Semaphore &s)
{
    if (s.recursive)
        return s.depth == 0 || s.owner == std::this_thread::get_id();
    return s.available > 0;
}

}  // namespace

extern "C" {

VEK_SEM_ID _vekApiOsSemaMCreate(int)
{
    auto *s = new (std::nothrow) Semaphore;
    if (s)
        s->recursive = true;
    return s;
}

VEK_SEM_ID _vekApiOsSemaBCreate(int, int initialState)
{
    auto *s = new (std::nothrow) Semaphore;
    if (s)
        s->available = initialState ? 1 : 0;
    return s;
}

int vekApiOsSemaTake(VEK_SEM_ID sem, int timeoutMs)
{
    auto *s = static_cast<Semaphore *>(sem);
    if (!s)
        return -1;
    std::unique_lock<std::mutex> guard(s->lock);
    if (timeoutMs == VEK_WAIT_FOREVER) {
        s->changed.wait(guard, [s] { return can_take(*s); });
    } else if (!s->changed.wait_for(guard, std::chrono::milliseconds(timeoutMs),
                                    [s] { return can_take(*s); })) {
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
    if (!s)
        return -1;
    {
        std::lock_guard<std::mutex> guard(s->lock);
        if (s->recursive) {
            if (s->depth == 0 || s->owner != std::this_thread::get_id())
                return -1;
            --s->depth;
        } else {
            s->available = 1;
        }
    }
    s->changed.notify_all();
    return 0;
}

void vekApiOsSleep(uint32_t milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

}  // extern "C"
