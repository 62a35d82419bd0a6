// The library's only door to the operating system. Production links
// os_real*.cpp; the unit tests link a recording fake in its place.
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstdint>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/types.h>

namespace hapi::os {

int shell(const char *command);                      // system()
FILE *popen_read(const char *command);                // popen(command, "r")
int pclose(FILE *pipe);
void syslog(int priority, const char *format, ...) __attribute__((format(printf, 2, 3)));

int socket(int domain, int type, int protocol);
int close(int fd);
int bind(int fd, const struct sockaddr *address, socklen_t length);
int ioctl(int fd, unsigned long request, void *arg);  // ethtool, flags, hardware address
char *if_indextoname(unsigned index, char *name);
unsigned if_nametoindex(const char *name);

// Netlink. Sockets are datagram sockets of one netlink protocol, closed
// with close(); the library's only user is core/netlink.h.
// A socket of `protocol` bound to `port` (0: the kernel picks one) and to
// the multicast groups of the mask `groups`; the fd, or -1 with errno set.
int netlink_open(int protocol, uint32_t port, uint32_t groups, bool nonblocking);
// The port the socket is bound to: 0, or -1 with errno set.
int netlink_local_port(int fd, uint32_t *port);
// One message or batch to (port, groups): bytes sent, or -1 with errno set.
ssize_t netlink_send(int fd, const void *bytes, size_t length, uint32_t port, uint32_t groups);
// One datagram into buffer: its length (at most size), or -1 with errno set;
// *sender is the sending port, *truncated says the datagram did not fit.
ssize_t netlink_receive(int fd, void *buffer, size_t size, uint32_t *sender, bool *truncated);
// A receiver's wait: poll(), and an eventfd another thread wakes it with.
int poll(struct pollfd *fds, nfds_t count, int timeout);
int eventfd(unsigned initial, int flags);             // the fd, or -1 with errno set
int eventfd_write(int fd, uint64_t value);            // 0, or -1 with errno set

bool console_write(const char *text);                 // /dev/console
// Writes text to an existing file (sysfs, procfs); 0, or -1 with errno set.
int write_file(const char *path, const char *text);

// Threads. Every thread of the library starts here, and every loop of a
// thread that never ends asks thread_keep_running() before each pass: always
// true in production; the unit tests' fake turns it false to stop the threads
// it started, and cuts their sleeps and waits short.
//
// Starts entry(argument), detached or joinable; 0 or an error number, as
// pthread_create. A joinable thread's handle goes to *thread, which a
// detached start may leave null.
int thread_start(pthread_t *thread, void *(*entry)(void *), void *argument, bool detached);
int thread_join(pthread_t thread);
int thread_detach(pthread_t thread);
bool thread_keep_running();
// pthread_cond_wait with the mutex held; it may return early, so callers
// recheck their condition and thread_keep_running().
int thread_wait(pthread_cond_t *cond, pthread_mutex_t *mutex);

}  // namespace hapi::os
