#include "netlink_peer.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "run_dir.h"

namespace simdrv {
namespace {

constexpr size_t kHeaderSize = 16;  // struct nlmsghdr
constexpr size_t kPriorityMapSize = 7;

uint32_t word_at(std::span<const uint8_t> m, size_t offset)
{
    uint32_t v = 0;
    if (m.size() >= offset + sizeof v)
        std::memcpy(&v, m.data() + offset, sizeof v);
    return v;
}

// The decoded map, or empty when the message is too short to hold one.
std::string decode(int protocol, std::span<const uint8_t> m)
{
    char text[64] = "";
    if (protocol == kIngressFilterProtocol && m.size() >= kHeaderSize + 4) {
        std::snprintf(text, sizeof text, "0x%08x", word_at(m, kHeaderSize));
    } else if (protocol == kPortPriorityProtocol && m.size() >= kHeaderSize + kPriorityMapSize) {
        const uint8_t *p = m.data() + kHeaderSize;
        std::snprintf(text, sizeof text, "%u %u %u %u %u %u %u", p[0], p[1], p[2], p[3], p[4], p[5], p[6]);
    }
    return text;
}

}  // namespace

void peer_receive(int protocol, std::span<const uint8_t> message)
{
    const std::string p = "nl" + std::to_string(protocol);
    const std::string map = decode(protocol, message);
    replace_file(p + ".bin", message.data(), message.size());
    append_line(p + ".log", "len " + std::to_string(message.size()) + " pid " +
                                std::to_string(word_at(message, 12)) + " map " + (map.empty() ? "-" : map));
    if (map.empty())
        return;
    const std::string file = protocol == kIngressFilterProtocol ? "ingress_filter_portmap" : "port_priority_map";
    const std::string line = map + "\n";
    replace_file(file, line.data(), line.size());
}

}  // namespace simdrv
