// Stand-in for the library's threads. By default os::thread_start records
// the request and starts nothing, so a test runs a thread body itself; with
// `real` set it starts a real thread the fake owns. reset() and stop_threads()
// end the owned threads (thread_keep_running() false, sleeps and waits cut
// short) and join them, so no thread outlives its test.
#pragma once

#include <chrono>
#include <functional>
#include <thread>
#include <vector>

namespace fake {

struct ThreadStart {
    void *(*entry)(void *);
    void *argument;
    bool detached;
};

struct Threads {
    std::vector<ThreadStart> started;  // every request, in order (guarded by the fake OS lock)
    bool real = false;                 // start real threads, owned by the fake
    int startResult = 0;               // non-zero: thread_start fails with this error
    // thread_keep_running() answers true this many times to a thread the fake
    // did not start (the test running a body itself), then false.
    int passes = 0;
};

Threads &threads();
void reset_threads();  // stops the owned threads first
void stop_threads();

// For the fake platform: whether the calling thread is one the fake started
// and is being stopped, and a sleep that stopping cuts short.
bool stopping_this_thread();
void sleep_unless_stopped(std::chrono::milliseconds duration);

// Whether this thread may start real threads: the unit-test binary refuses
// every other pthread_create.
bool thread_start_permitted();

// The thread a test starts for itself; joined at the latest when it goes.
class TestThread {
public:
    explicit TestThread(std::function<void()> body);
    ~TestThread() { join(); }
    void join()
    {
        if (thread_.joinable())
            thread_.join();
    }

private:
    std::thread thread_;
};

}  // namespace fake
