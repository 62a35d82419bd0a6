// The register dump: the port's counters at the words the library's
// statistics read (words counted from the start of the dump buffer, its
// three header words included, so dump data word 0 is buffer word 3).
#pragma once

#include <cstdint>
#include <span>

#include "link_stats.h"

namespace simdrv {

inline constexpr unsigned kHeaderWords = 3;

// Fills `data` (the dump data after the header) with counters = current -
// baseline, each taken modulo 2^32; words the table does not name are zero.
void fill_register_dump(std::span<uint32_t> data, const LinkStats &current, const LinkStats &baseline);

}  // namespace simdrv
