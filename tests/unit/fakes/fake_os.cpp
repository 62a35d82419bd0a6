#include "fake_os.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <net/if.h>
#include <sys/ioctl.h>

#include "core/os.h"
#include "fake_netlink.h"
#include "fake_threads.h"

namespace fake {

namespace {
Os *g_os = new Os;  // never destroyed: threads may log while the process exits

int fail(int error)
{
    errno = error;
    return -1;
}

bool contains(const std::vector<std::string> &list, const char *item)
{
    return std::find(list.begin(), list.end(), item) != list.end();
}
}  // namespace

Os &os() { return *g_os; }

void reset()
{
    reset_threads();  // before taking the lock: the threads being stopped may need it
    Guard guard(g_os->lock);
    *g_os = Os{};
    reset_netlink();
}

Interface *Os::find(const std::string &name)
{
    auto it = std::find_if(interfaces.begin(), interfaces.end(), [&](auto &i) { return i.name == name; });
    return it == interfaces.end() ? nullptr : &*it;
}

Interface *Os::find(unsigned index)
{
    auto it = std::find_if(interfaces.begin(), interfaces.end(), [&](auto &i) { return i.index == index; });
    return it == interfaces.end() ? nullptr : &*it;
}

size_t Os::count_logs(const std::string &text) const
{
    return std::count_if(logs.begin(), logs.end(), [&](const LogLine &l) { return l.text == text; });
}

Interface &add_interface(const std::string &name, unsigned index)
{
    Guard guard(g_os->lock);
    return g_os->interfaces.emplace_back(Interface{name, index});
}

}  // namespace fake

namespace hapi::os {

using fake::fail;
using fake::Guard;
using fake::os;

int shell(const char *command)
{
    Guard guard(os().lock);
    os().commands.emplace_back(command);
    if (os().shellHook)
        return os().shellHook(command);
    auto it = os().shellResult.find(command);
    return it == os().shellResult.end() ? 0 : it->second;
}

FILE *popen_read(const char *command)
{
    Guard guard(os().lock);
    os().commands.emplace_back(command);
    if (fake::contains(os().pipeFails, command))
        return nullptr;
    FILE *f = std::tmpfile();
    if (f) {
        const auto it = os().pipeOutput.find(command);
        std::fputs(it == os().pipeOutput.end() ? "" : it->second.c_str(), f);
        std::rewind(f);
    }
    return f;
}

int pclose(FILE *pipe) { return pipe ? std::fclose(pipe) : -1; }

void syslog(int priority, const char *format, ...)
{
    char text[4096];
    va_list ap;
    va_start(ap, format);
    std::vsnprintf(text, sizeof text, format, ap);
    va_end(ap);
    Guard guard(os().lock);
    os().logs.push_back({priority, text});
}

int socket(int domain, int type, int protocol)
{
    Guard guard(os().lock);
    os().socketCalls.push_back({domain, type, protocol});
    if (os().socketFails)
        return fail(EMFILE);
    ++os().socketsOpen;
    return 1000 + ++os().socketsOpened;
}

int close(int fd)
{
    Guard guard(os().lock);
    if (fake::close_netlink(fd))
        return 0;
    if (fd < 1000)
        return -1;
    --os().socketsOpen;
    return 0;
}

int bind(int fd, const struct sockaddr *address, socklen_t length)
{
    std::unique_lock<std::recursive_mutex> guard(os().lock);
    auto hook = os().bindHook;
    guard.unlock();
    return hook ? hook(fd, address, length) : 0;
}

int ioctl(int fd, unsigned long request, void *arg)
{
    std::unique_lock<std::recursive_mutex> guard(os().lock);
    auto *req = static_cast<struct ifreq *>(arg);
    if (request == SIOCSIFHWADDR || request == SIOCGIFFLAGS || request == SIOCSIFFLAGS) {
        fake::Interface *iface = os().find(std::string(req->ifr_name, strnlen(req->ifr_name, IFNAMSIZ)));
        if (!iface)
            return fail(ENODEV);
        if (request == SIOCGIFFLAGS)
            req->ifr_flags = iface->flags;
        else if (request == SIOCSIFFLAGS && iface->failSetFlags)
            return fail(EPERM);
        else if (request == SIOCSIFFLAGS)
            iface->flags = req->ifr_flags;
        else if (iface->failHwaddr)
            return fail(EBUSY);
        else
            std::memcpy(iface->hwaddr, req->ifr_hwaddr.sa_data, 6);
        return 0;
    }
    auto hook = os().ioctlHook;
    guard.unlock();
    return hook ? hook(fd, request, arg) : fail(EOPNOTSUPP);
}

char *if_indextoname(unsigned index, char *name)
{
    Guard guard(os().lock);
    const fake::Interface *iface = os().find(index);
    if (!iface) {
        errno = ENXIO;
        return nullptr;
    }
    std::snprintf(name, IF_NAMESIZE, "%s", iface->name.c_str());
    return name;
}

unsigned if_nametoindex(const char *name)
{
    Guard guard(os().lock);
    const fake::Interface *iface = os().find(std::string(name));
    if (!iface)
        errno = ENODEV;
    return iface ? iface->index : 0;
}

bool console_write(const char *text)
{
    Guard guard(os().lock);
    if (!os().consoleMissing)
        os().console.emplace_back(text);
    return !os().consoleMissing;
}

int write_file(const char *path, const char *text)
{
    Guard guard(os().lock);
    os().fileWrites.emplace_back(path);
    if (fake::contains(os().unwritableFiles, path))
        return fail(EACCES);
    os().files[path] = text;
    return 0;
}

}  // namespace hapi::os
