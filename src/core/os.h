// The library's only door to the operating system. Production links
// os_real.cpp; the unit tests link a recording fake in its place.
#pragma once

#include <cstddef>
#include <cstdio>
#include <pthread.h>
#include <sys/socket.h>

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
