#include <syslog.h>

#include "hapi/hapi_fdb.h"
#include "unit_fixture.h"

namespace {

constexpr const char *kFlushFile = "/sys/class/net/eth1/bridge/flush";
constexpr const char *kAgeingFile = "/sys/class/net/eth1/bridge/ageing_time";

class FdbSysfs : public UnitTest {
protected:
    std::string written(const char *path) { return os().files.count(path) ? os().files[path] : "<none>"; }
};

TEST_F(FdbSysfs, FlushAllWritesOneToTheBridgeFlushFile)
{
    EXPECT_EQ(hapiSysAddrFlushAll(), 0);
    EXPECT_EQ(written(kFlushFile), "1\n");
    EXPECT_TRUE(os().logs.empty());

    os().unwritableFiles = {kFlushFile};
    EXPECT_EQ(hapiSysAddrFlushAll(), 1);
    EXPECT_EQ(os().logs, (std::vector<fake::LogLine>{{LOG_DEBUG, "hapiSysAddrFlushAll: /bridge/flush failed"}}));
}

TEST_F(FdbSysfs, AgeingTimeIsWrittenInHundredthsOfASecond)
{
    const std::pair<const char *, const char *> cases[] = {
        {"300", "30000\n"}, {"0.5", "50\n"}, {"2.999", "299\n"}, {"10s", "1000\n"}, {"0", "0\n"}};
    for (const auto &[seconds, hundredths] : cases) {
        EXPECT_EQ(vekSetAgingTime(seconds), 0) << seconds;
        EXPECT_EQ(written(kAgeingFile), hundredths) << seconds;
    }
}

TEST_F(FdbSysfs, UnusableAgeingTextsWriteNothing)
{
    for (const char *text : {"abc", "", "-5", "nan", "inf", "3000000000"})
        EXPECT_EQ(vekSetAgingTime(text), 1) << text;
    EXPECT_TRUE(os().fileWrites.empty());
    EXPECT_TRUE(os().logs.empty());

    EXPECT_EQ(vekSetAgingTime(nullptr), 1);
    EXPECT_EQ(os().logs, (std::vector<fake::LogLine>{{LOG_DEBUG, "vekSetAgingTime: agingTime is NULL"}}));
}

TEST_F(FdbSysfs, UnwritableAgeingFileStillSucceeds)
{
    os().unwritableFiles = {kAgeingFile};
    EXPECT_EQ(vekSetAgingTime("300"), 0);
    EXPECT_EQ(os().fileWrites, (std::vector<std::string>{kAgeingFile}));
}

TEST_F(FdbSysfs, ApplicationRecordCarriesSecondsInItsThirdWord)
{
    const uint32_t record[3] = {99, 98, 10};
    EXPECT_EQ(hapiSysAddrAgingTime(nullptr, 0, record), 0);
    EXPECT_EQ(written(kAgeingFile), "1000\n");

    // Ten digits keep only the first nine: 123456789 s, 12345678900 hundredths in 32 bits.
    const uint32_t longRecord[3] = {0, 0, 1234567890};
    EXPECT_EQ(hapiSysAddrAgingTime(nullptr, 0, longRecord), 0);
    EXPECT_EQ(written(kAgeingFile), "3755744308\n");

    EXPECT_EQ(hapiSysAddrAgingTime(nullptr, 0, nullptr), 2);
    EXPECT_EQ(os().logs.back(), (fake::LogLine{LOG_DEBUG, "hapiSysAddrAgingTime: data is empty"}));
}

}  // namespace
