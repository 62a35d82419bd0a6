// Scriptable stand-in for the platform and LED libraries in the unit tests.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "fake_os.h"
#include "platform/vekfdbshadow.h"
#include "platform/vekplatform.h"
#include "veklog_items.h"

namespace fake {

struct LogMessage {
    std::string source;
    int line;
    uint32_t id;
    uint32_t severity;
    uint32_t facility;
    std::vector<vekpf::LogItem> items;
};

struct LedCall {
    int port, pattern, arg3, arg4;
};

struct Platform {
    Lock lock;
    int physIntfCount = 4;
    std::array<unsigned char, 6> baseMac{0x02, 0x00, 0x00, 0x00, 0x00, 0x10};
    std::map<int, int> uspToPhysical{{1, 1}, {2, 2}, {3, 3}, {4, 4}};  // usp port -> physical; missing: fails
    std::map<int, uint32_t> portType;   // usp port -> platform type (default 0)
    std::map<int, uint32_t> sfpSignal;  // usp port -> signal detect
    int spiUpdateResult = 0;
    int sfpReadResult = 0;
    int sfpReads = 0;  // vekpf_SfpSignalDetectGet calls
    uint32_t portCount = 4;
    int portCountResult = 0;
    int cacheInitResult = 0;
    int preInitPorts = -1;
    std::vector<int> paramInitArgs;
    std::string paramInitName;
    std::vector<LogMessage> messages;
    std::vector<LedCall> leds;
    int semaphoresCreated = 0;
    bool semaphoreCreateFails = false;
};

Platform &platform();
// Default board: four front ports with usp n mapped to physical n, and an
// empty FDB shadow table that shadowTbl points to.
void reset_platform();
vekShadowTable &shadow_table();
// Whether a platform semaphore is taken now (a mutex one by anyone at all).
bool semaphore_held(VEK_SEM_ID sem);

}  // namespace fake
