// The simulated board's description, read from the run directory named by
// HAPI_BOARD_DIR ("board.conf"), with defaults for a plain PC.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace vekpf {

inline constexpr const char *kRunDirVariable = "HAPI_BOARD_DIR";
inline constexpr int kMaxPorts = 95;

struct Board {
    std::string runDir;  // empty without HAPI_BOARD_DIR
    std::array<unsigned char, 6> baseMac{0x02, 0x00, 0x00, 0x00, 0x00, 0x10};
    int portCount = 4;
    std::string portNameFormat = "port%02u";
    std::array<uint32_t, kMaxPorts + 1> portType{};  // by front port 1..95
    int fdbSyncMs = 1000;  // period of the FDB shadow table's sync thread
};

// The current description; re-read whenever HAPI_BOARD_DIR changes.
Board board();

// Path of a file in the run directory, empty when there is none.
std::string run_file(const std::string &name);

// Front port (1..) of an interface name made with the port name format, or 0.
int front_port_of_name(const std::string &format, const char *name);

}  // namespace vekpf
