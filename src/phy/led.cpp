#include <utility>

#include "phy/phy.h"
#include "platform/vekled.h"

namespace {

constexpr const char *kStep = "hapiPhyCheckLEDAdminState";

// LED library patterns and the constant last argument it expects.
constexpr int kLedEnabled = 0;
constexpr int kLedDisabledNoLink = 1;
constexpr int kLedDisabledWithLink = 4;
constexpr int kLedLastArg = 2;

// ledState values at which the check leaves the LED alone.
constexpr uint32_t kLedStateEnabled = 1;
constexpr uint32_t kLedStateDisabledNoLink = 2;
constexpr uint32_t kLedStateDisabledWithLink = 3;

}  // namespace

HAPI_API int hapiPhyCheckLEDAdminState(int logicalPort) noexcept
{
    using namespace hapi::phy;
    uint32_t admin = 0, power = 0, link = 0, led = 0;
    for (auto [word, out] : {std::pair{Word::AdminState, &admin}, std::pair{Word::PowerState, &power},
                             std::pair{Word::LinkState, &link}, std::pair{Word::LedState, &led}}) {
        const Status a = read_word(logicalPort, word, *out);
        if (a != Status::ok)
            return fail_access(__LINE__, a, logicalPort, hapi::diag::PortItem::Word, kStep, -1);
    }

    int pattern;
    uint32_t already;
    if (admin == HAPI_ADMIN_ENABLED) {
        pattern = kLedEnabled;
        already = kLedStateEnabled;
    } else if (admin == HAPI_ADMIN_DISABLED) {
        const bool lit = power == HAPI_POWER_ON && link == HAPI_LINK_UP;
        pattern = lit ? kLedDisabledWithLink : kLedDisabledNoLink;
        already = lit ? kLedStateDisabledWithLink : kLedStateDisabledNoLink;
    } else {
        return 0;  // admin state never set: the LED is not ours yet
    }
    if (led != already)
        vekled_ApiPortLedState(logicalPort, pattern, 0, kLedLastArg);
    return 0;
}
