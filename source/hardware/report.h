#pragma once

#include "mirovan.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace mirovan
{

/// Receives a line of a report with its newline, or a chunk of 1,023 bytes of a longer one. A NUL
/// follows the text.
using LineSink = std::function<void(std::string_view)>;

/// Runs the command of a report and passes on its lines; fails with
/// ERROR_MIROVAN_HARDWARE_PARAMETER when the report cannot be had.
bool read_report(const char* command, const LineSink& take_line);

/// The same for a report that is there already.
///
/// @return 0, or the errno that ended the reading
int read_report_lines(int descriptor, const LineSink& take_line);

/// Whether a text starts with another, which is ASCII in lower case, whatever the case of its own
/// letters A to Z. Independent of the locale: in a Turkish one the lowercase of I is not i.
bool starts_in_any_case(std::string_view text, std::string_view lower_case_start) noexcept;

/// Finds the writable volumes in the lines of a storage report.
class WritableVolumes
{
public:
    void take_line(std::string_view line);

    /// The headings of the volumes, in the order of the report.
    const std::vector<std::string>& names() const { return names_; }

private:
    std::string heading_;
    int lines_to_search_ = 0;
    std::vector<std::string> names_;
};

/// Fills the fields that are in the hardware report; does not change the others.
class ProcessorLines
{
public:
    explicit ProcessorLines(tag_Mirovan_Cpu_Information& processor) : processor_{processor} {}

    /// @param line a NUL follows it
    void take_line(std::string_view line);

private:
    tag_Mirovan_Cpu_Information& processor_;
    bool named_ = false; ///< by its own name; else by that of the chip it is a part of
};

} // namespace mirovan
