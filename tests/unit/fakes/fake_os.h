// In-process stand-in for the OS boundary: records every command, log line
// and console write; scripts command results and pipe output; serves
// interface ioctls from a small model of the port interfaces.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <sys/socket.h>
#include <vector>

namespace fake {

// The fakes' lock: a reset by assignment leaves it as it is.
struct Lock : std::recursive_mutex {
    Lock() = default;
    Lock(const Lock &) {}
    Lock &operator=(const Lock &) { return *this; }
};
using Guard = std::lock_guard<std::recursive_mutex>;

struct LogLine {
    int priority;
    std::string text;
    bool operator==(const LogLine &) const = default;
};

struct Interface {
    std::string name;
    unsigned index = 0;
    unsigned char hwaddr[6] = {};
    short flags = 0;  // IFF_*
    bool failHwaddr = false;
    bool failSetFlags = false;  // SIOCSIFFLAGS answers EPERM
};

struct Os {
    Lock lock;

    // Shell: system() and popen() commands, in the order they ran.
    std::vector<std::string> commands;
    std::map<std::string, int> shellResult;  // exact command -> system() result (default 0)
    std::function<int(const std::string &)> shellHook;  // consulted before shellResult
    std::map<std::string, std::string> pipeOutput;      // exact command -> popen output
    std::vector<std::string> pipeFails;                 // popen returns nullptr for these

    std::vector<LogLine> logs;
    std::vector<std::string> console;
    bool consoleMissing = false;

    std::map<std::string, std::string> files;  // write_file: path -> last text
    std::vector<std::string> fileWrites;       // write_file: paths, in order, failures too
    std::vector<std::string> unwritableFiles;

    std::vector<Interface> interfaces;
    int socketsOpen = 0;
    int socketsOpened = 0;
    bool socketFails = false;
    struct SocketCall {
        int domain, type, protocol;
    };
    std::vector<SocketCall> socketCalls;
    std::function<int(int fd, const sockaddr *address, socklen_t length)> bindHook;  // default: success
    // Handles SIOCETHTOOL (and any request not modelled here); -1 with errno when unset.
    std::function<int(int fd, unsigned long request, void *arg)> ioctlHook;

    Interface *find(const std::string &name);
    Interface *find(unsigned index);
    bool logged(const std::string &text) const { return count_logs(text) > 0; }
    size_t count_logs(const std::string &text) const;
};

// The one instance; reset() restores a clean machine with no interfaces.
Os &os();
void reset();
Interface &add_interface(const std::string &name, unsigned index);

}  // namespace fake
