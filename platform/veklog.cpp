// The structured log channel rendered as one syslog line per message, and
// appended to "veklog" in the run directory so board tests can read it.
#include <cstdio>
#include <fstream>
#include <mutex>
#include <syslog.h>

#include "board.h"
#include "veklog_items.h"

namespace {
int g_numOfPorts = 0;
std::mutex g_fileLock;
}  // namespace

extern "C" {

void veklog_preInit(int numOfPorts) { g_numOfPorts = numOfPorts; }

int veklog_throwMsg(const char *sourceFile, int line, uint32_t messageId, uint32_t severityClass,
                    uint32_t facility, ...)
{
    va_list ap;
    va_start(ap, facility);
    const auto items = vekpf::decode_items(ap);
    va_end(ap);

    char head[160];
    std::snprintf(head, sizeof head, "veklog 0x%06X class %u facility %u %s:%d:",
                  static_cast<unsigned>(messageId), static_cast<unsigned>(severityClass),
                  static_cast<unsigned>(facility), sourceFile ? sourceFile : "?", line);
    const std::string text = head + vekpf::render_items(items);
    const bool error = severityClass == 186 || severityClass == 187;
    syslog(error ? LOG_ERR : LOG_INFO, "%s", text.c_str());

    const std::string path = vekpf::run_file("veklog");
    if (!path.empty()) {
        std::lock_guard<std::mutex> guard(g_fileLock);
        std::ofstream(path, std::ios::app) << text << '\n';
    }
    return 0;
}

}  // extern "C"
