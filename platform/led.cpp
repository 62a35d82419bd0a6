// LED library of the simulated board: the pattern of port p goes to "led<p>".
#include <fstream>
#include <string>

#include "board.h"
#include "platform/vekled.h"

extern "C" int vekled_ApiPortLedState(int logicalPort, int pattern, int, int)
{
    const std::string path = vekpf::run_file("led" + std::to_string(logicalPort));
    if (path.empty())
        return 0;
    std::ofstream(path, std::ios::trunc) << pattern << '\n';
    return 0;
}
