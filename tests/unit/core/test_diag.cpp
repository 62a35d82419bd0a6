#include <syslog.h>

#include "core/diag.h"
#include "hapi/hapi_diag.h"
#include "unit_fixture.h"

namespace {

using fake::LogMessage;
using vekpf::LogItem;

LogItem text(const char *t) { return {VEKLOG_ITEM_TEXT, VEKLOG_TEXT_SIZE, 0, t}; }
LogItem word(int size, int64_t v) { return {VEKLOG_ITEM_INT, size, v, {}}; }

class Diagnostics : public UnitTest {};

TEST_F(Diagnostics, ErrorReportCarriesIdClassFacilityAndItemsInOrder)
{
    hapi::diag::phy_error(321, -18, "Wrong port", 3, hapi::diag::PortItem::FromUsp, "hapiPhyAdminstate", -1);
    ASSERT_EQ(platform().messages.size(), 1u);
    const LogMessage &m = platform().messages[0];
    EXPECT_EQ(m.source, "src/phy_hapi");
    EXPECT_EQ(m.line, 321);
    EXPECT_EQ(m.id, 0x3D0012u);
    EXPECT_EQ(m.severity, 187u);
    EXPECT_EQ(m.facility, 61u);
    EXPECT_EQ(m.items, (std::vector<LogItem>{text("Wrong port"), word(2, 3), text("hapiPhyAdminstate"),
                                             word(4, -1)}));
}

TEST_F(Diagnostics, BootPhaseErrorUsesItsOwnClass)
{
    hapi::diag::phy_error(10, -4, "Wrong param", 96, hapi::diag::PortItem::Word, "hapiPhyEnterBootPhase",
                          -1, hapi::diag::kClassBootError);
    ASSERT_EQ(platform().messages.size(), 1u);
    EXPECT_EQ(platform().messages[0].id, 0x3D0004u);
    EXPECT_EQ(platform().messages[0].severity, 186u);
    EXPECT_EQ(platform().messages[0].items[1], word(4, 96));
}

TEST_F(Diagnostics, SuccessAndLinkReports)
{
    hapi::diag::phy_success(50, 2, "hapiPhySpeedDuplex", "Function call-SET", 8);
    hapi::diag::phy_link_event(60, 4, true);
    hapi::diag::phy_link_event(61, 4, false);
    ASSERT_EQ(platform().messages.size(), 3u);
    const LogMessage &ok = platform().messages[0];
    EXPECT_EQ(ok.id, 0x3D0000u);
    EXPECT_EQ(ok.severity, 191u);
    EXPECT_EQ(ok.items, (std::vector<LogItem>{word(4, 2), text("hapiPhySpeedDuplex"),
                                              text("Function call-SET"), word(4, 8)}));
    EXPECT_EQ(platform().messages[1].id, 0x3D00C8u);
    EXPECT_EQ(platform().messages[1].severity, 13u);
    EXPECT_EQ(platform().messages[1].items, (std::vector<LogItem>{word(4, 4)}));
    EXPECT_EQ(platform().messages[2].id, 0x3D00C9u);
}

TEST_F(Diagnostics, MessageIdTakesTheErrorMagnitude)
{
    static_assert(hapi::diag::message_id(61, -17) == 0x3D0011);
    static_assert(hapi::diag::message_id(58, 8) == 0x3A0008);
    EXPECT_EQ(hapi::diag::message_id(61, 0), 0x3D0000u);
}

TEST_F(Diagnostics, FailedCommandLine)
{
    hapi::diag::command_failed(hapi::diag::kTagSystem, "echo 0 > /proc/sys/net/ipv4/tcp_sack");
    ASSERT_EQ(os().logs.size(), 1u);
    EXPECT_EQ(os().logs[0].priority, LOG_ERR);
    EXPECT_EQ(os().logs[0].text, "[[SYSTEM]] echo 0 > /proc/sys/net/ipv4/tcp_sack Failed ");
}

TEST_F(Diagnostics, ConsoleWritesFormattedTextUnchanged)
{
    vek_console_debug_printf("rate %d%% of %s", 10, "port00 %s");
    ASSERT_EQ(os().console.size(), 1u);
    EXPECT_EQ(os().console[0], "rate 10% of port00 %s");
}

TEST_F(Diagnostics, ConsoleCutsAt4095Characters)
{
    const std::string longText(5000, 'x');
    vek_console_debug_printf("%s", longText.c_str());
    ASSERT_EQ(os().console.size(), 1u);
    EXPECT_EQ(os().console[0].size(), 4095u);
}

TEST_F(Diagnostics, MissingConsoleIsSilent)
{
    os().consoleMissing = true;
    vek_console_debug_printf("lost %d", 1);
    EXPECT_TRUE(os().console.empty());
    EXPECT_TRUE(os().logs.empty());
}

}  // namespace
