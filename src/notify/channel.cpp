// Opening and closing the notification channel, and its receive thread.
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/eventfd.h>

#include <cerrno>
#include <cstdio>
#include <new>

#include "core/os.h"
#include "notify/channel.h"

namespace hapi::notify {

Channel &channel()
{
    // Never destroyed: the receive thread may run until the process ends.
    static Channel &instance = *new Channel;
    return instance;
}

namespace {

constexpr const char *kThreadLine = "vekNeltinkServerMonitoringThreadRoutine!";

void *receive_entry(void *)
{
    vekNetlinkServerMonitoringThreadRoutine();
    return nullptr;
}

// Waits for the socket or the wake-up; false once the channel is closing.
bool wait_readable(int socketFd, int wakeFd)
{
    pollfd fds[2] = {{socketFd, POLLIN, 0}, {wakeFd, POLLIN, 0}};
    while (os::poll(fds, 2, -1) < 0) {
        if (errno != EINTR)
            return false;
    }
    return fds[1].revents == 0;
}

// Drops what an open or half-open channel holds. Lock held, thread stopped.
void release(Channel &ch)
{
    ch.socket.close();
    ch.wake.reset();
    ch.table.reset();
    ch.count = 0;
    ch.capacity = 0;
}

// Socket on port 1001 in the link group, and the wake-up; false at the
// first failure.
bool open_socket(Channel &ch)
{
    // A peer that stops reading must not stall a sender holding the lock;
    // the receive thread waits in poll() instead.
    if (ch.socket.open(NETLINK_ROUTE, kOwnPort, kLinkGroup, true) != 0)
        return false;
    ch.wake.reset(os::eventfd(0, EFD_CLOEXEC));
    return static_cast<bool>(ch.wake);
}

// Lock held.
int32_t open_locked(int32_t numPorts)
{
    if (numPorts <= 0)
        return -1;
    Channel &ch = channel();
    // A second open would steal port 1001 from the running channel.
    if (ch.socket)
        return -1;
    std::unique_ptr<vekNotifyIfEntry[]> table(new (std::nothrow) vekNotifyIfEntry[numPorts]());
    if (!table)
        return -1;
    ch.table = std::move(table);
    if (!open_socket(ch)) {
        release(ch);
        return -1;
    }
    ch.count = 0;
    ch.capacity = numPorts;
    return 0;
}

}  // namespace

int32_t open_channel(int32_t numPorts)
{
    std::lock_guard guard(vekNetlinkNotifyLock());
    return open_locked(numPorts);
}

int receive_once()
{
    return channel().socket.receive([](const nlmsghdr &msg, uint32_t sender) { vekNetlinkMsgValid(msg, sender); });
}

}  // namespace hapi::notify

using namespace hapi::notify;

std::mutex &vekNetlinkNotifyLock()
{
    static std::mutex lock;
    return lock;
}

void vekNetlinkServerMonitoringThreadRoutine()
{
    Channel &ch = channel();
    std::puts(kThreadLine);
    for (;;) {
        std::puts(kThreadLine);
        if (!wait_readable(ch.socket.fd(), ch.wake.get()))
            return;
        receive_once();
    }
}

extern "C" HAPI_API int32_t vekNetlinkNotifyInit(int32_t numPorts) noexcept
{
    std::lock_guard guard(vekNetlinkNotifyLock());
    if (open_locked(numPorts) != 0)
        return -1;
    Channel &ch = channel();
    // Without the thread the channel still publishes; it just answers no one.
    ch.receiving = hapi::os::thread_start(&ch.thread, receive_entry, nullptr, false) == 0;
    return 0;
}

extern "C" HAPI_API void vekNetlinkNotifyDestroy(void) noexcept
{
    Channel &ch = channel();
    pthread_t receiver{};
    bool joinable = false;
    {
        std::lock_guard guard(vekNetlinkNotifyLock());
        if (ch.wake)
            hapi::os::eventfd_write(ch.wake.get(), 1);
        receiver = ch.thread;
        joinable = ch.receiving;
        ch.receiving = false;
    }
    // The handler takes the lock, so wait for the thread without it.
    if (joinable && pthread_equal(receiver, pthread_self())) {
        // Closed from inside the handler: the thread ends at its next wait,
        // and the socket it still reads from stays allocated.
        hapi::os::thread_detach(receiver);
        return;
    }
    if (joinable)
        hapi::os::thread_join(receiver);
    std::lock_guard guard(vekNetlinkNotifyLock());
    release(ch);
}
