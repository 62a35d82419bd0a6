// The library's only door to the operating system. Production links
// os_real.cpp; the unit tests link a recording fake in its place.
#pragma once

#include <cstddef>
#include <cstdio>
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

}  // namespace hapi::os
