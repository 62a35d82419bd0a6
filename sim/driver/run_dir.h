// Where the substitute driver keeps what every process of the board shares.
#pragma once

#include <cstddef>
#include <string>

namespace simdrv {

// $HAPI_BOARD_DIR, empty when the process does not belong to a board: the
// driver then stays out of the way and every request goes to the kernel.
std::string run_dir();

// Replaces run-dir file `name` with `size` bytes (write to a temporary, then
// rename, so a reader never sees half a file). False when it cannot.
bool replace_file(const std::string &name, const void *data, size_t size);
bool append_line(const std::string &name, const std::string &line);

}  // namespace simdrv
