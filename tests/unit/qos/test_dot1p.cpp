#include <array>
#include <cstring>
#include <linux/netlink.h>
#include <syslog.h>
#include <tuple>
#include <unistd.h>

#include "qos_fixture.h"

namespace {

using namespace qos_text;
using Bands = std::array<int, 8>;
using Dot1pMapping = QosTest;

const std::string kFronts[] = {"port00", "port01", "port02", "port03"};
// PCP filter bands of the default map 2,0,1,3,4,5,6,7: class c is band 8 - c.
const Bands kDefaultBands = {6, 8, 7, 5, 4, 3, 2, 1};

std::vector<std::string> pcp_filters(const std::string &dev, const Bands &bands)
{
    std::vector<std::string> c;
    for (int pcp = 0; pcp < 8; ++pcp)
        c.push_back(pcp_filter(dev, pcp, bands[pcp]));
    return c;
}

// A port put on a map: its PCP filters replaced, then its default priority
// filter added (after deleting the one present, when replacing).
void add_mapping(std::vector<std::string> &c, const std::string &dev, const Bands &bands, int defaultBand,
                 bool replace = false)
{
    c.push_back(del_filters(dev, 2));
    for (const std::string &f : pcp_filters(dev, bands))
        c.push_back(f);
    c.push_back(count_default(dev));
    if (replace)
        c.push_back(del_filters(dev, 3));
    c.push_back(default_filter(dev, defaultBand));
}

TEST_F(Dot1pMapping, InitBuildsEveryPortThenAppliesTheDefaultMapAndOpensTheSocket)
{
    sockaddr_nl bound = {};
    os().bindHook = [&](int, const sockaddr *a, socklen_t len) {
        EXPECT_EQ(len, sizeof bound);
        std::memcpy(&bound, a, sizeof bound);
        return 0;
    };
    hapiSysQosDot1pMappingInit();

    std::vector<std::string> want;
    for (const std::string &dev : kFronts) {
        want.insert(want.end(), {root(dev), "tc qdisc add dev " + dev + " ingress"});
        for (int b = 1; b <= 8; ++b)
            want.push_back(band(dev, b));
    }
    for (const std::string &dev : kFronts)
        add_mapping(want, dev, kDefaultBands, 6);
    EXPECT_EQ(os().commands, want);
    ASSERT_EQ(os().socketCalls.size(), 1u);
    EXPECT_EQ(std::tie(os().socketCalls[0].domain, os().socketCalls[0].type, os().socketCalls[0].protocol),
              std::make_tuple(AF_NETLINK, SOCK_RAW, 30));
    EXPECT_EQ(std::tie(bound.nl_family, bound.nl_pid, bound.nl_groups),
              std::make_tuple(sa_family_t{AF_NETLINK}, static_cast<uint32_t>(getpid()), 0u));
    EXPECT_GE(_portprio_sockfd, 0);
    EXPECT_TRUE(os().logs.empty());
}

TEST_F(Dot1pMapping, InitStopsAtTheFirstFailure)
{
    struct Row { const char *what; void (*arrange)(); size_t commands; std::vector<fake::LogLine> logs; bool fdKept; };
    const fake::LogLine failed = {LOG_ERR, "hapiSysQosDot1pMappingInit: Failed to init socket! \n"};
    const Row rows[] = {
        {"root of port00", [] { fake::os().shellResult[root("port00")] = 2; }, 1,
         {{LOG_ERR, "[[QOS]] " + root("port00") + " Failed "}}, false},
        {"socket", [] { fake::os().socketFails = true; }, 84,
         {{LOG_ERR, "vekInitPortPriorityMap error! _portprio_sockfd:-1 \n"}, failed}, false},
        // The closed descriptor's number stays.
        {"bind", [] { fake::os().bindHook = [](int, const sockaddr *, socklen_t) { return -1; }; }, 84,
         {{LOG_ERR, "vekInitPortPriorityMap Failure in Socket bind \n"}, failed}, true},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.what);
        SetUp();
        _portprio_sockfd = -1;
        row.arrange();
        hapiSysQosDot1pMappingInit();
        EXPECT_EQ(os().commands.size(), row.commands);
        EXPECT_EQ(os().logs, row.logs);
        EXPECT_EQ(_portprio_sockfd >= 0, row.fdKept);
        EXPECT_EQ(os().socketsOpen, 0);
    }
}

// Port by port: PCP filters, the map, then the port's default priority through
// it. A failed port leaves the earlier ones and the map on the new one.
TEST_F(Dot1pMapping, NewMapIsAppliedPortByPort)
{
    dot1d_port_default_priority[1] = 3;
    os().pipeOutput[count_default("port01")] = "1\n";  // port01 has a default filter to replace
    hapiDot1pMappingRecord record = {{9, 9, 9, 9}, {7, 6, 5, 4, 3, 2, 1, 0}};
    ASSERT_EQ(hapiSysQosDot1pMappingSet(nullptr, 0, &record), 0);
    std::vector<std::string> want;
    for (int n = 0; n < 4; ++n)  // default priority 0 -> class 7 -> band 1; port01's 3 -> band 4
        add_mapping(want, kFronts[n], {1, 2, 3, 4, 5, 6, 7, 8}, n == 1 ? 4 : 1, n == 1);
    EXPECT_EQ(os().commands, want);

    hapiDot1pMappingRecord read = {};
    ASSERT_EQ(hapiSysQosDot1pMappingGet(nullptr, 0, &read), 0);
    EXPECT_EQ(0, std::memcmp(read.map, record.map, 8));
    EXPECT_EQ(hapiSysQosDot1pMappingGet(nullptr, 0, nullptr), 1);
    EXPECT_EQ(hapiSysQosDot1pMappingSet(nullptr, 0, nullptr), 1);

    fake::reset();
    os().shellResult[pcp_filter("port01", 4, 8)] = 1;
    record = {{}, {0, 0, 0, 0, 0, 0, 0, 0}};
    EXPECT_EQ(hapiSysQosDot1pMappingSet(nullptr, 0, &record), 1);
    EXPECT_EQ(os().commands.back(), pcp_filter("port01", 4, 8));
    EXPECT_TRUE(os().logged("hapiSysQosDot1pMappingSet: Error in applying user defined 802.1p mapping! \n"));
    EXPECT_EQ(0, std::memcmp(dot1p_cos_map, record.map, 8));

    // A class without a band touches no port.
    fake::reset();
    record.map[5] = 8;
    EXPECT_EQ(hapiSysQosDot1pMappingSet(nullptr, 0, &record), 1);
    EXPECT_TRUE(os().commands.empty());
}

TEST_F(Dot1pMapping, PortFiltersOfTheRebuild)
{
    EXPECT_EQ(sysQosPortDot1pMappingSet("port02"), 0);
    EXPECT_EQ(os().commands, pcp_filters("port02", kDefaultBands));

    fake::reset();
    os().shellResult[pcp_filter("port02", 0, 6)] = 256;
    EXPECT_EQ(sysQosPortDot1pMappingSet("port02"), 1);
    EXPECT_EQ(os().commands.size(), 1u);
    EXPECT_TRUE(os().logged("714: Error in applying tagged vlan priority filter for port02!"));

    fake::reset();
    EXPECT_EQ(sysQosPortDot1pMappingUnset("port02"), 0);
    EXPECT_EQ(os().commands, std::vector<std::string>{del_filters("port02", 2)});
    EXPECT_EQ(sysQosPortDot1pMappingSet(nullptr), 1);
    EXPECT_EQ(sysQosPortDot1pMappingUnset(nullptr), 1);
}

}  // namespace
