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

#include "core/owned.h"

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
    const Owned<FILE, std::fclose> console(std::fopen("/dev/console", "w"));
    if (!console)
        return false;
    std::fputs(text, console.get());
    return true;
}

int write_file(const char *path, const char *text)
{
    UniqueFd fd(::open(path, O_WRONLY | O_CLOEXEC));
    if (!fd)
        return -1;
    const ssize_t n = ::write(fd.get(), text, std::strlen(text));
    const int saved = errno;  // the write's, not the close's
    fd.reset();
    errno = saved;
    return n < 0 ? -1 : 0;
}

}  // namespace hapi::os
