#include "core/diag.h"
#include "core/port_map.h"
#include "storm/storm.h"

namespace hapi::storm {
namespace {
inline constexpr uint32_t kNoResource = 0x3a0008;
inline constexpr uint32_t kPortOutOfRange = 0x3a0001;
inline constexpr uint32_t kFilterFailed = 0x3a0009;
}  // namespace

void report_no_resource(int line, const char *what)
{
    veklog_throwMsg(diag::kSourceStorm, line, kNoResource, diag::kClassError, diag::kFacilityStorm,
                    VEKLOG_ITEM_TEXT, VEKLOG_TEXT_SIZE, what, 0);
}

void report_port_out_of_range(int line, int ifindex, int port)
{
    veklog_throwMsg(diag::kSourceStorm, line, kPortOutOfRange, diag::kClassError,
                    diag::kFacilityStorm, VEKLOG_ITEM_INT, 4, ifindex, VEKLOG_ITEM_INT, 2, port, 0);
}

void report_filter_failed(int line, const char *what, int port)
{
    veklog_throwMsg(diag::kSourceStorm, line, kFilterFailed, diag::kClassError, diag::kFacilityStorm,
                    VEKLOG_ITEM_TEXT, VEKLOG_TEXT_SIZE, what, VEKLOG_ITEM_INT, 4,
                    ports::physical_of(port), 0);
}

}  // namespace hapi::storm
