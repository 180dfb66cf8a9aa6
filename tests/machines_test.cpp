#include "tests/support/machine.h"
#include "tests/support/support.h"

namespace
{

/// A recorded report stands in for what every command prints.
void add_report(const test::Commands& commands, const std::string& report)
{
    commands.add("system_profiler", "exec cat '" + report + "'");
    commands.add("ioreg", "exec cat '" + report + "'");
}

TEST(RecordedReports, AreReadAsRecorded)
{
    const test::Commands commands;
    const auto reports = test::recorded_machines("reports");
    EXPECT_GE(reports.size(), 40U);
    for (const std::string& report : reports)
    {
        add_report(commands, report);
        const std::string record = test::report_record();
        test::expect_as_recorded(report, record + test::serial_record());
    }
}

} // namespace
