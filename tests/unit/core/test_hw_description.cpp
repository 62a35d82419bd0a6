#include <array>
#include <cerrno>
#include <cstring>
#include <syslog.h>

#include "core_fixture.h"

namespace {

using Mac = std::array<unsigned char, 6>;

using HwDescription = CoreTest;

// Addresses of port00..port03; zero for a missing one.
std::array<Mac, 4> macs()
{
    std::array<Mac, 4> all = {};
    for (int n = 1; n <= 4; ++n)
        if (const fake::Interface *i = fake::os().find(hapi_test::port_name(n)))
            std::memcpy(all[n - 1].data(), i->hwaddr, 6);
    return all;
}

TEST_F(HwDescription, FillsTheRecordAndMapsTheConvertibleFrontPorts)
{
    std::memset(&torvikSwitchingHw, 0x5A, sizeof torvikSwitchingHw);
    platform().uspToPhysical.erase(3);
    ASSERT_EQ(hapiInit(), 0);
    EXPECT_EQ(torvikSwitchingHw.unitCount, 1u);
    EXPECT_EQ(torvikSwitchingHw.portCount, 4u);
    for (int n = 0; n < HAPI_MAX_LOGICAL_PORTS; ++n) {
        SCOPED_TRACE(n);
        const SwitchPortMapEntry &e = torvikSwitchingHw.portMap[n];
        const bool mapped = n <= 4 && n != 3;  // 0 is the internal port
        EXPECT_EQ(e.unit, mapped ? 0 : 0xFF);
        EXPECT_EQ(e.module, mapped ? 0 : 0xFF);
        EXPECT_EQ(e.physicalPort, mapped ? n : -1);
    }
    EXPECT_EQ(platform().paramInitArgs, (std::vector<int>{0, 0, 1, 0, 0x100000, 0}));
    EXPECT_EQ(platform().paramInitName, "devparam-factorysettings");
}

// Interface n gets the base address with n added to its low word only; a
// failure ends the walk with one log line. The socket is always closed.
TEST_F(HwDescription, AddressWalk)
{
    struct Row { const char *what; void (*arrange)(); int assigned; unsigned firstLow; std::string log; };
    const auto error = [](int e) { return std::to_string(e) + ", " + std::strerror(e) + "\n"; };
    const Row rows[] = {
        {"base ..:00:10", [] { fake::platform().baseMac = {0x00, 0x0A, 0x0B, 0x0C, 0x00, 0x10}; }, 4, 0x11, ""},
        {"low word wraps", [] { fake::platform().baseMac = {0x00, 0x0A, 0x0B, 0x0C, 0xFF, 0xFF}; }, 4, 0, ""},
        {"no interfaces", [] { fake::platform().physIntfCount = 0; }, 0, 0, ""},
        {"interface 2 missing", [] { fake::os().interfaces.erase(fake::os().interfaces.begin() + 1); }, 1, 0x11,
         "\nCouldn't find interface name for index : 2 @ veketh_Change_MacAddr, 214 due to errno  :" + error(ENXIO)},
        {"port01 refuses", [] { fake::os().find(std::string("port01"))->failHwaddr = true; }, 1, 0x11,
         "\nioctl failed @ veketh_Change_MacAddr, 234 with errno: " + error(EBUSY)},
        {"no socket", [] { fake::os().socketFails = true; }, 0, 0,
         "\nCouldn't open socket @ veketh_Change_MacAddr, 207 with errno  :" + error(EMFILE)},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.what);
        SetUp();
        add_front_interfaces();
        row.arrange();
        ASSERT_EQ(hapiInit(), 0);
        const Mac &base = platform().baseMac;
        std::array<Mac, 4> want = {};
        for (int n = 0; n < row.assigned; ++n) {
            const unsigned low = row.firstLow + static_cast<unsigned>(n);
            want[n] = {base[0], base[1], base[2], base[3], static_cast<unsigned char>(low >> 8),
                       static_cast<unsigned char>(low)};
        }
        EXPECT_EQ(macs(), want);
        std::vector<fake::LogLine> logs;
        if (!row.log.empty())
            logs.push_back({LOG_ERR, row.log});
        EXPECT_EQ(os().logs, logs);
        EXPECT_EQ(os().socketsOpened, os().socketFails ? 0 : 1);
        EXPECT_EQ(os().socketsOpen, 0);
    }
}

}  // namespace
