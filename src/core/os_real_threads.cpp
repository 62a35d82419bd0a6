// Threads on pthreads. Production threads run until the process ends.
#include <pthread.h>

#include "core/os.h"

namespace hapi::os {

int thread_start(pthread_t *thread, void *(*entry)(void *), void *argument, bool detached)
{
    pthread_attr_t attr;
    int r = pthread_attr_init(&attr);
    if (r != 0)
        return r;
    if (detached)
        r = pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED);
    pthread_t started;
    if (r == 0)
        r = pthread_create(&started, &attr, entry, argument);
    pthread_attr_destroy(&attr);
    if (r == 0 && thread)
        *thread = started;
    return r;
}

int thread_join(pthread_t thread) { return pthread_join(thread, nullptr); }

int thread_detach(pthread_t thread) { return pthread_detach(thread); }

bool thread_keep_running() { return true; }

int thread_wait(pthread_cond_t *cond, pthread_mutex_t *mutex) { return pthread_cond_wait(cond, mutex); }

}  // namespace hapi::os
