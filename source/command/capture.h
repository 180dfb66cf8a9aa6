#pragma once

#include <span>
#include <string>

namespace mirovan
{

/// Which lines of an output to take: so many (0 or less: all) from this one on, counted from 1.
struct LineSelection
{
    int count;
    int start;
};

/// Runs a command line and appends the selected lines of its output to the string in a field, as
/// much as fits. An operation of its own: it clears the flag, and fails with
/// ERROR_MIROVAN_PROCESS_ACCESS when the output is unavailable; the field is as before then.
bool capture_into(const std::string& command_line, LineSelection selection, std::span<char> field);

} // namespace mirovan
