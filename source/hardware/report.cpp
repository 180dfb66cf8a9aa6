#include "source/hardware/report.h"

#include "platform/command_line.h"
#include "source/command/command.h"
#include "source/command/line_reader.h"
#include "source/error.h"

#include <algorithm>

namespace mirovan
{

bool read_report(const char* command, const LineSink& take_line)
{
    const Command report{platform::report_command_line(command)};
    if (report.error() != 0)
        return fail(ERROR_MIROVAN_HARDWARE_PARAMETER, report.error());
    const int error = read_report_lines(report.output(), take_line);
    return error == 0 || fail(ERROR_MIROVAN_HARDWARE_PARAMETER, error);
}

int read_report_lines(int descriptor, const LineSink& take_line)
{
    constexpr std::size_t line_limit = 1023;
    LineReader report{descriptor, line_limit};
    for (;;)
    {
        bool ended = false;
        const std::string_view line = report.next(ended);
        if (ended)
            return report.error();
        take_line(line);
    }
}

bool starts_in_any_case(std::string_view text, std::string_view lower_case_start) noexcept
{
    const auto same = [](char lower, char other)
    { return (other >= 'A' && other <= 'Z' ? other - 'A' + 'a' : other) == lower; };
    return text.size() >= lower_case_start.size() &&
           std::equal(lower_case_start.begin(), lower_case_start.end(), text.begin(), same);
}

} // namespace mirovan
