#include "fake_threads.h"

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <ctime>
#include <list>
#include <memory>
#include <mutex>
#include <pthread.h>

#include "core/os.h"
#include "fake_os.h"

namespace fake {

namespace {

// A real thread the fake started. Whoever claims it (the library's join or
// stop_threads) joins it; the other waits until it has.
struct Owned {
    pthread_t handle;
    bool claimed = false;
    bool joined = false;
};

struct Trampoline {
    void *(*entry)(void *);
    void *argument;
};

Threads *g_threads = new Threads;
std::mutex g_ownedLock;
std::condition_variable g_ownedChanged;  // a join finished, or stopping began
std::list<std::shared_ptr<Owned>> g_owned;
std::atomic<bool> g_stopping{false};
unsigned long g_nextRecorded = 0;  // handles of recorded starts: 1, 2, ... never a real thread's

thread_local bool t_owned = false;
thread_local bool t_permitted = false;

// Lets the thread that holds it start real threads.
struct Permit {
    bool previous = t_permitted;
    Permit() { t_permitted = true; }
    ~Permit() { t_permitted = previous; }
};

void *run_owned(void *raw)
{
    const std::unique_ptr<Trampoline> t(static_cast<Trampoline *>(raw));
    t_owned = true;
    return t->entry(t->argument);
}

// Joins an owned thread unless someone else claimed it; then waits for that join.
void join_owned(std::shared_ptr<Owned> o, std::unique_lock<std::mutex> &guard)
{
    if (o->claimed) {
        g_ownedChanged.wait(guard, [&o] { return o->joined; });
        return;
    }
    o->claimed = true;
    guard.unlock();
    pthread_join(o->handle, nullptr);
    guard.lock();
    o->joined = true;
    g_ownedChanged.notify_all();
}

}  // namespace

Threads &threads() { return *g_threads; }

void stop_threads()
{
    std::unique_lock guard(g_ownedLock);
    g_stopping = true;
    g_ownedChanged.notify_all();
    // Threads started meanwhile are appended and joined too.
    for (auto it = g_owned.begin(); it != g_owned.end(); ++it)
        join_owned(*it, guard);
    g_owned.clear();
    g_stopping = false;
}

void reset_threads()
{
    stop_threads();
    Guard guard(os().lock);
    *g_threads = Threads{};
}

bool stopping_this_thread() { return t_owned && g_stopping; }

void sleep_unless_stopped(std::chrono::milliseconds duration)
{
    // A test running a thread body itself wants the pass, not the pause.
    if (!t_owned)
        return;
    std::unique_lock guard(g_ownedLock);
    g_ownedChanged.wait_for(guard, duration, [] { return g_stopping.load(); });
}

bool thread_start_permitted() { return t_permitted; }

TestThread::TestThread(std::function<void()> body)
{
    Permit permit;
    thread_ = std::thread(std::move(body));
}

}  // namespace fake

namespace hapi::os {

using fake::g_threads;

int thread_start(pthread_t *thread, void *(*entry)(void *), void *argument, bool detached)
{
    {
        fake::Guard guard(fake::os().lock);
        if (g_threads->startResult != 0)
            return g_threads->startResult;
        g_threads->started.push_back({entry, argument, detached});
        if (!g_threads->real) {
            if (thread)
                *thread = static_cast<pthread_t>(++fake::g_nextRecorded);
            return 0;
        }
    }
    // Joinable whatever was asked, so that stop_threads can join it.
    auto *t = new fake::Trampoline{entry, argument};
    pthread_t handle;
    int r;
    {
        fake::Permit permit;
        r = pthread_create(&handle, nullptr, fake::run_owned, t);
    }
    if (r != 0) {
        delete t;
        return r;
    }
    std::lock_guard guard(fake::g_ownedLock);
    fake::g_owned.push_back(std::make_shared<fake::Owned>(fake::Owned{handle}));
    if (thread)
        *thread = handle;
    return 0;
}

int thread_join(pthread_t thread)
{
    std::unique_lock guard(fake::g_ownedLock);
    for (const auto &o : fake::g_owned)
        if (pthread_equal(o->handle, thread)) {
            fake::join_owned(o, guard);
            break;
        }
    return 0;  // a recorded start: nothing ran
}

// The fake keeps owning a detached thread: stop_threads still joins it.
int thread_detach(pthread_t) { return 0; }

bool thread_keep_running()
{
    if (fake::t_owned)
        return !fake::g_stopping;
    fake::Guard guard(fake::os().lock);
    return g_threads->passes > 0 && g_threads->passes-- > 0;
}

int thread_wait(pthread_cond_t *cond, pthread_mutex_t *mutex)
{
    // Short, so that a stopping thread sees thread_keep_running() soon.
    timespec until;
    clock_gettime(CLOCK_REALTIME, &until);
    const long ns = until.tv_nsec + 5'000'000;
    until.tv_sec += ns / 1'000'000'000;
    until.tv_nsec = ns % 1'000'000'000;
    const int r = pthread_cond_timedwait(cond, mutex, &until);
    return r == ETIMEDOUT ? 0 : r;
}

}  // namespace hapi::os
