#include "board.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <sstream>

namespace vekpf {
namespace {

bool parse_mac(const std::string &text, std::array<unsigned char, 6> &mac)
{
    unsigned b[6];
    if (std::sscanf(text.c_str(), "%x:%x:%x:%x:%x:%x", &b[0], &b[1], &b[2], &b[3], &b[4], &b[5]) != 6)
        return false;
    for (int i = 0; i < 6; ++i) {
        if (b[i] > 0xFF)
            return false;
        mac[i] = static_cast<unsigned char>(b[i]);
    }
    return true;
}

// Lines of "key value..."; unknown keys and malformed values are ignored.
Board load(const char *dir)
{
    Board b;
    if (!dir || !*dir)
        return b;
    b.runDir = dir;
    std::ifstream in(b.runDir + "/board.conf");
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        std::string key;
        words >> key;
        if (key == "base_mac") {
            std::string mac;
            words >> mac;
            parse_mac(mac, b.baseMac);
        } else if (key == "port_count") {
            int n = 0;
            if (words >> n && n >= 0 && n <= kMaxPorts)
                b.portCount = n;
        } else if (key == "port_name_format") {
            std::string fmt;
            if (words >> fmt && fmt.find("%02u") != std::string::npos)
                b.portNameFormat = fmt;
        } else if (key == "fdb_sync_ms") {
            int ms = 0;
            if (words >> ms && ms > 0)
                b.fdbSyncMs = ms;
        } else if (key == "port_type") {
            int port = 0;
            uint32_t type = 0;
            if (words >> port >> type && port >= 1 && port <= kMaxPorts)
                b.portType[port] = type;
        }
    }
    return b;
}

}  // namespace

Board board()
{
    static std::mutex lock;
    static std::string loadedFrom = "\x01";
    static Board cached;
    const char *dir = std::getenv(kRunDirVariable);
    std::string key = dir ? dir : "";
    std::lock_guard<std::mutex> guard(lock);
    if (key != loadedFrom) {
        cached = load(dir);
        loadedFrom = key;
    }
    return cached;
}

std::string run_file(const std::string &name)
{
    const char *dir = std::getenv(kRunDirVariable);
    if (!dir || !*dir)
        return {};
    return std::string(dir) + "/" + name;
}

int front_port_of_name(const std::string &format, const char *name)
{
    const std::string prefix = format.substr(0, format.find('%'));
    const std::string text = name ? name : "";
    if (text.size() <= prefix.size() || text.compare(0, prefix.size(), prefix) != 0)
        return 0;
    char *end = nullptr;
    const long n = std::strtol(text.c_str() + prefix.size(), &end, 10);
    if (*end != '\0' || n < 0 || n >= kMaxPorts)
        return 0;
    return static_cast<int>(n) + 1;
}

}  // namespace vekpf
