// Expected bytes of the notification channel's messages, written out field
// by field from the wire layout so tests compare whole messages.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

namespace notify_wire {

using Bytes = std::vector<uint8_t>;

inline constexpr uint32_t kOwnPort = 1001;
inline constexpr uint16_t kNewLink = 16;
inline constexpr uint16_t kSetLink = 19;
inline constexpr uint16_t kSentFlags = 0x0005;  // NLM_F_REQUEST | NLM_F_ACK added by libnl

inline void put16(Bytes &b, uint16_t v) { b.insert(b.end(), {uint8_t(v), uint8_t(v >> 8)}); }
inline void put32(Bytes &b, uint32_t v)
{
    b.insert(b.end(), {uint8_t(v), uint8_t(v >> 8), uint8_t(v >> 16), uint8_t(v >> 24)});
}

// A block of `size` bytes whose byte k is seed + k, so misplaced copies show.
inline Bytes pattern(size_t size, uint8_t seed)
{
    Bytes b(size);
    for (size_t k = 0; k < size; ++k)
        b[k] = static_cast<uint8_t>(seed + k);
    return b;
}

struct Message {
    uint16_t type = kNewLink;
    uint16_t nlFlags = kSentFlags;
    uint32_t seq = 0;
    int32_t ifIndex = 0;
    uint32_t flags = 0;   // record flags; IFF_BROADCAST is added on the wire
    uint32_t change = 0;
    const Bytes *ifTable = nullptr;  // 176 bytes, or none
    const Bytes *rmon = nullptr;     // 76 bytes, or none
};

inline Bytes encode(const Message &m)
{
    const bool stats = m.ifTable || m.rmon;
    const uint32_t data = 4 + (m.ifTable ? 180 : 0) + (m.rmon ? 80 : 0);
    const uint32_t linkinfo = stats ? 4 + 16 + data : 0;
    Bytes b;
    put32(b, 32 + linkinfo);
    put16(b, m.type);
    put16(b, m.nlFlags);
    put32(b, m.seq);
    put32(b, kOwnPort);
    b.insert(b.end(), {0, 0});  // ifi_family AF_UNSPEC, pad
    put16(b, 1);                // ARPHRD_ETHER
    put32(b, static_cast<uint32_t>(m.ifIndex));
    put32(b, m.flags | 0x2);
    put32(b, m.change);
    if (!stats)
        return b;
    put16(b, static_cast<uint16_t>(linkinfo));
    put16(b, 18);  // IFLA_LINKINFO, no nested-flag bit
    put16(b, 14);
    put16(b, 1);  // IFLA_INFO_KIND
    const char kind[10] = "portstats";
    b.insert(b.end(), kind, kind + 10);
    b.insert(b.end(), {0, 0});
    put16(b, static_cast<uint16_t>(data));
    put16(b, 2);  // IFLA_INFO_DATA, no nested-flag bit
    if (m.ifTable) {
        put16(b, 180);
        put16(b, 1);
        b.insert(b.end(), m.ifTable->begin(), m.ifTable->end());
    }
    if (m.rmon) {
        put16(b, 80);
        put16(b, 2);
        b.insert(b.end(), m.rmon->begin(), m.rmon->end());
    }
    return b;
}

inline uint32_t word_at(const Bytes &b, size_t at)
{
    uint32_t v = 0;
    if (b.size() >= at + 4)
        std::memcpy(&v, b.data() + at, 4);
    return v;
}
inline uint32_t seq_of(const Bytes &b) { return word_at(b, 8); }

// What a listener received, its sequence number (the socket's own count) set to 0.
inline Bytes unseq(Bytes b)
{
    if (b.size() >= 12)
        std::memset(b.data() + 8, 0, 4);
    return b;
}

}  // namespace notify_wire
