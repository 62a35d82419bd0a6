#include <syslog.h>

#include "core_fixture.h"
#include "core/diag.h"
#include "hapi/hapi_diag.h"

namespace {

using vekpf::LogItem;

LogItem text(const char *t) { return {VEKLOG_ITEM_TEXT, VEKLOG_TEXT_SIZE, 0, t}; }
LogItem word(int size, int64_t v) { return {VEKLOG_ITEM_INT, size, v, {}}; }

using Diagnostics = CoreTest;

TEST_F(Diagnostics, ReportsCarryIdClassFacilityAndItemsInOrder)
{
    using hapi::diag::PortItem;
    static_assert(hapi::diag::message_id(58, 8) == 0x3A0008);
    hapi::diag::phy_error(321, -18, "Wrong port", 3, PortItem::FromUsp, "hapiPhyAdminstate", -1);
    hapi::diag::phy_error(10, -4, "Wrong param", 96, PortItem::Word, "hapiPhyEnterBootPhase", -1,
                          hapi::diag::kClassBootError);
    hapi::diag::phy_success(50, 2, "hapiPhySpeedDuplex", "Function call-SET", 8);
    hapi::diag::phy_link_event(60, 4, true);
    hapi::diag::phy_link_event(61, 4, false);
    struct Row { int line; uint32_t id, severity; std::vector<LogItem> items; };
    const Row rows[] = {
        {321, 0x3D0012, 187, {text("Wrong port"), word(2, 3), text("hapiPhyAdminstate"), word(4, -1)}},
        {10, 0x3D0004, 186, {text("Wrong param"), word(4, 96), text("hapiPhyEnterBootPhase"), word(4, -1)}},
        {50, 0x3D0000, 191, {word(4, 2), text("hapiPhySpeedDuplex"), text("Function call-SET"), word(4, 8)}},
        {60, 0x3D00C8, 13, {word(4, 4)}},
        {61, 0x3D00C9, 13, {word(4, 4)}},
    };
    ASSERT_EQ(platform().messages.size(), std::size(rows));
    for (size_t i = 0; i < std::size(rows); ++i) {
        SCOPED_TRACE(i);
        const fake::LogMessage &m = platform().messages[i];
        EXPECT_EQ(m.source, "src/phy_hapi");
        EXPECT_EQ(m.facility, 61u);
        EXPECT_EQ(m.line, rows[i].line);
        EXPECT_EQ(m.id, rows[i].id);
        EXPECT_EQ(m.severity, rows[i].severity);
        EXPECT_EQ(m.items, rows[i].items);
    }
}

// The failed-command syslog line; console text formatted, cut at 4095, and dropped without a console.
TEST_F(Diagnostics, TextLines)
{
    hapi::diag::command_failed(hapi::diag::kTagSystem, "echo 0 > /proc/sys/net/ipv4/tcp_sack");
    vek_console_debug_printf("rate %d%% of %s", 10, "port00 %s");
    vek_console_debug_printf("%s", std::string(5000, 'x').c_str());
    os().consoleMissing = true;
    vek_console_debug_printf("lost %d", 1);
    EXPECT_EQ(os().console, (std::vector<std::string>{"rate 10% of port00 %s", std::string(4095, 'x')}));
    EXPECT_EQ(os().logs, (std::vector<fake::LogLine>{
                             {LOG_ERR, "[[SYSTEM]] echo 0 > /proc/sys/net/ipv4/tcp_sack Failed "}}));
}

}  // namespace
