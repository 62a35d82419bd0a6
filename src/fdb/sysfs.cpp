// The bridge's sysfs knobs: flush of the whole FDB and the ageing time.
#include <climits>
#include <cstdio>
#include <cstring>
#include <syslog.h>

#include "fdb/fdb.h"
#include "core/os.h"
#include "core/port_map.h"

namespace hapi::fdb {
namespace {

constexpr const char *kFlushAllFailed = "hapiSysAddrFlushAll: /bridge/flush failed";
constexpr const char *kAgingTextMissing = "vekSetAgingTime: agingTime is NULL";
constexpr const char *kAgingRecordMissing = "hapiSysAddrAgingTime: data is empty";
constexpr size_t kPathSize = 64;
constexpr size_t kValueTextSize = 32;   // "%lu\n", at most 31 characters
constexpr size_t kAgingTextSize = 10;   // the record's seconds keep at most 9 digits

}  // namespace

int vekSysfsWriteValue(const char *path, unsigned long value)
{
    char text[kValueTextSize] = {};
    std::snprintf(text, sizeof text, "%lu\n", value);
    return os::write_file(path, text) < 0 ? -1 : 0;
}

int flush_bridge()
{
    char path[kPathSize] = {};
    std::snprintf(path, sizeof path, kFlushFileFormat, ports::kBridgeName);
    return vekSysfsWriteValue(path, 1);
}

}  // namespace hapi::fdb

using namespace hapi;

extern "C" HAPI_API int hapiSysAddrFlushAll(void) noexcept
{
    if (fdb::flush_bridge() == 0)
        return 0;
    os::syslog(LOG_DEBUG, "%s", fdb::kFlushAllFailed);
    return 1;
}

extern "C" HAPI_API int vekSetAgingTime(const char *agingTime) noexcept
{
    if (!agingTime) {
        os::syslog(LOG_DEBUG, "%s", fdb::kAgingTextMissing);
        return 1;
    }
    double seconds = 0;
    if (std::sscanf(agingTime, "%lf", &seconds) != 1)
        return 1;
    // Negative, infinite or NaN times, and times beyond 32 bits of seconds,
    // have no meaning for the bridge: refused like unreadable text.
    if (!(seconds >= 0 && seconds <= static_cast<double>(INT32_MAX)))
        return 1;
    const int32_t whole = static_cast<int32_t>(seconds);
    const int32_t micros = static_cast<int32_t>((seconds - whole) * 1000000);
    const int64_t total = static_cast<int64_t>(whole) * 1000000 + micros;
    const uint32_t hundredths = static_cast<uint32_t>(static_cast<uint64_t>(total) / 10000);

    char path[fdb::kPathSize] = {};
    std::snprintf(path, sizeof path, fdb::kAgeingFileFormat, ports::kBridgeName);
    fdb::vekSysfsWriteValue(path, hundredths);  // the bridge keeps its old time on failure
    return 0;
}

extern "C" HAPI_API int hapiSysAddrAgingTime(const usp_t *, uint32_t, const void *data) noexcept
{
    if (!data) {
        os::syslog(LOG_DEBUG, "%s", fdb::kAgingRecordMissing);
        return 2;
    }
    uint32_t words[3];
    std::memcpy(words, data, sizeof words);
    char text[fdb::kAgingTextSize] = {};
    std::snprintf(text, sizeof text, "%u", words[2]);
    return vekSetAgingTime(text);
}
