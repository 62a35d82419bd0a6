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
}

Os &os() { return *g_os; }

void reset()
{
    // Before taking the lock: the threads being stopped may need it.
    reset_threads();
    std::lock_guard<std::recursive_mutex> guard(g_os->lock);
    g_os->commands.clear();
    g_os->shellResult.clear();
    g_os->shellHook = nullptr;
    g_os->pipeOutput.clear();
    g_os->pipeFails.clear();
    g_os->logs.clear();
    g_os->console.clear();
    g_os->consoleMissing = false;
    g_os->files.clear();
    g_os->fileWrites.clear();
    g_os->unwritableFiles.clear();
    g_os->interfaces.clear();
    g_os->socketsOpen = 0;
    g_os->socketsOpened = 0;
    g_os->socketFails = false;
    g_os->socketCalls.clear();
    g_os->bindHook = nullptr;
    g_os->ioctlHook = nullptr;
    reset_netlink();
}

Interface *Os::find(const std::string &name)
{
    for (Interface &i : interfaces)
        if (i.name == name)
            return &i;
    return nullptr;
}

Interface *Os::find(unsigned index)
{
    for (Interface &i : interfaces)
        if (i.index == index)
            return &i;
    return nullptr;
}

bool Os::logged(const std::string &text) const { return count_logs(text) > 0; }

size_t Os::count_logs(const std::string &text) const
{
    return std::count_if(logs.begin(), logs.end(), [&](const LogLine &l) { return l.text == text; });
}

Interface &add_interface(const std::string &name, unsigned index)
{
    std::lock_guard<std::recursive_mutex> guard(g_os->lock);
    g_os->interfaces.push_back(Interface{name, index});
    return g_os->interfaces.back();
}

}  // namespace fake

namespace hapi::os {

using fake::os;

int shell(const char *command)
{
    std::lock_guard<std::recursive_mutex> guard(os().lock);
    os().commands.emplace_back(command);
    if (os().shellHook)
        return os().shellHook(command);
    auto it = os().shellResult.find(command);
    return it == os().shellResult.end() ? 0 : it->second;
}

FILE *popen_read(const char *command)
{
    std::lock_guard<std::recursive_mutex> guard(os().lock);
    os().commands.emplace_back(command);
    const auto &fails = os().pipeFails;
    if (std::find(fails.begin(), fails.end(), command) != fails.end())
        return nullptr;
    auto it = os().pipeOutput.find(command);
    const std::string text = it == os().pipeOutput.end() ? std::string() : it->second;
    FILE *f = std::tmpfile();
    if (f) {
        std::fputs(text.c_str(), f);
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
    std::lock_guard<std::recursive_mutex> guard(os().lock);
    os().logs.push_back({priority, text});
}

int socket(int domain, int type, int protocol)
{
    std::lock_guard<std::recursive_mutex> guard(os().lock);
    os().socketCalls.push_back({domain, type, protocol});
    if (os().socketFails) {
        errno = EMFILE;
        return -1;
    }
    ++os().socketsOpen;
    ++os().socketsOpened;
    return 1000 + os().socketsOpened;
}

int close(int fd)
{
    std::lock_guard<std::recursive_mutex> guard(os().lock);
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
    fake::Interface *iface = nullptr;
    if (request == SIOCSIFHWADDR || request == SIOCGIFFLAGS || request == SIOCSIFFLAGS) {
        iface = os().find(std::string(req->ifr_name, strnlen(req->ifr_name, IFNAMSIZ)));
        if (!iface) {
            errno = ENODEV;
            return -1;
        }
    }
    switch (request) {
    case SIOCSIFHWADDR:
        if (iface->failHwaddr) {
            errno = EBUSY;
            return -1;
        }
        std::memcpy(iface->hwaddr, req->ifr_hwaddr.sa_data, 6);
        return 0;
    case SIOCGIFFLAGS:
        req->ifr_flags = iface->flags;
        return 0;
    case SIOCSIFFLAGS:
        if (iface->failSetFlags) {
            errno = EPERM;
            return -1;
        }
        iface->flags = req->ifr_flags;
        return 0;
    default:
        break;
    }
    auto hook = os().ioctlHook;
    guard.unlock();
    if (hook)
        return hook(fd, request, arg);
    errno = EOPNOTSUPP;
    return -1;
}

char *if_indextoname(unsigned index, char *name)
{
    std::lock_guard<std::recursive_mutex> guard(os().lock);
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
    std::lock_guard<std::recursive_mutex> guard(os().lock);
    const fake::Interface *iface = os().find(std::string(name));
    if (!iface) {
        errno = ENODEV;
        return 0;
    }
    return iface->index;
}

bool console_write(const char *text)
{
    std::lock_guard<std::recursive_mutex> guard(os().lock);
    if (os().consoleMissing)
        return false;
    os().console.emplace_back(text);
    return true;
}

int write_file(const char *path, const char *text)
{
    std::lock_guard<std::recursive_mutex> guard(os().lock);
    os().fileWrites.emplace_back(path);
    const auto &bad = os().unwritableFiles;
    if (std::find(bad.begin(), bad.end(), path) != bad.end()) {
        errno = EACCES;
        return -1;
    }
    os().files[path] = text;
    return 0;
}

}  // namespace hapi::os
