#include "port_state.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "port_modes.h"
#include "run_dir.h"

namespace simdrv {
namespace {

struct Field {
    const char *key;
    uint32_t PortState::*member;
};

constexpr std::array<Field, 8> kFields{{
    {"speed", &PortState::speed},
    {"duplex", &PortState::duplex},
    {"autoneg", &PortState::autoneg},
    {"advertising", &PortState::advertising},
    {"mdix_ctrl", &PortState::mdixCtrl},
    {"pause_autoneg", &PortState::pauseAutoneg},
    {"pause_rx", &PortState::pauseRx},
    {"pause_tx", &PortState::pauseTx},
}};
constexpr const char *kBaselineKey = "baseline";

std::string read_all(int fd)
{
    std::string text;
    char buf[1024];
    ssize_t got;
    while ((got = ::read(fd, buf, sizeof buf)) > 0)
        text.append(buf, static_cast<size_t>(got));
    return text;
}

}  // namespace

std::string format_state(const PortState &state)
{
    std::string text;
    for (const Field &f : kFields)
        text += std::string(f.key) + " " + std::to_string(state.*f.member) + "\n";
    text += kBaselineKey;
    for (uint64_t v : state.baseline)
        text += " " + std::to_string(v);
    return text + "\n";
}

PortState parse_state(const std::string &text)
{
    PortState state;
    state.advertising = kSupported;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        std::string key;
        words >> key;
        if (key == kBaselineKey) {
            for (uint64_t &v : state.baseline)
                if (!(words >> v))
                    break;
            continue;
        }
        for (const Field &f : kFields) {
            uint32_t value;
            if (key == f.key && words >> value)
                state.*f.member = value;
        }
    }
    return state;
}

bool with_port_state(const std::string &ifname, const std::function<bool(PortState &)> &change)
{
    const std::string dir = run_dir();
    if (dir.empty())
        return false;
    ::mkdir((dir + "/driver").c_str(), 0755);
    const std::string path = dir + "/driver/" + ifname;
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0)
        return false;
    bool ok = ::flock(fd, LOCK_EX) == 0;
    if (ok) {
        PortState state = parse_state(read_all(fd));
        if (change(state)) {
            const std::string text = format_state(state);
            ok = ::ftruncate(fd, 0) == 0 &&
                 ::pwrite(fd, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
        }
    }
    ::close(fd);  // releases the lock
    return ok;
}

}  // namespace simdrv
