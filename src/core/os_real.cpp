#include "core/os.h"

#include <cstdarg>
#include <cstdlib>
#include <fcntl.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>

namespace hapi::os {

int shell(const char *command) { return ::system(command); }

FILE *popen_read(const char *command) { return ::popen(command, "r"); }

int pclose(FILE *pipe) { return ::pclose(pipe); }

void syslog(int priority, const char *format, ...)
{
    va_list ap;
    va_start(ap, format);
    ::vsyslog(priority, format, ap);
    va_end(ap);
}

int socket(int domain, int type, int protocol) { return ::socket(domain, type, protocol); }

int close(int fd) { return ::close(fd); }

int bind(int fd, const struct sockaddr *address, socklen_t length)
{
    return ::bind(fd, address, length);
}

int ioctl(int fd, unsigned long request, void *arg) { return ::ioctl(fd, request, arg); }

char *if_indextoname(unsigned index, char *name) { return ::if_indextoname(index, name); }

unsigned if_nametoindex(const char *name) { return ::if_nametoindex(name); }

bool console_write(const char *text)
{
    FILE *console = std::fopen("/dev/console", "w");
    if (!console)
        return false;
    std::fputs(text, console);
    std::fclose(console);
    return true;
}

int write_file(const char *path, const char *text)
{
    int fd = ::open(path, O_WRONLY | O_CLOEXEC);
    if (fd < 0)
        return -1;
    ssize_t n = ::write(fd, text, std::strlen(text));
    int saved = errno;
    ::close(fd);
    errno = saved;
    return n < 0 ? -1 : 0;
}

}  // namespace hapi::os
