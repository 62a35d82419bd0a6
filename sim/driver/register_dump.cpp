#include "register_dump.h"

#include <array>

namespace simdrv {
namespace {

struct DumpWord {
    unsigned word;  // buffer word, header included
    Stat stat;
};

// The kernel's counters of a veth port at the words the statistics read.
// veth counts neither broadcasts nor transmitted multicasts, and no frame
// sizes: words 77-82, 84, 92-95, 111 and 112 stay zero.
constexpr std::array<DumpWord, 16> kDumpWords{{
    {57, RxCrcErrors},     // FCS errors
    {58, RxFrameErrors},   // alignment errors
    {59, RxNohandler},     // unknown protocols
    {60, RxLengthErrors},  // length errors
    {61, RxDropped},       // receive drops
    {63, TxDropped},       // transmit discards
    {65, TxErrors},        // transmit errors
    {66, Collisions},      // collisions
    {71, RxOverErrors},    // receive overruns
    {83, RxPackets},       // received packets, all kinds
    {85, Multicast},       // received multicast packets
    {86, TxPackets},       // transmitted packets, all kinds
    {87, RxBytes},         // received octets
    {89, TxBytes},         // transmitted octets
    {91, RxMissedErrors},  // receive FIFO misses
    {103, RxPackets},      // received packets (RMON)
}};

}  // namespace

void fill_register_dump(std::span<uint32_t> data, const LinkStats &current, const LinkStats &baseline)
{
    for (uint32_t &w : data)
        w = 0;
    for (const DumpWord &d : kDumpWords) {
        if (d.word < kHeaderWords || d.word - kHeaderWords >= data.size())
            continue;
        data[d.word - kHeaderWords] = static_cast<uint32_t>(current[d.stat] - baseline[d.stat]);
    }
}

}  // namespace simdrv
