#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>

namespace mirovan
{

/// Which lines of an output to take: so many (0 or less: all) from this one on, counted from 1.
struct LineSelection
{
    int count;
    int start;
};

/// Receives a selected line, or a piece of 2,047 bytes of a longer one, with its newline. A NUL
/// follows the text. Returns false to stop.
using PieceSink = std::function<bool(std::string_view)>;

/// Runs a command line, as platform/command_line.h makes them, and hands the selected lines of its
/// output to the sink. An operation of its own: it clears the flag, and fails with
/// ERROR_MIROVAN_PROCESS_ACCESS when the output cannot be had.
bool capture_lines(const std::string& command_line, LineSelection selection, const PieceSink& sink);

/// The same for a bounded field: appends what fits to the text that it holds. On failure the field
/// holds that text alone.
bool capture_into(const std::string& command_line, LineSelection selection, std::span<char> field);

/// The capture of the C interface, which hands the pieces to a caller's function.
bool read_command_lines(const char* command, LineSelection selection,
                        bool (*take)(const char*, int, void*), void* context);

} // namespace mirovan
