// Port initialisation: type, advertisement, speed codes and link scan mode
// of a logical port, once; an SFP port also gets its signal scan thread.
#include "hapi/hapi_veketh.h"
#include "phy/phy.h"
#include "platform/vekplatform.h"
#include "core/port_map.h"

namespace {

using hapi::diag::PortItem;
using namespace hapi::phy;

constexpr const char *kStep = "hapiPhyInitPort";
constexpr const char *kNoType = "Get type failed";
constexpr const char *kNoAdvert = "Get advert failed";
constexpr const char *kNoSpeed = "Get speed/duplex failed";
constexpr const char *kNoLinkscan = "Linkscan set failed";
constexpr auto kWidth = PortItem::FromUsp;

constexpr uint32_t kMediumTwistedPair = 0;
constexpr uint32_t kMediumFibre = 3;
constexpr uint32_t kMediumNone = 0xEF;
constexpr uint32_t kLastPolledType = 3;  // types 1..3 are found by the link scan alone
constexpr uint32_t kCapabilities[2] = {31, 4};
constexpr int32_t kLinkscanPolled = 2;
constexpr int32_t kLinkscanSoftware = 1;

struct SpeedCode {
    uint32_t speed, code;
};
constexpr SpeedCode kSpeedCodes[] = {
    {10, HAPI_SPEED_10_FULL},        {100, HAPI_SPEED_100_FULL},   {1000, HAPI_SPEED_1000_FULL},
    {2500, HAPI_SPEED_2500_FULL},    {3000, HAPI_SPEED_3000_FULL},
};

uint32_t type_of_medium(uint32_t medium)
{
    switch (medium) {
    case kMediumTwistedPair: return HAPI_PORT_TYPE_COPPER;
    case kMediumFibre: return HAPI_PORT_TYPE_FIBRE;
    case kMediumNone: return HAPI_PORT_TYPE_SFP;
    default: return 0;
    }
}

uint32_t code_of_speed(uint32_t speed)
{
    for (const SpeedCode &s : kSpeedCodes)
        if (s.speed == speed)
            return s.code;
    return 0;
}

// Stores a word and tells its callbacks (slot < 0: none): 0, or 1 after the report.
int store(int port, Word word, int slot, uint32_t value)
{
    const Status a = write_word(port, word, value);
    if (a != Status::ok)
        return fail_access(__LINE__, a, port, kWidth, kStep, static_cast<int>(value));
    if (slot >= 0)
        invoke_callbacks(port, static_cast<unsigned>(slot), value);
    return 0;
}

int set_linkscan(int port, uint32_t physical, int32_t mode)
{
    const int r = veketh_linkscan_mode_set(physical, mode);
    return r != 0 ? fail(__LINE__, r, kNoLinkscan, port, kWidth, kStep, mode) : 0;
}

}  // namespace

HAPI_API int hapiPhyInitPort(const usp_t *usp, uint32_t, uint32_t *result) noexcept
{
    if (!usp || !result)
        return fail(__LINE__, HAPI_PHY_E_PARAM, kMsgNullInput, -1, kWidth, kStep, -1);
    result[1] = 0;
    const int port = usp->port;
    const int signedPhysical = hapi::ports::physical_of(port);
    if (signedPhysical == hapi::ports::kNoPort)
        return fail(__LINE__, HAPI_PHY_E_WRONG_PORT, kMsgWrongPort, port, kWidth, kStep, -1);
    const auto physical = static_cast<uint32_t>(signedPhysical);

    uint32_t type = 0;
    const Status a = read_word(port, Word::PortType, type);
    if (a != Status::ok)
        return fail_access(__LINE__, a, port, kWidth, kStep, -1);
    usp_t platformUsp{};
    vekpf_VekBcmPortToUsp(signedPhysical, &platformUsp);
    if (type != 0) {
        result[1] = type;  // initialised once and for all
        set_last_error(HAPI_PHY_OK);
        return 0;
    }

    uint32_t medium = 0;
    if (const int r = veketh_port_medium_get(physical, &medium); r != 0)
        return fail(__LINE__, r, kNoType, port, kWidth, kStep, 0);
    vekpf_PortTypeGet(platformUsp, &type);
    if (type == 0)
        type = type_of_medium(medium);
    result[1] = type;
    if (store(port, Word::PortType, HAPI_CB_PORT_TYPE, type))
        return 1;

    uint32_t advert = 0, ability = 0, speed = 0;
    if (const int r = veketh_port_advert_get(physical, &advert); r != 0)
        return fail(__LINE__, r, kNoAdvert, port, kWidth, kStep, 0);
    if (store(port, Word::Advertisement, HAPI_CB_ADVERTISEMENT, advert))
        return 1;
    if (const int r = veketh_port_ability_local_get(physical, &ability); r != 0)
        return fail(__LINE__, r, kNoAdvert, port, kWidth, kStep, 0);
    if (store(port, Word::Capability0, -1, kCapabilities[0]) || store(port, Word::Capability1, -1, kCapabilities[1]))
        return 1;
    if (const int r = veketh_port_speed_max(physical, &speed); r != 0)
        return fail(__LINE__, r, kNoSpeed, port, kWidth, kStep, -1);
    const uint32_t code = code_of_speed(speed);
    if (store(port, Word::SpeedDuplex, HAPI_CB_SPEED_DUPLEX, code) ||
        store(port, Word::MaxSpeedDuplex, HAPI_CB_MAX_SPEED, code) ||
        store(port, Word::FlowControl, HAPI_CB_FLOW_CONTROL, 0) || store(port, Word::LinkState, -1, HAPI_LINK_DOWN))
        return 1;

    if (const Status again = read_word(port, Word::PortType, type); again != Status::ok)
        return fail_access(__LINE__, again, port, kWidth, kStep, -1);
    if (type >= HAPI_PORT_TYPE_COPPER && type <= kLastPolledType) {
        if (set_linkscan(port, physical, kLinkscanPolled))
            return 1;
    } else if (type == HAPI_PORT_TYPE_SFP) {
        if (set_linkscan(port, physical, kLinkscanSoftware) || start_sfp_thread(port))
            return 1;
    }
    set_last_error(HAPI_PHY_OK);
    return 0;
}
