#include "tests/support/machine.h"
#include "tests/support/support.h"

#include <clocale>

namespace
{

/// A recorded report stands in for what every command prints.
void add_report(const test::Commands& commands, const std::string& report)
{
    commands.add("system_profiler", "exec cat " + test::quoted(report));
    commands.add("ioreg", "exec cat " + test::quoted(report));
}

TEST(RecordedReports, AreReadAsRecorded)
{
    const test::Commands commands;
    const auto reports = test::recorded_machines("reports");
    // In a locale with another decimal point, and other letters beside the same in the other case.
    test::shell_output("localedef -c -i tr_TR -f ISO-8859-9 '" + commands.folder() +
                       "/tr_TR.ISO-8859-9' 2>&1");
    const test::Environment path{"LOCPATH", commands.folder().c_str()};
    ASSERT_NE(std::setlocale(LC_ALL, "tr_TR.ISO-8859-9"), nullptr);
    ASSERT_STREQ(std::localeconv()->decimal_point, ",");
    EXPECT_GE(reports.size(), 40U);
    for (const std::string& report : reports)
    {
        add_report(commands, report);
        const std::string record = test::report_record();
        test::expect_as_recorded(report, record + test::serial_record());
    }
    std::setlocale(LC_ALL, "C");
}

} // namespace
