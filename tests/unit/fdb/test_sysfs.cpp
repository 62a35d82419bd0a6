#include <syslog.h>

#include "hapi/hapi_fdb.h"
#include "unit_fixture.h"

namespace {

constexpr const char *kFlushFile = "/sys/class/net/eth1/bridge/flush";
constexpr const char *kAgeingFile = "/sys/class/net/eth1/bridge/ageing_time";

using FdbSysfs = UnitTest;

TEST_F(FdbSysfs, FlushAllWritesOneToTheBridgeFlushFile)
{
    EXPECT_EQ(hapiSysAddrFlushAll(), 0);
    EXPECT_EQ(os().files[kFlushFile], "1\n");
    EXPECT_TRUE(os().logs.empty());
    os().unwritableFiles = {kFlushFile};
    EXPECT_EQ(hapiSysAddrFlushAll(), 1);
    EXPECT_EQ(os().logs, (std::vector<fake::LogLine>{{LOG_DEBUG, "hapiSysAddrFlushAll: /bridge/flush failed"}}));
}

// Seconds as text become hundredths; unusable texts write nothing. An
// unwritable file still succeeds.
TEST_F(FdbSysfs, AgeingTimeIsWrittenInHundredthsOfASecond)
{
    const std::pair<const char *, const char *> cases[] = {
        {"300", "30000\n"}, {"0.5", "50\n"}, {"2.999", "299\n"}, {"10s", "1000\n"}, {"0", "0\n"},
        {"abc", nullptr},   {"", nullptr},   {"-5", nullptr},    {"nan", nullptr},  {"inf", nullptr},
        {"3000000000", nullptr}};
    for (const auto &[seconds, hundredths] : cases) {
        SCOPED_TRACE(seconds);
        os().files.erase(kAgeingFile);
        EXPECT_EQ(vekSetAgingTime(seconds), hundredths ? 0 : 1);
        EXPECT_EQ(os().files.count(kAgeingFile) ? os().files[kAgeingFile] : "-", hundredths ? hundredths : "-");
    }
    EXPECT_TRUE(os().logs.empty());
    EXPECT_EQ(vekSetAgingTime(nullptr), 1);
    EXPECT_EQ(os().logs, (std::vector<fake::LogLine>{{LOG_DEBUG, "vekSetAgingTime: agingTime is NULL"}}));
    os().unwritableFiles = {kAgeingFile};
    EXPECT_EQ(vekSetAgingTime("300"), 0);
}

TEST_F(FdbSysfs, ApplicationRecordCarriesSecondsInItsThirdWord)
{
    const uint32_t record[3] = {99, 98, 10};
    EXPECT_EQ(hapiSysAddrAgingTime(nullptr, 0, record), 0);
    EXPECT_EQ(os().files[kAgeingFile], "1000\n");
    // Ten digits keep only the first nine: 123456789 s, 12345678900 hundredths in 32 bits.
    const uint32_t longRecord[3] = {0, 0, 1234567890};
    EXPECT_EQ(hapiSysAddrAgingTime(nullptr, 0, longRecord), 0);
    EXPECT_EQ(os().files[kAgeingFile], "3755744308\n");
    EXPECT_EQ(hapiSysAddrAgingTime(nullptr, 0, nullptr), 2);
    EXPECT_EQ(os().logs.back(), (fake::LogLine{LOG_DEBUG, "hapiSysAddrAgingTime: data is empty"}));
}

}  // namespace
