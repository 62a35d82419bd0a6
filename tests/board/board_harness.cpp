#include "board_harness.h"
#include "ports.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <linux/sockios.h>
#include <net/if.h>
#include <sstream>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace board {
namespace {

std::string env(const char *name)
{
    const char *v = std::getenv(name);
    return v ? v : "";
}

Result boardsim(const std::string &args) { return run(std::string(HAPI_BOARDSIM) + " " + args); }

}  // namespace

std::string quote(const std::string &text)
{
    std::string q = "'";
    for (char c : text)
        q += c == '\'' ? "'\\''" : std::string(1, c);
    return q + "'";
}

bool inside() { return !env("HAPI_BOARD_NAME").empty() && !env("HAPI_BOARD_DIR").empty(); }

std::string unavailable_reason()
{
    if (inside())
        return {};
    if (geteuid() != 0)
        return "board tests need root (network namespaces); running as uid " + std::to_string(geteuid());
    return "not inside a simulated board (start the test through its own main or sim/boardsim exec)";
}

std::string name() { return env("HAPI_BOARD_NAME"); }
std::string run_file(const std::string &file) { return env("HAPI_BOARD_DIR") + "/" + file; }

std::optional<std::string> read_file(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return std::nullopt;
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::string port_if(int n) { return hapi_test::port_name(n); }

bool interface_up(const std::string &ifname)
{
    const auto flags = read_file("/sys/class/net/" + ifname + "/flags");
    return flags && (std::stoul(*flags, nullptr, 16) & IFF_UP);
}

Result run(const std::string &command)
{
    Result r;
    FILE *pipe = ::popen((command + " 2>&1").c_str(), "r");
    if (!pipe)
        return r;
    std::array<char, 4096> buf;
    while (size_t got = std::fread(buf.data(), 1, buf.size(), pipe))
        r.output.append(buf.data(), got);
    const int status = ::pclose(pipe);
    r.status = status != -1 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return r;
}

Result station(int n, const std::string &command)
{
    return boardsim("station " + std::to_string(n) + " sh -c " + quote(command));
}

bool link(int n, bool up) { return boardsim("link " + std::to_string(n) + (up ? " up" : " down")).status == 0; }

bool sfp(int n, int signal) { return boardsim("sfp " + std::to_string(n) + " " + std::to_string(signal)).status == 0; }

bool ping(int from, int to, int count)
{
    return station(from, "ping -q -n -c " + std::to_string(count) + " -i 0.05 -W 2 10.0.0." + std::to_string(to))
               .status == 0;
}

std::optional<uint64_t> counter(const std::string &ifname, const std::string &stat)
{
    if (const auto text = read_file("/sys/class/net/" + ifname + "/statistics/" + stat))
        return std::strtoull(text->c_str(), nullptr, 10);
    return std::nullopt;
}

int ethtool(const std::string &ifname, void *record)
{
    const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
    if (fd < 0)
        return errno;
    ifreq req{};
    std::strncpy(req.ifr_name, ifname.c_str(), IFNAMSIZ - 1);
    req.ifr_data = static_cast<char *>(record);
    const int err = ::ioctl(fd, SIOCETHTOOL, &req) < 0 ? errno : 0;
    ::close(fd);
    return err;
}

std::string environment()
{
    const std::string release = read_file("/proc/sys/kernel/osrelease").value_or("unknown\n");
    return (env("HAPI_IN_VM") == "1" ? "VM, kernel " : "host, kernel ") + release.substr(0, release.find('\n'));
}

}  // namespace board
