// The board's front ports as the tests name them: front port n (1..4) is
// the interface "port%02u" of n - 1, in the simulated board and in the fakes.
#pragma once

#include <cstdio>
#include <string>

namespace hapi_test {

inline constexpr int kFrontPorts = 4;

inline std::string port_name(int front)
{
    char name[16];
    std::snprintf(name, sizeof name, "port%02u", static_cast<unsigned>(front - 1));
    return name;
}

}  // namespace hapi_test
