// Opening and closing the notification channel, and its receive thread.
#include <netlink/handlers.h>
#include <netlink/netlink.h>
#include <netlink/socket.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

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
bool wait_readable(nl_sock *sock, int wakeFd)
{
    pollfd fds[2] = {{nl_socket_get_fd(sock), POLLIN, 0}, {wakeFd, POLLIN, 0}};
    while (poll(fds, 2, -1) < 0) {
        if (errno != EINTR)
            return false;
    }
    return fds[1].revents == 0;
}

// Frees what an open or half-open channel holds. Lock held, thread stopped.
void release(Channel &ch)
{
    if (ch.socket) {
        nl_close(ch.socket);
        nl_socket_free(ch.socket);
        ch.socket = nullptr;
    }
    if (ch.callbacks) {
        nl_cb_put(ch.callbacks);
        ch.callbacks = nullptr;
    }
    if (ch.wakeFd >= 0) {
        ::close(ch.wakeFd);
        ch.wakeFd = -1;
    }
    std::free(ch.table);
    ch.table = nullptr;
    ch.count = 0;
    ch.capacity = 0;
}

// Sets up socket, callback set and wake-up; false at the first failure.
bool open_socket(Channel &ch)
{
    ch.socket = nl_socket_alloc();
    if (!ch.socket)
        return false;
    nl_socket_set_local_port(ch.socket, kOwnPort);
    ch.callbacks = nl_cb_alloc(NL_CB_CUSTOM);
    if (!ch.callbacks)
        return false;
    nl_cb_set(ch.callbacks, NL_CB_MSG_IN, NL_CB_CUSTOM, vekNetlinkMsgValid, nullptr);
    if (nl_connect(ch.socket, NETLINK_ROUTE) != 0)
        return false;
    if (nl_socket_add_membership(ch.socket, static_cast<int>(kLinkGroup)) != 0)
        return false;
    // A peer that stops reading must not stall a sender holding the lock;
    // the receive thread waits in poll() instead.
    if (nl_socket_set_nonblocking(ch.socket) != 0)
        return false;
    ch.wakeFd = eventfd(0, EFD_CLOEXEC);
    return ch.wakeFd >= 0;
}

}  // namespace
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
        if (!wait_readable(ch.socket, ch.wakeFd))
            return;
        nl_recvmsgs(ch.socket, ch.callbacks);
    }
}

extern "C" HAPI_API int32_t vekNetlinkNotifyInit(int32_t numPorts) noexcept
{
    if (numPorts <= 0)
        return -1;
    std::lock_guard guard(vekNetlinkNotifyLock());
    Channel &ch = channel();
    // A second open would steal port 1001 from the running channel.
    if (ch.socket)
        return -1;
    auto *table = static_cast<vekNotifyIfEntry *>(std::calloc(static_cast<size_t>(numPorts), sizeof(vekNotifyIfEntry)));
    if (!table)
        return -1;
    std::free(ch.table);
    ch.table = table;
    if (!open_socket(ch)) {
        release(ch);
        return -1;
    }
    ch.count = 0;
    ch.capacity = numPorts;
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
        if (ch.wakeFd >= 0) {
            uint64_t one = 1;
            [[maybe_unused]] ssize_t n = ::write(ch.wakeFd, &one, sizeof one);
        }
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
